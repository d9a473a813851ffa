#!/usr/bin/env bats
# A CIM server that fails at one operation of a run: one fault for each outcome, at each operation. Which
# fault of an answer or a connection has which outcome is tested with the client library.
#
# A fault has one of these outcomes for the operation:
#
#   good    it succeeded, and the run goes on as if there were no fault.
#   failed  it was not carried out, and the run knows that it has no answer.
#   lost    the server has carried it out, but the answer is unusable. The run cannot distinguish this
#           from "failed" and must not try again, since an instance must not be created twice. For an
#           operation that only reads there is no difference.
#   gone    failed, and no later operation reaches a server.
#   last    good, and no later operation reaches a server.
#
# The rest depends on the operation only. The table shows it, with the reasons:
#
#   says     the text on standard output; the status is always 0
#   files    the files left in the working directory
#   deleted  the deletions requested, in order
#   created  the creations requested, in order
#   left     the instances on the server afterwards, as FRU:NUMBER, and KEPT of another publisher

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

readonly operationTable='
# without a fault: the fetched file replaces fru.txt and is removed after its import, like fru.log
*          good    nothing       -                   OLD1,OLD2  P1,M1,F1,F2  F1:1,F2:2,KEPT:1,M1:1,P1:1

# no connection: nothing is begun; the catch-all of the run
connection gone    failed        1234wpk.txt,fru.txt -          -            KEPT:1,OLD1:1,OLD2:2

# no machine type: no download, so the local copy is imported, and kept; no ftp run, so no fru.log
system     failed  local         1234wpk.txt,fru.txt OLD1,OLD2  L1           KEPT:1,L1:1
system     gone    local+failed  1234wpk.txt,fru.txt -          -            KEPT:1,OLD1:1,OLD2:2
system     last    failed        fru.log,fru.txt     -          -            KEPT:1,OLD1:1,OLD2:2

# the deletion step has no handler: what is deleted stays deleted, nothing is created, and the
# catch-all leaves the work files
names      failed  failed        fru.log,fru.txt     -          -            KEPT:1,OLD1:1,OLD2:2
names      gone    failed        fru.log,fru.txt     -          -            KEPT:1,OLD1:1,OLD2:2
names      last    failed        fru.log,fru.txt     -          -            KEPT:1,OLD1:1,OLD2:2
property   failed  failed        fru.log,fru.txt     OLD1       -            KEPT:1,OLD2:2
property   gone    failed        fru.log,fru.txt     OLD1       -            KEPT:1,OLD2:2
property   last    failed        fru.log,fru.txt     OLD1       -            KEPT:1,OLD2:2
deletion   failed  failed        fru.log,fru.txt     OLD1,OLD2  -            KEPT:1,OLD2:2
deletion   lost    failed        fru.log,fru.txt     OLD1,OLD2  -            KEPT:1
deletion   gone    failed        fru.log,fru.txt     OLD1,OLD2  -            KEPT:1,OLD2:2

# after the deletions, a failure affects its own entry only: no message, and work files are removed
deletion   last    nothing       -                   OLD1,OLD2  -            KEPT:1
processor  failed  nothing       -                   OLD1,OLD2  M1,F1,F2     F1:1,F2:2,KEPT:1,M1:1
processor  gone    nothing       -                   OLD1,OLD2  -            KEPT:1
processor  last    nothing       -                   OLD1,OLD2  -            KEPT:1
memory     failed  nothing       -                   OLD1,OLD2  P1,F1,F2     F1:1,F2:2,KEPT:1,P1:1
memory     gone    nothing       -                   OLD1,OLD2  P1           KEPT:1,P1:1
memory     last    nothing       -                   OLD1,OLD2  P1           KEPT:1,P1:1

# the number of an entry that failed is not used for the next one: the second fan remains number 2
creation   failed  nothing       -                   OLD1,OLD2  P1,M1,F1,F2  F2:2,KEPT:1,M1:1,P1:1
creation   lost    nothing       -                   OLD1,OLD2  P1,M1,F1,F2  F1:1,F2:2,KEPT:1,M1:1,P1:1
creation   gone    nothing       -                   OLD1,OLD2  P1,M1,F1     KEPT:1,M1:1,P1:1
creation   last    nothing       -                   OLD1,OLD2  P1,M1,F1     F1:1,KEPT:1,M1:1,P1:1

