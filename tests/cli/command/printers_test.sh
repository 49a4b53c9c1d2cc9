# qva printers and --printer: presets, and profiles where systems keep them.
. "$(dirname "$0")/../support/shell_support.sh"

export XDG_CONFIG_HOME=$PWD/config XDG_DATA_HOME=$PWD/data XDG_DATA_DIRS=$PWD/shared
expect 3 "there are no printers yet" printers
expect 3 "there are no printers in" print photo.exr -o print.tif --printer press
mkdir -p config/qva/printers data/color/icc/deep shared/color/icc
presets=config/qva/printers
cp press.icc data/color/icc/deep/Press.icc
cp printer.icc $presets/own.icc
cat >$presets/press.json <<'END'
{
  "description": "Sheet-fed, coated",
  "profile": "Press",
  "paperWhite": 200,
  "intent": "saturation",
  "blackPointCompensation": false,
  "inkLimit": 60,
  "size": "20x50mm",
  "bleed": "2.54mm",
  "dpi": 100
}
END
echo '{"profile": "own.icc"}' >$presets/photo.json
expect 0 "" printers
for text in "Sheet-fed, coated" "deep/Press.icc" "20x50mm" "own.icc"; do
    expect_output "$text"
done

# A preset is what its options are; an option that is given holds.
expect 0 "" print tall.tif -q --printer press --to-device -o preset.pdf
expect 0 "" print tall.tif -q --profile Press --paper-white 200 --intent saturation --dpi 100 \
    --no-black-point-compensation --size 20x50mm --bleed 2.54mm --to-device -o options.pdf
cmp -s preset.pdf options.pdf || fail "a preset is not its options"
expect 0 "" print tall.tif -q --printer press --intent relative --profile printer.icc -o given.tif
expect 0 "" print tall.tif -q --profile printer.icc --paper-white 200 --dpi 100 \
    --no-black-point-compensation --size 20x50mm --bleed 2.54mm -o options.tif
cmp -s given.tif options.tif || fail "an option does not go before a preset"
expect 0 "" proof tall.tif --printer press -q --json
expect_output '"limit": 60'
expect 0 "" report tall.tif --printer photo -q -o report.html
expect 0 "" page tall.tif --printer photo -q --progress none -o page.tif

# What is wrong is named with its line.
refused() {
    printf '%b' "$2" >$presets/bad.json
    expect 3 "bad.json: $1" print photo.exr -o none.tif --printer bad
    [ ! -e none.tif ] || fail "something was written for $2"
}
refused "line 2: is no JSON" '{\n"profile": own.icc}'
refused "line 1: a preset is an object" '[1]'
refused "line 1: profile is missing" '{}'
refused "line 3: papperWhite is not one of" '{"profile": "own.icc",\n\n"papperWhite": 200}'
refused "line 2: paperWhite is to be 100, 200 or 400" '{"profile": "own.icc",\n"paperWhite": 150}'
refused "line 2: paperWhite is to be a number" '{"profile": "own.icc",\n"paperWhite": "200"}'
refused "line 2: intent is to be relative or saturation" '{"profile":"own.icc",\n"intent":"absolute"}'
refused "line 2: size is to be such as" '{"profile": "own.icc",\n"size": "A4"}'
refused "line 2: bleed belongs to a size" '{"profile": "own.icc",\n"bleed": "3mm"}'
refused "line 2: profile other.icc: there is no such file" '{\n"profile": "other.icc"}'
expect 3 "bad.json: line 2" printers
expect_output "Sheet-fed, coated"
expect 3 "is none of the printers in" printers fine-art
rm $presets/bad.json

# The sample printers have paper of L* 95 and a black of L* 10, three inks, and colours that make a
# body of 85 x 80 x 60 (printer_sample.cpp: the determinant of its matrix is that).
expect 0 "" printers --check --json press
python3 -c '
import json
measures = json.load(open("stdout.txt"))["measures"]
assert abs(measures["whiteLab"][0] - 95) < 0.5 and abs(measures["blackLab"][0] - 10) < 1.0, measures
light = lambda l: ((l + 16) / 116) ** 3
assert abs(measures["contrast"] / (light(95) / light(10)) - 1) < 0.1, measures
assert measures["mostInk"] <= 300 and measures["roundTripMedian"] < 2.5, measures
assert abs(measures["gamutVolume"] / (85 * 80 * 60) - 1) < 0.1, measures
' 2>stderr.txt || fail "other measures: $(tail -1 stderr.txt)"
expect 0 "" printers --check press.icc
expect_output "stops from white to black"
finish
