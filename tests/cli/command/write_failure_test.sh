# Every write of a small print and of a small page fails, or is where the program is stopped: under
# the final name there is the old file or the whole new one. LUMO_SWEEP_STRIDE=1 tries every call in
# every way; ordinary runs every 23rd.
[ -w /dev/shm ] && export TMPDIR=/dev/shm # every run waits for its disk
. "$(dirname "$0")/../support/shell_support.sh"

stride=${LUMO_SWEEP_STRIDE:-23}
ways=0
failed=0
stopped=0
export ASAN_OPTIONS=detect_leaks=0 # the leak checker and strace exclude each other
print="print photo.exr -q --threads 1 --profile device.icc -o"
page="page tall.tif --quiet --threads 1 --profile device.icc --band-rows 100 -o"
calls="openat write pwrite64 fchmod fsync ftruncate rename close"

# The numbers of the calls of one kind that touch what is written: those behind the first temporary,
# but for pipes, with which the sanitizers find out what memory there is.
places() {
    awk -v from="$start" -v call=" $1(" \
        'index($0, call) { ++n; if (NR >= from && !/<pipe:/) print n }' trace.txt
}

# After a run: the old file, or with exit code 0 the new one, and no temporary of a print.
check() {
    local got=$1 what=$2
    if [ "$got" = 0 ] || cmp -s "$result" "$whole"; then
        cmp -s "$result" "$whole" || fail "another result: $what"
    else
        [ "$(cat "$result")" = old ] || fail "the old file changed: $what"
    fi
    [ -z "$(find . -name '.qva-*')" ] || fail "a temporary stayed: $what"
    rm -f .qva-*
}

# A page that was stopped or that failed goes on to the same bytes.
goes_on() {
    [ -e "$result.qva-part" ] || return
    # shellcheck disable=SC2086
    expect 0 "" $command "$result" --resume
    cmp -s "$result" "$whole" || fail "goes on to other bytes: $1"
}

sweep() {
    command=$1 result=$2 whole=whole.$2
    local call place kind got
    # shellcheck disable=SC2086
    strace -f -y -o trace.txt -e trace="${calls// /,}" "$qva" $command "$whole" ||
        { fail "strace cannot trace: $command"; return; }
    start=$(grep -nm1 -e '\.qva-' trace.txt | cut -d: -f1)
    for call in $calls; do
        for place in $(places "$call"); do
            for kind in error=ENOSPC signal=SIGINT signal=SIGTERM; do
                ways=$((ways + 1))
                [ $((ways % stride)) = 0 ] || continue
                rm -f "$result".qva-*
                echo old >"$result"
                # The shell says itself what ended by a signal.
                # shellcheck disable=SC2086
                { strace -f -o /dev/null -e trace="$call" -e inject="$call:$kind:when=$place" \
                    "$qva" $command "$result" >/dev/null 2>stderr.txt; got=$?; } 2>/dev/null
                case $kind,$got in
                    error=*,0) cmp -s "$result" "$whole" || fail "$call $place fails unnoticed" ;;
                    error=*,4) grep -qi "^qva: .*: .*no space left" stderr.txt ||
                        fail "$call $place fails with: $(cat stderr.txt)" ;;
                    # The picture is opened again.
                    error=*,3) grep -qiE "^qva: (tall.tif|photo.exr): .*no space left" stderr.txt ||
                        fail "$call $place fails with: $(cat stderr.txt)" ;;
                    signal=SIGINT,130 | signal=SIGTERM,143) ;;
                    *) fail "exit code $got: $command, $call $place, $kind" ;;
                esac
                case $kind in
                    error=*) failed=$((failed + 1)) ;;
                    *) stopped=$((stopped + 1)) ;;
                esac
                check "$got" "$command, $call $place, $kind"
                goes_on "$command, $call $place, $kind"
            done
        done
    done
}

sweep "$print" a.tif
sweep "$print" a.png
sweep "$page" b.tif
sweep "$page" b.png
[ "$failed" -ge 2 ] && [ "$stopped" -ge 4 ] || fail "only $failed failed, $stopped stopped"
echo "$failed calls failed, $stopped runs stopped"

# A disk of 64 kB, fuller each time; where mounting is not permitted, files may not grow instead.
mkdir disk
disk_run() {
    unshare -m bash -c 'mount -t tmpfs -o size=64k none disk && echo old >disk/old.tif || exit 99
        head -c "$1" /dev/zero >disk/full; "${@:2}" 2>stderr.txt; got=$?
        [ $got = 0 ] || [ "$(cat disk/old.tif)" = old ] || got=98
        [ -z "$(find disk -name ".qva-*")" ] || got=97; exit $got' bash "$@"
}
if ! disk_run 0 true 2>/dev/null; then
    disk_run() {
        echo old >disk/old.tif
        (ulimit -f $(((65536 - $1) / 1024)); exec "${@:2}" 2>stderr.txt)
    }
fi
for full in 0 24576 32768 49152 53248 57344 61440; do
    for command in "$print" "$page"; do
        # shellcheck disable=SC2086
        disk_run $full "$qva" $command disk/old.tif --compression none
        got=$?
        [ $got = 0 ] || { [ $got = 4 ] && grep -q "disk/old.tif: cannot be written: " stderr.txt; } ||
            fail "a disk with $full of 65536 bytes taken: $got $(cat stderr.txt)"
    done
done
[ $got = 4 ] || fail "no disk was full"

# A folder that may not be written, for somebody who may not change that.
mkdir closed
echo old >closed/old.tif
chmod 555 closed
drop=""
[ "$(id -u)" = 0 ] && drop="setpriv --bounding-set=-dac_override --inh-caps=-dac_override"
for command in "$print" "$page"; do
    # shellcheck disable=SC2086
    $drop "$qva" $command closed/old.tif 2>stderr.txt
    [ $? = 4 ] || fail "a closed folder goes unnoticed: $command"
    grep -q "^qva: closed/old.tif: cannot be written: permission denied" stderr.txt ||
        fail "closed folder: $(cat stderr.txt)"
    [ "$(cat closed/old.tif)" = old ] || fail "a closed folder was written"
done
chmod 755 closed

# A part that is a link leads nowhere else.
echo precious >precious
ln -s precious c.tif.qva-part
# shellcheck disable=SC2086
expect 4 "c.tif: cannot be written" $page c.tif
[ "$(cat precious)" = precious ] || fail "a part was written through a link"
finish
