#!/bin/sh
# readme_host.sh PREFIX FOLDER README: builds the host code of README against the installed tree, and runs it.
set -eu
here=$(dirname "$0")
mkdir -p "$(dirname "$2")"
awk '/^```cpp$/ { code = 1; next } /^```$/ { code = 0 } code' "$3" >"$2.cpp"
lines=$(wc -l <"$2.cpp")
[ "$lines" -eq 25 ] || { echo "the host code has $lines lines, and 25 are promised" >&2; exit 1; }
cat "$here/readme_main.cpp" >>"$2.cpp"
exec "$here/find_package.sh" "$1" "$2" "$2.cpp"
