#!/usr/bin/env bats
# What morvik-cimd keeps in its store, and what it says of a store that it cannot use.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source-path=SCRIPTDIR source=../support/service.bash
source "$BATS_TEST_DIRNAME/../support/service.bash"

setup() { enterWorkDirectory; }
teardown() {
    stopServers
    ! mountpoint -q "$BATS_TEST_TMPDIR/work/disk" || umount "$BATS_TEST_TMPDIR/work/disk"
}

# A server that was ended well leaves this store: one instance.
makeStore() {
    startWithStore
    change create F1 fan
    stopServers
}

sql() { # TEXT [FILE]
    "$python" -c 'import sqlite3, sys
database = sqlite3.connect(sys.argv[2])
with database:
    for row in database.execute(sys.argv[1]):
        print(*row, sep="|")
database.close()' "$1" "${2-fru.db}"
}

# --- what is kept ---

@test "creations, changes and deletions outlive kill -9" {
    startWithStore
    change create F1 fan create F2 fan create F3 fan modify F2 'a & <b>' delete F3
    killServer
    startWithStore
    listIs 'F1=fan F2=a & <b>'
    change delete F1 create F3 disk
    killServer
    startWithStore
    listIs 'F2=a & <b> F3=disk'
}

@test "creations, changes and deletions outlive a clean end, which leaves the store and its journal" {
    startWithStore
    change create F1 fan create F2 fan delete F1
    stopServers
    filesAre fru.db fru.db-journal
    startWithStore
    listIs 'F2=fan'
}

@test "without a store everything published is gone after the end" {
    startCimd "$mof"
    change create F1 fan
    killServer
    startCimd "$mof"
    listIs ''
    filesAre
}

@test "instances keep the order of their creation; a change does not move one" {
    startWithStore
    change create Z9 a create A1 b create M5 c modify Z9 d
    killServer
    startWithStore
    listIs 'Z9=d A1=b M5=c'
    change delete A1 create A1 e
    killServer
    startWithStore
    listIs 'Z9=d M5=c A1=e'
}

@test "control characters, quotes, any script: kept letter for letter" {
    startWithStore
    local name=$'tab\tline\nquote " \' \\ \xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80 '
    change create $'F"1\\\xc3\xa9' "$name"
    killServer
    startWithStore
    listIs $'F"1\\\xc3\xa9='"$name"
    change delete $'F"1\\\xc3\xa9'
    listIs ''
}

@test "a null property stays null, an empty one empty" {
    startWithStore
    createAs Acme F1 1
    "$python" "$support/cim_client.py" create FRUNumber=F2 IdentifyingNumber=1 Vendor=Acme Name=
    killServer
    startWithStore
    publishedAre <<<'F1|FAN|other|1|Acme|9
F2||NULL|1|Acme|NULL'
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
    killServer
    startWithStore
    logHas 'T_Disk'
    logHas 'is kept but not served'
    equal 1 "$(grep -c 'not served' "$BATS_TEST_TMPDIR/cimd.log")" 'the number of warnings'
    listIs 'F1=fan'
    change create F2 fan
    killServer
    startWithStore disk.mof
    logHasNot 'not served'
    listIs 'F1=fan F2=fan'
    equal '127.0.0.1:5988/root/kvasd:T_Disk.id="d1"' \
        "$(wbemcli ein http://127.0.0.1:5988/root/kvasd:T_Disk)" 'the instances of T_Disk'
}

@test "every change that was acknowledged is there after kill -9 at any moment" {
    "$python" "$support/kill_rounds.py" "$cimd" "$mof" fru.db "${MORVIK_KILL_ROUNDS-15}" \
        "${MORVIK_KILL_SEED-$RANDOM}"
}

# --- a store that cannot be used ---

@test "a second server on the same store: refused, and the first goes on" {
    startWithStore
    endsWith 1 --listen 127.0.0.1:5989 --store fru.db "$mof"
    complains 'morvik-cimd: error: fru.db: in use by another process'
    endsWith 1 --check --store fru.db "$mof"
    change create F1 fan
    killServer
    startWithStore
    listIs 'F1=fan'
}

@test "a damaged store: refused with its name, and not changed" {
    makeStore
    # In the middle of the first page, where the table is described.
    printf 'XXXXXXXX' | dd of=fru.db bs=1 seek=4000 conv=notrunc status=none
    cp fru.db before
    endsWith 1 --store fru.db "$mof"
    run -0 grep '^morvik-cimd: error: fru.db: .*damaged' "$err"
    cmp before fru.db
    equal "$(stat -c %s before)" "$(stat -c %s fru.db)" size
}

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

@test "a store that is gone although its journal is there: refused" {
    makeStore
    rm fru.db
    endsWith 1 --store fru.db "$mof"
    complains "morvik-cimd: error: fru.db: missing or empty, but $PWD/fru.db-journal is there; restore the file, or remove that one to start anew"
}

