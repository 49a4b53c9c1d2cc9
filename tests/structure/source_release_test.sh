#!/bin/sh
# Usage: source_release_test.sh CMAKE ROOT WORK. Packs a release, unpacks it outside git, configures it
# and packs it again: the same bytes.
set -eu
work=$3/source_release_test
rm -rf "$work"
mkdir -p "$work"
"$2/scripts/source_release" "$work/first.tar.gz" > /dev/null
tar -xzf "$work/first.tar.gz" -C "$work"
cd "$work"/qva-*
for file in LICENSE NOTICE README.md include/lumo/qva.h scripts/test debian/control; do
    [ -s "$file" ] || { echo "$file is missing"; exit 1; }
done
[ ! -e .git ] && [ ! -e build ]
"$1" --preset ci > "$work/log" 2>&1 || { tail "$work/log"; exit 1; }
umask 077
scripts/source_release "$work/second.tar.gz" > /dev/null
cmp "$work/first.tar.gz" "$work/second.tar.gz"
rm -rf "$work"
