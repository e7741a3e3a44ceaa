#!/bin/sh
# readme_host.sh PREFIX FOLDER README: builds the host of README with its CMake file against the installed tree, and runs it, also
# under the check.
set -eu
here=$(dirname "$0")
rm -rf "$2"
mkdir -p "$2"
block() { # block LANGUAGE README
    awk -v begin="^\`\`\`$1\$" '$0 ~ begin { code = 1; next } /^```$/ { code = 0 } code' "$2"
}
block cmake "$3" >"$2/CMakeLists.txt"
block cpp "$3" >"$2/main.cpp"
lines=$(wc -l <"$2/main.cpp")
[ "$lines" -eq 25 ] || { echo "the host code has $lines lines, and 25 are promised" >&2; exit 1; }
cat "$here/readme_main.cpp" >>"$2/main.cpp"
cmake -S "$2" -B "$2/build" -G Ninja -DCMAKE_PREFIX_PATH="$1"
cmake --build "$2/build"
"$2/build/host"
case $CXXFLAGS in
*-fsanitize*) ;; # the sanitizer must be the first library
*) LD_PRELOAD="$1/lib/libZelCheck.so" ZELGL_CHECK=1 "$2/build/host" ;;
esac
