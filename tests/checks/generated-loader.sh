#!/bin/sh
# generated-loader.sh SOURCE_TREE: generates the table of entry points, and compares it with the committed one.
set -eu
again=$(mktemp -d)
trap 'rm -rf "$again"' EXIT
"$1"/tools/glloader/generate.py "$again" --list "$again/EntryPoints.h"
diff -u "$1/src/Check/private/EntryPoints.h" "$again/EntryPoints.h"
for file in GLLoader.h GLLoader.cpp; do
    diff -u "$1/src/GL/$file" "$again/$file"
done
