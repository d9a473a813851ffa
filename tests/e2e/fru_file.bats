#!/usr/bin/env bats
# The format of the FRU data file: what is a line, what is an entry, and what is passed over.

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

@test "an empty file: earlier instances are deleted, nothing is created" {
    createAs KVA F9 KVAHalvoranFru1
    : >fru.txt
    publishes
    filesAre fru.txt
}

@test "a missing file after the download: nothing is deleted or created, two messages" {
    createAs KVA F9 KVAHalvoranFru1
    echo '"F1","FAN","","x"' >1234wpk.txt
    mkdir "$BATS_TEST_TMPDIR/bin"
    printf '#!/bin/sh\n' >"$BATS_TEST_TMPDIR/bin/mv"
    chmod +x "$BATS_TEST_TMPDIR/bin/mv"
    PATH=$BATS_TEST_TMPDIR/bin:$PATH runMorvik -s 127.0.0.1 -d dir
    said "$couldNotOpen"
    publishedNumbersAre F9
}

@test "an unreadable file counts as missing" {
    createAs KVA F9 KVAHalvoranFru1
    echo '"F1","FAN","","x"' >fru.txt
    chmod 000 fru.txt
    runLikeAnybody -s 127.0.0.1 -d dir
    foundNothing
    filesAre fru.txt
    publishedNumbersAre F9
}

