#!/usr/bin/env bats
# The programs of scripts/bench and the tables that they print, with little to do: what is measured
# is of no interest here, only that it still can be.

setup() {
    project=$BATS_TEST_DIRNAME/../..
    bench=$(cd "${MORVIK_BIN_DIR:?}/../bench" && pwd)
    table=$BATS_TEST_TMPDIR/table
}

# A row with these words and as many numbers behind them, none of them missing.
hasRow() { # COUNT WORDS
    grep -Eq "^$2( +-?[0-9][0-9,.]*){$1}( |\$)" "$table" || {
        printf 'no row "%s" with %d numbers in:\n' "$2" "$1" >&2
        cat "$table" >&2
        return 1
    }
}

@test "whole runs beside a replay of their requests" {
    python3 "$project/bench/imports.py" --repeat 1 "$MORVIK_BIN_DIR" "$bench" >"$table"
    local run
    for run in 'processor lines, none fits' 'memory lines, none fits' 'keyboard lines, none fits' \
        'entries published' 'processors published' 'earlier entries deleted'; do
        hasRow 7 "$run"
    done
}

@test "instructions and system calls: a request is one send" {
    strace -o /dev/null true || skip 'the system lets no process be traced'
    python3 "$project/bench/costs.py" "$MORVIK_BIN_DIR" "$bench" >"$table"
    hasRow 1 'enumerate two processors'
    hasRow 1 'create an instance'
    [[ $(grep -c 'sendto 1\.0$' "$table") == 2 && $(grep -c 'sendto 2\.0$' "$table") == 2 ]]
    grep -Eq '^a run that finds no server: [0-9.]+ ms of CPU time, peak [0-9.]+ MiB, [0-9]+ shared libraries$' "$table"
}

@test "scale" {
    python3 "$project/bench/scale.py" --largest 10 "$MORVIK_BIN_DIR" "$bench" >"$table"
    hasRow 5 comments
    hasRow 5 'of ours, all deleted'
}

@test "single steps" {
    "$bench/bench_micro" --benchmark_min_time=0.001 >"$table" 2>&1
    hasRow 1 encodeCreation
    hasRow 1 recogniseAndCut
}
