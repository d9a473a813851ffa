# shellcheck shell=bash disable=SC2034,SC2154 # what is set elsewhere, and used elsewhere
# Shared by the tests of morvik-show. Loaded by each of them.

# shellcheck source=tests/support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

show=$MORVIK_BIN_DIR/morvik-show
samples=$schema/samples

# Like runMorvik.
runShow() { # [ARG...]
    runInstead "$show" "$@"
}

# The run ended with this status, and with this message or none on standard error.
ends() { # STATUS [MESSAGE]
    if ! equal "$1" "$status" 'the exit status'; then
        cat "$out" "$err" >&2
        return 1
    fi
    equal "${2:+morvik-show: $2}" "$(cat "$err")" 'standard error'
}

wrote() { # TEXT
    equal "$1" "$(cat "$out")" 'standard output'
}

# Prints the value of a Python expression for the JSON on standard output, which is the variable `it`.
jsonOf() { # EXPRESSION
    "$python" -c 'import json, sys
it = json.load(open(sys.argv[1], encoding="utf-8"))
print(eval(sys.argv[2]))' "$out" "$1"
}

# Imports standard input as fru.txt, and leaves no file.
importLines() {
    cat >fru.txt
    LANG=en_US.UTF-8 runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    rm fru.txt
}
