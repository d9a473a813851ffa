#!/usr/bin/env bats
# Processor and memory entries: the machine's clock speeds and module sizes against SPEED= and SIZE=.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# A file with one entry for each value; its FRU number is the value.
entries() { # CATEGORY TOKEN VALUE...
    local category=$1 token=$2 value
    shift 2
    for value in "$@"; do
        printf '"%s","%s","%s=%s","x"\n' "$value" "$category" "$token" "$value"
    done
}

# The entries that fit are these.
selects() { # [FRU-NUMBER...]
    runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedNumbersAre "$@"
}

# Like selects, on a machine that no real server would describe: the lists of instances as JSON.
selectsWith() { # CLASS JSON [FRU-NUMBER...]
    local json=$BATS_TEST_TMPDIR/machine.json
    printf '{"%s": %s}' "$1" "$2" >"$json"
    shift 2
    startPeer --machine "$json"
    runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    stopServers
    equal "$*" "$(grep -o 'FRUNumber:string="[^"]*' "$log" | cut -d '"' -f 2 | LC_ALL=C sort | paste -sd ' ')" \
        'the list of created FRU numbers'
}

# --- processors ---

@test "SPEED: the exact digits only" {
    startMachine --speeds 2400
    entries PROCESSOR SPEED 2400 02400 2400MHz 24000 240 ' 2400' '2400 ' +2400 2400.0 0x960 >fru.txt
    selects 2400
}

@test "SPEED: any of several processors may match" {
    startMachine --speeds '1800 2400 1000'
    entries PROCESSOR SPEED 1800 2400 1000 4200 600 >fru.txt
    selects 1000 1800 2400
}

@test "SPEED: no processor, no entry" {
    startMachine --speeds ''
    entries PROCESSOR SPEED 2400 0 '' >fru.txt
    selects
}

@test "SPEED: the ends of the range" {
    startMachine --speeds '0 4294967295'
    entries PROCESSOR SPEED 0 4294967295 -1 2147483647 >fru.txt
    selects 0 4294967295
}

@test "SPEED: a line without the token is never published" {
    startMachine --speeds 2400
    cat >fru.txt <<'END'
"A1","PROCESSOR","","x"
"A2","PROCESSOR","2400","x"
"A3","PROCESSOR","speed=2400","x"
"A2400","PROCESSOR","SIZE=2400","2400"
END
    selects
}

@test "SPEED: the first token anywhere in the line, its value up to the next quote" {
    startMachine --speeds 2400
    cat >fru.txt <<'END'
"A1","PROCESSOR","CLOCKSPEED=2400","x"
"A2","PROCESSOR","","SPEED=2400"
"A3","PROCESSOR","SPEED=1800","SPEED=2400"
"A4","PROCESSOR","SPEED=2400","SPEED=1800"
END
    selects A1 A2 A4
}

@test "SPEED: a processor without the property ends the question, whatever the others say" {
    entries PROCESSOR SPEED 2400 >fru.txt
    local with='[["DeviceID", "string", "1"], ["CurrentClockSpeed", "uint32", "2400"]]'
    local without='[["DeviceID", "string", "0"]]'
    selectsWith KVAXDT_Processor "[$without, $with]"
    selectsWith KVAXDT_Processor "[$without]"
    # An earlier match is found before the fault is.
    selectsWith KVAXDT_Processor "[$with, $without]" 2400
}

@test "SPEED: a value of another type ends the question" {
    entries PROCESSOR SPEED 2400 >fru.txt
    local good='[["CurrentClockSpeed", "uint32", "2400"]]' type
    selectsWith KVAXDT_Processor "[$good]" 2400
    for type in uint64 uint16 sint32 string real64; do
        selectsWith KVAXDT_Processor "[[[\"CurrentClockSpeed\", \"$type\", \"2400\"]], $good]"
    done
    selectsWith KVAXDT_Processor "[[[\"CurrentClockSpeed\", \"uint32\", [\"2400\"]]], $good]"
}

@test "SPEED: a null value is an empty text, and no failure" {
    printf '"%s","PROCESSOR","SPEED=%s","x"\n' EMPTY '' ZERO 0 2400 2400 >fru.txt
    local null='[["CurrentClockSpeed", "uint32", null]]'
    local good='[["CurrentClockSpeed", "uint32", "2400"]]'
    selectsWith KVAXDT_Processor "[$null]" EMPTY
    selectsWith KVAXDT_Processor "[$null, $good]" 2400 EMPTY
}

@test "SPEED: the property may stand first, and in any letter case" {
    entries PROCESSOR SPEED 2400 >fru.txt
    selectsWith KVAXDT_Processor '[[["currentclockspeed", "uint32", "2400"], ["DeviceID", "string", "0"]]]' 2400
}

@test "SPEED: an unknown class is no match" {
    entries PROCESSOR SPEED 2400 >fru.txt
    selectsWith KVAXDT_PhysicalMemory '[]'
}

# --- memory ---

@test "SIZE: each module by itself, never the sum" {
    startMachine --capacities '268435456 536870912'
    entries MEMORY SIZE 256 512 768 128 1024 >fru.txt
    selects 256 512
}

@test "SIZE: whole megabytes, the remainder is dropped" {
    startMachine --capacities '1073741823 1000000000 1073741824'
    entries MEMORY SIZE 1023 1024 953 954 953.67 >fru.txt
    selects 1023 1024 953
}

@test "SIZE: less than a megabyte is 0" {
    startMachine --capacities '1048575'
    entries MEMORY SIZE 0 1 '' >fru.txt
    selects 0
}

@test "SIZE: the exact digits only" {
    startMachine --capacities 536870912
    entries MEMORY SIZE 512 0512 512MB ' 512' '512 ' 51 5120 536870912 >fru.txt
    selects 512
}

@test "SIZE: the low 32 bits of the megabytes, as a signed number" {
    # 2^51 bytes are 2^31 megabytes; 2^52 bytes are 2^32 megabytes; 2^64 - 1 bytes are 2^44 - 1 ones.
    startMachine --capacities '2251799813685248'
    entries MEMORY SIZE -2147483648 2147483648 >fru.txt
    selects -2147483648
    stopServers
    startMachine --capacities '4503599627370496'
    entries MEMORY SIZE 0 4294967296 >fru.txt
    selects 0
    stopServers
    startMachine --capacities '18446744073709551615'
    entries MEMORY SIZE -1 17592186044415 4294967295 >fru.txt
    selects -1
}

@test "SIZE: more than four gigabytes" {
    startMachine --capacities '8589934592'
    entries MEMORY SIZE 8192 0 >fru.txt
    selects 8192
}

@test "SIZE: no module, no entry" {
    startMachine --capacities ''
    entries MEMORY SIZE 512 0 '' >fru.txt
    selects
}

@test "SIZE: without the token, the value is read from position 4 up to the next quote" {
    startMachine --capacities 536870912
    #  0123
    cat >fru.txt <<'END'
"A23512","MEMORY","","value 512"
"B23256","MEMORY","","value 256"
"C2351","MEMORY","","value 51"
"D512","MEMORY","","value 2"
"512","MEMORY","512","the quote itself is at 4"
"E23512","MEMORY","size=256","value 512: the token is in upper case only"
END
    selects A23512 E23512
}

@test "SIZE: the first token anywhere in the line counts" {
    startMachine --capacities 536870912
    cat >fru.txt <<'END'
"A1","MEMORY","MODULESIZE=512","x"
"A2","MEMORY","","SIZE=512"
"A3","MEMORY","SIZE=256","SIZE=512"
END
    selects A1 A2
}

@test "SIZE: a module without the property ends the question" {
    entries MEMORY SIZE 512 0 >fru.txt
    local with='[["Tag", "string", "1"], ["Capacity", "uint64", "536870912"]]'
    local without='[["Tag", "string", "0"]]'
    selectsWith KVAXDT_PhysicalMemory "[$without, $with]"
    selectsWith KVAXDT_PhysicalMemory "[$with, $without]" 512
}

@test "SIZE: a value of another type ends the question" {
    entries MEMORY SIZE 512 >fru.txt
    local good='[["Capacity", "uint64", "536870912"]]' type
    selectsWith KVAXDT_PhysicalMemory "[$good]" 512
    for type in uint32 sint64 string; do
        selectsWith KVAXDT_PhysicalMemory "[[[\"Capacity\", \"$type\", \"536870912\"]], $good]"
    done
    selectsWith KVAXDT_PhysicalMemory "[[[\"Capacity\", \"uint64\", [\"536870912\"]]], $good]"
}

@test "values that are no numbers at all: the entry is skipped, the run ends well" {
    { entries PROCESSOR SPEED 2400; entries MEMORY SIZE 512; } >fru.txt
    local text
    for text in '' abc 99999999999999999999999 -5 1e3; do
        selectsWith KVAXDT_Processor "[[[\"CurrentClockSpeed\", \"uint32\", \"$text\"]]]"
        selectsWith KVAXDT_PhysicalMemory "[[[\"Capacity\", \"uint64\", \"$text\"]]]"
    done
}

@test "no other category is put to a question" {
    startRecordedMachine
    cat >fru.txt <<'END'
"A1","PLANAR","SPEED=1","x"
"A2","CDROM","SIZE=1","x"
"A3","FLOPPY","LANGUAGE=xx","x"
"A4","OPTIONSP","SPEED=1","x"
"A5","FAN","SIZE=1","x"
"A6","BACKPLANE","SPEED=1","x"
END
    selects A1 A2 A3 A4 A5 A6
    run ! grep -E 'KVAXDT_(Processor|PhysicalMemory)' "$log"
}
