#!/usr/bin/env bats
# Deletion before an import, and creation: numbers, properties, characters.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

import() {
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
}

# --- deletion of earlier instances ---

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

@test "an instance without a number is left alone" {
    startDescribed '{"KVAXDT_FRU": [[["FRUNumber", "string", "A1"], ["IdentifyingNumber", "string", null], ["Vendor", "string", "x"]]]}'
    echo '"F1","FAN","","x"' >fru.txt
    import
    equal 'EnumerateInstances EnumerateInstanceNames GetProperty CreateInstance' "$(operations | paste -sd ' ')" operations
}

# --- numbers ---

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

@test "empty fields and blanks are published as they are" {
    startMachine
    printf '"","FAN","","x"\n"F2","FAN","",""\n"","FAN","",""\n" F4 ","FAN",""," x "\n"F5","FAN","","   "\n' >fru.txt
    import
    publishedAre <<'END'
|FAN|x|KVAHalvoranFru1|KVA|1.0
F2|FAN||KVAHalvoranFru2|KVA|1.0
|FAN||KVAHalvoranFru3|KVA|1.0
 F4 |FAN| x |KVAHalvoranFru4|KVA|1.0
F5|FAN|   |KVAHalvoranFru5|KVA|1.0
END
}
