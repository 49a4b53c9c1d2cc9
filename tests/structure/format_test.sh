#!/bin/sh
# Names every place where clang-format would change a source, and fails on one.
#   format_test.sh CLANG_FORMAT ROOT
set -eu
cd "$2"
files=$(find include src rvx cli python examples tests bench fuzz -name '*.[ch]' -o -name '*.cpp')

# The check itself: a line that is laid out wrongly must be found.
if echo 'int  main( ) { return 0 ; }' |
    "$1" --dry-run -Werror --assume-filename="$2/src/check.cpp" 2>/dev/null; then
    echo "clang-format accepts a badly laid out line"
    exit 1
fi
# shellcheck disable=SC2086
"$1" --dry-run -Werror $files
