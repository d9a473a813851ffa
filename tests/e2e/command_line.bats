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

@test "a location whose option is absent is not defaulted" {
    startMachine
    takes '' dir -d dir
    takes host '' -s host
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
