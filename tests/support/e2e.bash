# Shared by the tests of whole programs. Loaded by each of them; runs inside a room, so the ports 21
# and 5988 are free.
#
# Every test works in its own directory and ends the servers it has started by their process
# ids. A server that did not end well (a crash, a sanitizer's report) fails the test.

bats_require_minimum_version 1.5.0

support=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
project=$(cd -- "$support/../.." && pwd)
schema=$project/schema
python=/usr/bin/python3
export PYTHONDONTWRITEBYTECODE=1

# Longer than anything waits that ends by itself, shorter than a test run's patience.
readonly patience=60

enterWorkDirectory() {
    : "${MORVIK_BIN_DIR:?set it to the directory with morvik and morvik-cimd}"
    morvik=$MORVIK_BIN_DIR/morvik
    cimd=$MORVIK_BIN_DIR/morvik-cimd
    servers=()
    mkdir -p "$BATS_TEST_TMPDIR/work"
    cd "$BATS_TEST_TMPDIR/work" || return
    unset LANG LC_ALL LC_CTYPE LANGUAGE
    # The output of the FTP client must not depend on the person who runs the tests.
    export HOME=$BATS_TEST_TMPDIR
}

# --- servers ---

# Starts a server and waits until it has written a line that contains TEXT.
startServer() { # NAME TEXT COMMAND [ARG...]
    local name=$1 text=$2
    local log=$BATS_TEST_TMPDIR/$name.log
    shift 2
    : >"$log"
    "$@" >>"$log" 2>&1 3>&- 4>&- &
    local pid=$!
    servers+=("$name:$pid")
    local end=$((SECONDS + patience))
    until grep -qF -- "$text" "$log"; do
        if ! kill -0 "$pid" 2>/dev/null || ((SECONDS >= end)); then
            printf '%s did not start:\n' "$name" >&2
            cat "$log" >&2
            return 1
        fi
        sleep 0.01
    done
}

# Ends the servers; fails when one had ended before, or ends with another status than 0.
stopServers() {
    local server name pid status failed=0
    for server in "${servers[@]}"; do
        name=${server%:*} pid=${server##*:} status=0
        kill -TERM "$pid" 2>/dev/null || true
        wait "$pid" || status=$?
        if ((status != 0)); then
            printf '%s ended with status %d:\n' "$name" "$status" >&2
            cat "$BATS_TEST_TMPDIR/$name.log" >&2
            failed=1
        fi
    done
    servers=()
    return "$failed"
}

startCimd() { # [--listen ADDRESS:PORT] FILE.mof...
    startServer cimd 'morvik-cimd: listening on' "$cimd" "$@"
}

# A morvik-cimd with the KVAXDT classes and one machine.
startMachine() { # [--model TEXT] [--speeds 'N...'] [--capacities 'N...']
    writeMachine "$@" >"$BATS_TEST_TMPDIR/machine.mof"
    startCimd "$schema/kvaxdt.mof" "$BATS_TEST_TMPDIR/machine.mof"
}

# For kvaxdt.mof; with --dmtf, for kvaxdt-dmtf.mof, whose classes have more keys.
writeMachine() {
    local model='Server 123 -[1234ABX]-' speeds=2400 capacities=536870912 value number=0
    local processorKeys='' moduleKeys=''
    if [[ ${1-} == --dmtf ]]; then
        processorKeys='SystemCreationClassName = "CIM_ComputerSystem"; SystemName = "box"; CreationClassName = "KVAXDT_Processor";'
        moduleKeys='CreationClassName = "KVAXDT_PhysicalMemory";'
        shift
    fi
    while (($# > 0)); do
        case $1 in
        --model) model=$2 ;;
        --speeds) speeds=$2 ;;
        --capacities) capacities=$2 ;;
        *) return 1 ;;
        esac
        shift 2
    done
    printf 'instance of KVAXDT_ComputerSystemDetails { name = "box"; model = "%s"; };\n' "$model"
    for value in $speeds; do
        printf 'instance of KVAXDT_Processor { %s DeviceID = "%d"; CurrentClockSpeed = %s; };\n' \
            "$processorKeys" $((number++)) "$value"
    done
    for value in $capacities; do
        printf 'instance of KVAXDT_PhysicalMemory { %s Tag = "%d"; Capacity = %s; };\n' \
            "$moduleKeys" $((number++)) "$value"
    done
}

