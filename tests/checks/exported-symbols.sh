#!/bin/sh
# exported-symbols.sh LIBRARY LIST [--refresh]: compares the exports of a shared library with the committed list of
# demangled names, or writes the list, as `cmake --build BUILD --target zelgl_refresh_exports` does.
set -eu
library=$1
list=$2

# Strong definitions and vtables. Other weak symbols, inline functions and templates of Qt, depend on the level of optimisation.
# So do type infos, class constants and lambdas, which link-time optimisation makes strong. Names that start with two underscores
# belong to the tool chain.
exported() {
    nm -DC --defined-only "$library" |
        sed -n -E 's/^[0-9a-f]+ [TBDR] //p; s/^[0-9a-f]+ [VW] (vtable for )/\1/p' |
        grep -v -E '^(__|_edata$|_end$|_init$|_fini$|vtable for std::|typeinfo )|[{]lambda|::Zel::[A-Za-z0-9]+::k[A-Z][A-Za-z0-9]*$' |
        LC_ALL=C sort -u
}

if [ "${3-}" = --refresh ]; then
    exported > "$list"
    exit
fi
! readelf -d "$library" | grep 'NEEDED.*libOpenGL' || { echo "GL is reached by pointers only"; exit 1; }
readelf -d "$library" | grep -q 'NODELETE' || { echo "QtCore reads texts of the library after dlclose()"; exit 1; }
exported | diff -u "$list" - || {
    echo "The exports of $library are not those of $list: if that is meant, build zelgl_refresh_exports."
    exit 1
}
