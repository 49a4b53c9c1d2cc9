# qva print on pictures of every format, on broken ones and where the output cannot be written.
. "$(dirname "$0")/../support/shell_support.sh"

for photo in photo.exr photo.hdr photo.png pq.png photo16.tif photo32.tif; do
    for result in result.tif result.png; do
        rm -f "$result"
        expect 0 "generic photo paper" print "$photo" -o "$result"
        expect 0 "" info "$result"
        expect_output "48 x 32 pixels"
        expect_output "16-bit integer, RGB"
    done
done
# The result says what it is: gamma 2.2 with the primaries of BT.2020.
expect 0 "" info result.png
expect_output "gamma 2.2 (cICP chunk)"
expect_output "bt2020"
expect 0 "generic" print photo.exr -o result.tif --compression none --dpi 300 --side-by-side s.png
expect 0 "" info result.tif
expect_output "ICC profile"
expect 0 "" info s.png
expect_output "100 x 32 pixels"

# The resolution goes on from file to file.
for next in next.png next.tif; do
    expect 0 "" print result.tif -q -o $next
    expect 0 "" info $next
    expect_output "300 pixels per inch"
    mv $next result2.${next##*.}
done
expect 0 "" print result2.png -q -o next.tif
expect 0 "" info next.tif
expect_output "300 pixels per inch"

# The same bytes again, for any number of threads; another paper white gives others.
expect 0 "" print photo.exr -o again.tif --quiet --compression none --dpi 300 --threads 1
cmp -s result.tif again.tif || fail "one thread gives other bytes"

# The phases of a run, of which each has a line, are all of it.
"$qva" print photo.exr -o again.tif -q --timing 2>times.txt || fail "--timing: exit code $?"
awk 'NR == 1 { next } $1 == "all" { ok = NR == 7 && $2 > 0 && ($2 - sum) ^ 2 < 1e-4 } { sum += $2 }
     END { exit !ok }' times.txt || fail "--timing: $(cat times.txt)"
for phase in reading examining rendering writing; do
    grep -q "^  $phase .*[1-9]" times.txt || fail "--timing: nothing spent on $phase"
done
"$qva" page photo.exr -o again.tif -q --restart --json --timing >times.json || fail "page --timing"
for phase in reading examining rendering writing; do
    grep -A2 "\"$phase\"" times.json | grep -q "\"wall\": .*[1-9]" || fail "page: nothing on $phase"
done

# OpenMP's runtime ends a process that it is to put on a processor that is not there. The last one of
# 64 few machines have. Another runtime would warn.
KMP_WARNINGS=0 GOMP_CPU_AFFINITY="0 63" expect 0 "" print photo.exr -o again.tif -q --compression none --dpi 300 --threads 2
cmp -s result.tif again.tif || fail "a processor that is missing gives other bytes"
for option in "--paper-white 200" "--threshold 20" "--top 500" "--white 100"; do
    # shellcheck disable=SC2086
    expect 0 "" print photo.exr -o again.tif --quiet --compression none --dpi 300 $option
    cmp -s result.tif again.tif && fail "$option changes nothing"
done
expect 0 "" print photo.exr -o again.tif -q --intent saturation --no-black-point-compensation
expect 0 "device.icc: is the profile of a display" print photo.exr -o again.tif --profile device.icc
expect 0 "" print photo.exr -o again.tif --profile device.icc -q
"$qva" print photo.exr -o again.tif --verbose 2>stderr.txt
grep -q "handed over" stderr.txt || fail "--verbose tells nothing"
expect 0 "" print flawed.exr -o again.tif -q
"$qva" print flawed.exr -o again.tif --profile device.icc 2>stderr.txt
grep -q "1 sample not a number, 1 infinite, 1 negative" stderr.txt || fail "flaws are not told"

# Every step can be turned off; without any, light is cut in each channel and nothing else.
steps="--exposure none --no-repair --no-colour-fit --no-rim-mix --no-shoulder"
common="-q --compression none --primaries bt2020 --top 10000"
# shellcheck disable=SC2086
expect 0 "" print light_cut.tif -o cut.tif $common $steps
# shellcheck disable=SC2086
expect 0 "" print light.tif -o off.tif $common $steps
cmp -s cut.tif off.tif || fail "steps that are off change bytes"
# shellcheck disable=SC2086
expect 0 "" print light.tif -o on.tif $common
for step in "--exposure 1" --no-repair --no-colour-fit --no-rim-mix --no-shoulder; do
    # shellcheck disable=SC2086
    expect 0 "" print light.tif -o off.tif $common $step
    cmp -s on.tif off.tif && fail "$step changes nothing"
done
# A chosen exposure is told, and is the same as one that is asked for.
"$qva" print light.tif -o chosen.tif --compression none 2>stderr.txt
stops=$(sed -n 's/.*exposed by \([-+][0-9.]*\) EV.*/\1/p' stderr.txt)
expect 0 "" print light.tif -o asked.tif -q --compression none --exposure "${stops:-0}"
[ -n "$stops" ] || fail "a chosen exposure is not told: $(cat stderr.txt)"
cmp -s chosen.tif asked.tif || fail "the exposure that is told is not the one chosen"
"$qva" print light.tif -o again.tif --white 203 2>stderr.txt
grep -q "exposed by" stderr.txt && fail "a stated light is exposed"

# Nothing but a complete result replaces what stands under its name.
echo old >old.tif
keeps_old() {
    expect "$@"
    [ "$(cat old.tif)" = old ] || fail "the old file changed: $*"
    [ -z "$(find . -name '.qva-*')" ] || fail "a temporary stayed: $*"
    echo old >old.tif
}
for photo in photo.exr photo.hdr photo.png photo16.tif photo32.tif; do
    head -c $(($(stat -c %s "$photo") / 2)) "$photo" >cut
    keeps_old 3 "cut: " print cut -o old.tif
done
keeps_old 3 "none.exr: no such file" print none.exr -o old.tif
keeps_old 5 "none.icc: no such file" print photo.exr -o old.tif --profile none.icc
keeps_old 5 "is not an ICC profile" print photo.exr -o old.tif --profile photo.hdr
{ cat device.icc; echo; } >longer.icc
keeps_old 5 "longer.icc: the profile states a size" print photo.exr -o old.tif --profile longer.icc
head -c 300 device.icc >shorter.icc
keeps_old 5 "shorter.icc: the profile states" print photo.exr -o old.tif --profile shorter.icc
# What the colour matcher refuses is not printed as a preview, and the picture is not blamed.
for command in print preview page; do
    keeps_old 5 "damaged.icc: the profile is damaged" $command photo.exr -o old.tif --profile damaged.icc
done
expect 0 "" print photo.exr -o again.tif --profile printer.icc
expect 0 "" preview photo.exr -o screen.tif --profile printer.icc
! cmp -s -i 8 -n 1000 again.tif screen.tif || fail "a print is its preview"

keeps_old 3 "--max-pixels" print photo.exr -o old.tif --max-pixels 100
keeps_old 1 "not above the black of the paper" print photo.exr -o old.tif --top 0.01
expect 4 "none/a.tif: cannot be written" print photo.exr -o none/a.tif
expect 4 "cannot be written" print photo.exr -o /proc/a.tif
mkdir a.tif
expect 2 "a.tif: is a folder" print photo.exr -o a.tif
ln -s /dev/full full.tif
expect 4 "full.tif: is not a regular file" print photo.exr -o full.tif
[ -c /dev/full ] || fail "/dev/full was replaced"

# Messages that cannot be written change nothing; nor do they go into files.
"$qva" print photo.exr -o told.tif 2>stderr.txt
"$qva" print photo.exr -o untold.tif --verbose 2>/dev/full ||
    fail "a full disk behind standard error: exit code $?"
cmp -s told.tif untold.tif || fail "a full disk behind standard error changes the result"
"$qva" print photo.exr -o closed.tif --verbose <&- >&- 2>&- || fail "closed streams: exit code $?"
cmp -s told.tif closed.tif || fail "closed streams change the result"
"$qva" print none.exr -o none.tif 2>&-
[ $? = 3 ] || fail "a failure that cannot be told gives another exit code"

cp photo16.tif same.tif
ln same.tif hard.tif
ln -s same.tif soft.tif
for name in same.tif ./same.tif hard.tif soft.tif; do
    expect 2 "is the photograph" print same.tif -o "$name"
done
cmp -s photo16.tif same.tif || fail "the photograph changed"
expect 2 "is the result" print photo.exr -o r.png --side-by-side ./r.png
expect 2 "--threads: 99999999999 is not between 1 and" print photo.exr -o r.tif --threads 99999999999
expect 2 "--dpi: '' is not a number" print photo.exr -o r.tif --dpi ''
[ -e r.tif ] && fail "a misused call wrote a file"

expect 0 "" print --help
expect_output "Examples:"
finish
