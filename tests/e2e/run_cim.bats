#!/usr/bin/env bats
# morvik-run beside a CIM server that is gone, full, slow or different, killed runs, and full disks.

# shellcheck source-path=SCRIPTDIR source=../support/run.bash
source "$BATS_TEST_DIRNAME/../support/run.bash"

teardown() {
    stopServers || return
    if mountpoint -q disk; then umount disk; fi
}

# --- the CIM server ---

@test "no CIM server, and one without the classes: status 5" {
    fans A 4 >"$files/1234wpk.txt"
    runFiles
    ended 5 'cannot connect to 127.0.0.1:5988: Connection refused'
    equal 5 "$(lastRun .last.status)" 'the remembered status'
    printf 'class Site_A { [Key] string k; };\n' >site.mof
    startCimd site.mof
    runFiles
    ended 5 'CIM server: CIM_ERR_INVALID_CLASS'
}

@test "a machine type that could be part of a path: refused before anything is asked" {
    startMachine --model 'x[../a]'
    startFtp
    runNight MORVIK_SERVER=127.0.0.1
    ended 5 "the machine type '../a' has other characters than letters"
    [[ ! -s $ftpLog ]]
    stopServers
    startMachine --model ''
    runFiles
    ended 5 'the CIM server does not give the machine type'
    # One file for all types needs none.
    fans A 1 >mine
    runNight MORVIK_FILE="$PWD/mine"
    ended 0 'published 1 entry of'
}

@test "an entry that the CIM server does not take: nothing is deleted, and its words are shown" {
    startRecordedMachine
    startGood
    fans B 4 >"$files/1234wpk.txt"
    printf 'CreateInstance 3 error 1\n' >"$faults"
    runFiles
    ended 5 'the CIM server does not take the entry B3 (FAN): CIM_ERR_FAILED: deliberate' \
        '4 entries stay published'
    goodStays
}

@test "an entry that morvik cannot create: the last good entries are published again" {
    startRecordedMachine
    startGood
    fans B 4 >"$files/1234wpk.txt"
    # The first four are the rehearsal.
    printf 'CreateInstance 6 error 1\n' >"$faults"
    runFiles
    ended 6 'not published: B2 (FAN)' 'the last good entries are published'
    run ! grep 'stay' "$err"
    [[ ! -e $state/publishing ]]
    goodStays
    equal '[6,true]' "$(lastRun '[.last.status, .last.restored]')" 'the remembered run'
    cmp <(fans A 4) "$state/fru.good.txt"
    runFiles
    ended 0 '4 added, 4 removed'
    publishedNumbersAre B1 B2 B3 B4
}

@test "without a last good file, the new one is published in a second try" {
    startRecordedMachine
    fans B 4 >"$files/1234wpk.txt"
    printf 'CreateInstance 6 error 1\n' >"$faults"
    runFiles
    ended 0 'published 4 entries' 'in a second try; in the first, not published: B2 (FAN)'
    publishedNumbersAre B1 B2 B3 B4
    : >"$state/fru.good.txt"
    fans D 4 >"$files/1234wpk.txt"
    printf 'CreateInstance 6 error 2\n' >"$faults"
    runFiles
    ended 0 'in a second try'
    publishedNumbersAre D1 D2 D3 D4
    rm -r "$state"
    fans C 4 >"$files/1234wpk.txt"
    printf 'CreateInstance 6 error 1\nCreateInstance 10 error 1\n' >"$faults"
    runFiles
    ended 6 'not published: C2 (FAN)' 'the last good entries could not be published again'
}

@test "a CIM server that is gone when morvik has begun: the next run mends" {
    startRecordedMachine
    startGood
    fans B 4 >"$files/1234wpk.txt"
    printf 'CreateInstance 7 end\n' >"$faults"
    runFiles
    ended 5 'cannot look at what is published: cannot connect'
    [[ -e $state/publishing ]]
    # The parts server is gone, too, so that only the last good file is left.
    : >"$faults"
    servers=("${servers[0]}")
    startPeer --upstream 5989
    publishedNumbersAre B1 B2
    rm "$files/1234wpk.txt"
    runFiles --check
    ended 2
    publishedNumbersAre B1 B2
    runFiles
    ended 2 'does not exist' 'an earlier run was interrupted: the last good entries are published again'
    goodStays
    [[ ! -e $state/publishing ]]
}

@test "a CIM server with a full disk: the published entries stay, or are published again" {
    mkdir disk
    mount -t tmpfs -o size=8m disk disk 2>/dev/null || skip 'cannot mount here'
    writeMachine >machine.mof
    startCimd --store disk/fru.db "$schema/kvaxdt.mof" machine.mof
    startGood
    head -c 9M /dev/zero >disk/filler 2>/dev/null || true
    fans B 40 >"$files/1234wpk.txt"
    runFiles
    # Depends on where in its file the server has room.
    ((status == 5 || status == 6)) || ended 6
    goodStays
    rm disk/filler
    runFiles
    ended 0 '40 added, 4 removed'
}

