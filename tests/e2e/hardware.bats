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
    startDescribed "{\"$1\": $2}"
    shift 2
    runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    stopServers
    equal "$*" "$(grep -o 'FRUNumber:string="[^"]*' "$log" | cut -d '"' -f 2 | LC_ALL=C sort | paste -sd ' ')" \
        'the list of created FRU numbers'
}

# --- processors ---

@test "SPEED: any of several processors may match" {
    startMachine --speeds '1800 2400 1000'
    entries PROCESSOR SPEED 1800 2400 1000 4200 600 >fru.txt
    selects 1000 1800 2400
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

@test "SPEED: a null value is an empty text, not a failure" {
    printf '"%s","PROCESSOR","SPEED=%s","x"\n' EMPTY '' ZERO 0 2400 2400 >fru.txt
    local null='[["CurrentClockSpeed", "uint32", null]]'
    local good='[["CurrentClockSpeed", "uint32", "2400"]]'
    selectsWith KVAXDT_Processor "[$null]" EMPTY
    selectsWith KVAXDT_Processor "[$null, $good]" 2400 EMPTY
}

# --- memory ---

@test "SIZE: each module by itself, never the sum" {
    startMachine --capacities '268435456 536870912'
    entries MEMORY SIZE 256 512 768 128 1024 >fru.txt
    selects 256 512
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

@test "values that are not numbers: the entry is skipped, and the run ends well" {
    { entries PROCESSOR SPEED 2400; entries MEMORY SIZE 512; } >fru.txt
    local text
    for text in '' abc 99999999999999999999999 -5 1e3; do
        selectsWith KVAXDT_Processor "[[[\"CurrentClockSpeed\", \"uint32\", \"$text\"]]]"
        selectsWith KVAXDT_PhysicalMemory "[[[\"Capacity\", \"uint64\", \"$text\"]]]"
    done
}
