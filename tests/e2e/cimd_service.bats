#!/usr/bin/env bats
# morvik-cimd as a service: command line, statuses, signals, messages, and systemd.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source-path=SCRIPTDIR source=../support/service.bash
source "$BATS_TEST_DIRNAME/../support/service.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# --- what ends by itself ---

@test "--help and --version: status 0, on standard output" {
    endsWith 0 --help
    fileIs "$err" ''
    grep -qF 'Exit status: 0 success, 1 run-time error, 2 wrong usage, 3 wrong configuration' "$out"
    endsWith 0 --version
    fileIs "$err" ''
    equal "morvik-cimd $(sed -nE 's/^project\(.*VERSION ([0-9.]+).*/\1/p' "$project/CMakeLists.txt")" \
        "$(cat "$out")" version
}

@test "--check: what would be served, status 0, no store is made, nothing listens" {
    writeMachine --speeds '1800 2400' >machine.mof
    startCimd "$mof" # the port is in use, which does not matter
    endsWith 0 --check --store fru.db "$mof" machine.mof
    equal '1 namespace, 4 classes, 4 instances declared, 0 published' "$(cat "$out")" report
    filesAre machine.mof
}

@test "--check: the instances of a store are counted, and the store stays as it is" {
    startWithStore
    change create F1 fan create F2 fan
    stopServers
    cp fru.db before
    endsWith 0 --check --store fru.db "$mof"
    equal '1 namespace, 4 classes, 0 instances declared, 2 published' "$(cat "$out")" report
    cmp before fru.db
    filesAre before fru.db fru.db-journal
}

@test "--check: each kind of fault has the status that a start would have" {
    printf 'class {' >broken.mof
    endsWith 3 --check "$mof" broken.mof
    printf 'notes, not a store' >notes
    endsWith 1 --check --store notes "$mof"
    endsWith 2 --check
    fileIs "$out" ''
    runInstead bash -c '"$@" >/dev/full' bash "$cimd" --check "$mof"
    equal 1 "$status" status
    complains 'morvik-cimd: cannot write to standard output'
}

@test "wrong usage: status 2, what is wrong, and nothing else" {
    wrongUsage() { # MESSAGE [ARG...]
        local message=$1
        shift
        endsWith 2 "$@"
        equal "morvik-cimd: $message
Try 'morvik-cimd --help'." "$(cat "$err")" 'the message'
        fileIs "$out" ''
    }
    wrongUsage 'FILE is required'
    wrongUsage 'The following argument was not expected: --nonsense' --nonsense "$mof"
    wrongUsage "--listen: '?[31mred' is not a loopback address with port, such as 127.0.0.1:5988" \
        --listen $'\e[31mred' "$mof"
    wrongUsage '--store: must not be empty' --store '' "$mof"
    wrongUsage '--user: must not be empty' --user '' "$mof"
    wrongUsage '--smbios: must not be empty' --smbios '' "$mof"
    wrongUsage '--include: must not be empty' --include '' "$mof"
    wrongUsage "--writers: 'a,@' is not a list of accounts and groups, such as alice,@operators" \
        --writers a,@ "$mof"
    wrongUsage "--listen: '0.0.0.0:5988' is not a loopback address with port, such as 127.0.0.1:5988" \
        --listen 0.0.0.0:5988 "$mof"
    endsWith 2 --log-level loud "$mof"
    grep -q -- '--log-level' "$err"
    filesAre
}

@test "wrong configuration: status 3, file, line, column, what was expected" {
    endsWith 3 missing.mof
    complains 'morvik-cimd: error: cannot open missing.mof: No such file or directory'
    printf 'class A {\n  uint8 b\n  uint8 c;\n};\n' >broken.mof
    endsWith 3 "$mof" broken.mof
    [[ $(tail -n 1 "$err") == "broken.mof:3:3: error: expected "* ]]
    printf '#pragma include ("broken.mof")\n' >outer.mof
    endsWith 3 outer.mof
    [[ $(tail -n 1 "$err") == *"broken.mof:3:3: error: expected "* ]]
    endsWith 3 .
    [[ $(tail -n 1 "$err") == 'morvik-cimd: error: cannot read .: '* ]]
    chmod 000 broken.mof
    endsWith 3 broken.mof
    complains 'morvik-cimd: error: cannot open broken.mof: Permission denied'
}

