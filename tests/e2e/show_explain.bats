#!/usr/bin/env bats
# morvik-show --explain: it predicts exactly what a run of morvik publishes, and explains the rest.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source-path=SCRIPTDIR source=../support/show.bash
source "$BATS_TEST_DIRNAME/../support/show.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# What is said of FILE, and then what a run over FTP does with it, on the machine that is served.
# Sets `count` to the number of entries.
saidIsDone() { # FILE TYPE
    runShow --explain "$1" --json
    [[ ! -s $err ]]
    local said explained=$status
    said=$("$python" "$support/explained.py" published "$out")
    count=$(grep -c . <<<"$said" || true)
    equal "$((count > 0 ? 0 : 1))" "$explained" "the status for $count entries"
    equal "$count" "$(jsonOf 'it["summary"]["published"]')" 'the number in the summary'
    putOnParts "$2wpk.txt" <"$1"
    runMorvik -s 127.0.0.1 -d /pc/dolmex/bp_server
    succeeded
    equal "$said" "$(published)" "what $1 publishes (< said, > done)"
}

# Runs a command once for each sample machine, which is served then.
onEachMachine() { # COMMAND [ARG...], to which the machine type is added
    local machine
    startFtp
    for machine in server-1234 server-2345 workstation-3456 rack-4567; do
        startCimd "$schema/kvaxdt.mof" "$samples/$machine.mof"
        "$@" "${machine##*-}"
        kill "$(serverPid)"
        wait "$(serverPid)"
        unset 'servers[-1]'
    done
}

serverPid() { printf '%s\n' "${servers[-1]##*:}"; }

