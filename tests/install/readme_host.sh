#!/bin/sh
# readme_host.sh PREFIX FOLDER README: builds the host code of README against the installed tree, and runs it, also under the check.
set -eu
here=$(dirname "$0")
mkdir -p "$(dirname "$2")"
awk '/^```cpp$/ { code = 1; next } /^```$/ { code = 0 } code' "$3" >"$2.cpp"
lines=$(wc -l <"$2.cpp")
[ "$lines" -eq 25 ] || { echo "the host code has $lines lines, and 25 are promised" >&2; exit 1; }
cat "$here/readme_main.cpp" >>"$2.cpp"
"$here/find_package.sh" "$1" "$2" "$2.cpp"
case $CXXFLAGS in
*-fsanitize*) ;; # the sanitizer must be the first library
*) LD_PRELOAD="$1/lib/libZelCheck.so" ZELGL_CHECK=1 "$2/consumer" ;;
esac