@test "--include: included files are looked for there too, at a reload as well" {
    mkdir -p elsewhere/classes
    cp "$mof" elsewhere/classes/kvaxdt.mof
    printf '#pragma include ("classes\\kvaxdt.mof")\n' >site.mof
    endsWith 3 site.mof
    equal 'site.mof:1:9: error: cannot open classes/kvaxdt.mof: No such file or directory' \
        "$(tail -n 1 "$err")" 'the message'
    startCimd --include . --include elsewhere site.mof
    reload
    logHas 'reloaded: 1 namespace, 4 classes'
}

@test "a reference to a class that no file declares: a warning with file, line and column" {
    printf 'class Site_A {\n  [Key] string k;\n  Site_B ref r;\n};\n' >site.mof
    endsWith 0 --check site.mof
    equal 'site.mof:3:14: warning: r refers to class Site_B, which is not declared' \
        "$(tail -n 1 "$err")" 'the warning'
    endsWith 0 --check --log-level error site.mof
    fileIs "$err" ''
}

@test "a port in use: status 1 and which" {
    startCimd "$mof"
    endsWith 1 "$mof"
    complains 'morvik-cimd: error: cannot listen on 127.0.0.1:5988: Address already in use'
}

@test "port 0: the system chooses, and the message names the port" {
    startCimd --listen 127.0.0.1:0 "$mof"
    local port
    port=$(sed -n 's/.*listening on 127.0.0.1://p' "$BATS_TEST_TMPDIR/cimd.log")
    ((port > 1023))
    exec 5<>"/dev/tcp/127.0.0.1/$port"
    exec 5>&-
}

@test "an IPv6 loopback address" {
    [[ -e /proc/net/if_inet6 ]] || skip 'no IPv6 here'
    startCimd --listen '[::1]:5988' "$mof"
    logHas 'listening on [::1]:5988'
    equal '' "$(wbemcli ein 'http://[::1]:5988/root/kvasd:KVAXDT_FRU')" 'the list of names'
}

@test "it listens on the one loopback address alone" {
    startCimd "$mof"
    # Of /proc/net/tcp: the local address and the state of listening.
    equal '0100007F:1764' "$(awk '$4 == "0A" { print $2 }' /proc/net/tcp)" 'the listening sockets'
    equal '' "$(awk '$4 == "0A" { print $2 }' /proc/net/tcp6)" 'the listening sockets of IPv6'
}

# --- signals ---

@test "SIGTERM and SIGINT end it with 0, also with clients connected and requests under way" {
    local signal pid status
    for signal in TERM INT; do
        startServer cimd 'listening on' env --default-signal=INT "$cimd" "$mof"
        exec 5<>/dev/tcp/127.0.0.1/5988
        printf 'POST / HTTP/1.1\r\nHost: localhost\r\nContent-Le' >&5
        change list
        pid=$(serverPid) status=0
        kill "-$signal" "$pid"
        wait "$pid" || status=$?
        exec 5>&-
        servers=()
        equal 0 "$status" "the status after SIG$signal"
    done
}

@test "SIGHUP: a new class and new instances are served; published instances and connections are kept" {
    printf '\n' >more.mof
    startCimd more.mof "$mof"
    change create F1 fan create F2 disk delete F1
    exec 5<>/dev/tcp/127.0.0.1/5988
    printf 'class T_New { [Key] string id; };\ninstance of T_New { id = "n"; };\n' >more.mof
    reload
    logHas 'reloaded: 1 namespace, 5 classes, 1 instance declared, 1 published'
    equal '127.0.0.1:5988/root/kvasd:T_New.id="n"' \
        "$(wbemcli ein http://127.0.0.1:5988/root/kvasd:T_New)" 'the instances of T_New'
    listIs 'F2=disk'
    printf 'GET / HTTP/1.1\r\nHost: localhost\r\n\r\n' >&5
    read -r -t 20 answer <&5
    exec 5>&-
    [[ $answer == 'HTTP/1.1 501 '* ]]
}

