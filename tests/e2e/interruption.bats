#!/usr/bin/env bats
# After a run that was interrupted at any point, the next run publishes the whole inventory and removes all
# work files. Each kind of interruption is tested in its own room.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

roomsAtOnce=3

setup_file() {
    export support runs=$BATS_FILE_TMPDIR
    # shellcheck disable=SC2016 # expanded by the shell inside
    printf '%s\n' 'SIGINT program' 'SIGINT group' 'SIGTERM program' 'SIGTERM group' \
        'SIGHUP program' 'SIGHUP group' 'SIGKILL program' 'SIGKILL group' |
        xargs -P "$roomsAtOnce" -L 1 bash -c '"$support/room" /usr/bin/python3 \
            "$support/interrupted_runs.py" "$runs/$0.$1.bench" "$0" "$1" >"$runs/$0.$1" \
            2>"$runs/$0.$1.log"' 3>&- || true
}

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# All 47 stages were reached, and each ended as expected; a random moment may also be too late.
endings() { # SIGNAL TARGET ENDING-WITHIN-COMMANDS
    local actual=$runs/$1.$2
    if [[ ! -s $actual ]]; then
        cat "$actual.log" >&2
        grep -q '^room: ' "$actual.log" && skip 'rooms cannot be nested here'
        return 1
    fi
    cat "$actual.log"
    equal 47 "$(wc -l <"$actual")" 'the number of stages'
    equal '' "$(grep -vxE "(none ended=0|[a-z]+-(asked|answered) ended=$1|([a-z-]+-(before|after)|login|transfer) ended=$3|random ended=[A-Z0-9a-z]+) next=complete" \
        "$actual")" 'the list of other endings'
}

# While a shell command is running, the program that waits for it ignores an interruption from the keyboard:
# the command ends, and the run continues.

@test "SIGINT to the program only" { endings SIGINT program 0; }

@test "SIGINT to the whole run, as with Control-C" { endings SIGINT group 0; }

@test "SIGTERM to the program only" { endings SIGTERM program SIGTERM; }

@test "SIGTERM to the whole run" { endings SIGTERM group SIGTERM; }

@test "SIGHUP to the program only" { endings SIGHUP program SIGHUP; }

@test "SIGHUP to the whole run, as when a terminal is closed" { endings SIGHUP group SIGHUP; }

@test "SIGKILL to the program only" { endings SIGKILL program SIGKILL; }

@test "SIGKILL to the whole run" { endings SIGKILL group SIGKILL; }

@test "the user's own data file survives an interruption at every operation, and is used by the next run" {
    startRecordedMachine
    printf '"%s","%s","%s","x"\n' P1 PROCESSOR SPEED=2400 M1 MEMORY SIZE=512 F1 FAN '' >fru.txt
    cp fru.txt "$BATS_TEST_TMPDIR/original"
    local request reached=$BATS_TEST_TMPDIR/reached
    while read -r request; do
        rm -f "$reached"
        createAs KVA OLD KVAHalvoranFru1
        printf '# %s\n%s hang %s\n' "$request" "$request" "$reached" >"$faults"
        "$morvik" -s 127.0.0.1 -d dir >"$BATS_TEST_TMPDIR/out" 2>&1 </dev/null 3>&- &
        until [[ -e $reached ]]; do
            kill -0 $! || return
            sleep 0.01
        done
        kill -KILL $!
        wait $! || true
        cmp "$BATS_TEST_TMPDIR/original" fru.txt
        : >"$faults"
        runMorvik -s 127.0.0.1 -d dir
        usedLocalCopy
        cmp "$BATS_TEST_TMPDIR/original" fru.txt
        filesAre fru.txt
        publishedNumbersAre F1 M1 P1
    done <<'END'
EnumerateInstances/KVAXDT_ComputerSystemDetails 1
EnumerateInstanceNames 1
GetProperty 1
DeleteInstance 1
EnumerateInstances/KVAXDT_Processor 1
EnumerateInstances/KVAXDT_PhysicalMemory 1
CreateInstance 2
END
}
