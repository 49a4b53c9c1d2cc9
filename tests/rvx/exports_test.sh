#!/bin/sh
# Usage: exports_test.sh NM LIBRARY. The library shows the five functions and nothing else.
set -eu
want='RVX_CreateColorMatchingXform
RVX_DisposeXform
RVX_Initialize
RVX_MatchColors
RVX_Terminate'
have=$("$1" -D --defined-only "$2" | awk '{print $NF}' | LC_ALL=C sort)
[ "$have" = "$want" ] || { printf 'exported:\n%s\n' "$have"; exit 1; }
