#!/usr/bin/env bats
# The host's own inventory, as morvik-cimd serves it and morvik uses it.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source-path=SCRIPTDIR source=../support/service.bash
source "$BATS_TEST_DIRNAME/../support/service.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

recorded=$BATS_TEST_DIRNAME/../data/smbios

startRecorded() { # NAME [ARG...]
    local name=$1
    shift
    startCimd --smbios "$recorded/$name" "$@" "$mof"
}

# Prints for each instance of the class the values of these properties, as the client shows them.
valuesOf() { # CLASS PROPERTY...
    local class=$1
    shift
    wbemcli ei -nl "http://127.0.0.1:5988/root/kvasd:$class" >instances
    local names
    names=$(printf '|%s' "$@")
    sed -nE "s/^-(${names:1})=/\1=/p" instances
}

@test "the inventory of a machine, with null where the firmware lacks a value" {
    startRecorded mixed-sockets-and-dimms
    equal 'model="Mixed Server -[3456F6G]-"
serialNumber="KQF0006"' "$(valuesOf KVAXDT_ComputerSystemDetails model serialNumber)" system
    equal 'DeviceID="CPU 1"
CurrentClockSpeed=2600
DeviceID="CPU 3"
CurrentClockSpeed=1866
DeviceID="CPU 4"
CurrentClockSpeed=' "$(valuesOf KVAXDT_Processor DeviceID CurrentClockSpeed)" processors
    equal '268435456 536870912 1572864 68719476736 34359738368 34357641216  51539607552' \
        "$(valuesOf KVAXDT_PhysicalMemory Capacity | cut -d = -f 2 | paste -sd ' ')" memory
}

@test "--model and --models: another model, the rest as in the firmware" {
    startRecorded one-socket-one-dimm --model 2345-ABC
    equal 'model="2345-ABC"
serialNumber="KQ0012A"' "$(valuesOf KVAXDT_ComputerSystemDetails model serialNumber)" '--model'
    equal 'CurrentClockSpeed=1800' "$(valuesOf KVAXDT_Processor CurrentClockSpeed)" processors
    stopServers
    printf '# ours\nServer 123 -[1234ABX]- = 3456-ABC\n' >models
    startRecorded one-socket-one-dimm --models models
    equal 'model="3456-ABC"' "$(valuesOf KVAXDT_ComputerSystemDetails model)" '--models'
    # Another file after SIGHUP; one with a mistake changes nothing.
    sed -i 's/3456/4567/' models
    kill -HUP "${servers[-1]##*:}"
    logHas reloaded
    equal 'model="4567-ABC"' "$(valuesOf KVAXDT_ComputerSystemDetails model)" 'after a change'
    echo ProL >>models
    kill -HUP "${servers[-1]##*:}"
    logHas 'not reloaded: models:3: not of the form PRODUCT NAME = MODEL'
    equal 'model="4567-ABC"' "$(valuesOf KVAXDT_ComputerSystemDetails model)" 'after a mistake'
    endsWith 3 --smbios "$recorded/one-socket-one-dimm" --models . "$mof"
    endsWith 0 --check --smbios "$recorded/one-socket-one-dimm" --models missing "$mof"
    grep -q 'there is no missing: product names are used as models' "$err"
}

@test "a class that lacks a property, or has it with another type, gets the others" {
    sed '/ConfiguredMemoryClockSpeed/d; s/string PartNumber/uint8 PartNumber/' "$mof" >older.mof
    sed -i -z 's/        \[Description ( "The speed that is configured in megahertz." ),\n         PUnit ( "hertz \* 10^6" )\]\n//' older.mof
    startCimd --smbios "$recorded/one-socket-one-dimm" older.mof
    equal 'Capacity=536870912
PartNumber=
SerialNumber="M-0001"' "$(valuesOf KVAXDT_PhysicalMemory Capacity PartNumber SerialNumber)" memory
    sed 's/uint64 Capacity/uint32 Capacity/' "$mof" >other.mof
    endsWith 3 --smbios "$recorded/one-socket-one-dimm" other.mof
    run -0 grep 'the inventory of the host does not fit the classes' "$err"
    printf 'class KVAXDT_FRU { [Key] string FRUNumber; };' >other.mof
    endsWith 3 --smbios "$recorded/one-socket-one-dimm" other.mof
    run -0 grep '^morvik-cimd: error: .*KVAXDT_ComputerSystemDetails' "$err"
}

