#!/usr/bin/env bats
# The programs of scripts/bench print complete tables. The measured values do not matter here.

setup() {
    project=$BATS_TEST_DIRNAME/../..
    bench=$(cd "${MORVIK_BIN_DIR:?}/../bench" && pwd)
    table=$BATS_TEST_TMPDIR/table
}

# A row with these words and this many numbers after them.
hasRow() { # COUNT WORDS
    grep -Eq "^$2:?( +-?[0-9][0-9,.]*( us,)?){$1}( |\$)" "$table" || {
        printf 'no row "%s" with %d numbers in:\n' "$2" "$1" >&2
        cat "$table" >&2
        return 1
    }
}

@test "whole runs, with a replay of their requests" {
    python3 "$project/bench/imports.py" --repeat 1 "$MORVIK_BIN_DIR" "$bench" >"$table"
    local run
    for run in 'memory lines, none fits' 'processor lines, none fits' 'entries published' \
        'processors published' 'earlier entries deleted'; do
        hasRow 8 "$run"
    done
    # These ask the server nothing.
    hasRow 3 comments
    hasRow 3 'keyboard lines, none fits'
    hasRow 2 'enumeration of two instances with 54 properties'
}

@test "instructions and system calls: a request is sent with one call" {
    strace -o /dev/null true || skip 'processes cannot be traced here'
    python3 "$project/bench/costs.py" "$MORVIK_BIN_DIR" "$bench" >"$table"
    hasRow 1 'enumerate two processors'
    hasRow 1 'create an instance'
    [[ $(grep -c 'sendto 1\.0$' "$table") == 2 && $(grep -c 'sendto 2\.0$' "$table") == 2 ]]
    grep -Eq '^a run that finds no server: [0-9.]+ ms of CPU time, peak [0-9.]+ MiB, [0-9]+ shared libraries$' "$table"
}

@test "single steps" {
    "$bench/bench_micro" --benchmark_min_time=0.001 >"$table" 2>&1
    hasRow 1 encodeCreation
    hasRow 1 recogniseAndCut
}

@test "the nights of many machines" {
    command -v nginx >/dev/null || [[ -x /usr/sbin/nginx ]] || skip 'no nginx here'
    python3 "$project/bench/nights.py" 100 1 >"$table"
    local night
    for night in 'every file anew' 'every file anew, signed' changed 'changed, signed' 'changed, signed, TLS'; do
        hasRow 7 "$night"
    done
}
