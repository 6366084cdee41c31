#!/bin/sh
# Runs every fuzz target of a fuzz build for a bounded time, starting from the seed corpus kept in
# tests/fuzz/corpus/<target>/ (copied, so the repository's seeds never grow), and prints the
# executions and crashes of each. Crash inputs are kept in out/fuzz/<target>/. Exits 1 when any
# target crashed.
set -u
BUILD=${1:-build-fuzz}
SECONDS_EACH=${2:-60}
OUT=out/fuzz
# Readers that take a path get each input through a scratch file: keep it in memory when we can.
[ -d /dev/shm ] && [ -w /dev/shm ] && export TMPDIR=/dev/shm
status=0
for program in "$BUILD"/fuzz_*; do
    [ -x "$program" ] || continue
    target=$(basename "$program" | sed 's/^fuzz_//')
    work="$OUT/$target"
    rm -rf "$work"
    mkdir -p "$work/corpus" "$work/crashes"
    cp tests/fuzz/corpus/"$target"/* "$work/corpus/" 2>/dev/null || true
    # The host's sleep returns at once, so libFuzzer's memory watch thread (which sleeps between
    # looks) would spin: it is off, and single allocations are limited instead. The per-input leak
    # check is off too: it rescans the loaded plug-in's whole heap after any input that leaves an
    # allocation behind (the host keeps a log of browser requests), a hundred times slower.
    # Without a memory limit libFuzzer would still hand the allocator's free pages back to the
    # system every second, and the host's job threads make each of those a TLB flush on every
    # core: a third of the setup target's time.
    "$program" "$work/corpus" -max_total_time="$SECONDS_EACH" -print_final_stats=1 \
        -rss_limit_mb=0 -malloc_limit_mb=2048 -detect_leaks=0 -purge_allocator_interval=-1 \
        -artifact_prefix="$work/crashes/" >"$work/log" 2>&1
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log" | tail -n 1)
    crashes=$(find "$work/crashes" -type f | wc -l)
    echo "fuzz $target: ${runs:-?} executions in ${SECONDS_EACH} s, $crashes crash(es)"
    if [ "$crashes" -ne 0 ] || [ -z "$runs" ]; then
        status=1
        grep -m 3 -E 'ERROR|runtime error|broken property' "$work/log" | sed 's/^/    /'
        echo "    log: $work/log; inputs: $work/crashes/"
    fi
done
exit $status
