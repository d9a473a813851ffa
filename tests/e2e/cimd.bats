#!/usr/bin/env bats
# morvik-cimd as clients that are not our own see it.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

url=http://127.0.0.1:5988/root/kvasd
fruPath=$url':KVAXDT_FRU.FRUNumber="F1",IdentifyingNumber="1",Vendor="Acme"'

# wbemcli writes its errors to standard output or error and ends with a status of its own choosing; the
# text is what counts.
wbem() { # OPERATION [ARG...]
    run wbemcli "$@"
}

createFan() {
    "$python" "$support/cim_client.py" create FRUNumber=F1 IdentifyingNumber=1 Vendor=Acme Name=FAN \
        'Description=a & <b>'
}

# --- an independent client ---

@test "ei: instances with their properties" {
    startMachine --speeds '2400 1800'
    wbem ei -nl "$url:KVAXDT_Processor"
    equal 0 "$status" status
    equal '-CurrentClockSpeed=1800
-CurrentClockSpeed=2400' "$(grep CurrentClockSpeed <<<"$output" | sort)" 'the clock speeds'
}

@test "ein: the names of the instances" {
    startMachine
    wbem ein "$url:KVAXDT_ComputerSystemDetails"
    equal 0 "$status" status
    equal '127.0.0.1:5988/root/kvasd:KVAXDT_ComputerSystemDetails.name="box"' "$output" 'the names'
}

@test "ei and ein: a class without instances" {
    startMachine
    wbem ei "$url:KVAXDT_FRU"
    equal 0 "$status" status
    equal '' "$output" instances
    wbem ein "$url:KVAXDT_FRU"
    equal 0 "$status" status
    equal '' "$output" names
}

@test "gi, gp, di: an instance from its creation to its end" {
    startMachine
    createFan
    wbem gi -nl "$fruPath"
    equal 0 "$status" status
    grep -qxF -- '-Description="a & <b>"' <<<"$output"
    grep -qxF -- '-RevisionLevel=' <<<"$output"
    wbem gp "$fruPath" Description
    equal 0 "$status" status
    grep -qF 'a & <b>' <<<"$output"
    wbem di "$fruPath"
    equal 0 "$status" status
    publishedAre <<<''
}

@test "null properties are understood" {
    startMachine
    wbem ei -nl "$url:KVAXDT_PhysicalMemory"
    equal 0 "$status" status
    grep -qxF -- '-BankLabel=' <<<"$output"
}

@test "gi: only the properties that are asked for" {
    startMachine
    createFan
    wbem gi -nl "$fruPath" Name
    grep -qxF -- '-Name="FAN"' <<<"$output"
    run ! grep -q Description <<<"$output"
}

# The operation fails with this CIM error.
failsWith() { # NAME OPERATION [ARG...]
    local name=$1
    shift
    wbem "$@"
    grep -qF "$name" <<<"$output" && return
    printf 'expected %s, got status %d and:\n%s\n' "$name" "$status" "$output" >&2
    return 1
}

@test "errors are CIM errors for an independent client" {
    startMachine
    failsWith CIM_ERR_INVALID_CLASS ei "$url:No_SuchClass"
    failsWith CIM_ERR_INVALID_NAMESPACE ein http://127.0.0.1:5988/root:KVAXDT_FRU
    failsWith CIM_ERR_NOT_FOUND gi "$fruPath"
    failsWith CIM_ERR_NOT_FOUND di "$fruPath"
    createFan
    failsWith CIM_ERR_NO_SUCH_PROPERTY gp "$fruPath" NoSuchProperty
    failsWith CIM_ERR_NOT_SUPPORTED dc "$url:KVAXDT_FRU"
    failsWith CIM_ERR_NOT_SUPPORTED ri "$fruPath"
    failsWith CIM_ERR_NOT_SUPPORTED cm "$fruPath" reset
    failsWith CIM_ERR_NOT_SUPPORTED ain "$fruPath"
}

@test "an instance whose keys exist" {
    startMachine
    createFan
    run ! createFan
    grep -qF "'CODE': '11'" <<<"$output"
    publishedAre <<<'F1|FAN|a & <b>|1|Acme|NULL'
}

