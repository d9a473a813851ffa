#!/usr/bin/env bats
# The shell commands of the download, to the blank, and the script that they write.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# An ftp that only keeps the script it is given, as the shell commands have written it.
keepScript() {
    mkdir "$BATS_TEST_TMPDIR/bin"
    printf '#!/bin/sh\ncat >"%s"\n' "$BATS_TEST_TMPDIR/script" >"$BATS_TEST_TMPDIR/bin/ftp"
    chmod +x "$BATS_TEST_TMPDIR/bin/ftp"
    PATH=$BATS_TEST_TMPDIR/bin:$PATH
}

scriptIs() { # TEXT
    fileIs "$BATS_TEST_TMPDIR/script" "$1"
}

# Runs this file's COMMAND in a room of its own in which /etc/redhat-release is there or not.
inRoom() { # present|absent COMMAND [ARG...]
    local presence=$1 status=0
    shift
    # shellcheck disable=SC2016 # expanded by the shell inside
    "$support/room" --redhat-release "$presence" bash -c '
        bats_require_minimum_version() { :; }
        . "$1" && shift && servers=() && morvik=$MORVIK_BIN_DIR/morvik cimd=$MORVIK_BIN_DIR/morvik-cimd
        set -e
        startMachine
        "$@"
        stopServers
    ' bash "$support/e2e.bash" "$@" || status=$?
    ((status != 77)) || skip 'rooms cannot be nested here'
    commands=$BATS_TEST_TMPDIR/commands
    return "$status"
}

@test "without /etc/redhat-release: the nine commands of a download, with ftp -inV" {
    echo '"F1","FAN","","Fan"' >1234wpk.txt
    inRoom absent runRecorded -s host -d /pc/dolmex/bp_server
    fileIs "$commands" 'echo open host >> fruscript.scr
echo user anonymous anonymous >> fruscript.scr
echo bin >> fruscript.scr
echo cd /pc/dolmex/bp_server >> fruscript.scr
echo get 1234wpk.txt >> fruscript.scr
echo bye >> fruscript.scr
ftp -inV < fruscript.scr >> fru.log
rm -f  fruscript.scr
mv -f 1234wpk.txt fru.txt
rm -f  fru.txt
rm -f  fru.log
'
}

@test "with /etc/redhat-release, even if empty: ftp -in, with two spaces before the redirection" {
    echo '"F1","FAN","","Fan"' >1234wpk.txt
    inRoom present runRecorded -s host -d /pc/dolmex/bp_server
    fileIs "$commands" 'echo open host >> fruscript.scr
echo user anonymous anonymous >> fruscript.scr
echo bin >> fruscript.scr
echo cd /pc/dolmex/bp_server >> fruscript.scr
echo get 1234wpk.txt >> fruscript.scr
echo bye >> fruscript.scr
ftp -in < fruscript.scr  >> fru.log
rm -f  fruscript.scr
mv -f 1234wpk.txt fru.txt
rm -f  fru.txt
rm -f  fru.log
'
}

@test "fru.txt is removed whether or not it is there" {
    echo '"F1","FAN","","Fan"' >1234wpk.txt
    mkdir "$BATS_TEST_TMPDIR/bin"
    printf '#!/bin/sh\n' >"$BATS_TEST_TMPDIR/bin/mv"
    chmod +x "$BATS_TEST_TMPDIR/bin/mv"
    PATH=$BATS_TEST_TMPDIR/bin:$PATH inRoom absent runRecorded -s host -d dir
    equal 1 "$(grep -cx 'rm -f  fru.txt' "$commands")" 'the number of removals'
}

unreadableReleaseFile() {
    chmod 000 /etc/redhat-release
    recordingShell
    # Root reads everything; without these capabilities it is like anybody else.
    # shellcheck disable=SC2016 # expanded by the shell inside
    runInstead unshare --mount bash -c 'mount --bind "$1" "$(readlink -f /bin/sh)" && shift && exec "$@"' \
        bash "$BATS_TEST_TMPDIR/recording-sh" \
        setpriv --bounding-set=-dac_override,-dac_read_search "$morvik" -s host -d dir
}

@test "with an unreadable /etc/redhat-release: ftp -inV" {
    export -f unreadableReleaseFile # the functions of this file are not known in the other room
    inRoom present unreadableReleaseFile
    equal 'ftp -inV < fruscript.scr >> fru.log' "$(grep '^ftp' "$commands")" 'the ftp command'
}

successWith() { # present|absent
    startFtp
    echo '"F1","FAN","","Fan"' | putOnParts 1234wpk.txt
    runMorvik -s 127.0.0.1 -d /pc/dolmex/bp_server
    succeeded
    publishedNumbersAre F1
}

@test "both command lines fetch the file with the real client" {
    local presence
    export -f successWith
    for presence in present absent; do
        inRoom "$presence" successWith
        filesAre
    done
}

@test "nothing fetched: no move" {
    startMachine
    runRecorded -s host -d dir
    foundNothing
    equal 'rm -f  fruscript.scr
rm -f  fru.log' "$(tail -n 2 "$commands")" 'the last commands'
}

@test "the script for machine type 1234" {
    startMachine
    keepScript
    runMorvik -s parts.example.com -d /pc/dolmex/bp_server
    foundNothing
    scriptIs 'open parts.example.com\nuser anonymous anonymous\nbin\ncd /pc/dolmex/bp_server\nget 1234wpk.txt\nbye\n'
    filesAre
}

