#!/bin/sh
# pkg_config.sh PREFIX FOLDER SOURCE [PACKAGE]: builds SOURCE in FOLDER with pkg-config's flags for ZelGL, and runs it.
set -eu
rm -rf "$2"
mkdir -p "$2"
export PKG_CONFIG_PATH="$1/lib/pkgconfig"
pkg-config --exists --print-errors 'ZelGL >= 1.0' 'ZelGL < 2'
# The flags must be split into words.
# shellcheck disable=SC2046
"$CXX" $CXXFLAGS "$3" -o "$2/consumer" $(pkg-config --cflags --libs "${4-ZelShaders}") -Wl,-rpath,"$(pkg-config --variable=libdir ZelGL)"
cd "$2" && ./consumer "$1"
