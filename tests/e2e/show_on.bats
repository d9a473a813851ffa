#!/usr/bin/env bats
# morvik-show --explain FILE --on INVENTORY...: without a server.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source-path=SCRIPTDIR source=../support/show.bash
source "$BATS_TEST_DIRNAME/../support/show.bash"

setup() {
    enterWorkDirectory
    "$python" "$support/fleet.py" fleet 3
    printf '"F1","FAN","","x"\n"F2","PROCESSOR","SPEED=1","x"\n' >list.txt
}

@test "the status shows whether any entry is for any machine" {
    runShow --explain list.txt --on fleet/*.json
    ends 0
    equal '2 entries: 1 for none of the machines: line 2; 0 lines ignored' "$(tail -n 1 "$out")" 'the summary'
    sed -i 1d list.txt
    runShow --explain list.txt --on fleet/*.json
    ends 1
}

@test "--json is as its schema says" {
    runShow --explain list.txt --on fleet/*.json --json
    ends 0
    equal '[[0, 1, 2], []] host-0001' "$(jsonOf 'str([l["publishedOn"] for l in it["matrix"]]) + " " + it["machines"][0]["hostName"]')" \
        'the matrix'
    equal "{'entries': 2, 'forNone': 1, 'ignored': 0}" "$(jsonOf 'it["counts"]')" 'the numbers'
    cp "$out" matrix.json
    "$python" -c 'import jsonschema' 2>/dev/null || skip 'no jsonschema here'
    "$python" "$support/valid_json.py" "$project/docs/inventory.schema.json" matrix.json
}

@test "inventories that cannot be used: a message for each, and the others are compared" {
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

@test "1,000 machines: one table with a column for each kind of them" {
    "$python" "$support/fleet.py" many 1000
    runShow --explain "$samples/parts/1234wpk.txt" --on many/*.json
    ends 0
    equal 1000 "$(awk 'NR > 1 && NF == 0 { exit } NR > 1 { sum += $2 } END { print sum }' "$out")" 'the machines of all columns'
    (($(wc -L <"$out") < 200))
}

@test "a list that is too large, and wrong options, are refused" {
    yes '"F1","FAN","","x"' | head -c 1048577 >large.txt || true
    runShow --explain large.txt --on fleet/host-0001.json
    ends 2 'large.txt: larger than 1 MiB'
    runShow --on fleet/host-0001.json
    equal 2 "$status" 'the status without --explain'
    runShow --explain list.txt --on
    equal 2 "$status" 'the status without inventories'
    runShow --explain list.txt --on fleet/host-0001.json --server db1
    equal 2 "$status" 'the status with a server'
}
