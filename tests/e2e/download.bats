#!/usr/bin/env bats
# The download with the system's own FTP client against a real FTP server.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    startMachine
}
teardown() { stopServers; }

bpServer=/pc/dolmex/bp_server

fanFile() { # [FRU-NUMBER]
    printf '"%s","FAN","","Fan"\n' "${1-F1}"
}

download() {
    runMorvik -s 127.0.0.1 -d "$bpServer"
}

@test "what the FTP server is asked, in order: anonymous, binary, directory, file" {
    startFtp
    fanFile | putOnParts 1234wpk.txt
    download
    # The client adds its own commands (FEAT, EPSV, SIZE, ...); these are the script's.
    equal "USER anonymous
PASS anonymous
TYPE I
CWD $bpServer
RETR 1234wpk.txt
QUIT" "$(grep -E '^(USER|PASS|TYPE|CWD|RETR|QUIT)' "$ftpLog" | uniq)" 'what the server was asked'
}

@test "the file arrives byte for byte, in binary mode" {
    startFtp
    # Line ends and a byte that a text mode would change; the description shows them.
    printf '"F1","FAN","","a\rb\xff"\r\n"F2","FAN","","c"\n' | putOnParts 1234wpk.txt
    download
    succeeded
    publishedAre <<'END'
F1|FAN|a\rbÿ|KVAHalvoranFru1|KVA|1.0
F2|FAN|c|KVAHalvoranFru2|KVA|1.0
END
}

@test "refused login: nothing is fetched" {
    startFtp --refuse-login
    fanFile | putOnParts 1234wpk.txt
    download
    foundNothing
    filesAre
    grep -q '^USER anonymous' "$ftpLog"
    run ! grep -q '^RETR' "$ftpLog"
}

@test "missing file: nothing is fetched, the local copy is used and kept" {
    startFtp
    fanFile LOCAL >fru.txt
    download
    usedLocalCopy
    filesAre fru.txt
    publishedNumbersAre LOCAL
}

@test "an unreadable fetched file counts as not fetched: it is not moved, and stays" {
    fanFile >1234wpk.txt
    chmod 000 1234wpk.txt
    fanFile LOCAL >fru.txt
    runLikeAnybody -s 127.0.0.1 -d "$bpServer"
    usedLocalCopy
    filesAre 1234wpk.txt fru.txt
    publishedNumbersAre LOCAL
}

@test "an empty file on the server counts as fetched: earlier instances go, nothing is created" {
    startFtp
    : | putOnParts 1234wpk.txt
    createAs KVA F9 KVAHalvoranFru1
    fanFile LOCAL >fru.txt
    download
    succeeded
    filesAre
    publishedNumbersAre
}

@test "a transfer that breaks off counts as fetched: what has come is imported, up to its last newline" {
    # The second line without its newline, which still looks whole.
    startFtp --break-off "$({ fanFile; printf '"F2","FAN","","Fan"'; } | wc -c)"
    { fanFile && fanFile F2 && fanFile F3; } | putOnParts 1234wpk.txt
    fanFile LOCAL >fru.txt
    download
    succeeded
    filesAre
    publishedNumbersAre F1
}

@test "fru.txt is a directory: the fetched file is moved into it, and nothing is imported" {
    startFtp
    fanFile | putOnParts 1234wpk.txt
    createAs KVA F9 KVAHalvoranFru1
    mkdir fru.txt
    download
    succeeded
    filesAre fru.txt fru.txt/1234wpk.txt
    publishedNumbersAre
    grep -q '^rm: .*fru.txt' "$err"
}

@test "no such directory, host or server, or empty values: nothing is fetched" {
    local arguments
    startFtp
    fanFile | putOnParts 1234wpk.txt
    for arguments in '127.0.0.1 /no/such/directory' "no-such-host.invalid $bpServer" "127.0.0.2 $bpServer" "'' ''"; do
        eval "set -- $arguments"
        runMorvik -s "$1" -d "$2"
        foundNothing
        filesAre
    done
}

@test "no directory given: the client takes the next line of the script for it, and fetches nothing" {
    startFtp
    fanFile >"$parts/1234wpk.txt"
    runMorvik -s 127.0.0.1
    foundNothing
    grep -q '^CWD get' "$ftpLog"
    run ! grep -q '^RETR' "$ftpLog"
}

@test "missing directory, but the file lies where the login leads: it is fetched from there" {
    startFtp
    fanFile >"$parts/1234wpk.txt"
    runMorvik -s 127.0.0.1 -d /no/such/directory
    succeeded
    filesAre
    publishedNumbersAre F1
    grep -qx 'CWD /no/such/directory' "$ftpLog"
}

@test "a port beside the server name reaches a server on another port" {
    startFtp --port 2121
    fanFile | putOnParts 1234wpk.txt
    runMorvik -s '127.0.0.1 2121' -d "$bpServer"
    succeeded
    publishedNumbersAre F1
}

@test "a machine type with a blank: the script asks for two words, and the file is not found" {
    stopServers
    startMachine --model '[12 34]'
    startFtp
    fanFile | putOnParts 12
    download
    # The client takes the second word as the local name, which the presence test does not look for.
    foundNothing
    grep -qx 'RETR 12' "$ftpLog"
}

@test "a stale script: its lines come first, then ours; it is removed as usual" {
    startFtp
    fanFile | putOnParts 1234wpk.txt
    fanFile EXTRA | putOnParts extra.txt
    printf '%s\n' 'open 127.0.0.1' 'user anonymous anonymous' "cd $bpServer" 'get extra.txt' close >fruscript.scr
    download
    succeeded
    equal 'RETR extra.txt
RETR 1234wpk.txt' "$(grep '^RETR' "$ftpLog")" 'the list of transfers'
    filesAre extra.txt
    publishedNumbersAre F1
}

# The file is there to be fetched, but the script that would fetch it cannot be written.
fallsBack() { # OBSTACLE [NAME...]  what is in the way, and what stays beside fru.txt
    startFtp
    fanFile | putOnParts 1234wpk.txt
    fanFile LOCAL >fru.txt
    "$1"
    runLikeAnybody -s 127.0.0.1 -d "$bpServer"
    usedLocalCopy
    filesAre fru.txt "${@:2}"
    publishedNumbersAre LOCAL
    run ! grep -q RETR "$ftpLog"
}

@test "the script cannot be written: nothing is fetched, the script goes" {
    readOnlyScript() { : >fruscript.scr && chmod a-w fruscript.scr; }
    fallsBack readOnlyScript
}

@test "the working directory cannot be written: nothing is fetched" {
    readOnlyDirectory() { chmod a-w .; }
    fallsBack readOnlyDirectory
    chmod u+w .
}

@test "the script is a directory: nothing is fetched, the directory stays" {
    directoryAsScript() { mkdir fruscript.scr; }
    fallsBack directoryAsScript fruscript.scr
}
