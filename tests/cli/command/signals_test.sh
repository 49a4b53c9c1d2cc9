# Signals that come while a temporary is there: the program ends by them and leaves nothing, or goes
# on where its caller had set them to be ignored. What SIGKILL leaves is told by the next run.
[ -w /dev/shm ] && export TMPDIR=/dev/shm
. "$(dirname "$0")/../support/shell_support.sh"

# Under a sanitizer: its leak checker and strace exclude each other, and what it would report of a
# fault is the program's here.
faults=handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:handle_abort=0
export ASAN_OPTIONS=detect_leaks=0:$faults TSAN_OPTIONS="${TSAN_OPTIONS:-} $faults"
print="print photo.exr -q --threads 1 --profile device.icc -o"
# shellcheck disable=SC2086
expect 0 "" $print whole.tif

# with SIGNAL COMMAND...: the signal comes with the second write into the result.
with() {
    strace -f -o /dev/null -e trace=pwrite64 -e "inject=pwrite64:signal=$1:when=2" "${@:2}"
}
temporaries() {
    find . -name '.qva-*'
}

# tells RESULT TEXT: a run tells of TEXT, or of nothing left behind where it is empty.
tells() {
    "$qva" preview photo.exr -o "$1" 2>stderr.txt || fail "a run beside a temporary fails"
    if [ -z "$2" ]; then
        ! grep "left behind" stderr.txt || fail "a temporary in use is told"
    else
        grep -qF "$2" stderr.txt || fail "not told: $2"
    fi
}

for signal in HUP INT QUIT ILL ABRT BUS FPE USR1 USR2 PIPE ALRM TERM XCPU VTALRM PROF IO PWR SYS; do
    rm -f a.tif
    # The shell says itself what ended by a signal.
    # shellcheck disable=SC2086
    { with "SIG$signal" "$qva" $print a.tif 2>stderr.txt; got=$?; } 2>/dev/null
    [ "$got" = $((128 + $(kill -l "$signal"))) ] || fail "$signal ends the program with $got"
    [ -z "$(temporaries)" ] || fail "$signal leaves $(temporaries)"
    [ ! -e a.tif ] || fail "$signal leaves a result"
done

for signal in HUP INT QUIT PIPE ALRM TERM XCPU USR1; do
    # shellcheck disable=SC2086
    (trap '' "$signal"; with "SIG$signal" "$qva" $print a.tif) || fail "ignored $signal: $?"
    cmp -s a.tif whole.tif || fail "ignored $signal: another result"
    rm -f a.tif
done
for signal in WINCH CHLD URG CONT; do
    # shellcheck disable=SC2086
    with "SIG$signal" "$qva" $print a.tif || fail "$signal ends the program"
done

# Messages into a pipe that nobody reads are no reason to stop.
(sleep 0.5; exec "$qva" page tall.tif -o b.tif --profile device.icc --band-rows 100 --progress json) \
    2>&1 | true
[ "${PIPESTATUS[0]}" = 0 ] || fail "a closed pipe: ${PIPESTATUS[0]}"
[ -z "$(temporaries)" ] || fail "a closed pipe leaves $(temporaries)"
"$qva" page tall.tif -o whole_b.tif --profile device.icc --band-rows 100 --quiet
cmp -s b.tif whole_b.tif || fail "a closed pipe behind standard error changes the result"
# Nobody reads the result of info: the usual end.
{ (sleep 0.5; exec "$qva" info tall.tif) | true; got=${PIPESTATUS[0]}; } 2>/dev/null
[ "$got" = 141 ] || fail "a closed pipe behind standard output: $got"

# A stopped run is no killed one, and its temporary is not told.
# shellcheck disable=SC2086
with SIGSTOP "$qva" $print a.tif &
for ((i = 0; i < 200; ++i)); do
    stopped=$(pgrep -P "$(pgrep -P $! -x strace)" -x qva)
    [ -n "$stopped" ] && [ -n "$(temporaries)" ] && grep -q 'State:.[Tt] ' "/proc/$stopped/status" &&
        break
    sleep 0.05
done
[ -n "$(temporaries)" ] || fail "a stopped run has no temporary"
tells other.tif ""
while kill -CONT "$stopped" 2>/dev/null; do sleep 0.1; done
wait $! || fail "a stopped run does not go on"
[ -z "$(temporaries)" ] || fail "a stopped run leaves $(temporaries)"

# A killed one is told by every later run, which leaves the file alone.
# shellcheck disable=SC2086
{ with SIGKILL "$qva" $print a.tif 2>stderr.txt; } 2>/dev/null
left=$(temporaries)
[ -n "$left" ] || fail "a killed run leaves nothing to be told"
tells other.tif "$left: was left behind by a run that was killed"
tells other.png "$left: was left behind"
expect 0 "" preview photo.exr -q --profile device.icc -o other.tif
mkdir elsewhere
"$qva" preview photo.exr -o elsewhere/other.tif --side-by-side sheet.png 2>stderr.txt
grep -qF "$left: was left behind" stderr.txt || fail "what lies beside a sheet is not told"
[ "$(temporaries)" = "$left" ] || fail "a temporary of another run was removed"
finish
