#!/usr/bin/env bats
# The requests that reach the CIM server: which operations, in which order, with which arguments, and
# their HTTP form.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    raw=$BATS_TEST_TMPDIR/raw
}
teardown() { stopServers; }

requestsAre() {
    equal "$(cat)" "$(cat "$log")" 'the list of requests'
}

defaults='DeepInheritance=true LocalOnly=true IncludeQualifiers=false IncludeClassOrigin=false'

properties() { # FRU-NUMBER NAME DESCRIPTION NUMBER
    printf '{FRUNumber:string="%s" Name:string="%s" Description:string="%s" ' "$1" "$2" "$3"
    printf 'IdentifyingNumber:string="%s" Vendor:string="KVA" RevisionLevel:string="1.0"}' "$4"
}

runOnAllCategories() {
    startPeer --machine "$project/tests/data/fru/machine.json" "$@"
    cat >fru.txt <<'END'
# a comment
"P1","PROCESSOR","SPEED=2400","fits"
"P2","PROCESSOR","SPEED=1800","does not fit"
"M1","MEMORY","SIZE=256","does not fit"
"M2","MEMORY","SIZE=512","fits"
"K1","KEYBOARD","LANGUAGE=en","fits"
"K2","KEYBOARD","LANGUAGE=de","does not fit"
"A1","PLANAR","","first"
"A2","PLANAR","","second"
"F1","FAN","","fan"
END
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
}

@test "operations, their order, and every argument; all on one connection" {
    runOnAllCategories
    requestsAre <<END
1 EnumerateInstances root/kvasd ClassName=KVAXDT_ComputerSystemDetails $defaults
1 EnumerateInstanceNames root/kvasd ClassName=KVAXDT_FRU
1 GetProperty root/kvasd InstanceName=KVAXDT_FRU.FRUNumber="A1",IdentifyingNumber="KVAHalvoranFru1",Vendor="KVA" PropertyName=IdentifyingNumber
1 DeleteInstance root/kvasd InstanceName=KVAXDT_FRU.FRUNumber="A1",IdentifyingNumber="KVAHalvoranFru1",Vendor="KVA"
1 GetProperty root/kvasd InstanceName=KVAXDT_FRU.FRUNumber="B1",IdentifyingNumber="1",Vendor="Other" PropertyName=IdentifyingNumber
1 EnumerateInstances root/kvasd ClassName=KVAXDT_Processor $defaults
1 CreateInstance root/kvasd NewInstance=KVAXDT_FRU$(properties P1 PROCESSOR fits KVAHalvoranFru1)
1 EnumerateInstances root/kvasd ClassName=KVAXDT_Processor $defaults
1 EnumerateInstances root/kvasd ClassName=KVAXDT_PhysicalMemory $defaults
1 EnumerateInstances root/kvasd ClassName=KVAXDT_PhysicalMemory $defaults
1 CreateInstance root/kvasd NewInstance=KVAXDT_FRU$(properties M2 MEMORY fits KVAHalvoranFru1)
1 CreateInstance root/kvasd NewInstance=KVAXDT_FRU$(properties K1 KEYBOARD fits KVAHalvoranFru1)
1 CreateInstance root/kvasd NewInstance=KVAXDT_FRU$(properties A1 PLANAR first KVAHalvoranFru1)
1 CreateInstance root/kvasd NewInstance=KVAXDT_FRU$(properties F1 FAN fan KVAHalvoranFru1)
END
    fileIs "$accepted" 'connection\n'
}

@test "an empty file: the deletion step alone" {
    startPeer --machine "$project/tests/data/fru/machine.json"
    : >fru.txt
    runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    equal 'EnumerateInstances
EnumerateInstanceNames
GetProperty
DeleteInstance
GetProperty' "$(operations)" operations
}

@test "keys with special characters go back as they came" {
    startRecordedMachine
    createAs KVA "A\"1\"\\" KVAHalvoranFru1
    : >"$log"
    : >fru.txt
    runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    grep -qF 'DeleteInstance root/kvasd InstanceName=KVAXDT_FRU.FRUNumber="A"1"\",' "$log"
    publishedNumbersAre
}