@test "a directory named fru.txt: it opens, and has no lines" {
    mkdir fru.txt
    publishes
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

@test "the last line without a newline is not processed" {
    printf '"F1","FAN","","x"\n"F2","FAN","","x"' >fru.txt
    publishes F1
    printf '"F3","FAN","","x"' >fru.txt
    publishes
}

@test "a carriage return before the newline is passed over behind the last field" {
    printf '"F1","FAN","","x"\r\n"F2","PROCESSOR","SPEED=2400","y"\r\n' >fru.txt
    publishes F1 F2
}

@test "a line of 255 characters is read whole" {
    printf '"F1","FAN","","%0239d"\n' 7 >fru.txt
    equal 256 "$(wc -c <fru.txt)" 'the length of the line, its newline included'
    publishes F1
    publishedAre <<<"F1|FAN|$(printf '%0239d' 7)|KVAHalvoranFru1|KVA|1.0"
}

@test "longer lines are passed over whole, and the lines behind them are read" {
    local length
    for length in 240 241 255 494 495 496 5000 100000; do
        printf '"F1","FAN","","x"\n"F2","FAN","","%0*d"\n"F3","FAN","","x"\n' "$length" 7 >fru.txt
        publishes F1 F3
    done
}

@test "what follows in an overlong line is not taken for a line of its own" {
    # From its 256th character on, the line looks like an entry.
    printf '%0255d"F1","FAN","","x"\n"F2","FAN","","x"\n' 0 >fru.txt
    publishes F2
}

@test "an overlong last line ends the file" {
    printf '"F1","FAN","","x"\n"F2","FAN","","%0300d"\n' 7 >fru.txt
    publishes F1
    printf '"F1","FAN","","x"\n"F2","FAN","","%0300d"' 7 >fru.txt
    publishes F1
}

@test "a file of a hundred thousand lines that are no entries" {
    yes 'no entry' | head -n 100000 >fru.txt
    echo '"F1","FAN","","x"' >>fru.txt
    publishes F1
}

@test "a NUL byte ends the text of its line" {
    printf '"F1","FAN","","x"\0 # no comment\n\0"F2","FAN","","x"\n"F3","FAN","","x"\n' >fru.txt
    publishes F1 F3
}

@test "# anywhere makes the line a comment" {
    cat >fru.txt <<'END'
# "F1","FAN","","x"
"F2","FAN","","fan #2"
"F3","FAN","","x" # behind the fields
"F4#","FAN","","x"
"F5","FAN","","x"
"F6","FAN","#","x"
#
END
    publishes F5
}

@test "blank lines, headings, and lines of other categories are passed over" {
    cat >fru.txt <<'END'

   
Fans:
"F1"
"F1","FANS","","x"
"F2","FA","","x"
"F3","","","x"
"F4","PROCESSORS","SPEED=2400","x"
FAN
,
"
",
","
"F5","FAN","","x"
END
    publishes F5
}

@test "keywords are compared with their letter case" {
    printf '"F1","fan","","x"\n"F2","Fan","","x"\n"F3","FAN","","x"\n' >fru.txt
    publishes F3
}

@test "a blank between the comma and the quote matches no category" {
    printf '"F1", "FAN","","x"\n"F2","FAN ","","x"\n"F3"," FAN","","x"\n"F4","FAN","","x"\n' >fru.txt
    publishes F4
}

@test "text behind the fourth field is ignored" {
    printf '"F1","FAN","","x","y","z"\n"F2","FAN","","x"   \n' >fru.txt
    publishes F1 F2
    publishedAre <<'END'
F1|FAN|x|KVAHalvoranFru1|KVA|1.0
F2|FAN|x|KVAHalvoranFru2|KVA|1.0
END
}

@test "commas in fields 3 and 4, blanks in every field" {
    printf '" F 1 ","FAN","a","x, y, z"\n"F2","PROCESSOR","x, SPEED=2400"," x "\n' >fru.txt
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedAre <<'END'
 F 1 |FAN|x, y, z|KVAHalvoranFru1|KVA|1.0
F2|PROCESSOR| x |KVAHalvoranFru1|KVA|1.0
END
}

@test "malformed entries do no harm to the lines behind them" {
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

@test "blanks around the separators shift the cuts: a quote stays in the field, or it is empty" {
    printf '%s\n' '"F1" ,"FAN","","x"' '"F2","FAN" ,"","x"' '"F3","FAN", "","x"' \
        '"F4","FAN","" ,"x"' '"F5","FAN","", "x"' >fru.txt
    publishes 'F1"' F2 F3 F4 F5
    publishedAre <<'END'
F1"|FAN|x|KVAHalvoranFru1|KVA|1.0
F2|FAN"|x|KVAHalvoranFru2|KVA|1.0
F3|FAN||KVAHalvoranFru3|KVA|1.0
F4|FAN||KVAHalvoranFru4|KVA|1.0
F5|FAN||KVAHalvoranFru5|KVA|1.0
END
}

@test "the comma behind the category is searched only from the opening quote's place on" {
    printf '"F1",,FAN","","x"\n' >fru.txt
    publishes F1
    publishedAre <<<'F1|FAN|x|KVAHalvoranFru1|KVA|1.0'
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

@test "PLANAR and CDROM: only the first" {
    printf '"%s","%s","","x"\n' P1 PLANAR C1 CDROM P2 PLANAR C2 CDROM P3 PLANAR >fru.txt
    publishes C1 P1
}

@test "PLANAR and CDROM: when the first creation fails, the second is tried, and only one is kept" {
    stopServers
    startRecordedMachine
    printf '"%s","%s","","x"\n' P1 PLANAR C1 CDROM P2 PLANAR C2 CDROM P3 PLANAR C3 CDROM >fru.txt
    printf 'CreateInstance 1 error 11\nCreateInstance 2 error 11\n' >"$faults"
    publishes C2 P2
}

@test "five FAN lines: all are published, whatever their third field says" {
    cat >fru.txt <<'END'
"F1","FAN","SPEED=1","x"
"F2","FAN","SIZE=1","x"
"F3","FAN","LANGUAGE=xx","x"
"F4","FAN","","x"
"F5","FAN","anything","x"
END
    publishes F1 F2 F3 F4 F5
}

@test "FLOPPY, OPTIONSP and BACKPLANE: every line" {
    printf '"%s","%s","","x"\n' A1 FLOPPY A2 FLOPPY B1 OPTIONSP B2 OPTIONSP C1 BACKPLANE C2 BACKPLANE >fru.txt
    publishes A1 A2 B1 B2 C1 C2
}
