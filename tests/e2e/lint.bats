#!/usr/bin/env bats
# morvik-lint: what it reads, what it writes, and how it ends. The rules are in tests/unit/lint.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    out=$BATS_TEST_TMPDIR/out
    printf '"F1","FAN","","x"\n' >good.txt
    printf '"F1","FAN","","x "\n' >warning.txt
    printf '"F1","FAN","","x "\n"F2","PROCESSOR","SPEED=2400MHz","x"\n' >bad.txt
}

lint() { # [ARG...]
    runInstead "$MORVIK_BIN_DIR/morvik-lint" "$@"
}

# The run ended with this status, this output, and this message or none.
ends() { # STATUS OUTPUT [MESSAGE]
    equal "$2" "$(cat "$out")" 'standard output'
    equal "${3:+morvik-lint: $3}" "$(cat "$err")" 'standard error'
    equal "$1" "$status" 'the exit status'
}

readonly warning='warning: the description ends with a blank'
readonly error='error: no processor can have the clock "2400MHz"; write SPEED=2400'

@test "the sample data files have nothing wrong" {
    lint --strict "$schema"/samples/parts/*.txt
    ends 0 ''
}

@test "findings have the form of compilers; the status shows errors" {
    lint good.txt
    ends 0 ''
    lint warning.txt good.txt
    ends 0 "warning.txt:1:17: $warning"
    lint --strict warning.txt
    ends 1 "warning.txt:1:17: $warning"
    lint bad.txt warning.txt
    ends 1 "bad.txt:1:17: $warning
bad.txt:2:25: $error
warning.txt:1:17: $warning"
}

@test "--json has the same for programs, in ASCII" {
    printf '"F1","FAN","","x"\n"F2","Lüfter","","x"\n' >fremd.txt
    lint --json bad.txt good.txt fremd.txt
    ends 1 '{"format":1,"findings":[
{"file":"bad.txt","line":1,"column":17,"severity":"warning","code":"blanks","text":"the description ends with a blank"},
{"file":"bad.txt","line":2,"column":25,"severity":"error","code":"impossible","text":"no processor can have the clock \"2400MHz\"; write SPEED=2400"},
{"file":"fremd.txt","line":2,"column":7,"severity":"warning","code":"unknown-category","text":"unknown category \"L\u00fcfter\""}
],"summary":{"files":3,"errors":1,"warnings":2}}'
    lint --json good.txt
    ends 0 '{"format":1,"findings":[],"summary":{"files":1,"errors":0,"warnings":0}}'
}

@test "standard input and pipes" {
    status=0
    "$MORVIK_BIN_DIR/morvik-lint" - <bad.txt >"$BATS_TEST_TMPDIR/piped" || status=$?
    equal "1 -:1:17: $warning" "$status $(head -n 1 "$BATS_TEST_TMPDIR/piped")" 'standard input'
    mkfifo pipe
    { sleep 0.3; cat bad.txt >pipe; } &
    lint pipe
    equal "1 pipe:1:17: $warning" "$status $(head -n 1 "$out")" 'a named pipe'
    lint pipe
    ends 2 '' 'cannot read pipe: nobody writes to the pipe'
    # A writer may take longer than that.
    { sleep 5.5; cat bad.txt; } >pipe &
    lint pipe
    equal "1 pipe:1:17: $warning" "$status $(head -n 1 "$out")" 'a pipe with a slow writer'
}

@test "an unreadable file: a message, status 2, and the other files are checked" {
    : >closed.txt
    chmod 0 closed.txt
    runInstead setpriv --bounding-set=-dac_override,-dac_read_search "$MORVIK_BIN_DIR/morvik-lint" \
        missing.txt . /dev/zero closed.txt /proc/self/mem bad.txt
    ends 2 "bad.txt:1:17: $warning
bad.txt:2:25: $error" "cannot read missing.txt: No such file or directory
morvik-lint: cannot read .: Is a directory
morvik-lint: cannot read /dev/zero: not a file or pipe
morvik-lint: cannot read closed.txt: Permission denied
morvik-lint: cannot read /proc/self/mem: Input/output error"
    lint bad.txt >/dev/null
    status=0
    "$MORVIK_BIN_DIR/morvik-lint" bad.txt >/dev/full 2>"$err" || status=$?
    equal "2 morvik-lint: cannot write to standard output" "$status $(cat "$err")" 'a full disk'
}

@test "hostile files: one finding each, and hardly any memory" {
    head -c 1000000 /dev/urandom >random.txt
    printf '\0' >>random.txt
    yes '"F1","FAN","","x"' | head -c 100000000 >large.txt || true
    head -c 1000000 /dev/zero | tr '\0' x >endless.txt
    lint random.txt large.txt endless.txt
    equal 1 "$status" status
    equal 'random.txt large.txt endless.txt endless.txt' "$(cut -d : -f 1 "$out" | paste -sd ' ')" 'the files'
    grep -q 'large.txt:1:1: error: it has more than 1 MiB' "$out"
    grep -q 'endless.txt:1:256: error: too long' "$out"
    status=0
    yes | timeout "$patience" "$MORVIK_BIN_DIR/morvik-lint" - >"$out" || status=$?
    equal '1 -:1:1: error: it has more than 1 MiB: morvik-run refuses it' "$status $(cat "$out")" 'an endless pipe'
}

@test "wrong command lines are named" {
    lint
    ends 2 '' "FILE is required
Try 'morvik-lint --help'."
    lint --wrong good.txt
    ends 2 '' "unknown option: --wrong
Try 'morvik-lint --help'."
    lint --help
    equal 0 "$status" status
    [[ ! -s $err ]]
    equal '' "$(grep -E '.{81}' "$out" || true)" 'the lines of the help that are too long'
}

@test "texts of a file cannot command a terminal" {
    printf '"F1","FAN","","x"\n"F2","\033[31mA\342\200\256","","x"\n' >hostile.txt
    "$python" "$support/terminal.py" 100 "$MORVIK_BIN_DIR/morvik-lint" hostile.txt >"$out" || true
    grep -q 'unknown category' "$out"
    if grep -qP '\x1b|\xe2\x80\xae' "$out"; then return 1; fi
}

@test "a full file of lines with errors is checked in time" {
    "$python" - >many.txt <<'END'
lines = "".join(f'"F{i % 50000}","{c}","SIZE={i % 7}","x"\n' for i in range(40000) for c in ("FAN",))
print(lines[:1048000].rsplit("\n", 1)[0])
END
    timeout 20 "$MORVIK_BIN_DIR/morvik-lint" many.txt >"$out" || (($? == 1))
    (($(wc -l <"$out") > 20000))
}
