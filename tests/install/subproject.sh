#!/bin/sh
# subproject.sh PREFIX FOLDER SOURCES FETCH [ARGUMENTS...]: configures a host with ZelGL as a part of its build, by FetchContent
# if FETCH is ON, else by add_subdirectory(); links it and runs it. A PREFIX of - builds the libraries too, which takes a minute;
# otherwise those of PREFIX are copied to where the host's link line expects them.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
prefix=$1 folder=$2 sources=$3 fetch=$4
shift 4
rm -rf "$folder"
cmake -S "$here/subproject" -B "$folder" -G Ninja -DSOURCES="$sources" -DFETCH="$fetch" "$@"
cd "$folder"
[ ! -e zelgl/CTestTestfile.cmake ] || { echo "the tests of ZelGL are tests of the host" >&2; exit 1; }
if [ "$prefix" = - ]; then
    cmake --build . --target host
else
    for library in Core GL Shaders Check Kit; do
        cp -P "$prefix"/lib/libZel"$library".so* "zelgl/src/$library/"
    done
    mkdir -p CMakeFiles/host.dir
    ninja -t commands host | sed -n '/host\.cpp\.o -c /p; $p' >host.sh
    if grep -E ' -W([^l]|l[^,])|visibility' host.sh; then echo "the host has options of ZelGL" >&2; exit 1; fi
    sh -ex host.sh
    export LD_LIBRARY_PATH="$prefix/lib" # installed libraries expect one another in one folder
fi
./host
