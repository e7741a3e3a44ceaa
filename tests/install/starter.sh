#!/bin/sh
# starter.sh PREFIX FOLDER STARTER: builds a copy of the folder STARTER, as a user would, and lets it draw a picture.
set -eu
rm -rf "$2"
mkdir -p "$2"
cp -R "$3" "$2/mine"
cmake -S "$2/mine" -B "$2/build" -DCMAKE_PREFIX_PATH="$1"
cmake --build "$2/build"
"$2/build/starter" --offscreen "$2/picture.png"
test -s "$2/picture.png"
