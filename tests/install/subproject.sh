#!/bin/sh
# subproject.sh PREFIX FOLDER ROOT WORD [ARGUMENTS...]: configures a host that contains ZelGL, by the block of docs/packages.md
# with WORD, links the host and runs it. A PREFIX of - builds the libraries too, which takes minutes; otherwise those of PREFIX are
# copied to where the host's link line expects them.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
prefix=$1 folder=$2 root=$3 word=$4
shift 4
rm -rf "$folder"
mkdir -p "$folder/source"
ln -s "$root" "$folder/source/ZelGL"
cp "$here/subproject/host.cpp" "$folder/source/main.cpp"
awk -v word="$word" '/^```cmake$/ { block = ""; on = 1; next } /^```$/ { if (on && index(block, word)) printf "%s", block; on = 0 }
    on { block = block $0 "\n" }' "$root/docs/packages.md" >"$folder/source/CMakeLists.txt"
cmake -S "$folder/source" -B "$folder/build" -G Ninja -DCMAKE_PROJECT_host_INCLUDE="$here/subproject/judge.cmake" \
    -DFETCHCONTENT_SOURCE_DIR_ZELGL="$root" "$@"
cd "$folder/build"
zelgl=$(dirname "$(find . -name ZelGLConfig.cmake)")
[ ! -e "$zelgl/CTestTestfile.cmake" ] || { echo "the tests of ZelGL are tests of the host" >&2; exit 1; }
if [ "$prefix" = - ]; then
    cmake --build . --target host
else
    for library in Core GL Shaders Kit; do
        cp -P "$prefix"/lib/libZel"$library".so* "$zelgl/src/$library/"
    done
    mkdir -p CMakeFiles/host.dir
    ninja -t commands host | sed -n '/main\.cpp\.o -c /p; $p' >host.sh
    if grep -E ' -W([^l]|l[^,])|visibility' host.sh; then echo "the host has options of ZelGL" >&2; exit 1; fi
    sh -ex host.sh
    export LD_LIBRARY_PATH="$prefix/lib" # installed libraries expect one another in one folder
fi
./host
