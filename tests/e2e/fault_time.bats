#!/usr/bin/env bats
# A CIM server that does not answer in time: the run goes on after the 20 seconds of that operation,
# whatever has come until then, and with the outcome of that step's rules. What each outcome means for
# each operation, and why, is in fault_table.bash. The runs take their 20 seconds beside each other,
# each in a room of its own.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source=../support/fault_table.bash
source "$BATS_TEST_DIRNAME/../support/fault_table.bash"

roomsAtOnce=29

# One line for each run: its fault and its operation.
listRuns() {
    local fault operation
    for fault in hang hang-within-head hang-within-body hang-before-last-chunk \
        drip drip-body drip-chunks drip-interim; do
        for operation in $everyOperation; do
            printf '%s %s\n' "$fault" "$operation"
        done
    done
    printf '%s connection\n' mute hang
}

setup_file() {
    export support runs=$BATS_FILE_TMPDIR MORVIK_MEMORY=any
    # shellcheck disable=SC2016 # expanded by the shell inside
    listRuns | xargs -P "$roomsAtOnce" -L 1 bash -c '"$support/room" /usr/bin/python3 \
        "$support/fault_runs.py" "$runs/$0.$1.bench" "$0" "$1" >"$runs/$0.$1" 2>"$runs/$0.$1.log"' 3>&- || true
}

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# The line of this run; without one, what has prevented it.
lineOf() { # FAULT OPERATION
    if [[ ! -s $runs/$1.$2 ]]; then
        cat "$runs/$1.$2.log" >&2
        grep -q '^room: ' "$runs/$1.$2.log" && skip 'rooms cannot be nested here'
        return 1
    fi
    cat "$runs/$1.$2"
}

waits() { # FAULT OUTCOME
    local operation
    for operation in $everyOperation; do
        lineOf "$1" "$operation"
    done >"$BATS_TEST_TMPDIR/runs"
    runsAre "$BATS_TEST_TMPDIR/runs" "$1" "$2" new 1
}

@test "no answer at all" { waits hang failed; }

@test "silence within the head of the answer" { waits hang-within-head failed; }

@test "silence within the body: longer than what comes" { waits hang-within-body lost; }

@test "silence where the last chunk is missing" { waits hang-before-last-chunk lost; }

@test "a byte a second does not prolong the wait" { waits drip lost; }

@test "a body of a byte a second does not prolong the wait" { waits drip-body lost; }

@test "a chunk a second does not prolong the wait" { waits drip-chunks lost; }

@test "an interim answer a second does not prolong the wait" { waits drip-interim failed; }

@test "the connection is never accepted: one time limit, nothing is begun" {
    lineOf mute connection >"$BATS_TEST_TMPDIR/runs"
    runsAre "$BATS_TEST_TMPDIR/runs" mute gone same 1
}

@test "every connection is accepted and never served: a limit for the model, and one for the names" {
    lineOf hang connection | sed 's/^connection/system/; s/connections=0/connections=1/' \
        >"$BATS_TEST_TMPDIR/runs"
    runsAre "$BATS_TEST_TMPDIR/runs" hang gone same 2
}
