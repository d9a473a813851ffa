#!/usr/bin/env bats
# Simultaneous runs with one CIM server: their combined result is undefined, but none of them crashes or
# hangs, and the next run publishes the whole inventory.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

readonly rounds=15

setup() {
    enterWorkDirectory
    startMachine
    startFtp
    # Enough for the runs to overlap in every step.
    {
        printf '"P1","PROCESSOR","SPEED=2400","x"\n"M1","MEMORY","SIZE=512","x"\n'
        printf '"F%d","FAN","","x"\n' {1..30}
    } | putOnParts 1234wpk.txt
    createAs Other KEPT 1
}
teardown() { stopServers; }

# Starts a run in each directory, and waits for all.
runTogether() { # DIRECTORY...
    local directory number=0 pid pids=()
    for directory; do
        number=$((number + 1))
        (
            cd "$directory" || exit
            exec timeout --kill-after=5 "$patience" "$morvik" -s 127.0.0.1 -d /pc/dolmex/bp_server \
                >"$BATS_TEST_TMPDIR/out.$number" 2>"$BATS_TEST_TMPDIR/err.$number" </dev/null 3>&-
        ) &
        pids+=($!)
    done
    for pid in "${pids[@]}"; do
        status=0
        wait "$pid" || status=$?
        equal 0 "$status" 'the status of a run'
    done
    run ! grep -hE 'Sanitizer|runtime error:|terminate' "$BATS_TEST_TMPDIR"/err.*
    # Each prints only messages of morvik.
    run ! grep -hvxE "$anyMessage" "$BATS_TEST_TMPDIR"/out.*
}

nextRunIsComplete() { # DIRECTORY
    cd "$1" || return
    runMorvik -s 127.0.0.1 -d /pc/dolmex/bp_server
    succeeded
    fileIs "$err" ''
    filesAre
    equal "$(printf '%s\n' F{1..30} KEPT M1 P1 | LC_ALL=C sort | paste -sd ' ')" \
        "$(published | cut -d '|' -f 1 | LC_ALL=C sort | paste -sd ' ')" 'the list of FRU numbers'
    cd "$OLDPWD" || return
}

@test "two runs in two directories" {
    mkdir one two
    local round
    for ((round = 0; round < rounds; round++)); do
        runTogether one two
        nextRunIsComplete one
        nextRunIsComplete two
    done
}

@test "two runs in one directory" {
    mkdir one
    local round
    for ((round = 0; round < rounds; round++)); do
        runTogether one one
        nextRunIsComplete one
    done
}

@test "eight runs in one directory" {
    mkdir one
    local round
    for ((round = 0; round < rounds / 3; round++)); do
        runTogether one one one one one one one one
        nextRunIsComplete one
    done
}