everySampleFile() { # TYPE
    local file language
    for file in "$samples"/parts/*.txt; do
        for language in en_US.UTF-8 de_DE es_ES; do
            LANG=$language saidIsDone "$file" "$1"
            total=$((total + count))
        done
    done
}

brokenFiles() { # TYPE
    local seed
    for seed in 1 2 3; do
        "$python" "$support/explained.py" lines "$1$seed" 150 >broken.txt
        LANG=en_US.UTF-8 saidIsDone broken.txt "$1"
        total=$((total + count))
    done
    rm broken.txt
}

@test "all sample machines, all sample files, three languages: the prediction is right" {
    total=0
    onEachMachine everySampleFile
    # Each of the 48 runs publishes at least the parts that every machine has.
    ((total > 48 * 6))
}

@test "files full of broken lines: the prediction is right" {
    total=0
    onEachMachine brokenFiles
    ((total > 12 * 20))
}

@test "machines that no real server describes: the prediction is right" {
    startFtp
    local machine
    while IFS='|' read -r speeds capacities; do
        startMachine --speeds "$speeds" --capacities "$capacities"
        "$python" "$support/explained.py" lines 7 200 >broken.txt
        LANG=de_DE saidIsDone broken.txt 1234
        kill "$(serverPid)"
        wait "$(serverPid)"
        unset 'servers[-1]'
    done <<'END'
|
2400 NULL 1800|NULL 536870912
NULL 1800|268435456
4294967295|18446744073709551615
END
}

# --- the reasons ---

explainLines() { # [ARG...]; the lines come from standard input
    cat >lines.txt
    runShow --explain lines.txt "$@"
}

# The line of that number ends so.
lineSays() { # NUMBER TEXT
    equal "$2" "$(awk -v line="$1" '/^ / && $1 == line' "$out" | tail -c "$((${#2} + 1))")" "line $1"
}

@test "each reason in words" {
    startMachine --speeds '1800 2000 1800' --capacities '268435456 536870912'
    LANG=en_US explainLines <<'END'
# a comment

"F1","FAN","","x"
"F2","PROCESSOR","SPEED=2400","x"
"F3","PROCESSOR","","x"
"F4","PROCESSOR","SPEED=2000 ","x"
"F5","MEMORY","SIZE=768","x"
"F6","MEMORY","","x"
"F7","KEYBOARD","LANGUAGE=EN","x"
"F8","KEYBOARD","","x"
"F9","PLANAR","","x"
"F10","PLANAR","","x"
"F11","CDROM","","x"
"F12","CDROM","","x"
"F13","CDROM","","x"
"F14","FANS","","x"
"F15","fan","","x"
"F16", "FAN","","x"
a heading
"F17","FLOPPY","","x # y"
"F18","FLOPPY","","x"
"F18","OPTIONSP","","x"
"F18","FAN","","x"
END
    ends 0
    lineSays 1 'comment: the line has a #'
    lineSays 2 'blank line'
    lineSays 3 'published  FAN        F1          as KVAHalvoranFru1'
    lineSays 4 'left out   PROCESSOR  F2          clock differs: 2400 asked, 1800 and 2000 here'
    lineSays 5 'the line has no SPEED='
    lineSays 6 'clock differs: "2000 " asked, 1800 and 2000 here'
    lineSays 7 'size differs: 768 asked, 256 and 512 here'
    lineSays 8 'size differs: "," asked, 256 and 512 here; the line has no SIZE='
    lineSays 9 'language differs: EN asked, en here'
    lineSays 10 'language differs: YBOARD asked, en here; the line has no LANGUAGE='
    lineSays 12 'left out   PLANAR     F10         second PLANAR: line 11 comes first'
    lineSays 13 'as KVAHalvoranFru1'
    lineSays 14 'second CDROM: line 13 comes first'
    lineSays 15 'second CDROM: line 13 comes first'
    lineSays 16 'ignored    -          -           unknown category "FANS"'
    lineSays 17 'unknown category "fan": must be in capital letters'
    lineSays 18 'not an entry: does not begin like "number","CATEGORY"'
    lineSays 19 'not an entry: does not begin like "number","CATEGORY"'
    lineSays 20 'comment: the line has a #'
    lineSays 22 'refused: same FRU number and identifying number KVAHalvoranFru1 as line 21'
    lineSays 23 'as KVAHalvoranFru2'
    equal '23 lines: 5 published, 11 left out, 7 ignored' "$(tail -n 1 "$out")" 'the summary'
}

@test "lines outside the format: too long, unfinished, and with a character that cannot be sent" {
    startMachine
    explainLines < <(
        printf '"%s","FAN","","x"\n' "$(printf '%0240d' 0)" # 255 bytes
        printf '"%s","FAN","","x"\n' "$(printf '%0241d' 0)"
        printf '"F\001","FAN","","x"\n"F4","FAN","","x"\n"F5","FAN","","x"'
    )
    ends 0
    grep -qE '^   1  published' "$out"
    lineSays 2 'too long: more than 255 bytes'
    grep -qE '^   3  left out .*cannot be sent: ' "$out"
    lineSays 4 'as KVAHalvoranFru3'
    lineSays 5 'last line without a newline: not read'
}

@test "--category: only its lines are shown, but all are processed" {
    startMachine
    explainLines --category planar --category THING <<<'' || true
    ends 2 "--category: morvik has no category 'THING'
Try 'morvik-show --help'."
    explainLines --category planar <<'END'
# x
"F1","FAN","","x"
"F2","PLANAR","","x"
"F3","PLANAR","","x"
END
    ends 0
    equal '2 lines: 1 published, 1 left out, 0 ignored' "$(tail -n 1 "$out")" 'the summary'
    lineSays 4 'second PLANAR: line 3 comes first'
    explainLines --category CDROM <<<'"F1","FAN","","x"'
    ends 1
}

@test "no line fits: status 1; an empty file too" {
    startMachine
    explainLines <<<'"F2","PROCESSOR","SPEED=1","x"'
    ends 1
    explainLines </dev/null
    ends 1
    equal '0 lines: 0 published, 0 left out, 0 ignored' "$(tail -n 1 "$out")" 'the summary'
}

@test "a server on which an import would end before its first line: status 2" {
    startRecordedMachine
    printf 'EnumerateInstanceNames * error 3\n' >"$faults"
    explainLines <<<'"F2","FAN","","x"'
    ends 2 'CIM_ERR_INVALID_NAMESPACE: deliberate'
    wrote ''
}

@test "a server that fails during the explanation: status 2, not a wrong reason" {
    startRecordedMachine
    local fault
    for fault in close error; do
        # The machine is read first; then each line asks anew.
        printf 'EnumerateInstances/KVAXDT_Processor 3 %s\n' "$fault" >"$faults"
        explainLines <<'END'
"F1","PROCESSOR","SPEED=2400","x"
"F2","PROCESSOR","SPEED=2400","x"
"F3","PROCESSOR","SPEED=2400","x"
END
        equal 2 "$status" "the status after $fault"
        grep -q 'the CIM server failed, or changed while it was read' "$err"
    done
}

@test "a file that cannot be read: status 2, and no server is contacted" {
    startDescribed '{}'
    runShow --explain missing.txt
    ends 2 'cannot read missing.txt: No such file or directory'
    runShow --explain .
    ends 2 'cannot read .: not a file'
    runShow --explain /dev/zero
    ends 2 'cannot read /dev/zero: not a file'
    runShow --explain ''
    ends 2 'cannot read : No such file or directory'
    : >closed.txt
    chmod 0 closed.txt
    runInstead setpriv --bounding-set=-dac_override,-dac_read_search "$show" --explain closed.txt
    ends 2 'cannot read closed.txt: Permission denied'
    equal 0 "$(wc -l <"$accepted")" 'the number of connections'
}

@test "a file that fails while it is read: the lines so far, then the message, status 2" {
    startMachine
    status=0
    "$show" --explain /proc/self/mem >both 2>&1 || status=$?
    equal 2 "$status" status
    equal 'LINE  RESULT     CATEGORY   FRU NUMBER  REASON
morvik-show: cannot read /proc/self/mem: Input/output error' "$(cat both)" 'what was written'
}

@test "a pipe can be read, too" {
    startMachine
    status=0
    printf '"F1","FAN","","x"\n' | "$show" --explain /dev/stdin >"$BATS_TEST_TMPDIR/piped" || status=$?
    equal 0 "$status" status
    equal '1 line: 1 published, 0 left out, 0 ignored' "$(tail -n 1 "$BATS_TEST_TMPDIR/piped")" 'the summary'
}

# The most memory that a run of --explain takes, in KiB.
memoryFor() { # FILE
    "$python" -c 'import resource, subprocess, sys
subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL, check=True)
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)' "$show" --explain "$1"
}

@test "a large file takes hardly more memory than a small one" {
    startMachine
    # A sanitizer keeps what was freed.
    export ASAN_OPTIONS=${ASAN_OPTIONS-}:quarantine_size_mb=1
    yes '"F1","PLANAR","","x"' | head -n 300000 >large.txt
    head -n 3 large.txt >small.txt
    local small large
    small=$(memoryFor small.txt)
    large=$(memoryFor large.txt)
    ((small > 0 && large < small + 16384))
}
