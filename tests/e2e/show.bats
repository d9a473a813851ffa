#!/usr/bin/env bats
# morvik-show: what is listed, in which form, and how it ends.

# shellcheck source-path=SCRIPTDIR source=../support/show.bash
source "$BATS_TEST_DIRNAME/../support/show.bash"

publishSome() {
    startMachine
    importLines <<'END'
"A5","FAN","","Fan, ""left"
"A4","PLANAR","","Board für 日本"
"A3","MEMORY","SIZE=512","512 MB"
"A2","PROCESSOR","SPEED=2400","2.4 GHz"
END
}

# --- the list ---

@test "the table: categories in the order of morvik's own table, whatever the order of the file" {
    publishSome
    runShow
    ends 0
    wrote 'CATEGORY   FRU NUMBER  DESCRIPTION     IDENTIFYING NUMBER
PROCESSOR  A2          2.4 GHz         KVAHalvoranFru1
MEMORY     A3          512 MB          KVAHalvoranFru1
PLANAR     A4          Board für 日本  KVAHalvoranFru1
FAN        A5          Fan,            KVAHalvoranFru1'
}

@test "nothing published: status 1, and nothing on standard output but the frame of JSON and CSV" {
    startMachine
    runShow
    ends 1 'no entries'
    wrote ''
    runShow --json
    ends 1
    equal '[]' "$(jsonOf 'it["entries"]')" json
    runShow --csv
    ends 1
    fileIs "$out" 'category,fruNumber,description,identifyingNumber,vendor,revisionLevel,publishedByMorvik,problem\r\n'
}

@test "--json: every property, and whose they are" {
    publishSome
    mkdir state
    echo '{"good": {"finished": "2126-11-22T02:00:00Z"}}' >state/status.json
    runShow --json --state state
    ends 0
    equal "(2, '2126-11-22T02:00:00Z', '1234', 'box')" \
        "$(jsonOf '(it["format"], it["lastGoodRun"], it["machine"]["machineType"], it["machine"]["hostName"])')" frame
    equal "$("$show" --version)" "$(jsonOf '"{program} {version}".format(**it)')" 'the program'
    (($(date +%s) - $(date +%s -d "$(jsonOf 'it["time"]')") < 60))
    equal "{'category': 'PLANAR', 'fruNumber': 'A4', 'description': 'Board für 日本', 'identifyingNumber': 'KVAHalvoranFru1', 'vendor': 'KVA', 'revisionLevel': '1.0', 'publishedByMorvik': True, 'problem': None}" \
        "$(jsonOf 'it["entries"][2]')" 'an entry'
    equal 4 "$(jsonOf 'len(it["entries"])')" 'the number of entries'
}

