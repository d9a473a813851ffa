#!/usr/bin/env bats
# A CIM server whose connection fails at one operation. What each outcome means for each operation, and
# why, is in fault_table.bash; here stands which fault has which outcome.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source=../support/fault_table.bash
source "$BATS_TEST_DIRNAME/../support/fault_table.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# --- it ends: what was sent is never sent again, and the next operation opens a connection ---

@test "closed before the answer" { everywhere close failed new; }

@test "reset before the answer" { everywhere reset failed new; }

@test "closed when the request was carried out, without an answer" { everywhere close-after-work lost new; }

@test "reset when the request was carried out, without an answer" { everywhere reset-after-work lost new; }

@test "closed within the head of the answer" { everywhere close-within-head failed new; }

@test "closed within the body: cut short" { everywhere close-within-body lost new; }

@test "reset within the body" { everywhere reset-within-body lost new; }

@test "closed within a chunk" { everywhere close-within-chunk lost new; }

@test "closed where the last chunk is missing, although the body is whole" {
    everywhere close-before-last-chunk lost new
}

# --- refused ---

@test "the server ends instead of an answer: every later operation is refused" { everywhere end gone new; }

@test "the server ends after an answer: the next operation is refused, and every later one" {
    everywhere end-after-answer last new
}

runOnBadConnections() { # FAULT
    "$python" "$support/fault_runs.py" "$BATS_TEST_TMPDIR/bench" "$1" connection \
        >"$BATS_TEST_TMPDIR/runs"
}

connectionFails() { # FAULT
    runsAre "$BATS_TEST_TMPDIR/runs" "$1" gone same 0
}

# The connection itself is there, so the run begins, and its first request finds no answer.
firstRequestFails() { # FAULT
    sed 's/^connection/system/; s/connections=0/connections=1/' "$BATS_TEST_TMPDIR/runs" \
        >"$BATS_TEST_TMPDIR/first"
    runsAre "$BATS_TEST_TMPDIR/first" "$1" gone same 0
}

@test "no server: the connection is refused" {
    runOnBadConnections none
    connectionFails none
}

@test "every connection is closed at once" {
    runOnBadConnections close
    firstRequestFails close
}

@test "every connection is reset at once: before it counts as made, or with the first request" {
    runOnBadConnections reset
    connectionFails reset || firstRequestFails reset
}

@test "every connection begins with a greeting of another protocol" {
    runOnBadConnections other-protocol
    firstRequestFails other-protocol
}

# --- closed between two operations: noticed before anything is sent, reopened, and nothing is lost ---

@test "closed with the answer, without having said so" { everywhere close-when-idle good new; }

@test "closed a moment after the first answer, without having said so" {
    everyOperation=system everywhere close-soon good new
}

@test "closed with the answer, which says so" { everywhere connection-close good new; }

# Runs with a transfer that takes until the server has closed the connection.
runWhileIdle() { # FAULT
    startPeer --machine "$project/tests/data/fru/machine.json"
    printf 'EnumerateInstances/KVAXDT_ComputerSystemDetails 1 %s 0.1\n' "$1" >"$faults"
    mkdir bin
    # The connection is gone when no socket of the client is connected to the server any more: what
    # the server has closed waits to be closed by the client, and what it has reset is no socket.
    cat >bin/ftp <<'END'
#!/bin/sh
while ss -Htn state established dport = :5988 | grep -q .; do sleep 0.01; done
END
    chmod +x bin/ftp
    printf '"F1","FAN","","x"\n' >1234wpk.txt
    PATH=$PWD/bin:$PATH runMorvik -s 127.0.0.1 -d dir
    succeeded
    equal '1 EnumerateInstances
2 EnumerateInstanceNames
2 GetProperty
2 DeleteInstance
2 GetProperty
2 CreateInstance' "$(cut -d ' ' -f 1,2 "$log")" 'the list of connections and requests'
}

@test "closed during the transfer of the data file: reopened" { runWhileIdle close-later; }

@test "reset during the transfer of the data file: reopened" { runWhileIdle reset-later; }

# --- something else than one answer ---

@test "bytes that are not HTTP" { everywhere garbage failed new; }

@test "a greeting of another protocol" { everywhere other-protocol failed new; }

@test "more bytes than were announced: the answer counts, the connection does not" {
    everywhere extra-bytes good new
}

@test "the answer to a request that is not made yet: it is not taken for that answer" {
    everywhere second-answer good new
}
