#!/bin/sh
# exported-symbols.sh LIBRARY LIST [--refresh]: compares what a shared library exports with the committed list, one
# demangled name a line, or writes the list. `cmake --build BUILD --target zelgl_refresh_exports` does the latter.
set -eu
library=$1
list=$2

# Strong definitions and vtables. What is weak beside these, inline functions and templates of Qt, comes and goes with the
# level of optimisation, and so do type infos, constants of classes and the insides of lambdas, which an optimisation across
# files makes strong; names that begin with two underscores belong to the tool chain.
exported() {
    nm -DC --defined-only "$library" |
        sed -n -E 's/^[0-9a-f]+ [TBDR] //p; s/^[0-9a-f]+ [VW] (vtable for )/\1/p' |
        grep -v -E '^(__|_edata$|_end$|_init$|_fini$|vtable for std::|typeinfo )|[{]lambda|::Zel::[A-Za-z0-9]+::k[A-Z][A-Za-z0-9]*$' |
        LC_ALL=C sort -u
}

if [ "${3-}" = --refresh ]; then
    exported > "$list"
    exit
fi
! readelf -d "$library" | grep 'NEEDED.*libOpenGL' || { echo "GL is reached by pointers only"; exit 1; }
readelf -d "$library" | grep -q 'NODELETE' || { echo "QtCore reads texts of the library after dlclose()"; exit 1; }
exported | diff -u "$list" - || {
    echo "The exports of $library are not those of $list: if that is meant, build zelgl_refresh_exports."
    exit 1
}