@test "the script is appended to a stale one, and removed" {
    startMachine
    keepScript
    printf 'stale line\nno newline at its end' >fruscript.scr
    runMorvik -s host -d dir
    scriptIs 'stale line\nno newline at its endopen host\nuser anonymous anonymous\nbin\ncd dir\nget 1234wpk.txt\nbye\n'
    filesAre
}

@test "blanks in the values: the words are joined with single blanks" {
    startMachine
    keepScript
    runMorvik -s ' host   2121 ' -d 'a  b'
    scriptIs 'open host 2121\nuser anonymous anonymous\nbin\ncd a b\nget 1234wpk.txt\nbye\n'
}

@test "a semicolon: the rest is a separate command, and only its output reaches the script" {
    startMachine
    keepScript
    runMorvik -s 'host; echo close' -d 'dir; pwd >where; echo ls'
    scriptIs 'close\nuser anonymous anonymous\nbin\nls\nget 1234wpk.txt\nbye\n'
    equal "$PWD" "$(cat where)" 'what the command has written'
    equal 'open host
cd dir' "$(head -n 2 "$out")" 'what went to standard output instead'
}

@test "a redirection: the file is made, and the program's own redirection wins" {
    startMachine
    keepScript
    runMorvik -s host -d 'dir >redirected'
    foundNothing
    scriptIs 'open host\nuser anonymous anonymous\nbin\ncd dir\nget 1234wpk.txt\nbye\n'
    filesAre redirected
    fileIs redirected ''
}

@test "a dollar sign: the shell expands the variable" {
    startMachine
    keepScript
    PLACE=/a/b runMorvik -s '$((6 * 7))' -d '$PLACE$NOT_SET'
    foundNothing
    scriptIs 'open 42\nuser anonymous anonymous\nbin\ncd /a/b\nget 1234wpk.txt\nbye\n'
}

@test "quotes and backquotes: the shell acts on them" {
    startMachine
    keepScript
    runMorvik -s "'a  b'" -d '`echo c` "d  e" \; \*'
    foundNothing
    scriptIs 'open a  b\nuser anonymous anonymous\nbin\ncd c d  e ; *\nget 1234wpk.txt\nbye\n'
}

@test "a machine type with a semicolon: the shell acts on it in the get and the mv line" {
    startMachine --model '[a;b]'
    echo '"F1","FAN","","Fan"' >'a;bwpk.txt' # only the presence test takes the name as it is
    runRecorded -s host -d dir
    said "get a\\n$couldNotOpen"
    equal 'echo get a;bwpk.txt >> fruscript.scr
mv -f a;bwpk.txt fru.txt' "$(grep 'wpk' "$commands")" 'the commands with the name'
    filesAre 'a;bwpk.txt'
}

@test "a machine type with a dollar sign: the script has the variable's value" {
    startMachine --model '[a$B.]'
    keepScript
    B=1234 runMorvik -s host -d dir
    foundNothing
    scriptIs 'open host\nuser anonymous anonymous\nbin\ncd dir\nget a1234.wpk.txt\nbye\n'
}

@test "a value that the shell cannot parse: that line is missing, the run goes on" {
    startMachine
    keepScript
    runMorvik -s "it's" -d dir
    foundNothing
    scriptIs 'user anonymous anonymous\nbin\ncd dir\nget 1234wpk.txt\nbye\n'
}

@test "empty values: the lines hold the bare words" {
    startMachine
    keepScript
    runMorvik -s '' -d ''
    foundNothing
    scriptIs 'open\nuser anonymous anonymous\nbin\ncd\nget 1234wpk.txt\nbye\n'
}

@test "values of 5000 characters reach the script whole" {
    startMachine
    keepScript
    local long
    long=$(printf '%05000d' 0)
    runMorvik -s "$long" -d "/$long"
    foundNothing
    scriptIs "open $long\nuser anonymous anonymous\nbin\ncd /$long\nget 1234wpk.txt\nbye\n"
}

@test "only the standard output of ftp goes to fru.log; its error output goes to the terminal" {
    startMachine
    mkdir "$BATS_TEST_TMPDIR/bin"
    # Ends the deletion that follows, so that fru.log stays to be looked at.
    printf '#!/bin/sh\necho to output\necho to error >&2\ncat >/dev/null\n' >"$BATS_TEST_TMPDIR/bin/ftp"
    printf '#!/bin/sh\n' >"$BATS_TEST_TMPDIR/bin/rm"
    chmod +x "$BATS_TEST_TMPDIR/bin"/*
    PATH=$BATS_TEST_TMPDIR/bin:$PATH runMorvik -s host -d dir
    foundNothing
    fileIs fru.log 'to output\n'
    fileIs "$err" 'to error\n'
}

@test "fru.log is appended to, never emptied" {
    startMachine
    echo 'from before' >fru.log
    mkdir "$BATS_TEST_TMPDIR/bin"
    printf '#!/bin/sh\necho new\n' >"$BATS_TEST_TMPDIR/bin/ftp"
    printf '#!/bin/sh\n' >"$BATS_TEST_TMPDIR/bin/rm"
    chmod +x "$BATS_TEST_TMPDIR/bin"/*
    PATH=$BATS_TEST_TMPDIR/bin:$PATH runMorvik -s host -d dir
    fileIs fru.log 'from before\nnew\n'
}

@test "no machine type: no command, no script, no fru.log" {
    startPeer
    runRecorded -s host -d dir
    foundNothing
    fileIs "$commands" ''
    filesAre
}
