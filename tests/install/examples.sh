#!/bin/sh
# examples.sh PREFIX FOLDER EXAMPLES NAME...: builds these examples as a project of their own, and lets them draw their pictures.
set -eu
prefix=$1 folder=$2 examples=$3
shift 3
rm -rf "$folder"
cmake -S "$examples" -B "$folder" -G Ninja -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$folder" --target "$@"
for name in "$@"; do
    "$folder/$name" --offscreen "$folder/$name.png"
done