@test "a CIM server that is full: as many entries as before can be published, but not more" {
    writeMachine >machine.mof
    startCimd --max-instances 4 "$schema/kvaxdt.mof" machine.mof
    startGood
    fans B 5 >"$files/1234wpk.txt"
    runFiles
    ended 5 'does not take the entry B1 (FAN): CIM_ERR_SERVER_LIMITS_EXCEEDED' '4 entries stay published'
    goodStays
    fans B 4 >"$files/1234wpk.txt"
    runFiles
    ended 0 '4 added, 4 removed'
    publishedNumbersAre B1 B2 B3 B4
}

@test "a CIM server that does not answer: status 5 after the time of one request" {
    startRecordedMachine
    startGood
    fans B 4 >"$files/1234wpk.txt"
    printf 'CreateInstance 2 hang\n' >"$faults"
    runFiles
    ended 5 'B2 (FAN)' 'time'
    ((SECONDS < 50))
    goodStays
    : >"$faults"
    runFiles
    ended 0
    # An entry that the rehearsal may have left is removed.
    publishedNumbersAre B1 B2 B3 B4
}

@test "a CIM server without GetProperty: earlier entries are deleted by their names" {
    startRecordedMachine
    fans A 4 >"$files/1234wpk.txt"
    printf 'GetProperty * error 7\n' >"$faults"
    runFiles
    ended 0
    fans B 4 >"$files/1234wpk.txt"
    runFiles
    ended 0 'deleted 4 entries by name, because the CIM server has no GetProperty'
    publishedNumbersAre B1 B2 B3 B4
    fans A 4 >"$files/1234wpk.txt"
    printf 'GetProperty * error 1:Provider_has_no_property_operations\n' >"$faults"
    runFiles
    ended 0 'deleted 4 entries by name'
    fans B 4 >"$files/1234wpk.txt"
    runFiles
    # morvik fails at an entry of somebody else, so nothing is deleted.
    createAs Other X1 other
    fans C 4 >"$files/1234wpk.txt"
    runFiles
    ended 5 'has no GetProperty for KVAXDT_FRU' '4 entries stay published'
    publishedNumbersAre B1 B2 B3 B4 X1
}

@test "entries of other publishers stay, good night or bad" {
    startMachine
    createAs Other X1 other
    startGood
    fans B 4 >"$files/1234wpk.txt"
    runFiles
    publishedNumbersAre B1 B2 B3 B4 X1
}

@test "an OpenPegasus server" {
    startPegasusMachine
    startGood
    fans B 4 >"$files/1234wpk.txt"
    runFiles
    ended 0 '4 added, 4 removed'
    publishedNumbersAre B1 B2 B3 B4
    fans B 1 >"$files/1234wpk.txt"
    runFiles
    ended 4
}

# --- killed runs ---

waitFor() { # FILE
    local end=$((SECONDS + patience))
    until [[ -e $1 ]]; do
        ((SECONDS < end)) || return 1
        sleep 0.01
    done
}

# Starts a run, kills it when the peer has reached the fault, and waits until morvik has ended, too.
killAt() { # SIGNAL FAULT
    local pid
    rm -f reached
    printf '%s\n' "$2 $PWD/reached" >"$faults"
    STATE_DIRECTORY=$state MORVIK_FILES=$files "$run" >"$out" 2>"$err" 3>&- &
    pid=$!
    waitFor reached
    kill "-$1" "$pid"
    status=0
    wait "$pid" || status=$?
    : >"$faults"
}

@test "killed at any stage: the old or the new entries are published, and the next run mends" {
    out=$BATS_TEST_TMPDIR/out err=$BATS_TEST_TMPDIR/err
    startRecordedMachine
    startGood
    fans B 4 >"$files/1234wpk.txt"
    local stage
    # The machine, the judgement, the rehearsal, the check for GetProperty: nothing has been deleted.
    for stage in 'EnumerateInstances/KVAXDT_Processor 1' 'EnumerateInstances/KVAXDT_FRU 1' \
        'CreateInstance 1' 'CreateInstance 4' 'DeleteInstance 2' 'EnumerateInstanceNames 1' 'GetProperty 1'; do
        killAt KILL "$stage hang"
        equal 137 "$status" "the status of a run killed at $stage"
        equal 'A1 A2 A3 A4' "$(published | cut -d '|' -f 1 | grep ^A | sort | paste -sd ' ')" "the entries after $stage"
    done
    # morvik goes on without the run that has started it. Its request fails after 20 seconds.
    killAt KILL 'CreateInstance 6 hang'
    equal 137 "$status" 'the status of a run killed during morvik'
    runFiles
    ended 1 'another run is using the state directory'
    local end=$((SECONDS + patience))
    until runFiles && ((status != 1)); do ((SECONDS < end)) && sleep 0.2; done
    ended 0
    publishedNumbersAre B1 B2 B3 B4
    [[ ! -e $state/publishing ]]
    # Whichever of them has published the entries.
    equal '["A1","A2","A3","A4"] ["B1","B2","B3","B4"]' \
        "$(tail -n 1 "$state/history.jsonl" | jq -r '[.removed, .added | map(.fruNumber) | tojson] | join(" ")')" \
        'the change'
}