@test "the classes derived from those of the DMTF have an inventory as well" {
    [[ -n ${MORVIK_DMTF_SCHEMA-} ]] || skip 'MORVIK_DMTF_SCHEMA does not name the DMTF schema'
    startCimd --smbios "$recorded/one-socket-one-dimm" "$MORVIK_DMTF_SCHEMA" "$schema/kvaxdt-dmtf.mof"
    equal 'CurrentClockSpeed=1800' "$(valuesOf KVAXDT_Processor CurrentClockSpeed)" processors
}

# bats test_tags=changes
@test "morvik: from the tables to the file for the machine type to the published entries" {
    startRecorded one-socket-one-dimm --store fru.db
    startFtp
    printf '%s\n' '"P1","PROCESSOR","SPEED=1800","Processor"' '"P2","PROCESSOR","SPEED=2400","Other"' \
        '"M1","MEMORY","SIZE=512","Memory"' '"M2","MEMORY","SIZE=1024","Other"' \
        '"F1","FAN","","Fan"' | putOnParts 1234wpk.txt
    mkdir run
    cd run
    runMorvik -s 127.0.0.1 -d /pc/dolmex/bp_server
    succeeded
    filesAre
    publishedNumbersAre F1 M1 P1
    cd "$BATS_TEST_TMPDIR/work"
    published >before
    killServer
    startRecorded one-socket-one-dimm --store fru.db
    publishedAre <before
}

# bats test_tags=changes
@test "morvik: values that the firmware lacks are not a failure; the other parts are compared" {
    startRecorded mixed-sockets-and-dimms
    printf '%s\n' '"P2600","PROCESSOR","SPEED=2600","x"' '"P1866","PROCESSOR","SPEED=1866","x"' \
        '"P4000","PROCESSOR","SPEED=4000","x"' '"M1","MEMORY","SIZE=1","x"' \
        '"M49152","MEMORY","SIZE=49152","x"' '"M1024","MEMORY","SIZE=1024","x"' >fru.txt
    runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedNumbersAre M1 M49152 P1866 P2600
}

@test "no tables: processors and clocks from cpuinfo, the rest stays empty, and the log says so" {
    mkdir bare
    cp "$recorded/one-socket-one-dimm/cpuinfo" bare
    startCimd --smbios bare "$mof"
    logHas 'warning: there are no SMBIOS tables in bare: processors and their clocks are from cpuinfo'
    equal 1 "$(valuesOf KVAXDT_Processor CurrentClockSpeed | grep -cE '=[0-9]+$')" processors
    equal '' "$(valuesOf KVAXDT_ComputerSystemDetails model)" system
    equal '' "$(valuesOf KVAXDT_PhysicalMemory Capacity)" memory
}

@test "a directory that is missing, or is not one: status 3" {
    endsWith 3 --smbios missing "$mof"
    complains 'morvik-cimd: error: cannot open missing: No such file or directory'
    endsWith 3 --smbios "$mof" "$mof"
    complains "morvik-cimd: error: $mof is not a directory"
}

@test "damaged tables: the whole structures are served, and the damage is reported" {
    mkdir damaged
    cp "$recorded"/mixed-sockets-and-dimms/* damaged
    truncate -s 1000 damaged/DMI
    endsWith 0 --check --smbios damaged "$mof"
    grep -q 'warning: the SMBIOS table is damaged' "$err"
    grep -q '^1 namespace, 4 classes, [1-9]' "$out"
}

@test "the host itself without SMBIOS: at least one processor, or a report that cpuinfo has none" {
    # An empty directory in place of the kernel's, whatever the host has.
    mount -t tmpfs none /sys/firmware 2>/dev/null || skip 'cannot mount here'
    startCimd --host "$mof"
    umount /sys/firmware
    logHas 'there are no SMBIOS tables in /sys/firmware/dmi/tables'
    equal '' "$(valuesOf KVAXDT_ComputerSystemDetails model)" system
    grep -q 'and cpuinfo lists no processors' "$BATS_TEST_TMPDIR/cimd.log" ||
        [[ -n $(valuesOf KVAXDT_Processor DeviceID) ]]
}

@test "without --host and --smbios nothing of the host is served" {
    startCimd "$mof"
    equal '' "$(valuesOf KVAXDT_Processor DeviceID)" processors
    run ! grep -qiE 'smbios|cpuinfo' "$BATS_TEST_TMPDIR/cimd.log"
}