startPeer() { # [OPTION...] as cim_peer.py takes them
    log=$BATS_TEST_TMPDIR/requests faults=$BATS_TEST_TMPDIR/faults
    accepted=$BATS_TEST_TMPDIR/accepted
    : >"$log"
    : >"$accepted"
    startServer peer ready "$python" "$support/cim_peer.py" --log "$log" --faults "$faults" \
        --accepted "$accepted" "$@"
}

# A server that answers from descriptions of classes, as JSON.
startDescribed() { # JSON [OPTION...]
    printf '%s' "$1" >"$BATS_TEST_TMPDIR/machine.json"
    startPeer --machine "$BATS_TEST_TMPDIR/machine.json" "${@:2}"
}

# A morvik-cimd out of the way, and in front of it a peer that writes down what is asked.
startRecordedMachine() {
    writeMachine "$@" >"$BATS_TEST_TMPDIR/machine.mof"
    startCimd --listen 127.0.0.1:5989 "$schema/kvaxdt.mof" "$BATS_TEST_TMPDIR/machine.mof"
    startPeer --upstream 5989
}

# OpenPegasus, a CIM server that this project did not write, with the DMTF schema and these files in
# root/kvasd. The program with-cim-server starts it for the time of one command; ours ends when the
# server is to end. Skips the test where there is no such program.
startPegasus() { # FILE.mof...
    [[ -n ${MORVIK_WITH_CIM_SERVER-} ]] || skip 'no OpenPegasus server: MORVIK_WITH_CIM_SERVER is not set'
    local file options=()
    for file; do
        options+=(--mof "$file")
    done
    # shellcheck disable=SC2016 # expanded by the shell inside
    startServer pegasus 'with-cim-server: ready' bash -c '
        mkfifo "$1" && exec 9<>"$1"
        trap "echo >&9" TERM
        "${@:2}" bash -c "echo with-cim-server: ready; read -r <&9" &
        status=0
        wait $! || status=$?
        ((status <= 128)) || { status=0; wait $! || status=$?; }
        exit $status' \
        bash "$BATS_TEST_TMPDIR/pegasus.end" "$MORVIK_WITH_CIM_SERVER" "${options[@]}"
}

# The same machine as startMachine has.
startPegasusMachine() { # [OPTION...] as writeMachine takes them
    writeMachine --dmtf "$@" >"$BATS_TEST_TMPDIR/machine.mof"
    startPegasus "$schema/kvaxdt-dmtf.mof" "$BATS_TEST_TMPDIR/machine.mof"
}

# An FTP server with the tree $parts; its log is $ftpLog.
startFtp() { # [OPTION...] as ftp_server.py takes them
    parts=$BATS_TEST_TMPDIR/parts
    ftpLog=$BATS_TEST_TMPDIR/ftp.commands
    mkdir -p "$parts/pc/dolmex/bp_server"
    startServer ftp ready "$python" "$support/ftp_server.py" --root "$parts" --log "$ftpLog" "$@"
}

putOnParts() { # NAME  (the text comes from standard input)
    cat >"$parts/pc/dolmex/bp_server/$1"
}

# --- running morvik ---

# Leaves the exit status in $status, standard output and error in the files $out and $err.
runMorvik() { # [ARG...]
    runInstead "$morvik" "$@"
}

runInstead() { # COMMAND [ARG...]
    out=$BATS_TEST_TMPDIR/out err=$BATS_TEST_TMPDIR/err status=0
    timeout --kill-after=5 "$patience" "$@" >"$out" 2>"$err" </dev/null || status=$?
    if grep -qE 'Sanitizer|runtime error:' "$err"; then
        cat "$err" >&2
        return 1
    fi
}

# Like runMorvik, but permissions count. Root reads and writes everything; without these capabilities
# it is like anybody else.
runLikeAnybody() { # [ARG...]
    runInstead setpriv --bounding-set=-dac_override,-dac_read_search "$morvik" "$@"
}

# Like runMorvik, and leaves the texts of all shell commands in the file $commands, one a line. For
# this, /bin/sh is covered for the run by a program that writes down its last argument and hands
# everything on to the shell.
runRecorded() { # [ARG...]
    recordingShell
    # shellcheck disable=SC2016 # expanded by the shell inside
    runInstead unshare --mount bash -c 'mount --bind "$1" "$(readlink -f /bin/sh)" && shift && exec "$@"' \
        bash "$BATS_TEST_TMPDIR/recording-sh" "$morvik" "$@"
}