@test "asked to end while morvik runs: the run ends when the entries are whole" {
    out=$BATS_TEST_TMPDIR/out err=$BATS_TEST_TMPDIR/err
    startRecordedMachine
    startGood
    fans B 4 >"$files/1234wpk.txt"
    killAt TERM 'CreateInstance 6 hang-within-body'
    equal 143 "$status" 'the status'
    equal '[0,"good"]' "$(lastRun '[.last.status, .last.result]')" 'the run'
    [[ ! -e $state/work ]]
    publishedNumbersAre B1 B2 B3 B4
}

@test "two runs at once: the second ends at once, with status 1" {
    startRecordedMachine
    startGood
    printf 'EnumerateInstances/KVAXDT_FRU 1 hang %s\n' "$PWD/reached" >"$faults"
    STATE_DIRECTORY=$state MORVIK_FILES=$files "$run" >first 2>&1 3>&- &
    waitFor reached
    runFiles
    ended 1 "another run is using the state directory $state"
    kill $!
    wait $! || true
    runFiles
    ended 0
}

# --- the state directory ---

@test "a state directory that cannot be used: status 1, and nothing is asked" {
    startRecordedMachine
    fans A 4 >"$files/1234wpk.txt"
    runFiles --state /proc/nowhere
    ended 1 'cannot use the state directory /proc/nowhere'
    mkdir -m 777 open
    runFiles --state open
    ended 1 'everybody can write to the state directory'
    fileIs "$log" ''
}

@test "a full disk: nothing is deleted, and the next run is as if nothing had happened" {
    startMachine
    mkdir disk
    mount -t tmpfs -o size=8m disk disk 2>/dev/null || skip 'cannot mount here'
    state=$PWD/disk/state
    startGood
    fans B 4 >"$files/1234wpk.txt"
    # More room than this list needs, and less than any may.
    head -c 6M /dev/zero >disk/filler
    runFiles
    ended 1 'no room in the state directory' '4 entries stay published'
    equal 1 "$(lastRun .last.status)" 'the remembered status'
    head -c 9M /dev/zero >disk/filler 2>/dev/null || true
    runFiles
    ended 1 'No space left on device' '4 entries stay published'
    goodStays
    equal 1 "$(lastRun .last.status)" 'the remembered status'
    rm disk/filler
    runFiles
    ended 0 '4 added, 4 removed'
    equal 2 "$(wc -l <"$state/history.jsonl")" 'the changes'
}

@test "damaged files in the state directory count as missing" {
    startMachine
    startGood
    local text
    for text in '' '[]' 'null' '{"good":3}' '{"good":{"entries":-5,"finished":7,"sha256":[]}}' $'\xff\x00'; do
        printf '%s' "$text" >"$state/status.json"
        printf '%s' "$text" >"$state/fru.good.txt"
        printf '%s\n' "$text" >"$state/history.jsonl"
        runFiles
        ended 0 'nothing has changed'
    done
    cmp <(fans A 4) "$state/fru.good.txt"
}

@test "a state that cannot be remembered: the entries are published, but the run has failed" {
    startMachine
    startGood
    rm "$state/status.json"
    mkdir "$state/status.json"
    fans B 4 >"$files/1234wpk.txt"
    runFiles
    ended 1 "4 added, 4 removed, but cannot write $state/status.json: Is a directory"
    publishedNumbersAre B1 B2 B3 B4
    rmdir "$state/status.json"
    rm "$state/history.jsonl"
    mkdir "$state/history.jsonl"
    fans C 4 >"$files/1234wpk.txt"
    runFiles
    ended 1 "4 added, 4 removed, but cannot write $state/history.jsonl: Is a directory"
    equal '[1,4]' "$(lastRun '[.last.status, .good.entries]')" 'what is remembered'
}

# --- morvik itself ---

@test "a morvik that does nothing, crashes or cannot be run" {
    startMachine
    startGood
    fans B 4 >"$files/1234wpk.txt"
    runFiles --morvik /bin/true
    ended 6 'not published: B1 (FAN), B2 (FAN), B3 (FAN), B4 (FAN); published, but not predicted: A1 (FAN)' \
        'the last good entries are published'
    printf '#!/bin/sh\nprintf "\\033[31mred"\nkill -SEGV $$\n' >crash
    chmod +x crash
    runFiles --morvik crash
    ended 6 'morvik said: ' '[31mred; it ended with status 139;'
    run ! grep $'\033' "$out" "$err"
    printf 'no program' >crash
    runFiles --morvik crash
    ended 1 "cannot start $PWD/crash: Exec format error" '4 entries stay published'
    goodStays
    runFiles
    ended 0 '4 added, 4 removed'
}

@test "closed standard output and error: the run is the same" {
    startMachine
    fans A 4 >"$files/1234wpk.txt"
    runInstead env STATE_DIRECTORY="$state" MORVIK_FILES="$files" bash -c 'exec "$1" <&- >&- 2>&-' bash "$run"
    equal 0 "$status" 'the status'
    goodStays
    fileIs "$state/lock" ''
}
