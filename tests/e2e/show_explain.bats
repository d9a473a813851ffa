#!/usr/bin/env bats
# morvik-show --explain: it predicts exactly what a run of morvik publishes, and explains the rest.

# shellcheck source-path=SCRIPTDIR source=../support/show.bash
source "$BATS_TEST_DIRNAME/../support/show.bash"

# Compares the explanation of FILE with what a run over FTP then does with it, on the machine that is served.
# Sets `count` to the number of entries.
saidIsDone() { # FILE TYPE
    runShow --explain "$1" --json
    local said explained=$status
    # morvik-run refuses such a file, but morvik does not.
    run ! grep -v ': it has zero bytes, ' "$err"
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

@test "a line for each line of the file, and how many there were of each kind" {
    startMachine
    LANG=en_US explainLines <<<$'# a comment\n"F1","FAN","","x"\n"F2","PROCESSOR","SPEED=1800","x"\n"F3","FANS","","x"'
    ends 0
    wrote 'LINE  RESULT     CATEGORY   FRU NUMBER  REASON
   1  ignored    -          -           comment: the line has a #
   2  published  FAN        F1          as KVAHalvoranFru1
   3  left out   PROCESSOR  F2          clock differs: 1800 asked, 2400 here
   4  ignored    -          -           unknown category "FANS"

4 lines: 1 published, 1 left out, 2 ignored'
}

@test "--category: only its lines are shown, but all are processed" {
    startMachine
    explainLines --category planar --category THING <<<'' || true
    ends 2 "--category: morvik has no category 'THING'; there are PROCESSOR, MEMORY, KEYBOARD, PLANAR, CDROM, FLOPPY, OPTIONSP, FAN, BACKPLANE
Try 'morvik-show --help'."
    explainLines --category planar <<'END'
# x
"F1","FAN","","x"
"F2","PLANAR","","x"
"F3","PLANAR","","x"
END
    ends 0
    equal '2 lines: 1 published, 1 left out, 0 ignored' "$(tail -n 1 "$out")" 'the summary'
    grep -q '^   4 .* second PLANAR: line 3 comes first$' "$out"
    explainLines --category CDROM <<<'"F1","FAN","","x"'
    ends 1
}

@test "no line fits: status 1; an empty file too" {
    startMachine
    explainLines <<<'"F2","PROCESSOR","SPEED=1","x"'
    ends 1
    explainLines </dev/null
    ends 1 'lines.txt: it is empty'
    equal '0 lines: 0 published, 0 left out, 0 ignored' "$(tail -n 1 "$out")" 'the summary'
}

@test "a server on which an import would end before its first line: status 2" {
    startRecordedMachine
    printf 'EnumerateInstanceNames * error 3\n' >"$faults"
    explainLines <<<'"F2","FAN","","x"'
    ends 2 'CIM_ERR_INVALID_NAMESPACE: deliberate'
    wrote ''
}

@test "a file that cannot be read: status 2, and no server is contacted" {
    startDescribed '{}'
    runShow --explain missing.txt
    ends 2 'cannot read missing.txt: No such file or directory'
    runShow --explain .
    ends 2 'cannot read .: Is a directory'
    runShow --explain /dev/zero
    ends 2 'cannot read /dev/zero: not a file or pipe'
    runShow --explain ''
    ends 2 'cannot read : No such file or directory'
    : >closed.txt
    chmod 0 closed.txt
    runInstead setpriv --bounding-set=-dac_override,-dac_read_search "$show" --explain closed.txt
    ends 2 'cannot read closed.txt: Permission denied'
    runShow --explain /proc/self/mem
    ends 2 'cannot read /proc/self/mem: Input/output error'
    equal 0 "$(wc -l <"$accepted")" 'the number of connections'
}

@test "standard input and pipes can be read, too" {
    startMachine
    local name
    mkfifo pipe
    for name in - /dev/stdin pipe; do
        printf '"F1","FAN","","x"\n' | if [[ $name == pipe ]]; then cat >pipe; else cat; fi |
            "$show" --explain "$name" >piped
        equal '1 line: 1 published, 0 left out, 0 ignored' "$(tail -n 1 piped)" "the summary for $name"
    done
    runShow --json
    cp "$out" now.json
    "$show" --diff - <now.json
    "$show" --html - <now.json | grep -q '<title>box</title>'
    printf '"F1","FAN","","x"\n' >list.txt
    "$show" --explain list.txt --on - <now.json | grep -q '^1 entry: 0 for none'
}

@test "a whole file that morvik-run would refuse: a message, and its lines" {
    startMachine
    explainLines <<<'<html>'
    ends 1 'lines.txt: it is HTML or XML, not a FRU data file'
    equal '1 line: 0 published, 0 left out, 1 ignored' "$(tail -n 1 "$out")" 'the summary'
    makeFleet
    yes '"F1","FAN","","x"' | head -n 60000 >large.txt || true
    local arguments
    for arguments in '' '--on fleet/host-0001.json'; do
        # shellcheck disable=SC2086 # words on purpose
        runShow --explain large.txt $arguments
        ends 0 'large.txt: it has more than 1 MiB: morvik-run refuses it'
    done
    head -c 68M /dev/zero >large.txt
    runShow --explain large.txt
    ends 2 'large.txt: larger than 64 MiB'
}

# --- other machines, by their inventories, without a server ---

makeFleet() {
    "$python" "$support/fleet.py" fleet 3
    printf '"F1","FAN","","x"\n"F2","PROCESSOR","SPEED=1","x"\n' >list.txt
}

@test "--on: the status shows whether any entry is for any machine" {
    makeFleet
    runShow --explain list.txt --on fleet/*.json
    ends 0
    equal '2 entries: 1 for none of the machines: line 2; 0 lines ignored' "$(tail -n 1 "$out")" 'the summary'
    sed -i 1d list.txt
    runShow --explain list.txt --on fleet/*.json
    ends 1
}

@test "--on: JSON has the entries, the machines that publish them, and their numbers" {
    makeFleet
    runShow --explain list.txt --on fleet/*.json --json
    ends 0
    equal '[[0, 1, 2], []] host-0001' "$(jsonOf 'str([l["publishedOn"] for l in it["matrix"]]) + " " + it["machines"][0]["hostName"]')" \
        'the matrix'
    equal "{'entries': 2, 'forNone': 1, 'ignored': 0}" "$(jsonOf 'it["counts"]')" 'the numbers'
}

@test "--on: inventories that cannot be used: a message for each, and the others are compared" {
    makeFleet
    echo '{"format": 2' >damaged.json
    echo '{"format": 2, "machine": {"processors": [7]}}' >strange.json
    echo '{"name": "another program"}' >other.json
    echo '{"format": 1, "entries": []}' >list.json
    runShow --explain list.txt --on damaged.json strange.json other.json list.json missing.json fleet fleet/host-0001.json
    equal 2 "$status" status
    equal 'damaged.json strange.json other.json missing.json fleet list.json' \
        "$(cut -d ' ' -f 2- "$err" | grep -oE '(damaged|strange|other|list|missing)\.json|fleet' | uniq | paste -sd ' ')" 'the files in messages'
    equal '2 entries: 1 for none of the machines: line 2; 0 lines ignored' "$(tail -n 1 "$out")" 'the summary'
    runShow --explain list.txt --on list.json
    ends 2 'list.json: it does not describe a machine; use --machine --json'
}

@test "--on: wrong options are refused" {
    makeFleet
    runShow --on fleet/host-0001.json
    equal 2 "$status" 'the status without --explain'
    runShow --explain list.txt --on
    equal 2 "$status" 'the status without inventories'
    runShow --explain list.txt --on fleet/host-0001.json --server db1
    equal 2 "$status" 'the status with a server'
    runShow --explain - --on -
    ends 2 "-: standard input can be read only once
Try 'morvik-show --help'."
}
