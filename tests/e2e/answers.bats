#!/usr/bin/env bats
# A CIM server whose answers have a less common form: they are answers like any other, and a whole
# run reads, deletes and creates what it should.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    startRecordedMachine
}
teardown() { stopServers; }

# A run in which everything that the server says counts: the machine type, by the name of the file;
# the speed and the size; the names and numbers of what is published; that the creations succeed.
runsWith() { # FAULT-LINE
    createAs KVA OLD1 KVAHalvoranFru1
    createAs KVA KEPT 1
    createAs KVA OLD2 KVAHalvoranFru2
    {
        printf '"%s","%s","%s","x"\n' \
            P1 PROCESSOR SPEED=2400 P2 PROCESSOR SPEED=1800 M1 MEMORY SIZE=512 M2 MEMORY SIZE=256
        printf '"%s","%s","","x"\n' A1 PLANAR A2 PLANAR C1 CDROM C2 CDROM F1 FAN F2 FAN F3 FAN F4 FAN
    } >1234wpk.txt
    printf '%s\n' "$1" >"$faults"
    : >"$log"
    runMorvik -s 127.0.0.1 -d dir
    : >"$faults"
    if ! succeeded || ! publishedNumbersAre A1 C1 F1 F2 F3 F4 KEPT M1 P1; then
        printf 'with the fault: %s\nrequests:\n' "$1" >&2
        cat "$log" >&2
        return 1
    fi
}

@test "the usual form" { runsWith ''; }

# --- HTTP ---

@test "answers in chunks" { runsWith '* * chunked'; }

@test "a server that closes the idle connection after each answer" { runsWith '* * close-when-idle'; }

@test "a server that closes the connection a moment after each answer, without having said so" {
    runsWith '* * close-soon'
}

@test "answers with Connection: close" { runsWith '* * connection-close'; }

@test "padded lengths, lower-case names, text/xml, extra headers" { runsWith '* * unusual-headers'; }

@test "interim answers are ignored" { runsWith '* * interim'; }

# --- XML ---

@test "qualifiers, comments, and texts in pieces and CDATA sections" { runsWith '* * decorated'; }

@test "empty values of other properties than those asked for, of types that have no empty text" {
    runsWith '* * empty-properties'
}

@test "creations answered with an empty result or none have succeeded: no second planar is tried" {
    runsWith 'CreateInstance * empty-result'
    run ! grep 'FRUNumber:string="[AC]2"' "$log"
    stopServers
    rm -r "$raw"
    startRecordedMachine
    runsWith 'CreateInstance * no-result'
    run ! grep 'FRUNumber:string="[AC]2"' "$log"
}

# --- instance names ---

# The question for our first instance's number and its deletion have named it so.
namesGoBackAs() { # KEYS
    local operation
    for operation in GetProperty DeleteInstance; do
        equal "$1" \
            "$(sed -nE "s/.* $operation .*=KVAXDT_FRU\.([^ ]*OLD1[^ ]*).*/\1/p" "$log")" \
            "the name in $operation"
    done
}

@test "names with the host and the namespace before them: they are asked for by their keys" {
    runsWith 'EnumerateInstanceNames * names-in-paths'
    namesGoBackAs 'FRUNumber="OLD1",IdentifyingNumber="KVAHalvoranFru1",Vendor="KVA"'
}

@test "names with the keys in another order go back in that order" {
    runsWith 'EnumerateInstanceNames * keys-turned-round'
    namesGoBackAs 'Vendor="KVA",IdentifyingNumber="KVAHalvoranFru1",FRUNumber="OLD1"'
}

@test "names with the keys in upper case go back in upper case" {
    runsWith 'EnumerateInstanceNames * keys-in-upper-case'
    namesGoBackAs 'FRUNUMBER="OLD1",IDENTIFYINGNUMBER="KVAHalvoranFru1",VENDOR="KVA"'
}

@test "names with keys without types go back as texts" {
    runsWith 'EnumerateInstanceNames * keys-without-types'
    namesGoBackAs 'FRUNumber="OLD1",IdentifyingNumber="KVAHalvoranFru1",Vendor="KVA"'
}
