#!/usr/bin/env bats
# morvik-show on a terminal: width, colours, and no commands to the terminal.

# shellcheck source-path=SCRIPTDIR source=../support/show.bash
source "$BATS_TEST_DIRNAME/../support/show.bash"

setup() {
    enterWorkDirectory
    unset NO_COLOR COLUMNS
    export TERM=xterm LC_ALL=C.UTF-8
}

escape=$'\e'

# Leaves what the terminal gets in the file $out. Standard error goes there, too.
onTerminal() { # COLUMNS [ARG...]
    local columns=$1
    shift
    runInstead "$python" "$support/terminal.py" "$columns" "$show" "$@"
}

widest() {
    sed "s/$escape\[[0-9]*m//g" "$out" | "$python" "$support/terminal.py" --widest
}

publishLongOnes() {
    startMachine
    importLines <<'END'
"A1","FAN","","Lüfter, 60 mm, mit einer Beschreibung, die länger ist als manche Zeile"
"A2","FAN","","冷却ファン、六十ミリメートル、電源ゾーン用、ホットスワップ対応"
"A3","FAN","","é ä n̈ combining marks that take no column of their own at all"
END
}

# Entries with commands to terminals, and with marks that change the order of a line.
startHostile() {
    startDescribed '{"KVAXDT_FRU": [[["Name", "string", "F\u009b31mAN"], ["FRUNumber", "string", "A\t\n\r1"],
        ["Description", "string", "a\u0085b\u202egnp.exe\u2066c\u2028d\u007fe"],
        ["IdentifyingNumber", "string", "KVAHalvoranFru1\u009d0;owned\u009c"],
        ["Vendor", "string", "\u200fKVA"], ["RevisionLevel", "string", "1"]]]}'
}

# No control character but line feeds, and the carriage returns of CSV at the end of lines, and no
# mark that turns the direction of writing.
isHarmless() {
    "$python" -c 'import sys, unicodedata
text = open(sys.argv[1], encoding="utf-8", newline="").read().replace("\r\n", "\n").replace("\n", "")
bad = [ascii(c) for c in text if unicodedata.category(c) in ("Cc", "Zl", "Zp")
       or unicodedata.bidirectional(c) in ("LRO", "RLO", "LRE", "RLE", "PDF", "LRI", "RLI", "FSI", "PDI")
       or c in "\u200e\u200f\u061c"]
sys.exit(f"harmful: {bad}" if bad else 0)' "$out"
}

@test "the table is as wide as the terminal, and cut texts are marked" {
    publishLongOnes
    local columns
    for columns in 60 70 79; do
        onTerminal "$columns"
        equal 0 "$status" status
        equal "$columns" "$(widest)" 'the widest line'
        equal 3 "$(grep -c … "$out")" "the lines that were cut at $columns"
    done
    onTerminal 300
    run ! grep -q … "$out"
}

@test "COLUMNS has precedence over what the terminal says" {
    publishLongOnes
    COLUMNS=64 onTerminal 120
    equal 64 "$(widest)" 'the widest line'
    local columns
    for columns in wide 64x 0 -64 99999999999999999999; do
        COLUMNS=$columns onTerminal 72
        equal 72 "$(widest)" "the widest line with COLUMNS=$columns"
    done
    onTerminal 0
    equal 80 "$(widest)" 'the widest line on a terminal that reports none'
}

@test "a file or pipe gets whole texts, whatever COLUMNS says" {
    publishLongOnes
    COLUMNS=40 runShow
    ends 0
    grep -q 'als manche Zeile  *KVA' "$out"
    run ! grep -q … "$out"
}

@test "colours: on a terminal only, and never with NO_COLOR or on a dumb one" {
    publishLongOnes
    onTerminal 80
    grep -q "$escape\[1mCATEGORY" "$out"
    NO_COLOR='' onTerminal 80
    grep -q "$escape" "$out"
    NO_COLOR=1 onTerminal 80
    run ! grep -q "$escape" "$out"
    TERM=dumb onTerminal 80
    run ! grep -q "$escape" "$out"
    env -u TERM "$python" "$support/terminal.py" 80 "$show" >"$out"
    run ! grep -q "$escape" "$out"
    runShow
    run ! grep -q "$escape" "$out"
    onTerminal 80 --json
    run ! grep -q "$escape" "$out"
    onTerminal 80 --csv
    run ! grep -q "$escape" "$out"
}

@test "text from the server is harmless on the terminal" {
    startHostile
    export NO_COLOR=1
    local option
    for option in '' --all --json --csv; do
        # shellcheck disable=SC2086 # none or one
        onTerminal 200 $option
        equal 0 "$status" "the status of $option"
        [[ -s $out ]]
        isHarmless
    done
}

@test "error messages are harmless on the terminal" {
    onTerminal 80 --server $'\e]0;owned\a\302\233'
    equal 2 "$status" status
    grep -q '^morvik-show: cannot connect to .*owned' "$out"
    isHarmless
    onTerminal 80 $'\e]0;owned\a'
    grep -q '^morvik-show: unexpected argument: .*owned' "$out"
    isHarmless
}

@test "a terminal that does not know UTF-8 gets ASCII" {
    publishLongOnes
    local option
    for option in '' --json --csv; do
        # shellcheck disable=SC2086 # none or one
        LC_ALL=C onTerminal 70 $option
        equal 0 "$status" "the status of $option"
        run ! grep -qP '[^\x00-\x7f]' "$out"
    done
    LC_ALL=C runShow --csv
    ends 0
    grep -q 冷却ファン "$out"
}

@test "--explain and --machine: as wide as the terminal, in colours, harmless" {
    startMachine --model $'x\xc2\x9b[1234]'
    printf '"A1","FAN","","x"\n"A2","PROCESSOR","SPEED=\x1b[31m","x"\n"A\x1b3","F\x07N","","x"\n' >fru.txt
    onTerminal 50 --explain fru.txt
    equal 0 "$status" status
    grep -q "$escape\[32m" "$out"
    (($(widest) <= 50))
    run ! grep -q … "$out"
    NO_COLOR=1 onTerminal 200 --explain fru.txt
    isHarmless
    NO_COLOR=1 onTerminal 200 --machine
    isHarmless
}
