#!/usr/bin/env bats
# Many clients of morvik-cimd at once, good and bad ones. MORVIK_LOAD_SECONDS=60 makes it a real load.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source-path=SCRIPTDIR source=../support/service.bash
source "$BATS_TEST_DIRNAME/../support/service.bash"

# The address sanitizer keeps what is freed for a while, which is not the server's memory.
setup() {
    export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}quarantine_size_mb=0:thread_local_quarantine_size_kb=0"
    enterWorkDirectory
}
teardown() { stopServers; }

seconds=${MORVIK_LOAD_SECONDS-5}

# Sets requests, median, worst, early and late from the figures of served_clients.py.
runGoodClients() { # COUNT SECONDS
    "$python" "$support/served_clients.py" many "$1" "$2" "$(serverPid)" >figures
    read -r requests median worst early late <figures
    printf '# %s clients, %s s: %s requests, median %s ms, worst %s ms, memory %s -> %s KiB\n' \
        "$1" "$2" "$requests" "$median" "$worst" "$early" "$late" >&3
}

# Each has done all it does at least once, and none waited for long. How fast they were depends on the
# machine, and on its disk: scripts/bench measures that.
isGood() {
    ((requests >= 40 * 4 && worst < 20000))
}

@test "forty clients at once, durable: none is refused, and memory stays flat" {
    local requests median worst early late
    startWithStore
    runGoodClients 40 "$seconds"
    isGood
    ((late < early + 2048))
    listIs ''
}

@test "forty clients beside slow, stuck and rude ones: served as well" {
    local requests median worst early late most=16384
    ! grep -q __asan_init "$cimd" || most=32768
    startCimd "$mof"
    startServer rude ready "$python" "$support/rude_clients.py"
    # Until the rude ones hold all the connections and half-sent requests that they hold.
    runGoodClients 40 "$seconds"
    runGoodClients 40 "$seconds"
    isGood
    # They keep five requests of 1 MB half sent, and how much of each varies. The address sanitizer returns nothing to
    # the system.
    ((late < early + most))
    stopServers
}

@test "more connections than are kept: clients that made requests keep theirs, and a newcomer is served" {
    startCimd "$mof"
    "$python" - "$support" <<'END'
import sys
sys.path.insert(0, sys.argv[1])
import socket
from cim_client import ADDRESS, Session

early = Session()
early.create("F1", "fan")
kept = early.connection.sock
silent = [socket.create_connection(ADDRESS) for _ in range(400)]
newcomer = Session()
assert newcomer.frus() == [("F1", "fan")]
assert early.frus() == [("F1", "fan")]
assert early.connection.sock is kept, "its connection was ended"
# The oldest of the silent made room, the youngest is there and is served.
silent[0].settimeout(10)
assert silent[0].recv(1) == b""
silent[-1].sendall(b"GET / HTTP/1.1\r\nHost: localhost\r\n\r\n")
silent[-1].settimeout(10)
assert silent[-1].recv(12) == b"HTTP/1.1 501"
END
}

@test "silent uploads, unread answers, a flood of connections: small requests are served" {
    startCimd --max-instances 100 "$mof"
    "$python" - "$support" <<'END' >&3
import sys
sys.path.insert(0, sys.argv[1])
import socket
import subprocess
import threading
import time
import bad_requests
import cim_xml
from cim_client import ADDRESS, ENUMERATE_FRUS, NAMESPACE, Session

upload = bad_requests.with_length(1_000_000) + b" " * 900_000
enumerate_all = cim_xml.http_request(
    "EnumerateInstances",
    NAMESPACE,
    cim_xml.request_message("EnumerateInstances", NAMESPACE, ENUMERATE_FRUS),
)
setup = Session()
for number in range(20):
    setup.create(f"L{number}", "n")
    named = "d" * 500_000
    setup.change_description(f"L{number}", named)
ended = threading.Event()
counts = {"upload": 0, "unread": 0, "flood": 0}


def attack(kind, bytes_, kept, pause):
    held = []
    while not ended.is_set():
        try:
            client = socket.socket()
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            client.settimeout(5)
            client.connect(ADDRESS)
            held.append(client)
            client.sendall(bytes_)
        except OSError:
            pass
        counts[kind] += 1
        while len(held) > kept:
            held.pop(0).close()
        time.sleep(pause)


attackers = [
    threading.Thread(target=attack, args=arguments, daemon=True)
    for arguments in (
        ("upload", upload, 300, 0.005),
        ("unread", enumerate_all, 100, 0.1),
        ("flood", b"", 300, 0.002),
    )
]
for attacker in attackers:
    attacker.start()
while min(counts.values()) < 50:
    time.sleep(0.05)
subprocess.run([sys.executable, sys.argv[1] + "/served_clients.py", "modest"], check=True, timeout=120)
ended.set()
print(f"# beside {counts}")
END
}