@test "SIGHUP with a store: a wrong file is reported and changes nothing, a right one keeps what is published" {
    printf 'class T_Old { [Key] string id; };\n' >more.mof
    startWithStore more.mof
    change create Z9 fan create A1 disk
    printf 'class T_Old { [Key] string id }\n' >more.mof
    reload
    logHas 'error: not reloaded: more.mof:1:31: error: expected '
    rm more.mof
    reload
    logHas 'error: not reloaded: morvik-cimd: error: cannot open more.mof: No such file or directory'
    equal '' "$(wbemcli ein http://127.0.0.1:5988/root/kvasd:T_Old)" 'the instances of T_Old'
    change create M5 cable
    printf 'class T_New { [Key] string id; };\n' >more.mof
    reload
    logHas 'reloaded: 1 namespace, 5 classes'
    change modify Z9 pump create B2 fan
    listIs 'Z9=pump A1=disk M5=cable B2=fan'
    killServer
    startWithStore
    listIs 'Z9=pump A1=disk M5=cable B2=fan'
}

@test "SIGHUP many times under a stream of changes: nothing is lost, nobody is refused" {
    startWithStore
    "$python" - "$support" "$(serverPid)" <<'END'
import os, signal, sys
sys.path.insert(0, sys.argv[1])
from cim_client import Session
session = Session()
for number in range(200):
    session.create(f"F{number}", "fan")
    if number % 10 == 0:
        os.kill(int(sys.argv[2]), signal.SIGHUP)
assert len(session.frus()) == 200
END
    logHasNot error
    equal 200 "$(change list | wc -w)" 'the number of instances'
}

# --- messages ---

@test "in the journal each line begins with its priority, and only there" {
    # Device and inode of standard error, which the server shares with the shell.
    # shellcheck disable=SC2016 # expanded by the shell inside
    local inJournal='export JOURNAL_STREAM; JOURNAL_STREAM=$(stat -Lc %d:%i /proc/$$/fd/2) && exec "$@"'
    startServer cimd 'listening on' bash -c "$inJournal" bash "$cimd" --smbios . --log-level debug "$mof"
    grep -q '^<4>warning: there are no SMBIOS' "$BATS_TEST_TMPDIR/cimd.log"
    grep -q '^<7>debug: serving' "$BATS_TEST_TMPDIR/cimd.log"
    grep -qx '<6>listening on 127.0.0.1:5988' "$BATS_TEST_TMPDIR/cimd.log"
    run ! grep -v '^<[3467]>' "$BATS_TEST_TMPDIR/cimd.log"
    runInstead bash -c "$inJournal" bash "$cimd" missing.mof
    complains '<3>morvik-cimd: error: cannot open missing.mof: No such file or directory'
    runInstead env JOURNAL_STREAM=8:12345 "$cimd" missing.mof
    complains 'morvik-cimd: error: cannot open missing.mof: No such file or directory'
}

@test "a log that nobody reads any more: the server goes on" {
    mkfifo log
    "$cimd" "$mof" 2>log 3>&- &
    servers+=("cimd:$!")
    exec 5<log
    until IFS= read -r -t 20 line <&5 && [[ $line == *listening* ]]; do :; done
    exec 5<&-
    reload
    change create F1 fan
    reload
    change create F2 fan
    listIs 'F1=fan F2=fan'
}

# --- systemd ---

waitForState() { # LINE
    local end=$((SECONDS + 20))
    until grep -qxF -- "$1" states 2>/dev/null; do
        ((SECONDS < end)) || return 1
        sleep 0.01
    done
}

