#!/usr/bin/env bats
# The format of the FRU data file: lines and entries as a whole run reads them.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    startMachine
}
teardown() { stopServers; }

# Imports the fru.txt of the working directory; the published FRU numbers are these.
publishes() { # [FRU-NUMBER...]
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedNumbersAre "$@"
}

# --- the file ---

@test "an unreadable file counts as missing" {
    createAs KVA F9 KVAHalvoranFru1
    echo '"F1","FAN","","x"' >fru.txt
    chmod 000 fru.txt
    runLikeAnybody -s 127.0.0.1 -d dir
    foundNothing
    filesAre fru.txt
    publishedNumbersAre F9
}

@test "a named file that is a link: what it points to is read" {
    echo '"F1","FAN","","x"' >"$BATS_TEST_TMPDIR/elsewhere"
    ln -s "$BATS_TEST_TMPDIR/elsewhere" fru.txt
    publishes F1
    ln -sf /no/such/file fru.txt
    runMorvik -s 127.0.0.1 -d dir
    foundNothing
}

# --- lines ---

@test "a NUL byte ends the text of its line" {
    printf '"F1","FAN","","x"\0 # no comment\n\0"F2","FAN","","x"\n"F3","FAN","","x"\n' >fru.txt
    publishes F1 F3
}

@test "malformed entries do no harm to the lines after them" {
    cat >fru.txt <<'END'
"F1","FAN"
"F2","FAN",
"F3","FAN","
"F4","FAN",""
"F5","FAN","","
"F6","FAN","","x
,"FAN"
x,"FAN
"","FAN
"FAN"
xFAN"
"F7","KEYBOARD
"F8","PROCESSOR","SPEED=2400
"F9","MEMORY","SIZE=
",,"FAN",,,,
""""""""
"GOOD","FLOPPY","","x"
END
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    published | grep -qx 'GOOD|FLOPPY|x|KVAHalvoranFru1|KVA|1.0'
}

@test "an entry with missing fields is published all the same, with what the cuts yield" {
    stopServers
    startRecordedMachine
    printf '"F1","FAN"\n"F2","FAN","","x"\n' >fru.txt
    runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    equal 2 "$(grep -c CreateInstance "$log")" 'the number of creations'
    published | grep -qx 'F2|FAN|x|KVAHalvoranFru2|KVA|1.0'
}

@test "any bytes at all: the run ends well" {
    # The same bytes each time, so that a failure can be looked at again.
    local seed
    for seed in 1 2 3; do
        "$python" -c "
import random
random.seed($seed)
alphabet = bytes(range(256)) + b'\",\"\",#\n\n\n' * 20
lines = [b'\"F\",\"FAN\",\"\",\"' + bytes(random.choices(alphabet, k=30)) for _ in range(40)]
open('fru.txt', 'wb').write(b'\n'.join(lines) + bytes(random.choices(alphabet, k=3000)))"
        runMorvik -s 127.0.0.1 -d dir
        usedLocalCopy
    done
}

# --- selection ---

@test "all nine categories" {
    cat >fru.txt <<'END'
"A","PROCESSOR","SPEED=2400","x"
"B","MEMORY","SIZE=512","x"
"C","KEYBOARD","LANGUAGE=en","x"
"D","PLANAR","","x"
"E","CDROM","","x"
"F","FLOPPY","","x"
"G","OPTIONSP","","x"
"H","FAN","","x"
"I","BACKPLANE","","x"
END
    publishes A B C D E F G H I
}

# With this LANG, this keyboard is published.
selects() { # LANG FRU-NUMBER
    LANG=$1 runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedNumbersAre "$2"
}

@test "keyboards: the language of LANG alone, in its letter case" {
    printf '"%s","KEYBOARD","LANGUAGE=%s","x"\n' en en En En de de empty '' >fru.txt
    LC_ALL=de_DE LC_MESSAGES=de_DE LANGUAGE=de selects en_US.UTF-8 en
    selects En_US En
    selects $'\xff\xfe' empty
    selects $'d\xc3\xa9' empty
    selects $'de\xff' de
    runMorvik -s 127.0.0.1 -d dir
    publishedNumbersAre empty
}
