# qva preview: the print before its device step.
. "$(dirname "$0")/../support/shell_support.sh"

# The pixels alone, which stand behind the header: a print states its profile, a preview has none.
same_pixels() {
    cmp -s -i 8 -n $((48 * 32 * 6)) "$1" "$2"
}
expect 0 "" preview photo.exr -o screen.tif -q --compression none
expect 0 "" print photo.exr -o print.tif -q --compression none
same_pixels screen.tif print.tif && fail "the device step changes nothing"
# A display has a black of 0, so even its print has no device step.
expect 0 "" preview photo.exr -o screen.tif -q --compression none --profile device.icc
expect 0 "" print photo.exr -o print.tif -q --compression none --profile device.icc
same_pixels screen.tif print.tif || fail "print and preview differ on a display"
expect 0 "generic photo paper" preview photo.png -o screen.png --side-by-side sheet.png
expect 0 "" info sheet.png
expect_output "100 x 32 pixels"
echo old >old.tif
expect 3 "cut: " preview cut -o old.tif
[ "$(cat old.tif)" = old ] || fail "the old file changed"
expect 4 "old.tif: is there already" preview photo.exr -o old.tif --no-clobber
expect 4 "old.tif: is there already" page photo.exr -o old.tif --no-clobber
expect 4 "old.tif: is there already" join a b -o old.tif --no-clobber
expect 4 "sheet.png: is there already" print photo.exr -o new.tif --side-by-side sheet.png --no-clobber
[ "$(cat old.tif)" = old ] && [ ! -e new.tif ] || fail "--no-clobber does not keep what is there"
expect 0 "" preview photo.exr -o new.tif -q --no-clobber
finish
