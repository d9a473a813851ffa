#!/usr/bin/env bats
# What is deleted before an import, and what is created: numbers, properties, characters.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

import() {
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
}

# --- deletion of earlier instances ---

@test "earlier instances are known by their number's first 14 characters, in any letter case" {
    startMachine
    : >fru.txt
    createAs KVA A1 KVAHalvoranFru1
    createAs KVA A2 KVAHalvoranFru
    createAs KVA A3 kvahalvoranfru7
    createAs KVA A4 KVAHALVORANFRU-anything
    createAs Other A5 kVAhALVORANfRU1
    import
    publishedNumbersAre
}

@test "instances of other publishers are never touched" {
    startMachine
    : >fru.txt
    createAs KVA B1 KVAHalvoranFr
    createAs KVA B2 'KVAHalvoran Fru1'
    createAs KVA B3 ''
    createAs KVA B4 ' KVAHalvoranFru1'
    createAs KVA B5 XKVAHalvoranFru1
    createAs KVA B6 1
    createAs KVA A1 KVAHalvoranFru1
    local before
    before=$(published | grep '^B')
    import
    equal "$before" "$(published)" 'the set of published instances'
}

@test "text past ASCII in other publishers' instances does no harm" {
    startMachine
    : >fru.txt
    createAs 'Müller & "Söhne" <日本>' 'é1' 'KVAHalvoranFrü'
    createAs 'Müller & "Söhne" <日本>' 'é2' 'KVAHalvoranFru"1"\2'
    import
    publishedAre <<<'é1|FAN|other|KVAHalvoranFrü|Müller & "Söhne" <日本>|9'
}

@test "many earlier instances" {
    startMachine
    local i
    for i in {1..150}; do
        printf '"F%d","FAN","","x"\n' "$i"
    done >fru.txt
    import
    equal 150 "$(published | wc -l)" 'the number of published instances'
    : >fru.txt
    import
    publishedNumbersAre
}

@test "a deletion that fails ends the import: what was deleted stays deleted, nothing is created" {
    startRecordedMachine
    echo '"F1","FAN","","x"' >fru.txt
    createAs KVA A1 KVAHalvoranFru1
    createAs KVA A2 KVAHalvoranFru1
    createAs KVA A3 KVAHalvoranFru1
    printf 'DeleteInstance 2 error 1\n' >"$faults"
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    failedOnLocalCopy
    equal 2 "$(published | wc -l)" 'the number of published instances'
    run ! grep -q '"F1"' "$log"
}

@test "a number that cannot be read ends the import before anything is deleted" {
    startRecordedMachine
    echo '"F1","FAN","","x"' >fru.txt
    createAs KVA A1 KVAHalvoranFru1
    printf 'GetProperty 1 error 6\n' >"$faults"
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    failedOnLocalCopy
    publishedNumbersAre A1
}

@test "an instance without a number is left alone" {
    printf '{"KVAXDT_FRU": [[["FRUNumber", "string", "A1"], ["IdentifyingNumber", "string", null], ["Vendor", "string", "x"]]]}' \
        >"$BATS_TEST_TMPDIR/machine.json"
    startPeer --machine "$BATS_TEST_TMPDIR/machine.json"
    echo '"F1","FAN","","x"' >fru.txt
    import
    equal 'EnumerateInstances EnumerateInstanceNames GetProperty CreateInstance' "$(operations | paste -sd ' ')" operations
}

# --- numbers ---

@test "processors, memory, fans and backplanes are counted, each by itself" {
    startMachine --speeds '2400' --capacities '536870912'
    cat >fru.txt <<'END'
"P1","PROCESSOR","SPEED=2400","x"
"P2","PROCESSOR","SPEED=2400","x"
"M1","MEMORY","SIZE=512","x"
"F1","FAN","","x"
"B1","BACKPLANE","","x"
"P3","PROCESSOR","SPEED=2400","x"
"F2","FAN","","x"
"M2","MEMORY","SIZE=512","x"
"B2","BACKPLANE","","x"
END
    import
    publishedAre <<'END'
B1|BACKPLANE|x|KVAHalvoranFru1|KVA|1.0
B2|BACKPLANE|x|KVAHalvoranFru2|KVA|1.0
F1|FAN|x|KVAHalvoranFru1|KVA|1.0
F2|FAN|x|KVAHalvoranFru2|KVA|1.0
M1|MEMORY|x|KVAHalvoranFru1|KVA|1.0
M2|MEMORY|x|KVAHalvoranFru2|KVA|1.0
P1|PROCESSOR|x|KVAHalvoranFru1|KVA|1.0
P2|PROCESSOR|x|KVAHalvoranFru2|KVA|1.0
P3|PROCESSOR|x|KVAHalvoranFru3|KVA|1.0
END
}