@test "names with keys of every type go back as they came, without host and namespace" {
    local names reference path described number
    reference='<VALUE.REFERENCE><INSTANCENAME CLASSNAME="CIM_Rack"><KEYBINDING NAME="Tag"><KEYVALUE VALUETYPE="string">a b</KEYVALUE></KEYBINDING></INSTANCENAME></VALUE.REFERENCE>'
    path='<INSTANCEPATH><NAMESPACEPATH><HOST>box</HOST><LOCALNAMESPACEPATH><NAMESPACE NAME="root"/></LOCALNAMESPACEPATH></NAMESPACEPATH>'
    names=(
        '<INSTANCENAME CLASSNAME="kvaxdt_fru"><KEYBINDING NAME="b"><KEYVALUE VALUETYPE="boolean">TRUE</KEYVALUE></KEYBINDING><KEYBINDING NAME="N"><KEYVALUE VALUETYPE="numeric">-7</KEYVALUE></KEYBINDING></INSTANCENAME>'
        '<INSTANCENAME CLASSNAME="KVAXDT_SubFRU"><KEYBINDING NAME="s"><KEYVALUE VALUETYPE="string">&#32;&lt;é&gt; &amp; &#32;</KEYVALUE></KEYBINDING></INSTANCENAME>'
        "<INSTANCENAME CLASSNAME=\"KVAXDT_FRU\"><KEYBINDING NAME=\"r\">$reference</KEYBINDING></INSTANCENAME>"
        '<INSTANCENAME CLASSNAME="KVAXDT_FRU"><KEYBINDING NAME="p"><KEYVALUE VALUETYPE="string">x</KEYVALUE></KEYBINDING></INSTANCENAME>'
    )
    described="${names[*]:0:3} $path${names[3]}</INSTANCEPATH>"
    startDescribed "{\"names\": \"${described//\"/\\\"}\"}" --raw "$raw"
    : >fru.txt
    runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    # After the system and the names: a question and a deletion for each.
    for number in "${!names[@]}"; do
        grep -qF "NAME=\"InstanceName\">${names[number]}</IPARAMVALUE>" "$raw/$(printf '%03d' $((3 + 2 * number))).http"
        grep -qF "NAME=\"InstanceName\">${names[number]}</IPARAMVALUE>" "$raw/$(printf '%03d' $((4 + 2 * number))).http"
    done
}

# --- the HTTP form ---

# Prints the headers of request NUMBER, names in lower case, sorted.
headers() { # NUMBER
    sed '1d; /^\r$/,$d; s/\r$//' "$raw/$1.http" | sed -E 's/^[^:]*/\L&/' | LC_ALL=C sort
}

hasHeader() { # NUMBER HEADER
    headers "$1" | grep -qixF -- "$2" && return
    printf 'no header "%s", but:\n' "$2" >&2
    headers "$1" >&2
    return 1
}

@test "each request is well-formed XML in UTF-8, with the headers of CIM operations over HTTP" {
    runOnAllCategories --raw "$raw"
    local file number
    for file in "$raw"/*.http; do
        number=$(basename "$file" .http)
        equal $'POST /cimom HTTP/1.1\r' "$(head -n 1 "$file")" "the request line of $file"
        sed '1,/^\r$/d' "$file" >body.xml
        hasHeader "$number" "content-length: $(wc -c <body.xml)"
        hasHeader "$number" 'host: 127.0.0.1:5988'
        hasHeader "$number" 'content-type: application/xml; charset="utf-8"'
        hasHeader "$number" 'cimoperation: MethodCall'
        hasHeader "$number" 'cimprotocolversion: 1.0'
        hasHeader "$number" 'cimobject: root%2Fkvasd'
        # Servers refuse these.
        run ! grep -E '^(te|expect|transfer-encoding|authorization|trailer|connection: close)' <<<"$(headers "$number")"
        head -c 5 body.xml | grep -qF '<?xml'
        "$python" -c 'import xml.dom.minidom; xml.dom.minidom.parse("body.xml")'
    done
    hasHeader 001 'cimmethod: EnumerateInstances'
    hasHeader 002 'cimmethod: EnumerateInstanceNames'
    hasHeader 003 'cimmethod: GetProperty'
    hasHeader 004 'cimmethod: DeleteInstance'
    hasHeader 007 'cimmethod: CreateInstance'
    equal 14 "$(grep -ho 'MESSAGE ID="[^"]*"' "$raw"/*.http | sort -u | wc -l)" 'the number of message IDs'
}

@test "text goes out as UTF-8, without references for characters past ASCII" {
    startPeer --machine "$project/tests/data/fru/machine.json" --raw "$raw"
    printf '"F1","FAN","","caf\xe9 \xa3 & < > '"'"' \t\r."\n' >fru.txt
    runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    grep -qF 'café £ &amp; &lt; ' "$raw/006.http"
    # A bare carriage return would arrive as a line feed.
    grep -qE '&#(13|x0*[dD]);\.' "$raw/006.http"
    run ! grep -qE '&#(x0*[eE]9|233|163);' "$raw/006.http"
}
