#!/usr/bin/env bats
# The order of a run, its messages to the byte, its exit status, and which work files it leaves.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

fanFile() {
    printf '"F1","FAN","","Fan"\n'
}

@test "download succeeds: nothing is written, no work file stays" {
    startMachine
    startFtp
    fanFile | putOnParts 1234wpk.txt
    runMorvik -s 127.0.0.1 -d /pc/dolmex/bp_server
    succeeded
    fileIs "$err" ''
    filesAre
    publishedNumbersAre F1
}

@test "download succeeds: the file that the user has placed is replaced, and removed after the import" {
    startMachine
    startFtp
    fanFile | putOnParts 1234wpk.txt
    printf '"OLD","FAN","","Old fan"\n' >fru.txt
    chmod a-w fru.txt
    runMorvik -s 127.0.0.1 -d /pc/dolmex/bp_server
    succeeded
    filesAre
    publishedNumbersAre F1
}

@test "download fails, fru.txt is there: an empty line, the message, the import, and the file stays" {
    startMachine
    fanFile >fru.txt
    runRecorded -s 127.0.0.1 -d dir
    usedLocalCopy
    equal 'rm -f  fruscript.scr
rm -f  fru.log' "$(tail -n 2 "$commands")" 'the last commands'
    filesAre fru.txt
    equal "$(fanFile)" "$(cat fru.txt)" fru.txt
    publishedNumbersAre F1
}

@test "download fails, no fru.txt: two lines, status 0, no import" {
    startRecordedMachine
    createAs KVA F9 KVAHalvoranFru1
    : >"$log"
    runMorvik -s 127.0.0.1 -d dir
    foundNothing
    filesAre
    equal EnumerateInstances "$(operations)" 'the list of operations'
    publishedNumbersAre F9
}

@test "the machine type cannot be read, fru.txt is there: it is imported, and no command is run" {
    startRecordedMachine
    fanFile >fru.txt
    printf 'EnumerateInstances/KVAXDT_ComputerSystemDetails 1 error 5\n' >"$faults"
    runRecorded -s 127.0.0.1 -d dir
    usedLocalCopy
    fileIs "$commands" ''
    filesAre fru.txt
    publishedNumbersAre F1
}

@test "the machine type cannot be converted to bytes: the fixed message, no ftp run, fru.txt stays" {
    # Its three bytes of text past ASCII, read once more, are UTF-8 for one that no byte can hold.
    startMachine --model $'x[\xc3\xa2\xc2\x82\xc2\xac1]'
    fanFile >fru.txt
    runRecorded -s 127.0.0.1 -d dir
    failed
    fileIs "$commands" ''
    filesAre fru.txt
    publishedAre <<<''
}

@test "no CIM server: the fixed message, status 0, fru.txt and fru.log stay" {
    tee fru.txt fru.log >1234wpk.txt <<<untouched
    runRecorded -s 127.0.0.1 -d dir
    failed
    fileIs "$err" ''
    fileIs "$commands" ''
    filesAre 1234wpk.txt fru.log fru.txt
    equal untouched "$(cat fru.txt fru.log 1234wpk.txt | sort -u)" 'the text of the files'
    rm ./*
    runMorvik
    failed
    filesAre
}

@test "deletion fails after a download: the fixed message; fru.txt and fru.log stay" {
    startRecordedMachine
    startFtp
    fanFile | putOnParts 1234wpk.txt
    printf 'EnumerateInstanceNames 1 error 1\n' >"$faults"
    runMorvik -s 127.0.0.1 -d /pc/dolmex/bp_server
    failed
    filesAre fru.log fru.txt
    equal "$(fanFile)" "$(cat fru.txt)" fru.txt
    publishedAre <<<''
}

@test "deletion fails on a local copy: both messages and no other; fru.txt and fru.log stay" {
    startRecordedMachine
    fanFile >fru.txt
    printf 'EnumerateInstanceNames 1 error 1\n' >"$faults"
    runMorvik -s 127.0.0.1 -d dir
    failedOnLocalCopy
    run ! grep -E 'deliberate|CIM_ERR' "$err"
    filesAre fru.log fru.txt
}

@test "fru.txt is removed only after a download, fru.log only when present: the exact commands" {
    startMachine
    fanFile >1234wpk.txt
    runRecorded -s 127.0.0.1 -d dir
    succeeded
    equal 'mv -f 1234wpk.txt fru.txt
rm -f  fru.txt
rm -f  fru.log' "$(tail -n 3 "$commands")" 'the last commands'
}

@test "a fru.log from before is removed by a run without a download" {
    startPeer
    echo old >fru.log
    runRecorded -s 127.0.0.1 -d dir
    foundNothing
    fileIs "$commands" 'rm -f  fru.log\n'
    filesAre
}

@test "fru.txt vanishes after the download: the import's messages, status 0, and the removal all the same" {
    startMachine
    createAs KVA F9 KVAHalvoranFru1
    startFtp
    fanFile | putOnParts 1234wpk.txt
    # The move is a shell command whose outcome is not looked at; this one moves nothing.
    replaceCommand mv
    runRecorded -s 127.0.0.1 -d /pc/dolmex/bp_server
    said "$couldNotOpen"
    equal 1 "$(grep -cx 'rm -f  fru.txt' "$commands")" 'the number of removals'
    filesAre 1234wpk.txt
    publishedNumbersAre F9
}

# Compares the writes to standard output, each as a line of its own, as Python shows it. A pipe in
# packet mode keeps them apart.
writesAre() { # (the expected lines come from standard input)
    equal "$(cat)" "$("$python" -c '
import os, subprocess, sys
reader, writer = os.pipe2(os.O_DIRECT)
with subprocess.Popen(sys.argv[1:], stdout=writer) as program:
    os.close(writer)
    while packet := os.read(reader, 65536):
        print(ascii(packet.decode()))' "$morvik" -s 127.0.0.1 -d dir </dev/null)" 'the list of writes'
}

@test "each message line is written at once, before the next line and the next step" {
    local PATH=$PATH # bats removes files, too
    startRecordedMachine
    replaceCommand rm 'echo removal'
    writesAre <<'END'
'removal\n'
'Either FRU is not supported or this system does not have access to FRU file.\n'
'Please run man morvik for help. \n'
'removal\n'
END
    fanFile >fru.txt
    printf 'EnumerateInstanceNames 1 error 1\n' >"$faults"
    writesAre <<'END'
'removal\n'
'\nA local copy of fru.txt is detected. MORVIK will run base on this file.\n'
'Morvik did not complete. Please run morvik manually (see man morvik for help).\n'
END
    replaceCommand mv
    command -p mv fru.txt 1234wpk.txt
    writesAre <<'END'
'removal\n'
'Could not open FRU data file.\n'
'Please run man morvik for help \n'
'removal\n'
'removal\n'
END
}

@test "nothing can be written to standard output: status 0 all the same" {
    startMachine
    status=0
    "$morvik" -s 127.0.0.1 -d dir >/dev/full 2>"$BATS_TEST_TMPDIR/err" || status=$?
    equal 0 "$status" status
}