@test "a journal that is removed while it is in use: CIM_ERR_FAILED until a restart" {
    startWithStore
    change create F1 fan
    rm fru.db-journal
    run -1 change create F2 fan
    [[ $output == *'CIM error 1: '*'fru.db-journal was moved or removed; restart the server'* ]]
    stopServers
    startWithStore
    change create F2 fan
    listIs 'F1=fan F2=fan'
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
from cim_session import Session
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

@test "a truncated store: refused" {
    makeStore
    truncate -s "$(($(stat -c %s fru.db) / 2))" fru.db
    endsWith 1 --store fru.db "$mof"
    run -0 grep '^morvik-cimd: error: fru.db: .*damaged' "$err"
}

@test "an instance that was changed behind the server's back: reported, not served, kept" {
    makeStore
    sql "UPDATE instance SET instance = replace(instance, 'fan', 'fun')"
    startWithStore
    logHas 'checksum'
    listIs ''
    change create F1 new
    killServer
    startWithStore
    listIs 'F1=new'
    killServer
    equal 1 "$(sql "SELECT count(*) FROM set_aside WHERE instance LIKE '%fun%'")" 'the rows set aside'
}

@test "an SQLite file of another program: refused, and not changed" {
    sql 'CREATE TABLE songs (title)' other.db
    sql "INSERT INTO songs VALUES ('x')" other.db
    cp other.db before
    endsWith 1 --store other.db "$mof"
    complains 'morvik-cimd: error: other.db: a database of another program'
    cmp before other.db
}

@test "a text file in place of the store: refused, and not changed" {
    printf 'These are my notes, and they are dear to me.\n' >notes
    cp notes before
    endsWith 1 --store notes "$mof"
    complains "morvik-cimd: error: notes: not an SQLite database; 'morvik-cimd --recover notes' writes what is readable into a new store"
    cmp before notes
}

@test "a store of a newer version: refused, and it stays as it is" {
    makeStore
    sql 'PRAGMA user_version = 2'
    endsWith 1 --store fru.db "$mof"
    run -0 grep '^morvik-cimd: error: fru.db: written by a newer version' "$err"
    equal F1 "$(sql "SELECT 'F1' FROM instance")" 'the row'
}

@test "a directory in place of the store, a missing directory: status 1 and a message" {
    mkdir directory
    endsWith 1 --store directory "$mof"
    complains 'morvik-cimd: error: directory: not a regular file'
    endsWith 1 --store missing/fru.db "$mof"
    complains 'morvik-cimd: error: missing/fru.db: cannot create: No such file or directory'
    filesAre directory
}

@test "a read-only directory: status 1 and a message" {
    mkdir closed
    chmod 555 closed
    endsWith 1 --store closed/fru.db "$mof"
    complains 'morvik-cimd: error: closed/fru.db: cannot create: Permission denied'
}

@test "a read-only store: status 1 and a message" {
    makeStore
    chmod 444 fru.db
    endsWith 1 --store fru.db "$mof"
    complains 'morvik-cimd: error: fru.db: read-only'
}

@test "a read-only file system: status 1 and a message" {
    mountDisk 1m
    mount -o remount,ro disk 2>/dev/null || skip 'cannot remount here'
    endsWith 1 --store disk/fru.db "$mof"
    complains 'morvik-cimd: error: disk/fru.db: cannot create: Read-only file system'
}

@test "only its owner can read a new store" {
    makeStore
    equal 600 "$(stat -c %a fru.db)" permissions
}

# --- a full disk ---

mountDisk() { # SIZE
    mkdir disk
    mount -t tmpfs -o "size=$1" disk disk 2>/dev/null || skip 'cannot mount here'
}

# Creates instances until one is refused; leaves the number of those that were created in $created.
fillUp() {
    local text
    text=$(printf '%0250d' 0)
    "$python" - "$support" "$text" <<'END' >filled
import sys
sys.path.insert(0, sys.argv[1])
from cim_session import CimError, Session
session, created = Session(), 0
try:
    while created < 10000:
        session.create(f"F{created}", sys.argv[2])
        created += 1
except CimError as error:
    print(created, error.code, error)
END
    read -r created code message <filled
    equal 1 "$code" 'the CIM error'
    ((created > 0))
}

@test "a full disk: CIM_ERR_FAILED, nothing is changed, and the server goes on when there is space" {
    local created code message
    mountDisk 400k
    startCimd --store disk/fru.db "$mof"
    fillUp
    [[ $message == *'no space left on the disk'* ]]
    equal "$created" "$(change list | wc -w)" 'the number of instances'
    run -1 change create "F$created" "$(printf '%0250d' 0)"
    equal "$created" "$(change list | wc -w)" 'the number of instances'
    mount -o remount,size=4m disk
    change create later fan delete F0
    killServer
    startCimd --store disk/fru.db "$mof"
    equal "$created" "$(change list | wc -w)" 'the number of instances'
    change list | grep -q 'later=fan'
}

@test "a full disk at the start: status 1 and a message" {
    mountDisk 64k
    head -c 64K /dev/zero >disk/filler || true
    endsWith 1 --store disk/fru.db "$mof"
    run -0 grep '^morvik-cimd: error: disk/fru.db: ' "$err"
}

@test "a limit on the size of files: CIM_ERR_FAILED, and the server goes on" {
    local created code message
    startServer cimd 'listening on' bash -c 'ulimit -f 200 && exec "$@"' bash "$cimd" --store fru.db "$mof"
    fillUp
    equal "$created" "$(change list | wc -w)" 'the number of instances'
    killServer
    startWithStore
    equal "$created" "$(change list | wc -w)" 'the number of instances'
}

@test "a store that is moved away while it is served: CIM_ERR_FAILED, not a loss that nobody notices" {
    startWithStore
    change create F1 fan
    mv fru.db moved.db
    run -1 change create F2 fan
    [[ $output == *'CIM error 1: '*'moved or removed'* ]]
    listIs 'F1=fan'
    mv moved.db fru.db
    change create F2 fan
    listIs 'F1=fan F2=fan'
}
