#!/bin/sh
# abi.sh source HEADER...             prints C++ whose debug information has all public types of these headers
# abi.sh compare LIBRARY BASELINE     fails if a type of the library, made from that source, differs from the committed one:
#                                     layout, virtual functions, enumerators
# abi.sh refresh LIBRARY BASELINE     writes the baseline, as `cmake --build BUILD --target zelgl_refresh_exports` does
set -eu
command=$1
shift

print_source() {
    echo '#pragma GCC visibility push(default)'
    for header in "$@"; do
        echo "#include \"$header\""
    done
    echo 'namespace Orvane { namespace Zel { using namespace TvoImageCubemapUtils;'
    # The types in column 0 that are no forward declarations; types inside of them belong to them.
    sed -n -E '/;$/d; s/^(class|struct|enum) ([A-Z]+_EXPORT )?([A-Za-z0-9_]+).*/void use(\3 *) {}/p' "$@"
    echo '}}'
}

# Types of other headers, such as Qt's, are only names: with this label, that of the option --drop-private-types, members of them
# are still listed. The baseline has no indentation and no default values, which were a quarter of it.
print_types() {
    rules=$(mktemp)
    cat >"$rules" <<RULES
[suppress_type]
  label = Artificial private types suppression specification
  source_location_not_regexp = /(ZelGL|ZelCore|src/GL|src/Core)/
  drop = yes
RULES
    abidw --suppressions "$rules" --no-show-locs --no-corpus-path --no-comp-dir-path --no-elf-needed --no-architecture \
        --no-parameter-names --no-write-default-sizes "$1" | sed "s/^ *//; s/ visibility='default'//"
    rm "$rules"
}

if [ "$command" = source ]; then
    print_source "$@"
    exit
fi
if ! command -v abidiff >/dev/null; then
    echo "not compared: abidiff is absent; Debian has it in abigail-tools"
    exit 77
fi
if [ "$command" = refresh ]; then
    print_types "$1" >"$2"
    exit
fi
found=$1.abi
print_types "$1" >"$found"
abidiff "$2" "$found" || {
    echo "Programs that are linked with the library must be compiled again. If that is meant, build zelgl_refresh_exports."
    exit 1
}