# Puts a shell script of these lines in the place of a command.
replaceCommand() { # NAME [LINE...]
    mkdir -p "$BATS_TEST_TMPDIR/bin"
    printf '%s\n' '#!/bin/sh' "${@:2}" >"$BATS_TEST_TMPDIR/bin/$1"
    chmod +x "$BATS_TEST_TMPDIR/bin/$1"
    [[ $PATH == "$BATS_TEST_TMPDIR/bin":* ]] || PATH=$BATS_TEST_TMPDIR/bin:$PATH
}

recordingShell() {
    local shell=$BATS_TEST_TMPDIR/sh
    commands=$BATS_TEST_TMPDIR/commands
    : >"$commands"
    cp -L /bin/sh "$shell"
    cat >"$BATS_TEST_TMPDIR/recording-sh" <<END
#!$shell
for text; do :; done
printf '%s\n' "\$text" >>'$commands'
exec '$shell' "\$@"
END
    chmod +x "$BATS_TEST_TMPDIR/recording-sh"
}

# --- looking at the outcome ---

# Compares two texts; shows the difference.
equal() { # EXPECTED ACTUAL [WHAT]
    [[ $1 == "$2" ]] && return
    printf '%s differs:\n' "${3-text}" >&2
    diff <(printf '%s\n' "$1") <(printf '%s\n' "$2") >&2
    return 1
}

# Compares a file byte for byte with the text that printf makes of TEXT.
fileIs() { # FILE TEXT
    # shellcheck disable=SC2059 # the text is a format on purpose
    printf "$2" | cmp - "$1" && return
    printf '%s is not as expected, but:\n' "$1" >&2
    cat -A "$1" >&2
    return 1
}

readonly nothing=''
readonly localCopy='\nA local copy of fru.txt is detected. MORVIK will run base on this file.\n'
readonly notAvailable='Either FRU is not supported or this system does not have access to FRU file.\nPlease run man morvik for help. \n'
readonly didNotComplete='Morvik did not complete. Please run morvik manually (see man morvik for help).\n'
# shellcheck disable=SC2034 # used by the tests
readonly couldNotOpen='Could not open FRU data file.\nPlease run man morvik for help \n'

# For grep -xE: each line that morvik may write.
# shellcheck disable=SC2034 # used by the tests
readonly anyMessage='|A local copy of fru.txt is detected.*|Morvik did not complete.*|Either FRU is not.*|Could not open FRU data file\.|Please run man morvik for help\.? '

# The run ended with status 0 and wrote exactly this text to standard output.
said() { # TEXT
    if ((status != 0)); then
        printf 'status %d; standard error:\n' "$status" >&2
        cat "$err" >&2
        return 1
    fi
    fileIs "$out" "$1"
}

succeeded() { said "$nothing"; }
usedLocalCopy() { said "$localCopy"; }
foundNothing() { said "$notAvailable"; }
failed() { said "$didNotComplete"; }
# After the faults that an import reports and its own message.
failedOnLocalCopy() { said "$localCopy$didNotComplete"; }

# The working directory holds exactly these files.
filesAre() { # [NAME...]
    equal "$(printf '%s\n' "$@" | sort)" "$(find . -mindepth 1 -printf '%P\n' | sort)" 'the set of files'
}

# All published instances, sorted: FRU number, name, description, number, vendor, revision.
published() {
    "$python" "$support/cim_client.py" list
}

# The lines of standard input are the published instances.
publishedAre() {
    equal "$(LC_ALL=C sort)" "$(published | LC_ALL=C sort)" 'the set of published instances'
}

# The FRU numbers of the published instances, sorted, are these words.
publishedNumbersAre() { # [NUMBER...]
    equal "$*" "$(published | cut -d '|' -f 1 | LC_ALL=C sort | paste -sd ' ')" 'the list of FRU numbers'
}

createAs() { # VENDOR FRU-NUMBER IDENTIFYING-NUMBER
    "$python" "$support/cim_client.py" publish "$2" "$3" "$1"
}

# The operations that the peer was asked for, without their arguments, one a line.
operations() {
    cut -d ' ' -f 2 "$log"
}
