#!/usr/bin/env bats
# The store of morvik-cimd: what it keeps, and messages about a store that it cannot use.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source-path=SCRIPTDIR source=../support/service.bash
source "$BATS_TEST_DIRNAME/../support/service.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# --- what is kept ---

@test "creations, changes and deletions outlive kill -9, and a clean end" {
    startWithStore
    change create F1 fan create F2 fan create F3 fan modify F2 'a & <b>' delete F3
    killServer
    startWithStore
    listIs 'F1=fan F2=a & <b>'
    change delete F1 create F3 disk
    stopServers
    filesAre fru.db fru.db-journal
    startWithStore
    listIs 'F2=a & <b> F3=disk'
}

@test "without a store everything published is gone after the end" {
    startCimd "$mof"
    change create F1 fan
    killServer
    startCimd "$mof"
    listIs ''
    filesAre
}

@test "instances of MOF files are as the files have them now; published ones are kept beside them" {
    startWithMachine() {
        writeMachine --model "$1" --speeds "$2" >machine.mof
        startCimd --store fru.db "$mof" machine.mof
    }
    startWithMachine 'First -[1111AAA]-' '1800 1800'
    change create F1 fan
    killServer
    startWithMachine 'Second -[2222BBB]-' 2400
    listIs 'F1=fan'
    equal 2400 "$(wbemcli ei -nl http://127.0.0.1:5988/root/kvasd:KVAXDT_Processor |
        sed -n 's/^-CurrentClockSpeed=//p')" 'the clock speeds'
    wbemcli ei -nl http://127.0.0.1:5988/root/kvasd:KVAXDT_ComputerSystemDetails | grep -qF 2222BBB
}

@test "a published instance whose name a file declares later is reported and kept; the declared one is served" {
    startWithStore
    change create F1 published
    stopServers
    printf 'instance of KVAXDT_FRU { FRUNumber = "F1"; IdentifyingNumber = "1"; Vendor = "Acme"; Name = "declared"; };' >fru.mof
    startWithStore fru.mof
    logHas 'is kept but not served'
    listIs 'F1=declared'
    stopServers
    startWithStore
    listIs 'F1=published'
}

@test "an instance whose class is gone is reported, stays in the file, and is back with its class" {
    printf 'class T_Disk { [Key] string id; };' >disk.mof
    startWithStore disk.mof
    change create F1 fan
    wbemcli ci 'http://127.0.0.1:5988/root/kvasd:T_Disk.id="d1"' 'id="d1"'
    cp disk.mof kept
    printf '\n' >disk.mof
    reload
    logHas 'is kept but not served'
    killServer
    startWithStore disk.mof
    logHas 'T_Disk'
    equal 1 "$(grep -c 'is kept but not served' "$BATS_TEST_TMPDIR/cimd.log")" 'the number of warnings'
    listIs 'F1=fan'
    cp kept disk.mof
    reload
    logHas 'reloaded: 1 namespace, 5 classes, 0 instances declared, 2 published'
    equal '127.0.0.1:5988/root/kvasd:T_Disk.id="d1"' \
        "$(wbemcli ein http://127.0.0.1:5988/root/kvasd:T_Disk)" 'the instances of T_Disk'
}

# --- damage, space ---

@test "--recover: what is readable goes into a new store, and the rest is listed" {
    startWithStore
    change create F1 fan create F2 'a second fan' create F3 disk
    killServer
    # The page with the description of the tables, and one letter of an instance.
    dd if=/dev/zero of=fru.db bs=4096 count=1 conv=notrunc status=none
    local letter
    letter=$(grep -abo 'a second fan' fru.db | head -n 1 | cut -d : -f 1)
    printf X | dd of=fru.db bs=1 seek="$letter" conv=notrunc status=none
    endsWith 1 --store fru.db "$mof"
    complains "morvik-cimd: error: fru.db: not an SQLite database; 'morvik-cimd --recover fru.db' writes what is readable into a new store"
    endsWith 0 --recover fru.db
    sed 's/(root.*)/(NAME)/' "$out" >lines
    fileIs lines '2 instances written to fru.db.recovered
cannot be read:
  instance 2 (NAME)
  page 1 of the file
to use it, remove fru.db and fru.db-journal, and rename it
'
    endsWith 1 --recover fru.db
    complains 'morvik-cimd: error: fru.db.recovered: exists already'
    rm fru.db fru.db-journal lines
    mv fru.db.recovered fru.db
    filesAre fru.db
    startWithStore
    listIs 'F1=fan F3=disk'
    endsWith 1 --recover fru.db
    complains 'morvik-cimd: error: fru.db: in use by another process'
}

@test "the space of deleted instances is returned" {
    startWithStore
    change create F1 fan
    local before end
    before=$(stat -c %s fru.db)
    "$python" - "$support" <<'END'
import os
import sys
sys.path.insert(0, sys.argv[1])
from cim_client import Session
session, before = Session(), os.path.getsize("fru.db")
for number in range(40):
    session.create(f"D{number}", "disk")
    session.change_description(f"D{number}", "d" * 50_000)
assert os.path.getsize("fru.db") > before + 1_500_000
for number in range(40):
    session.delete(f"D{number}")
END
    end=$((SECONDS + 60))
    until (($(stat -c %s fru.db) == before)); do
        ((SECONDS < end))
        sleep 0.1
    done
    listIs 'F1=fan'
}

@test "no more space: CIM_ERR_FAILED, nothing is changed, and the server goes on" {
    startServer cimd 'listening on' bash -c 'ulimit -f 200 && exec "$@"' bash "$cimd" --store fru.db "$mof"
    "$python" - "$support" <<'END'
import sys
sys.path.insert(0, sys.argv[1])
from cim_client import CimError, Session
session, created = Session(), 0
try:
    while created < 10000:
        session.create(f"F{created}", "d" * 250)
        created += 1
except CimError as error:
    assert error.code == 1 and "File too large" in str(error), error
assert 0 < created == len(session.frus())
session.delete("F0")
END
    local list
    list=$(change list)
    killServer
    startWithStore
    listIs "$list"
}
