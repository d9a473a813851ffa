#!/usr/bin/env bats
# The command line: which ones are rejected, and what the accepted ones mean. What a location holds
# shows in the shell commands of the download.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# --- rejected ---

# Status 1, the usage text, and nothing else happens: no connection, no file touched.
rejects() { # [ARG...]
    runMorvik "$@"
    equal 1 "$status" 'status'
    fileIs "$out" ''
    fileIs "$err" 'morvik - Copyright (C) 2026 the morvik authors\nPlease run man morvik for help\n'
    equal '' "$(cat "$accepted")" 'number of connections'
    filesAre fru.log fru.txt fruscript.scr
    equal 'untouched' "$(cat fru.log fru.txt fruscript.scr | sort -u)" 'the text of the files'
}

setupRejection() {
    startPeer
    tee fru.log fru.txt >fruscript.scr <<<untouched
}

@test "rejected: a first argument without a dash" {
    setupRejection
    rejects host
    rejects host -s host
    rejects s
    rejects ''
}

@test "rejected: an unknown option letter, help among them" {
    setupRejection
    rejects -h
    rejects '-?'
    rejects -x
    rejects -xs
    rejects --help
    rejects --version
    rejects -1
    rejects ' -s' host
}

@test "rejected: a lone dash, and dashes alone" {
    setupRejection
    rejects -
    rejects --
    rejects -----
}

@test "rejected: an unknown option after a good one" {
    setupRejection
    rejects -s host -x
    rejects -s host -d dir -
    rejects -d dir --h
    rejects -s host -x -d dir
}

@test "rejected: the words behind an unknown option are not looked at" {
    setupRejection
    rejects -x -s host
    rejects - -d dir
}

@test "rejected: nothing is connected even when no server is there" {
    runMorvik -h
    equal 1 "$status" 'status'
    fileIs "$out" ''
}

# --- accepted ---

# The run takes this server and this directory.
takes() { # SERVER DIRECTORY [ARG...]
    local server=$1 directory=$2
    shift 2
    runRecorded "$@"
    equal 0 "$status" 'status'
    equal "echo open $server >> fruscript.scr" "$(sed -n 1p "$commands")" 'the open command'
    equal "echo cd $directory >> fruscript.scr" "$(sed -n 4p "$commands")" 'the cd command'
}

defaultServer() {
    local built
    built=$(sed -n 's/^MORVIK_DEFAULT_PARTS_SERVER:STRING=//p' "$MORVIK_BIN_DIR/../CMakeCache.txt" || true)
    printf '%s' "${built:-ftp.parts.example}"
}

@test "no arguments: the default parts server and the default directory" {
    startMachine
    takes "$(defaultServer)" /pc/dolmex/bp_server
}

@test "-s and -d, in either order" {
    startMachine
    takes host dir -s host -d dir
    takes host dir -d dir -s host
}

@test "letters match in either case" {
    startMachine
    takes host dir -S host -D dir
}

@test "only the first letter after the dash counts" {
    startMachine
    takes host dir -server host -directory dir
    takes host dir -source host -DESTINATION dir
}

@test "each extra leading dash is passed over" {
    startMachine
    takes '' dir --d dir
    takes host '' ---server host
    takes host dir --s host ----d dir
}

@test "a value is never examined" {
    startMachine
    takes -d '' -s -d
    takes '' -s -d -s
    takes -x dir -s -x -d dir
    takes '' - -d -
}

@test "the last value wins" {
    startMachine
    takes b '' -s a -s b
    takes c b -s a -d b -S c
}

@test "a word without a dash ends the parse: what follows is ignored" {
    startMachine
    takes host '' -s host extra -d dir
    takes host '' -s host extra -x
    takes host '' -s host '' -d dir
}

@test "an option that is the last argument is accepted: its location has no value" {
    startMachine
    takes '' '' -s
    takes '' '' -d
    takes host '' -s host -d
    takes '' '' -s a -s
}

@test "a location whose option is absent is not defaulted" {
    startMachine
    takes '' dir -d dir
    takes host '' -s host
}

@test "an empty value is an empty text" {
    startMachine
    takes '' '' -s '' -d ''
    takes '' dir -s '' -d dir
}

@test "values of 200 and of 5000 characters are taken whole" {
    startMachine
    local length long
    for length in 52 53 54 55 200 5000; do
        long=$(printf "%0${length}d" 0)
        takes "$long" "/$long" -s "$long" -d "/$long"
    done
}

@test "values go into the commands as typed: no quoting, no escaping" {
    startMachine
    takes 'a  b' '"c"  $d' -s 'a  b' -d '"c"  $d'
}
