# What programs are told: --json against its schema, --dry-run, exit codes, pipes.
. "$(dirname "$0")/../support/shell_support.sh"
schema=$(dirname "$0")/../../../cli/output.schema.json
checker=$(dirname "$0")/../support/check_output.py

# tells KIND ARGUMENTS...: qva writes one document of a kind, and nothing else.
tells() {
    local kind=$1
    shift
    "$qva" "$@" >stdout.txt 2>stderr.txt
    /usr/bin/python3 "$checker" "$schema" stdout.txt "$kind" 2>check.txt || fail "$*: $(cat check.txt)"
}
missing() {
    [ ! -e "$1" ] || fail "--dry-run wrote $1"
}

for photo in photo.exr photo.hdr photo.png photo16.tif flawed.exr light.tif; do
    tells info info "$photo" --json
done
"$qva" info photo.exr none.exr pq.png --json >stdout.txt 2>stderr.txt
[ $? = 3 ] || fail "info of a missing picture and others: another exit code"
/usr/bin/python3 "$checker" "$schema" stdout.txt info failure info 2>check.txt || fail "info: $(cat check.txt)"
tells printPlan print photo.exr -o a.tif --json --dry-run
tells printPlan preview photo.exr -o a.tif --json --dry-run
tells pagePlan page tall.tif -o a.tif --json --dry-run
tells proofPlan proof photo.exr -o a.png --json --dry-run
tells reportPlan report photo.exr -o a.html --json --dry-run
missing a.tif
missing a.png
missing a.html
expect 0 "" print photo.exr -o a.tif --dry-run
expect_output "a.tif, at once"
missing a.tif
tells printed print photo.exr -o a.tif --json --timing
grep -q "generic photo paper" stdout.txt || fail "remarks are not told to programs"
tells printed preview photo.exr -o a.tif --json -q
tells proofed proof photo.exr --profile press.icc --json
tells proofed proof a.tif --any-paper -o a.png --json
tells printer printers --json --check press.icc
tells reported report photo.exr -o a.html --json
tells pagePrinted page tall.tif -o a.tif --json --band-rows 100 --timing
for i in 1 2; do
    expect 0 "" page tall.tif -o "s$i.tif" -q --profile device.icc --band-rows 100 --band "$i/2"
done
tells joinPlan join s1.tif s2.tif -o joined.tif --json --dry-run
expect 0 "" join s2.tif s1.tif -o joined.tif --dry-run
expect_output "would be written"
missing joined.tif
tells joined join s1.tif s2.tif -o joined.tif --json

# Every reason to fail has its code, also in the document.
fails() {
    local code=$1
    shift
    tells failure "$@" --json
    grep -q "\"exitCode\": $code," stdout.txt || fail "not $code: $* $(cat stdout.txt)"
    "$qva" "$@" 2>/dev/null
    [ $? = "$code" ] || fail "exit code is not $code: $*"
}
head -c 200 photo.exr >cut.exr
fails 3 print none.exr -o b.tif
fails 3 print cut.exr -o b.tif
fails 3 join s1.tif -o b.tif
fails 4 print photo.exr -o none/b.tif
fails 4 print photo.exr -o a.tif --no-clobber
fails 5 print photo.exr -o b.tif --profile none.icc
fails 5 proof photo.exr --profile none.icc
fails 4 report photo.exr -o none/b.html
fails 5 page photo.exr -o b.tif --profile damaged.icc
fails 2 print pq.png -o b.tif --white 100
fails 1 print photo.exr -o b.tif --top 0.01
"$qva" --help >help.txt
for code in 0 1 2 3 4 5 128+n; do
    grep -qE "^ +${code/+/\\+} " help.txt || fail "--help does not tell code $code"
    grep -q "^| \`$code\` |" "$(dirname "$0")/../../../docs/automation.md" || fail "docs lack $code"
done
expect 4 "make its folder first" print photo.exr -o none/b.tif
expect 2 "qva batch" print photo.exr pq.png -o b.tif
mkdir folder
expect 2 "qva batch" print photo.exr -o folder/
expect 2 "qva batch" print photo.exr -o folder

# Options that change nothing, or perhaps not what is meant.
"$qva" print photo.exr -o b.tif --encoding pq --headroom 1 2>stderr.txt
grep -q "takes its floating-point values as signals" stderr.txt || fail "--encoding: $(cat stderr.txt)"
grep -q "no gain map: --headroom changes nothing" stderr.txt || fail "--headroom is not told"
"$qva" print photo.exr -o b.tif --encoding linear 2>stderr.txt
grep -q "signals" stderr.txt && fail "linear light is told"

# Pipes give the bytes of files, and leave nothing.
export TMPDIR=$folder/spool
mkdir "$TMPDIR"
for ending in tif png; do
    expect 0 "" print photo.exr -o file.$ending -q
    "$qva" print - -o - --format $ending -q <photo.exr | cat >piped.$ending
    cmp -s file.$ending piped.$ending || fail "a pipe gives another $ending"
done
"$qva" page - -o piped.tif -q --profile device.icc --band-rows 100 <tall.tif || fail "page from a pipe"
"$qva" page tall.tif -o file.tif -q --profile device.icc --band-rows 100
cmp -s file.tif piped.tif || fail "a page from a pipe is another"
"$qva" info - <photo.exr >stdout.txt
head -1 stdout.txt | grep -q "^standard input$" || fail "info of a pipe: $(head -1 stdout.txt)"
"$qva" proof - -q --size 24 <photo.exr >stdout.txt
head -1 stdout.txt | grep -q "^standard input$" || fail "proof of a pipe: $(head -1 stdout.txt)"
"$qva" print - -o b.tif </dev/null 2>stderr.txt
[ $? = 3 ] && grep -q "standard input: is empty" stderr.txt || fail "an empty pipe: $(cat stderr.txt)"
head -c 200 photo.exr | "$qva" print - -o b.tif 2>stderr.txt
grep -q "^qva: standard input: " stderr.txt || fail "a cut pipe: $(cat stderr.txt)"
head -c 70000000 /dev/zero | "$qva" info - --max-pixels 1 2>stderr.txt
grep -q "gives more than" stderr.txt || fail "a pipe without end: $(cat stderr.txt)"
"$qva" print photo.exr -o - -q >/dev/full 2>stderr.txt
[ $? = 4 ] || fail "a full disk behind standard output: $(cat stderr.txt)"
expect 2 "needs a name" page tall.tif -o -
expect 2 "is told on standard output" print photo.exr -o - --json
[ -z "$(ls -A "$TMPDIR")" ] || fail "a pipe leaves $(ls -A "$TMPDIR")"
finish