@test "entries that are not selected do not count" {
    startMachine --speeds '2400' --capacities '536870912'
    cat >fru.txt <<'END'
"P0","PROCESSOR","SPEED=1","x"
"P1","PROCESSOR","SPEED=2400","x"
"P2","PROCESSOR","SPEED=2","x"
"P3","PROCESSOR","SPEED=2400","x"
"M0","MEMORY","SIZE=1","x"
"M1","MEMORY","SIZE=512","x"
END
    import
    publishedAre <<'END'
M1|MEMORY|x|KVAHalvoranFru1|KVA|1.0
P1|PROCESSOR|x|KVAHalvoranFru1|KVA|1.0
P3|PROCESSOR|x|KVAHalvoranFru2|KVA|1.0
END
}

@test "keyboards, planars, CD-ROMs, floppies and options are all number 1" {
    startMachine
    cat >fru.txt <<'END'
"K1","KEYBOARD","LANGUAGE=en","x"
"K2","KEYBOARD","LANGUAGE=en","x"
"K3","KEYBOARD","LANGUAGE=en","x"
"A1","PLANAR","","x"
"C1","CDROM","","x"
"L1","FLOPPY","","x"
"L2","FLOPPY","","x"
"O1","OPTIONSP","","x"
"O2","OPTIONSP","","x"
END
    import
    equal KVAHalvoranFru1 "$(published | cut -d '|' -f 4 | sort -u)" 'the numbers'
    publishedNumbersAre A1 C1 K1 K2 K3 L1 L2 O1 O2
}

@test "the creation of the second fan fails: the third is numbered 3" {
    startRecordedMachine
    printf 'CreateInstance 2 error 1\n' >"$faults"
    printf '"%s","FAN","","x"\n' F1 F2 F3 >fru.txt
    import
    publishedAre <<'END'
F1|FAN|x|KVAHalvoranFru1|KVA|1.0
F3|FAN|x|KVAHalvoranFru3|KVA|1.0
END
}

@test "equal keys within one file: the server refuses the second, the numbers go on" {
    startMachine
    cat >fru.txt <<'END'
"F1","FLOPPY","","first"
"F1","OPTIONSP","","same keys"
"F1","FAN","","same keys"
"F1","FAN","","number 2"
"F2","FAN","","number 3"
END
    import
    publishedAre <<'END'
F1|FAN|number 2|KVAHalvoranFru2|KVA|1.0
F1|FLOPPY|first|KVAHalvoranFru1|KVA|1.0
F2|FAN|number 3|KVAHalvoranFru3|KVA|1.0
END
}

@test "numbers go on past 9 and past 99, without fill characters" {
    startMachine
    local i
    for i in {1..101}; do
        printf '"F%d","FAN","","x"\n' "$i"
    done >fru.txt
    import
    published | grep -qx 'F9|FAN|x|KVAHalvoranFru9|KVA|1.0'
    published | grep -qx 'F10|FAN|x|KVAHalvoranFru10|KVA|1.0'
    published | grep -qx 'F101|FAN|x|KVAHalvoranFru101|KVA|1.0'
}

@test "a second run deletes what the first has created and creates the same set again" {
    startRecordedMachine
    cp "$schema/samples/parts/1234wpk.txt" fru.txt
    import
    local first
    first=$(published)
    [[ -n $first ]]
    : >"$log"
    import
    equal "$first" "$(published)" 'the set of published instances'
    equal "$(wc -l <<<"$first")" "$(grep -c ' DeleteInstance ' "$log")" 'the number of deletions'
    equal "$(wc -l <<<"$first")" "$(grep -c ' CreateInstance ' "$log")" 'the number of creations'
}

# --- fields and characters ---

@test "empty fields are published" {
    startMachine
    printf '"","FAN","","x"\n"F2","FAN","",""\n"","FAN","",""\n' >fru.txt
    import
    publishedAre <<'END'
|FAN|x|KVAHalvoranFru1|KVA|1.0
F2|FAN||KVAHalvoranFru2|KVA|1.0
|FAN||KVAHalvoranFru3|KVA|1.0
END
}

@test "only and surrounding blanks are kept" {
    startMachine
    printf '" F1 ","FAN",""," x "\n"F2","FAN","","   "\n' >fru.txt
    import
    publishedAre <<'END'
 F1 |FAN| x |KVAHalvoranFru1|KVA|1.0
F2|FAN|   |KVAHalvoranFru2|KVA|1.0
END
}
