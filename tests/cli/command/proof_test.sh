# qva proof: a print before it is on paper.
. "$(dirname "$0")/../support/shell_support.sh"

expect 0 "" print photo.exr -o print.tif -q --profile printer.icc --compression none
expect 0 "" print photo.exr -o print.png -q --profile printer.icc
expect 0 "" proof print.tif -q --profile printer.icc -o proof.png --gamut-map map.png
expect_output "paper white  L* 94.8"
expect_output "% above 10"
for picture in proof.png map.png; do
    expect 0 "" info $picture
    expect_output "48 x 32 pixels"
    expect_output "8-bit integer, RGB"
done
# A result, its PNG and the picture that it was made of look the same, for any number of threads.
for input in print.png photo.exr; do
    expect 0 "" proof $input -q --profile printer.icc -o again.png --threads 3
    cmp -s proof.png again.png || fail "$input has another proof"
done
expect 0 "" proof print.tif -q --any-paper --profile paper.icc -o paper.png
expect_output "paper white  L* 86."
expect 0 "" proof print.tif -q --any-paper --profile paper.icc -o again.png --no-paper
cmp -s paper.png again.png && fail "--no-paper changes nothing"
expect 0 "" proof print.tif -q --profile printer.icc -o again.png --size 24 --bits 16
expect 0 "" info again.png
expect_output "24 x 16 pixels"
expect_output "16-bit integer, RGB"
expect 0 "" proof print.tif -q --profile printer.icc -o again.png --space p3
expect 0 "" info again.png
expect_output "ICC profile"
expect 0 "" proof print.tif -q --profile printer.icc -o monitor.png --monitor device.icc

# Figures without a picture; inks where there are inks.
expect 0 "" proof print.tif -q --any-paper --profile press.icc --json --ink-limit 200 --ink-map ink.png
python3 - <<'END' || fail "the figures are no JSON, or not these"
import json
found = json.load(open("stdout.txt"))
assert found["pixels"] == 48 * 32 and found["deviceSpace"] == "CMYK"
above = [step["percent"] for step in found["gamut"]["above"]]
assert above == sorted(above, reverse=True) and len(above) == 5
assert found["ink"]["limit"] == 200 and 0 < found["ink"]["mean"] <= found["ink"]["greatest"] <= 300
assert {"x", "y", "asked", "printed"} <= set(found["gamut"]["worst"][0])
END
expect 0 "" proof print.tif -q --profile printer.icc --json
grep -q '"ink"' stdout.txt && fail "RGB has no ink"

# Bad input: one line, and nothing written.
echo old >old.png
keeps_old() {
    expect "$@"
    [ "$(cat old.png)" = old ] || fail "the old file changed: $*"
    [ -z "$(find . -name '.qva-*')" ] || fail "a temporary stayed: $*"
}
keeps_old 2 "--ink-map: the profile is of RGB" proof print.tif --profile printer.icc --ink-map old.png
keeps_old 5 "(AToB)" proof print.tif --any-paper --profile no_way_back.icc -o old.png
keeps_old 5 "link.icc: is a device link" proof print.tif --any-paper --profile link.icc -o old.png
keeps_old 5 "link.icc: is a device link" print photo.exr --profile link.icc -o old.png
keeps_old 5 "press.icc: is the profile of a printer, not of a monitor" \
    proof print.tif --any-paper --profile press.icc --monitor press.icc -o old.png
for input in print.tif photo.exr; do
    keeps_old 5 "damaged.icc: the profile is damaged" proof $input --any-paper --profile damaged.icc -o old.png
done
# The paper and the intent of a rendering stand in its result, however it came about.
for input in print.tif print.png; do
    keeps_old 5 "was rendered for another profile than press.icc" proof $input --profile press.icc -o old.png
    keeps_old 5 "was rendered for another profile than the built-in" proof $input -o old.png
done
expect 0 "" page photo.exr -o plain.tif -q --profile printer.icc --no-black-point-compensation --progress none
expect 0 "" proof plain.tif -q --profile printer.icc
expect_output "black-point compensation off"
expect 0 "" preview photo.exr -o preview.tif -q --profile printer.icc
expect 0 "" proof preview.tif -q --profile press.icc
head -c 6000 print.tif >cut.tif
keeps_old 3 "cut.tif: " proof cut.tif --profile printer.icc -o old.png
keeps_old 2 "must end in .png" proof print.tif -o proof.jpg
keeps_old 2 "another output by another name" proof print.tif --profile printer.icc -o old.png --gamut-map ./old.png
keeps_old 4 "old.png: is there already" proof print.tif -o old.png --no-clobber
keeps_old 2 "the photograph by another name" proof print.png -o ./print.png
finish
