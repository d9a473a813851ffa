#!/usr/bin/env bats
# The shell commands of the download, to the blank, and the script that they write.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# Runs a COMMAND of this file in its own room, in which /etc/redhat-release is there or not.
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

# The commands of a download from the server "host".
commandsAre() { # FTP-COMMAND
    fileIs "$commands" "echo open host >> fruscript.scr
echo user anonymous anonymous >> fruscript.scr
echo bin >> fruscript.scr
echo cd /pc/dolmex/bp_server >> fruscript.scr
echo get 1234wpk.txt >> fruscript.scr
echo bye >> fruscript.scr
$1
rm -f  fruscript.scr
mv -f 1234wpk.txt fru.txt
rm -f  fru.txt
rm -f  fru.log
"
}

@test "without /etc/redhat-release: the nine commands of a download, with ftp -inV" {
    echo '"F1","FAN","","Fan"' >1234wpk.txt
    inRoom absent runRecorded -s host -d /pc/dolmex/bp_server
    commandsAre 'ftp -inV < fruscript.scr >> fru.log'
}

@test "with /etc/redhat-release, even if empty: ftp -in, with two spaces before the redirection" {
    echo '"F1","FAN","","Fan"' >1234wpk.txt
    inRoom present runRecorded -s host -d /pc/dolmex/bp_server
    commandsAre 'ftp -in < fruscript.scr  >> fru.log'
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

# --- the script, which an ftp keeps as the shell commands have written it ---

startWithoutClient() { # [OPTION...] as writeMachine takes them
    startMachine "$@"
    replaceCommand ftp "cat >'$BATS_TEST_TMPDIR/script'"
}

scriptIs() { # TEXT
    fileIs "$BATS_TEST_TMPDIR/script" "$1"
}

# The values make these lines of the script.
writes() { # SERVER DIRECTORY OPEN-LINE CD-LINE
    runMorvik -s "$1" -d "$2"
    foundNothing
    scriptIs "$3user anonymous anonymous\nbin\n$4get 1234wpk.txt\nbye\n"
}

@test "the script is appended to a stale one, and removed" {
    startWithoutClient
    printf 'stale line\nno newline at its end' >fruscript.scr
    runMorvik -s host -d dir
    scriptIs 'stale line\nno newline at its endopen host\nuser anonymous anonymous\nbin\ncd dir\nget 1234wpk.txt\nbye\n'
    filesAre
}

# shellcheck disable=SC2016 # for the shell of the program
@test "the shell joins words, expands variables, and acts on quotes, in values as they are" {
    startWithoutClient
    writes parts.example.com /pc/dolmex/bp_server 'open parts.example.com\n' 'cd /pc/dolmex/bp_server\n'
    writes ' host   2121 ' 'a  b' 'open host 2121\n' 'cd a b\n'
    writes '' '' 'open\n' 'cd\n'
    PLACE=/a/b writes '$((6 * 7))' '$PLACE$NOT_SET' 'open 42\n' 'cd /a/b\n'
    writes "'a  b'" '`echo c` "d  e" \; \*' 'open a  b\n' 'cd c d  e ; *\n'
    # A line that it cannot parse is missing, and the run goes on.
    writes "it's" dir '' 'cd dir\n'
}

@test "a semicolon: the rest is a separate command, and only its output reaches the script" {
    startWithoutClient
    runMorvik -s 'host; echo close' -d 'dir; pwd >where; echo ls'
    scriptIs 'close\nuser anonymous anonymous\nbin\nls\nget 1234wpk.txt\nbye\n'
    equal "$PWD" "$(cat where)" 'what the command has written'
    equal 'open host
cd dir' "$(head -n 2 "$out")" 'what went to standard output instead'
}

@test "a redirection: the file is made, and the program's own redirection wins" {
    startWithoutClient
    writes host 'dir >redirected' 'open host\n' 'cd dir\n'
    filesAre redirected
    fileIs redirected ''
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
    startWithoutClient --model '[a$B.]'
    B=1234 runMorvik -s host -d dir
    foundNothing
    scriptIs 'open host\nuser anonymous anonymous\nbin\ncd dir\nget a1234.wpk.txt\nbye\n'
}

@test "the standard output of ftp is appended to fru.log; its error output goes to the terminal" {
    local PATH=$PATH # bats removes files, too
    startMachine
    echo 'from before' >fru.log
    replaceCommand ftp 'echo to output' 'echo to error >&2' 'cat >/dev/null'
    replaceCommand rm # so that fru.log stays to be looked at
    runMorvik -s host -d dir
    foundNothing
    fileIs fru.log 'from before\nto output\n'
    fileIs "$err" 'to error\n'
}
