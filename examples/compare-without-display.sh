#!/bin/sh
# compare-without-display.sh PROGRAM FOLDER: fails unless an example draws the same picture with and without a display.
set -eu
env -u DISPLAY -u QT_QPA_PLATFORM "$1" --offscreen "$2/without-display.png"
"$1" --offscreen "$2/with-display.png"
cmp "$2/without-display.png" "$2/with-display.png"