# several operations: each as if it were the only one
creations  failed  nothing       -                   OLD1,OLD2  P1,M1,F1,F2  KEPT:1
all        failed  local+failed  1234wpk.txt,fru.txt -          -            KEPT:1,OLD1:1,OLD2:2
'
# A test sets others if the fault does not apply to all of these.
everyOperation='system names property deletion processor memory creation'

# The line that fault_runs.py must print for this operation and outcome. CONNECTION is "same" if later
# operations may use the connection, or "new" if they must not. LIMITS is the number of time limits of
# 20 s that the run waits for.
expectedRun() { # OPERATION OUTCOME CONNECTION LIMITS
    local operation=$1 outcome=$2 connection=$3 limits=$4 row says files deleted created left connections=1
    row=$(grep -E "^$operation +$outcome " <<<"$operationTable") ||
        row=$(grep -E "^$operation +${outcome/lost/failed} " <<<"$operationTable") ||
        row=$(grep -E "^\* +$outcome " <<<"$operationTable")
    read -r _ _ says files deleted created left <<<"$row"
    # There is no second connection after the run has ended or the server is gone.
    [[ $connection == same || $says == *failed || $outcome =~ ^(gone|last)$ ]] || connections=2
    [[ $operation != connection ]] || connections=0
    printf '%s says=%s files=%s deleted=%s created=%s left=%s connections=%d limits=%d\n' \
        "$operation" "$says" "${files#-}" "${deleted#-}" "${created#-}" "$left" "$connections" "$limits"
}

# Compares the runs with the expected ones.
runsAre() { # FILE FAULT OUTCOME CONNECTION LIMITS
    local actual=$1 fault=$2 operation
    while read -r operation _; do
        expectedRun "$operation" "${@:3}"
    done <"$actual" >"$actual.expected"
    equal "$(<"$actual.expected")" "$(sed 's/ *$//' "$actual")" "the list of runs with the fault $fault"
}

# Makes the fault at each operation in turn.
everywhere() { # FAULT OUTCOME CONNECTION
    local runs=$BATS_TEST_TMPDIR/runs
    # shellcheck disable=SC2086 # words
    "$python" "$support/fault_runs.py" "$BATS_TEST_TMPDIR/bench" "$1" $everyOperation >"$runs"
    equal "$(wc -w <<<"$everyOperation")" "$(wc -l <"$runs")" 'the number of runs'
    runsAre "$runs" "$1" "$2" "$3" 0
}

# Runs that wait for their time limit of 20 s do so together, each in its own room.
setup_file() {
    export support python runs=$BATS_FILE_TMPDIR
    # shellcheck disable=SC2016,SC2086 # expanded by the shell inside; words
    printf '%s\n' $everyOperation | xargs -P 7 -I '{}' bash -c '"$support/room" "$python" \
        "$support/fault_runs.py" "$runs/$0.bench" hang "$0" >"$runs/$0" 2>"$runs/$0.log"' '{}' 3>&- || true
}

setup() { enterWorkDirectory; }
teardown() { stopServers; }

@test "closed before the answer: failed" { everywhere close failed new; }

@test "a CIM error: failed, and the connection is kept" { everywhere 'error 1' failed same; }

@test "a CIM error for every creation, and for every operation" {
    everyOperation='creations all' everywhere 'error 1' failed same
}

@test "carried out, then closed without an answer: not sent again" { everywhere close-after-work lost new; }

@test "the server ends before the answer: later operations are refused" { everywhere end gone new; }

@test "the server ends after the answer: later operations are refused" { everywhere end-after-answer last new; }

@test "closed after the answer: the next operation connects again" { everywhere close-when-idle good new; }

@test "no server: the connection is refused" { everyOperation=connection everywhere none gone same; }

@test "no answer: failed after 20 seconds" {
    local operation
    for operation in $everyOperation; do
        if [[ ! -s $runs/$operation ]]; then
            cat "$runs/$operation.log" >&2
            grep -q '^room: ' "$runs/$operation.log" && skip 'rooms cannot be nested here'
            return 1
        fi
        cat "$runs/$operation"
    done >"$BATS_TEST_TMPDIR/runs"
    runsAre "$BATS_TEST_TMPDIR/runs" hang failed new 1
}