@test "the namespaces, as an independent client looks for them" {
    startMachine
    wbem ei -nl http://127.0.0.1:5988/interop:CIM_Namespace
    equal '-Name="interop"
-Name="root/kvasd"
-Name="root/PG_InterOp"' "$(grep '^-Name=' <<<"$output" | LC_ALL=C sort -f)" 'the namespaces'
    wbem ein http://127.0.0.1:5988/root:__Namespace
    equal '127.0.0.1:5988/root:__Namespace.Name="kvasd"
127.0.0.1:5988/root:__Namespace.Name="PG_InterOp"' "$output" 'what is in root'
}

@test "cimcli ns finds the namespaces" {
    [[ -n ${MORVIK_WITH_CIM_SERVER-} ]] || skip 'no OpenPegasus client: MORVIK_WITH_CIM_SERVER is not set'
    local prefix
    prefix=$("$MORVIK_WITH_CIM_SERVER" --prefix)
    startMachine
    run env LD_LIBRARY_PATH="$prefix/lib" "$prefix/bin/cimcli" ns -l 127.0.0.1:5988
    equal 0 "$status" status
    equal 'interop
root/kvasd
root/PG_InterOp' "$(LC_ALL=C sort -f <<<"$output")" 'the namespaces'
}

@test "created instances are lost at the end, declared ones are not" {
    startMachine
    createFan
    stopServers
    startMachine
    publishedAre <<<''
    wbem ein "$url:KVAXDT_Processor"
    grep -q DeviceID <<<"$output"
}

# --- recorded requests of a real server's client ---

@test "recorded requests get answers of the recorded meaning" {
    startCimd "$project/tests/data/fru/recorded.mof"
    local request name
    mkdir answers
    for request in "$project"/tests/data/traffic/*.request.http; do
        name=$(basename "$request" .request.http)
        "$python" "$support/cim_client.py" send "$request" >"answers/$name.response.http"
        equal "$name: $("$python" "$support/cim_client.py" meaning "${request/.request./.response.}")" \
            "$name: $("$python" "$support/cim_client.py" meaning "answers/$name.response.http")" meaning
    done
    [[ $name == 19-* ]] # all of them, not an empty list
}

@test "every answer to a recorded request is well-formed and states its length" {
    startCimd "$project/tests/data/fru/recorded.mof"
    local request
    for request in "$project"/tests/data/traffic/0*.request.http; do
        "$python" "$support/cim_client.py" send "$request" >answer
        sed '1,/^\r$/d' answer >body
        equal "$(wc -c <body)" "$(grep -ai '^content-length:' answer | tr -dc 0-9)" length
        "$python" -c 'import xml.dom.minidom; xml.dom.minidom.parse("body")'
    done
}

# --- bad input ---

@test "bad requests: each gets its own refusal" {
    startMachine
    "$python" "$support/bad_requests.py" statuses >refused
    equal "$(sort "$project/tests/data/fru/refusals")" "$(sort refused)" 'the list of refusals'
    publishedAre <<<''
}

@test "every prefix of a request, and every damaged byte: the server goes on" {
    startMachine
    "$python" "$support/bad_requests.py" prefixes
    "$python" "$support/bad_requests.py" damages
    createAs Acme F1 1
    publishedNumbersAre F1
}

@test "hundreds of connections with unfinished requests: the server goes on" {
    startMachine
    "$python" "$support/bad_requests.py" unfinished 400
    publishedAre <<<''
}

@test "an invalid or missing MOF file: status 3, and it never listens" {
    printf 'class Broken {\n' >broken.mof
    runInstead "$cimd" broken.mof
    equal 3 "$status" status
    grep -q 'broken.mof' "$err"
    run ! grep -q listening "$err"
    runInstead "$cimd" no-such-file.mof
    equal 3 "$status" status
    grep -q 'no-such-file.mof' "$err"
}

@test "a wrong command line: status 2; a port in use: status 1" {
    runInstead "$cimd" --no-such-option
    equal 2 "$status" status
    runInstead "$cimd" --listen 192.0.2.1:5988 "$schema/kvaxdt.mof"
    equal 2 "$status" status
    startMachine
    runInstead "$cimd" "$schema/kvaxdt.mof"
    equal 1 "$status" status
}

@test "SIGINT ends it as SIGTERM does: status 0" {
    local signal status
    for signal in INT TERM; do
        startServer cimd 'listening on' env --default-signal=INT "$cimd" "$schema/kvaxdt.mof"
        status=0
        kill "-$signal" "${servers[0]##*:}"
        wait "${servers[0]##*:}" || status=$?
        servers=()
        equal 0 "$status" "the status after SIG$signal"
    done
}
