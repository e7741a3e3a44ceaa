#!/bin/sh
# find_package.sh PREFIX FOLDER SOURCE [LIBRARY]: builds SOURCE in FOLDER with find_package(ZelGL), and runs it.
set -eu
rm -rf "$2"
cmake -S "$(dirname "$0")/consumer" -B "$2" -G Ninja -DCMAKE_PREFIX_PATH="$1" -DCONSUMER_SOURCE="$3" -DCONSUMER_LIBRARIES="${4-}"
cmake --build "$2"
cd "$2" && ./consumer "$1"
