#!/usr/bin/env bats
# A CIM server that does not answer in time: the run goes on after that operation's 20 seconds, with
# the outcome of that step's rules. All runs take their 20 seconds at once, each in a room of its own.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup_file() {
    runs=$BATS_FILE_TMPDIR
    export runs
    while read -r name way; do
        "$support/room" "$support/slow_run.bash" "$runs/$name" "$way" >"$runs/$name.log" 2>&1 3>&- &
    done <<'END'
system EnumerateInstances/KVAXDT_ComputerSystemDetails 1 hang
names EnumerateInstanceNames 1 hang
property GetProperty 1 hang
deletion DeleteInstance 1 hang
processor EnumerateInstances/KVAXDT_Processor 1 hang
memory EnumerateInstances/KVAXDT_PhysicalMemory 1 hang
creation CreateInstance 3 hang
drip EnumerateInstances/KVAXDT_ComputerSystemDetails 1 drip
drip-body CreateInstance 3 drip-body
connection mute
END
    wait
}

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# The run NAME ended as OUTCOME says, in time; the creations of these numbers have been asked for.
ended() { # NAME OUTCOME [NUMBER...]
    local name=$1 outcome=$2 milliseconds
    shift 2
    cd "$runs/$name" || return
    if [[ ! -e status ]]; then
        cat "../$name.log" >&2
        grep -q 'room: ' "../$name.log" && skip 'rooms cannot be nested here'
        return 1
    fi
    out=$PWD/out err=$PWD/err status=$(<status)
    "$outcome"
    milliseconds=$(<milliseconds)
    printf 'ended after %d ms\n' "$milliseconds"
    ((milliseconds >= 19500 && milliseconds < 30000))
    equal "$*" "$(grep -o 'FRUNumber:string="[^"]*' requests | cut -d '"' -f 2 | paste -sd ' ')" \
        'the list of creations'
    equal "$(sort requests)" "$(sort -u requests)" 'the list of requests'
    cd work || return
}

@test "the machine type does not come: no download, the import goes on over a new connection" {
    ended system usedLocalCopy P1 M1 F1 F2
    equal '2 EnumerateInstanceNames' "$(sed -n 2p ../requests | cut -d ' ' -f 1,2)" 'the second request'
    filesAre fru.txt
}

@test "the instance names do not come: the run ends, nothing is created" {
    ended names failedOnLocalCopy
    filesAre fru.log fru.txt
}

@test "a number does not come: the run ends, nothing is deleted or created" {
    ended property failedOnLocalCopy
    run ! grep -q DeleteInstance ../requests
    filesAre fru.log fru.txt
}

@test "a deletion is not confirmed: the run ends, nothing is created" {
    ended deletion failedOnLocalCopy
    filesAre fru.log fru.txt
}

@test "the processors do not come: that entry is skipped, the others follow" {
    ended processor usedLocalCopy M1 F1 F2
    filesAre fru.txt
}

@test "the memory modules do not come: that entry is skipped, the others follow" {
    ended memory usedLocalCopy P1 F1 F2
    filesAre fru.txt
}

@test "a creation is not confirmed: it is not repeated, the next entry follows" {
    ended creation usedLocalCopy P1 M1 F1 F2
    filesAre fru.txt
}

@test "a byte now and then does not prolong the wait" {
    ended drip usedLocalCopy P1 M1 F1 F2
}

@test "a body that comes byte by byte does not prolong the wait" {
    ended drip-body usedLocalCopy P1 M1 F1 F2
}

@test "the connection is never accepted: the fixed message" {
    ended connection failed
    filesAre fru.txt
}
