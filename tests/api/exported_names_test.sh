#!/bin/sh
# Usage: exported_names_test.sh NM READELF LIBRARY. Nine functions, the versioned name, no unloading.
set -eu
want='QVA_Analysis QVA_ApplyQVAForPreview QVA_ApplyQVAForPreview_Wrapper QVA_ApplyQVAForPrint '\
'QVA_ApplyQVAForPrint_Wrapper QVA_CorrectionForPrint QVA_GetParametersForBandProcessing '\
'QVA_Initialize QVA_Terminate'
have=$("$1" -D --defined-only "$3" | awk '{print $NF}' | LC_ALL=C sort | paste -sd ' ')
[ "$have" = "$want" ] || { echo "exported: $have"; exit 1; }
"$2" -dW "$3" | grep -q 'SONAME.*\[libqva\.so\.1\]' || { echo 'another SONAME'; exit 1; }
"$2" -dW "$3" | grep -q 'FLAGS_1.*NODELETE' || { echo 'may be unloaded'; exit 1; }
