#!/usr/bin/env bats
# A CIM server that fails at one operation of a run: one fault for each outcome, at each operation.
# fault_table.bash states what each outcome means for each operation. Which fault of an answer or a
# connection has which outcome is tested with the client library.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source=../support/fault_table.bash
source "$BATS_TEST_DIRNAME/../support/fault_table.bash"

# Runs that wait for their time limit of 20 s do so together, each in a room of its own.
setup_file() {
    export support python runs=$BATS_FILE_TMPDIR MORVIK_MEMORY=any
    # shellcheck disable=SC2016,SC2086 # expanded by the shell inside; words
    {
        printf 'hang %s\n' $everyOperation
        printf '%s\n' 'drip creation' 'drip memory' 'hang connection' 'mute connection'
    } | xargs -P 11 -L 1 bash -c '"$support/room" "$python" "$support/fault_runs.py" \
        "$runs/$0.$1.bench" "$0" "$1" >"$runs/$0.$1" 2>"$runs/$0.$1.log"' 3>&- || true
}

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# --- the outcomes ---

@test "closed before the answer: failed" { everywhere close failed new; }

@test "a CIM error: failed, and the connection is kept" { everywhere 'error 1' failed same; }

@test "a CIM error for every creation, and for every operation" {
    everyOperation='creations all' everywhere 'error 1' failed same
}

@test "an answer of 70 MiB: failed, in little memory" { MORVIK_MEMORY=large everywhere huge failed new; }

@test "carried out, then closed without an answer: not sent again" { everywhere close-after-work lost new; }

@test "carried out, and the answer is not XML" { everywhere not-xml lost new; }

@test "carried out, and the answer has an error after the result" { everywhere error-after-result lost same; }

@test "the server ends before the answer: later operations are refused" { everywhere end gone new; }

@test "the server ends after the answer: later operations are refused" { everywhere end-after-answer last new; }

@test "closed after the answer: the next operation connects again" { everywhere close-when-idle good new; }

@test "an answer in chunks" { everywhere chunked good same; }

# --- time limits ---

# The lines of these runs; without one, the reason.
linesOf() { # FAULT OPERATION...
    local fault=$1 operation file
    shift
    for operation; do
        file=$runs/$fault.$operation
        if [[ ! -s $file ]]; then
            cat "$file.log" >&2
            grep -q '^room: ' "$file.log" && skip 'rooms cannot be nested here'
            return 1
        fi
        cat "$file"
    done >"$BATS_TEST_TMPDIR/runs"
}

@test "no answer: failed after 20 seconds" {
    # shellcheck disable=SC2086 # words
    linesOf hang $everyOperation
    runsAre "$BATS_TEST_TMPDIR/runs" hang failed new 1
}

@test "a byte each second: failed after 20 seconds all the same" {
    linesOf drip creation memory
    runsAre "$BATS_TEST_TMPDIR/runs" drip lost new 1
}

# --- no connection ---

connectionFails() { # FAULT LIMITS
    runsAre "$BATS_TEST_TMPDIR/runs" "$1" gone same "$2"
}

# The connection was made, so the run begins; its first request gets no answer.
firstRequestFails() { # FAULT LIMITS
    sed -i 's/^connection/system/; s/connections=0/connections=1/' "$BATS_TEST_TMPDIR/runs"
    connectionFails "$@"
}

runWithout() { # FAULT
    "$python" "$support/fault_runs.py" "$BATS_TEST_TMPDIR/bench" "$1" connection >"$BATS_TEST_TMPDIR/runs"
}

@test "no server: the connection is refused" {
    runWithout none
    connectionFails none 0
}

@test "a server of another protocol" {
    runWithout other-protocol
    firstRequestFails other-protocol 0
}

@test "the connection is never accepted: one time limit, and nothing is done" {
    linesOf mute connection
    connectionFails mute 1
}

@test "connections are accepted and never served: a limit for the model, and one for the names" {
    linesOf hang connection
    firstRequestFails hang 2
}