@test "it reports to systemd that it is ready, when a client is served, and that it ends" {
    local name
    for name in "$BATS_TEST_TMPDIR/notify" "@morvik-test-$$"; do
        rm -f states
        startServer peer ready "$python" "$support/notify_socket.py" "$name" states
        NOTIFY_SOCKET=$name "$cimd" --log-level error "$mof" 2>log 3>&- &
        servers+=("cimd:$!")
        waitForState READY=1
        listIs ''
        kill -TERM "$(serverPid)"
        waitForState STOPPING=1
        equal 'READY=1 STOPPING=1' "$(paste -sd ' ' states)" 'what was reported'
        stopServers
        fileIs log ''
    done
}

@test "more than one SIGTERM: status 0 all the same" {
    local i
    startCimd "$mof"
    for ((i = 0; i < 50; ++i)); do
        kill -TERM "$(serverPid)" 2>/dev/null || break
    done
    stopServers
}

@test "a wrong file: never ready" {
    startServer peer ready "$python" "$support/notify_socket.py" notify states
    NOTIFY_SOCKET=$PWD/notify endsWith 3 missing.mof
    NOTIFY_SOCKET=$PWD/notify endsWith 0 --check "$mof"
    [[ ! -e states || ! -s states ]]
}

@test "a notification socket that is missing, or has a wrong name: it runs all the same" {
    local name
    for name in "$PWD/missing" @ '' "$(printf '/%0200d' 0)"; do
        NOTIFY_SOCKET=$name startCimd "$mof"
        listIs ''
        stopServers
    done
}

# The server with a listening socket that systemd would hold for it, at this address.
withSocket() { # ADDRESS [ARG...]
    exec "$python" - "$@" <<'END'
import os, socket, sys
family = socket.AF_INET6 if ":" in sys.argv[1] else socket.AF_INET
held = socket.socket(family)
held.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
held.bind((sys.argv[1], 5988))
if os.environ.get("NOT_LISTENING") is None:
    held.listen()
os.dup2(held.fileno(), 3)
os.set_inheritable(3, True)
os.environ["LISTEN_FDS"] = os.environ.get("COUNT", "1")
os.environ["LISTEN_PID"] = os.environ.get("FOR", str(os.getpid()))
os.execv(sys.argv[2], sys.argv[2:])
END
}

@test "a socket that systemd holds is used, whatever --listen says" {
    export -f withSocket
    export python
    startServer cimd 'listening on 127.0.0.1:5988' bash -c 'withSocket "$@"' bash 127.0.0.1 "$cimd" "$mof"
    listIs ''
    stopServers
    startServer cimd 'listening on 127.0.0.1:5988' bash -c 'withSocket "$@"' bash 127.0.0.1 "$cimd" \
        --listen 127.0.0.1:5999 "$mof"
    logHas 'warning: --listen ignored: systemd holds another address for the server'
    listIs ''
    change create F1 fan
}

@test "a socket that systemd holds must be one, listen, and be of the loopback interface" {
    export -f withSocket
    export python
    refusesSocket() { # MESSAGE ADDRESS
        runInstead bash -c 'withSocket "$@"' bash "$2" "$cimd" "$mof"
        equal 3 "$status" status
        complains "morvik-cimd: error: $1"
    }
    refusesSocket 'the socket of systemd is not one of the loopback interface' 0.0.0.0
    COUNT=2 refusesSocket 'systemd passes 2 sockets instead of one' 127.0.0.1
    NOT_LISTENING=1 refusesSocket 'systemd passes something else than a TCP socket that listens' 127.0.0.1
    # Those of the process that started this one are not for it.
    FOR=1 runInstead bash -c 'withSocket "$@"' bash 127.0.0.1 "$cimd" "$mof"
    complains 'morvik-cimd: error: cannot listen on 127.0.0.1:5988: Address already in use'
}
