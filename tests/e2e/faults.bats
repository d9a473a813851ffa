#!/usr/bin/env bats
# A CIM server that fails at one operation: status 0, the outcome of that step's rules, and no request
# is ever sent twice.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    startPeer --machine "$project/tests/data/fru/machine.json"
    printf '"%s","%s","%s","x"\n' P1 PROCESSOR SPEED=2400 M1 MEMORY SIZE=512 F1 FAN '' F2 FAN '' >fru.txt
    runs=0
}
teardown() { stopServers; }

# The FRU numbers whose creation was asked for, in order.
asked() {
    grep CreateInstance "$log" | grep -o 'FRUNumber:string="[^"]*' | cut -d '"' -f 2 | paste -sd ' '
}

# A run with this fault ends as OUTCOME says; the creations of these numbers have been asked for.
strike() { # FAULT-LINE OUTCOME [NUMBER...]
    local line=$1 outcome=$2
    shift 2
    # The text is a new one for each run, so that the peer counts from the start again.
    printf '# %d\n%s\n' $((++runs)) "$line" >"$faults"
    : >"$log"
    runMorvik -s 127.0.0.1 -d dir
    if ! "$outcome" || ! equal "$*" "$(asked)" 'the list of creations'; then
        printf 'with the fault: %s\nrequests:\n' "$line" >&2
        cat "$log" >&2
        return 1
    fi
    equal "$(sort "$log")" "$(sort -u "$log")" "the list of requests with the fault $line"
    rm -f fru.log
}

# The fault at each operation in turn.
strikeEverywhere() { # FAULT
    # No machine type: no download.
    strike "EnumerateInstances/KVAXDT_ComputerSystemDetails 1 $1" usedLocalCopy P1 M1 F1 F2
    # The deletion step fails: nothing is created.
    strike "EnumerateInstanceNames 1 $1" failedOnLocalCopy
    strike "GetProperty 1 $1" failedOnLocalCopy
    strike "DeleteInstance 1 $1" failedOnLocalCopy
    # A question fails: that entry is skipped.
    strike "EnumerateInstances/KVAXDT_Processor 1 $1" usedLocalCopy M1 F1 F2
    strike "EnumerateInstances/KVAXDT_PhysicalMemory 1 $1" usedLocalCopy P1 F1 F2
    # A creation fails: that entry is dropped, the next follows.
    strike "CreateInstance 3 $1" usedLocalCopy P1 M1 F1 F2
}

@test "without a fault, all is created" {
    strike '' usedLocalCopy P1 M1 F1 F2
}

@test "the server closes the connection before it answers" { strikeEverywhere close; }

@test "the server resets the connection" { strikeEverywhere reset; }

@test "the connection ends within the head of the answer" { strikeEverywhere close-within-head; }

@test "the connection ends within the body of the answer" { strikeEverywhere close-within-body; }

@test "the answer is not HTTP" { strikeEverywhere garbage; }

@test "an answer of 70 MiB" { strikeEverywhere huge; }

@test "an answer of 70 MiB in chunks, without a length" { strikeEverywhere huge-chunked; }

@test "2 MiB of headers" { strikeEverywhere huge-head; }

@test "HTTP status 401" { strikeEverywhere status-401; }

@test "HTTP status 500 with a CIMError" { strikeEverywhere status-500; }

@test "a CIMOperation header other than MethodResponse" { strikeEverywhere wrong-header; }

@test "no CIMOperation header" { strikeEverywhere missing-header; }

@test "another message ID" { strikeEverywhere wrong-id; }

@test "no message ID" { strikeEverywhere missing-id; }

@test "the answer to another operation" { strikeEverywhere wrong-operation; }

@test "no response element" { strikeEverywhere no-response-element; }

@test "an XML document cut short" { strikeEverywhere cut-xml; }

@test "200000 elements within one another" { strikeEverywhere deep; }

@test "a document type with entities that multiply" { strikeEverywhere entities; }

@test "a body that is not XML" { strikeEverywhere not-xml; }

@test "a body that is a web page" { strikeEverywhere html; }

@test "an empty body" { strikeEverywhere empty-body; }

@test "bytes that are not UTF-8" { strikeEverywhere bad-utf8; }

@test "a CIM error" { strikeEverywhere 'error 1'; }

@test "a CIM error in a trailer" { strikeEverywhere error-in-trailer; }

@test "the server ends: no later operation reaches it" {
    strike 'EnumerateInstances/KVAXDT_ComputerSystemDetails 1 end' failedOnLocalCopy
    stopServers
    startPeer --machine "$project/tests/data/fru/machine.json"
    strike 'DeleteInstance 1 end' failedOnLocalCopy
    stopServers
    startPeer --machine "$project/tests/data/fru/machine.json"
    strike 'EnumerateInstances/KVAXDT_Processor 1 end' usedLocalCopy
    stopServers
    startPeer --machine "$project/tests/data/fru/machine.json"
    strike 'CreateInstance 3 end' usedLocalCopy P1 M1 F1
}

@test "every operation fails" {
    strike '* * error 1' failedOnLocalCopy
    strike '* * close' failedOnLocalCopy
    strike 'CreateInstance * close' usedLocalCopy P1 M1 F1 F2
}
