#!/bin/sh
# Usage: install_test.sh CMAKE BUILD LIBDIR CC. Installs a build into a prefix inside it, then builds
# and runs a host against that copy, with the CMake package and with pkg-config. Where the host program is
# installed, its manual pages, completions and schema are too.
set -eu
sources=$(cd "$(dirname "$0")" && pwd)
work=$2/consumer_test
libs=$work/prefix/$3
rm -rf "$work"
"$1" --install "$2" --prefix "$work/prefix" > /dev/null
CC=$4 "$1" -S "$sources" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" > /dev/null
"$1" --build "$work/cmake" > /dev/null
"$work/cmake/consumer"
# The flags of pkg-config are words.
"$4" "$sources/../api/all_exports.c" -o "$work/host" \
    $(PKG_CONFIG_PATH=$libs/pkgconfig pkg-config --cflags --libs qva)
export LD_LIBRARY_PATH="$libs"
"$work/host"
[ "$(ldd "$work/host" | grep -c "$libs")" -eq 2 ] || { echo 'another copy was loaded'; exit 1; }

# What else is installed lies where man, the shells and programs look, and belongs to this program.
prefix=$work/prefix
[ -x "$prefix/bin/qva" ] || exit 0
commands=$(env -u LD_LIBRARY_PATH "$prefix/bin/qva" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ -n "$commands" ] || { echo 'the installed program does not run'; exit 1; }
for file in man/man1/qva.1 $(printf 'man/man1/qva-%s.1 ' $commands) qva/output.schema.json \
    bash-completion/completions/qva zsh/site-functions/_qva fish/vendor_completions.d/qva.fish; do
    [ -s "$prefix/share/$file" ] || { echo "share/$file is not installed"; exit 1; }
done
[ "$(ls "$prefix/share/man/man1" | wc -l)" -eq $(($(echo "$commands" | wc -w) + 1)) ] ||
    { echo 'manual pages of commands that are none'; exit 1; }