@test "every JSON document is as its schema says, and the schema has all its members" {
    startCimd --smbios "$BATS_TEST_DIRNAME/../data/smbios/mixed-sockets-and-dimms" "$schema/kvaxdt.mof"
    printf '"A1","MEMORY","SIZE=512","x"\n"A2","MEMORY","SIZE=1","x"\n# x\n' >fru.txt
    local option expected
    "$MORVIK_BIN_DIR/morvik-run" --file fru.txt --state state >/dev/null
    runShow --json --machine
    sed 's/2600/2500/g' "$out" >old
    for option in all machine 'explain fru.txt' 'for P1_DIMMA2' history 'diff old' \
        'explain fru.txt --on machine.json'; do
        # shellcheck disable=SC2086 # words on purpose
        runShow --$option --json --state state
        expected=0
        [[ $option != diff* ]] || expected=1
        equal "$expected" "$status" "the status of --$option"
        cp "$out" "${option//[ .]/_}.json"
    done
    "$python" "$support/valid_json.py" "$project/docs/inventory.schema.json" ./*.json
    sed -i 's/"clockMHz":2600/"clockMHz":"2600"/' machine.json
    run -1 "$python" "$support/valid_json.py" "$project/docs/inventory.schema.json" machine.json
}

@test "--category: any letter case, several times; an unknown name is an error, not an empty list" {
    publishSome
    runShow --category fan --category Planar --json
    ends 0
    equal "['PLANAR', 'FAN']" "$(jsonOf '[e["category"] for e in it["entries"]]')" 'the categories'
    runShow --category CDROM
    ends 1 'no entries'
    runShow --category FANS
    ends 2 "--category: morvik has no category 'FANS'; there are PROCESSOR, MEMORY, KEYBOARD, PLANAR, CDROM, FLOPPY, OPTIONSP, FAN, BACKPLANE
Try 'morvik-show --help'."
    runShow --all --category FANS
    ends 1 'no entries'
}

@test "--all: entries of other publishers too, distinguished as morvik does it" {
    startMachine
    createAs KVA B1 KVAHalvoranFr
    createAs KVA A1 kvahalvoranfru7
    createAs Acme B3 1
    runShow --no-headings
    ends 0
    wrote 'FAN  A1  other  kvahalvoranfru7'
    runShow --all
    ends 0
    wrote 'CATEGORY  FRU NUMBER  DESCRIPTION  IDENTIFYING NUMBER  VENDOR
FAN       A1          other        kvahalvoranfru7     KVA
FAN       B3          other        1                   Acme
FAN       B1          other        KVAHalvoranFr       KVA'
}

@test "--find: a part of a number or text, in any letter case" {
    publishSome
    runShow --find FÜR --no-headings
    ends 0
    wrote 'PLANAR  A4  Board für 日本  KVAHalvoranFru1'
    runShow --find a5 --columns fruNumber,description --no-headings
    ends 0
    wrote 'A5  Fan, '
    runShow --find nowhere
    ends 1 'no entries'
}

@test "every table is CSV too, with the columns that are asked for" {
    startMachine
    createAs 'Say "KVA", Ltd' 'A,1' KVAHalvoranFru1
    printf '"A3","FAN","","fan"\n' >fru.txt
    mkdir state
    echo '{"time": "T", "source": "S", "added": [{"category": "FAN", "fruNumber": "A3", "description": "x"}]}' \
        >state/history.jsonl
    runShow --json
    sed 's/"description":"other"/"description":"an,other"/' "$out" >old.json
    local arguments
    while read -ra arguments; do
        runShow "${arguments[@]}" --state state --csv
        cat "$out"
    done >rows <<'END'
--columns fruNumber,vendor
--machine --columns place,part
--explain fru.txt --columns reason,description
--history --columns time,change,fruNumber
--diff old.json --columns old,new
END
    equal 'fruNumber,vendor
"A,1","Say ""KVA"", Ltd"
place,part
0,2400 MHz
1,512 MiB
words,description
as KVAHalvoranFru1,fan
time,change,fruNumber
T,added,A3
old,new
"an,other",other' "$(tr -d '\r' <rows)" 'the rows'
    runShow --columns vendors
    ends 2 "--columns: no column 'vendors'; there are category, fruNumber, description, identifyingNumber, vendor, revisionLevel, publishedByMorvik, problem"
}

# --- the number for a part, and what has changed ---

@test "--for: the number for the part at a place, from the last good file or a given one" {
    startMachine
    printf '"A1","MEMORY","SIZE=512","DIMM"\n"A2","MEMORY","SIZE=512","low"\n"A3","PROCESSOR","SPEED=1","x"\n' >fru.txt
    runShow --for 1 --explain fru.txt
    ends 0
    wrote '1  512 MiB  A1  DIMM
1  512 MiB  A2  low'
    runShow --for 0 --explain fru.txt
    ends 1 'no entry of fru.txt is for it'
    wrote '0  2400 MHz  -  -'
    runShow --for 'DIMM 7' --explain fru.txt
    ends 2 "no part at 'DIMM 7'; there are 0, 1"
    runShow --for 1 --state state
    ends 2 '--for needs --explain FILE: morvik-run has left no data file in state'
    "$MORVIK_BIN_DIR/morvik-run" --file fru.txt --state state >/dev/null
    runShow --for 1 --state state --csv --columns fruNumber
    ends 0
    fileIs "$out" 'fruNumber\r\nA1\r\nA2\r\n'
    runShow --for 1 --server 127.0.0.1
    ends 2 '--for needs --explain FILE: morvik-run has left no data file of that machine here'
}

@test "--diff: status 0 without a difference, 1 with one, 2 for a file that is not an inventory" {
    publishSome
    local format
    for format in 1 2; do
        runShow --json --format "$format"
        cp "$out" "old$format.json"
        runShow --diff "old$format.json"
        ends 0
        wrote ''
    done
    importLines <<<'"A5","FAN","","another fan"'
    runShow --diff old1.json --category fan --category planar
    ends 1
    wrote 'CHANGE   PART    NUMBER OR PLACE  MEMBER       OLD             NEW
removed  PLANAR  A4               -            Board für 日本  -
changed  FAN     A5               description  Fan,            another fan'
    stopServers
    startMachine --speeds 1800
    runShow --diff old2.json --columns member,old,new --no-headings --category FAN
    ends 1
    runShow --diff old2.json --no-headings
    ends 1
    grep -qx 'changed  processor  0 *clock *2400 MHz *1800 MHz' "$out"
    echo '{}' >none.json
    runShow --diff none.json
    ends 2 'none.json: not a document of morvik-show'
    runShow --diff missing.json
    ends 2 'cannot read missing.json: No such file or directory'
    head -c 68M /dev/zero >large.json
    runShow --diff large.json
    ends 2 'large.json: larger than 64 MiB'
}

# --- entries that cannot be read ---

@test "an entry that cannot be read is listed as such and does not hide the others" {
    startRecordedMachine
    importLines <<<$'"A1","FAN","","good"\n"A2","FAN","","BAD"\n"A3","PLANAR","","good"'
    printf '* * substitute BAD=e9\n' >"$faults"
    runShow --category planar
    ends 2 '1 entry cannot be read'
    grep -qxE 'PLANAR +A3 +good +KVAHalvoranFru1' "$out"
    grep -qxE -e '- +A2 +\(cannot be read: .+\) +KVAHalvoranFru2' "$out"
    equal 3 "$(wc -l <"$out")" 'the lines'
    runShow --json
    ends 2 '1 entry cannot be read'
    equal "[('A3', 'good', False), ('A1', 'good', False), ('A2', None, True)]" \
        "$(jsonOf '[(e["fruNumber"], e["description"], e["problem"] is not None) for e in it["entries"]]')" json
    runShow --csv
    grep -qE '^,A2,,KVAHalvoranFru2,KVA,,true,.+' "$out"
}

# --- the machine ---

@test "--machine lists the parts by place, with what their makers have written on them" {
    startCimd --smbios "$BATS_TEST_DIRNAME/../data/smbios/one-socket-one-dimm" "$schema/kvaxdt.mof"
    runShow --machine
    ends 0
    equal 'PLACE   PART      TYPE                               MAKER            PART NUMBER  SERIAL NUMBER
CPU 0   1800 MHz  Example Processor 1.8 GHz, 1 core  Example Silicon  EX1800       P-0001
DIMM 0  512 MiB   1333 MHz                           Example Memory   EX512-1333   M-0001' "$(tail -n 3 "$out")" parts
    runShow --machine --csv
    ends 0
    fileIs "$out" 'place,part,type,comparedAs,bank,manufacturer,partNumber,serialNumber\r\n'\
'CPU 0,1800 MHz,"Example Processor 1.8 GHz, 1 core",1800,,Example Silicon,EX1800,P-0001\r\n'\
'DIMM 0,512 MiB,1333 MHz,512,BANK 0,Example Memory,EX512-1333,M-0001\r\n'
}

@test "--machine: status 1 if the server has no data, 2 if it refuses" {
    startCimd "$schema/kvaxdt.mof"
    runShow --machine
    ends 1
    grep -qx 'Machine type    none' "$out"
    stopServers
    startDescribed '{"KVAXDT_Processor": []}'
    runShow --machine
    ends 2 'CIM_ERR_INVALID_CLASS: no class KVAXDT_ComputerSystemDetails
morvik-show: CIM_ERR_INVALID_CLASS: no class KVAXDT_PhysicalMemory'
    grep -qx 'Memory modules  unknown' "$out"
    runShow --machine --json
    equal "(None, None, [], None)" \
        "$(jsonOf 'tuple(it["machine"][k] for k in ("model", "machineType", "processors", "memoryModules"))')" json
}

# --- trouble ---

@test "no server: status 2 for every question" {
    echo '# x' >fru.txt
    local question
    for question in '' --json --csv --all --machine '--explain fru.txt'; do
        # shellcheck disable=SC2086 # words on purpose
        runShow $question
        ends 2 'cannot connect to 127.0.0.1:5988: Connection refused'
        wrote ''
    done
}

@test "--server: another port, another host, an IPv6 address" {
    writeMachine >machine.mof
    startCimd --listen '[::1]:15988' "$schema/kvaxdt.mof" machine.mof
    runShow --server '[::1]:15988' --machine
    ends 0
    stopServers
    startCimd --listen 127.0.0.1:15988 "$schema/kvaxdt.mof" machine.mof
    runShow --server localhost:15988 --machine
    ends 0
    runShow --server localhost --machine
    ends 2 'cannot connect to localhost:5988: Connection refused'
    runShow --server '[::1]' --machine
    ends 2 'cannot connect to [::1]:5988: Connection refused'
    runShow --server 127.0.0.1:15989 --machine
    ends 2 'cannot connect to 127.0.0.1:15989: Connection refused'
}

@test "a server that refuses: its message, status 2" {
    startDescribed '{}'
    runShow
    ends 2 'CIM_ERR_INVALID_CLASS: no class KVAXDT_FRU'
    wrote ''
}

@test "an unusable answer: status 2, one message, nothing on standard output" {
    publishSomeBehindPeer
    local fault
    for fault in close reset not-xml bad-utf8 huge 'status 401'; do
        printf '* * %s\n' "$fault" >"$faults"
        runShow --json
        equal 2 "$status" "the status after $fault"
        equal 1 "$(grep -c '^morvik-show: ' "$err")" "the messages after $fault"
        wrote ''
    done
}

publishSomeBehindPeer() {
    startRecordedMachine
    importLines <<<'"A5","FAN","","x"'
}

@test "wrong usage: status 2, and no server is contacted" {
    startDescribed '{}'
    local arguments
    while read -ra arguments; do
        runShow "${arguments[@]}"
        equal 2 "$status" "the status of ${arguments[*]}"
        wrote ''
        equal "Try 'morvik-show --help'." "$(tail -n 1 "$err")" "the message for ${arguments[*]}"
    done <<'END'
--unknown
extra
--json --csv
--machine --all
--machine --category FAN
--explain fru.txt --all
--explain fru.txt --machine
--machine --history
--for x --machine
--diff x --explain fru.txt
--history --find x
--json --columns place
-j --no-headings
--format 3
--explain
--category
--category FAN PLANAR
--server
END
    while IFS='|' read -r arguments message; do
        # shellcheck disable=SC2086 # words on purpose
        runShow $arguments
        ends 2 "$message
Try 'morvik-show --help'."
    done <<'END'
-jx|unknown option: -x in -jx
--for --explain x|--for: a value is missing before --explain
--for x --for y|--for may be given only once
--unknown=1|unknown option: --unknown=1
-j --csv|-j excludes --csv
--csv --json|--json excludes --csv
--html a.json --server x|--html FILE excludes --server
--html a.json --all|--html FILE excludes --all
--html --server x a.json|unexpected argument: a.json; put files directly after --html
END
    local address
    for address in :5988 127.0.0.1: 127.0.0.1:0 127.0.0.1:5988x ::1; do
        runShow --server "$address"
        ends 2 "cannot connect to $address: the address is not host:port"
    done
    equal 0 "$(wc -l <"$accepted")" 'the number of connections'
}

@test "--help and --version contact no server" {
    runShow --help
    ends 0
    grep -q -e '^  -j,--json' "$out"
    (($(wc -L <"$out") <= 80))
    runShow -V
    ends 0
    grep -qxE 'morvik-show [0-9]+\.[0-9]+\.[0-9]+' "$out"
}

@test "output that cannot be written: status 2" {
    publishSome
    local option
    for option in --all --json --csv --machine; do
        status=0
        "$show" "$option" >/dev/full 2>"$err" || status=$?
        ends 2 'cannot write to standard output'
    done
}