# In KiB.
memoryOf() { # VmRSS|VmHWM
    awk -v name="$1:" '$1 == name { print $2 }' "/proc/$(serverPid)/status"
}

fillAndEmpty() { # [fill]
    "$python" - "$support" "$@" <<'END'
import sys
sys.path.insert(0, sys.argv[1])
from cim_client import Session

session = Session()
for number in range(20):
    session.create(f"L{number}", "n")
    session.change_description(f"L{number}", "d" * 1_000_000)
session.frus()
if sys.argv[2:] != ["fill"]:
    for number in range(20):
        session.delete(f"L{number}")
END
}

@test "when everything is deleted, memory is back within a factor of two" {
    local start after
    if grep -q __asan_init "$cimd"; then
        skip 'the address sanitizer returns nothing to the system'
    fi
    startCimd "$mof"
    start=$(memoryOf VmRSS)
    fillAndEmpty
    after=$(memoryOf VmRSS)
    printf '# %s KiB, at most %s KiB, %s KiB\n' "$start" "$(memoryOf VmHWM)" "$after" >&3
    ((after < 2 * start))
}

# Each connection that kept its last answer would keep 20 MB.
@test "clients that ask for much without a pause: small requests are served, in little memory" {
    local before most
    startCimd "$mof"
    fillAndEmpty fill
    before=$(memoryOf VmHWM)
    startServer greedy ready "$python" "$support/served_clients.py" greedy 100
    "$python" "$support/served_clients.py" modest >&3
    most=$(memoryOf VmHWM)
    printf '# memory at most %s KiB before, %s KiB beside them\n' "$before" "$most" >&3
    # 256 MiB for large requests and answers, one that is read, and one that is made.
    ((most < before + 400 * 1024))
}

@test "few descriptors: the server goes on, and newcomers are served" {
    startServer cimd 'listening on' bash -c 'ulimit -Sn 40 -Hn 40 && exec "$@"' bash "$cimd" --store fru.db "$mof"
    "$python" - "$support" <<'END'
import sys
sys.path.insert(0, sys.argv[1])
import socket
from cim_client import ADDRESS, Session

silent = [socket.create_connection(ADDRESS) for _ in range(100)]
Session().create("F1", "fan")
END
    listIs 'F1=fan'
}

@test "little memory: an announced size takes none, and a server that runs out of memory goes on" {
    # Neither sanitizers nor valgrind leave a program to so few addresses.
    if grep -q __asan_init "$cimd" || [[ $(head -c 4 "$cimd") != $'\x7fELF' ]]; then
        skip 'not with other memory than the usual'
    fi
    startServer cimd 'listening on' bash -c 'ulimit -v 200000 && exec "$@"' bash "$cimd" --max-request 16MiB "$mof"
    "$python" - "$support" <<'END'
import sys
sys.path.insert(0, sys.argv[1])
import socket
import bad_requests
from cim_client import ADDRESS, Session

size = 16_000_000
announced = bad_requests.with_length(size)


def connect():
    client = socket.create_connection(ADDRESS, timeout=20)
    client.sendall(announced)
    return client


many = [connect() for _ in range(100)]
assert Session().frus() == []
for client in many:
    client.close()

dropped = 0
held = []
for _ in range(40):
    try:
        held.append(connect())
        held[-1].sendall(b" " * (size - len(announced)))
    except ConnectionError:
        dropped += 1
assert dropped > 0, "the memory was enough"
for client in held:
    client.close()
assert Session().frus() == []
END
    logHas 'out of memory'
}
