#!/usr/bin/env bats
# The privileges that morvik-cimd gives up when root starts it, and the accounts that may change instances.
# Needs a room with the users of the host: --users.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source-path=SCRIPTDIR source=../support/service.bash
source "$BATS_TEST_DIRNAME/../support/service.bash"

setup() {
    enterWorkDirectory
    # For the other users, whatever the mask.
    files=$BATS_TEST_TMPDIR/files
    mkdir "$files"
    cp "$schema/kvaxdt.mof" "$files"
    chmod -R a+rX "$files"
    mof=$files/kvaxdt.mof
}

teardown() { stopServers; }

needsUsers() {
    setpriv --reuid=65534 --regid=65534 --clear-groups true 2>/dev/null || skip 'root is the only user here'
    local directory=$files
    # The directories above are root's alone, and not those of the tests alone.
    while [[ $directory == "$BATS_RUN_TMPDIR"* ]]; do
        chmod a+x "$directory"
        directory=$(dirname "$directory")
    done
    setpriv --reuid=65534 --regid=65534 --clear-groups test -r "$mof" || skip 'other users cannot read files here'
}

# The server has these user and group, real, effective, saved and of its files, and no other groups.
runsAs() { # USER-ID GROUP-ID
    local process
    process=/proc/$(serverPid)/status
    equal "Uid: $1 $1 $1 $1
Gid: $2 $2 $2 $2
Groups:" "$(grep -E '^(Uid|Gid|Groups):' "$process" | tr -s '\t ' ' ' | sed 's/ $//')" 'who it is'
}

hasNoCapabilities() {
    local process
    process=/proc/$(serverPid)/status
    equal 'CapInh CapPrm CapEff CapAmb' \
        "$(sed -nE 's/^(Cap(Inh|Prm|Eff|Amb)):\t0+$/\1/p' "$process" | paste -sd ' ')" 'the empty sets'
    equal 1 "$(sed -n 's/^NoNewPrivs:\t//p' "$process")" NoNewPrivs
}

@test "without a store it is nobody, without groups and capabilities, before it listens" {
    needsUsers
    startServer cimd 'morvik-cimd: listening on' setpriv --groups=0,1 "$cimd" "$mof"
    runsAs "$(id -u nobody)" "$(id -g nobody)"
    hasNoCapabilities
    logHasNot root
    change create F1 fan
    listIs 'F1=fan'
}

@test "an account or group that does not exist: status 3, also with --check, and nothing is made" {
    endsWith 3 --user nonesuch --store fru.db "$mof"
    complains 'morvik-cimd: error: there is no account nonesuch'
    endsWith 3 --check --user nonesuch "$mof"
    endsWith 3 --writers root,nonesuch "$mof"
    complains 'morvik-cimd: error: there is no account nonesuch'
    endsWith 3 --check --writers @nonesuch "$mof"
    complains 'morvik-cimd: error: there is no group nonesuch'
    filesAre
}

@test "a store: it runs as the owner of its directory, who owns the store as well, and alone can use it" {
    needsUsers
    mkdir "$files/state"
    chown daemon:daemon "$files/state"
    startCimd --store "$files/state/fru.db" "$mof"
    runsAs "$(id -u daemon)" "$(id -g daemon)"
    hasNoCapabilities
    change create F1 fan
    equal 'daemon daemon 600' "$(stat -c '%U %G %a' "$files/state/fru.db")" 'the owner of the store'
    killServer
    startServer cimd 'listening on' setpriv --reuid=daemon --regid=daemon --clear-groups \
        "$cimd" --store "$files/state/fru.db" "$mof"
    listIs 'F1=fan'
    change create F2 fan
    killServer
    # By a link as well: it is the owner of the directory that this leads to.
    ln -s "$files/state/fru.db" link.db
    startCimd --store link.db "$mof"
    runsAs "$(id -u daemon)" "$(id -g daemon)"
    listIs 'F1=fan F2=fan'
}

@test "--user that may not write the directory of the store: status 1, and no file of root is left" {
    needsUsers
    mkdir "$files/state"
    endsWith 1 --user daemon --store "$files/state/fru.db" "$mof"
    complains "morvik-cimd: error: $files/state/fru.db: cannot create: Permission denied"
    equal '' "$(ls -A "$files/state")" 'the directory of the store'
}

@test "the directory of the store belongs to root: root without capabilities, and the log says so" {
    startWithStore
    runsAs 0 "$(id -g)"
    hasNoCapabilities
    logHas 'warning: running as root, though without its capabilities: the directory of the store belongs to root'
    change create F1 fan
}

@test "a file that the account nobody cannot read: root without capabilities, and the log says so" {
    needsUsers
    chmod 700 "$files"
    startCimd "$mof"
    runsAs 0 0
    hasNoCapabilities
    logHas "warning: running as root, though without its capabilities: $mof is closed to the account nobody"
    reload
    logHas 'reloaded'
}

@test "a file named from the current directory, below one that is closed to the account nobody, is read" {
    needsUsers
    mkdir -p "$files/closed/open"
    cp "$mof" "$files/closed/open"
    chmod 700 "$files/closed"
    cd "$files/closed/open"
    startCimd kvaxdt.mof
    runsAs "$(id -u nobody)" "$(id -g nobody)"
    reload
    logHas 'reloaded'
}

@test "--user that cannot read a file: status 3 at the start, not a fault at the first reload" {
    needsUsers
    chmod 700 "$files"
    endsWith 3 --user daemon "$mof"
    complains "morvik-cimd: error: cannot open $mof: Permission denied"
}

@test "a user namespace with root alone: it keeps no capability, and the log says so" {
    ! setpriv --reuid=65534 --regid=65534 --clear-groups true 2>/dev/null || skip 'there are other users here'
    startCimd "$mof"
    hasNoCapabilities
    logHas 'warning: running as root, though without its capabilities: '
    stopServers
    endsWith 1 --user daemon "$mof"
    [[ $(cat "$err") == 'morvik-cimd: cannot run as daemon: '* ]]
}

@test "SMBIOS tables that only root can read are read, then root is given up" {
    needsUsers
    mkdir tables
    cp "$BATS_TEST_DIRNAME"/../data/smbios/one-socket-one-dimm/* tables
    chmod 400 tables/*
    startCimd --smbios tables "$mof"
    runsAs "$(id -u nobody)" "$(id -g nobody)"
    wbemcli ei -nl http://127.0.0.1:5988/root/kvasd:KVAXDT_Processor | grep -qxF -- '-CurrentClockSpeed=1800'
    reload
    logHas 'reloaded: 1 namespace, 4 classes, 3 instances declared'
}

@test "not started as root: it keeps its account, and reports that --user is ignored" {
    needsUsers
    startServer cimd 'listening on' setpriv --reuid=daemon --regid=daemon --clear-groups \
        "$cimd" --user nobody "$mof"
    runsAs "$(id -u daemon)" "$(id -g daemon)"
    logHas 'warning: not started as root: --user ignored'
}

# --- who may change instances ---

fru=http://127.0.0.1:5988/root/kvasd:KVAXDT_FRU
one=$fru'.FRUNumber="F1",IdentifyingNumber="1",Vendor="Acme"'

# wbemcli as another account, with its groups. Prints the answer.
as() { # ACCOUNT ARG...
    local account=$1
    shift
    setpriv --reuid="$account" --regid="$(id -g "$account")" --init-groups wbemcli "$@" 2>&1 || true
}

create() { # ACCOUNT
    as "$1" ci "$one" 'FRUNumber="F1",IdentifyingNumber="1",Vendor="Acme"'
}

mayChange() { # ACCOUNT
    equal "127.0.0.1:5988/root/kvasd:KVAXDT_FRU.FRUNumber=\"F1\",IdentifyingNumber=\"1\",Vendor=\"Acme\"" \
        "$(create "$1")" "what $1 creates"
    equal '' "$(as "$1" di "$one")" "what $1 deletes"
}

mayNotChange() { # ACCOUNT
    [[ $(create "$1") == *"CIM_ERR_ACCESS_DENIED: account $1 may not change instances"* ]]
}

@test "root and the server's own account change instances, everybody reads, and refusals are logged once" {
    needsUsers
    startCimd --user daemon "$mof"
    runsAs "$(id -u daemon)" "$(id -g daemon)"
    hasNoCapabilities
    mayChange root
    mayChange daemon
    create root
    local name
    for name in fan disk fan; do
        mayNotChange games
        [[ $(as games mi "$one" "Name=\"$name\"") == *CIM_ERR_ACCESS_DENIED* ]]
        [[ $(as games sp "$one" "Name=\"$name\"") == *CIM_ERR_ACCESS_DENIED* ]]
        [[ $(as games di "$one") == *CIM_ERR_ACCESS_DENIED* ]]
    done
    mayNotChange mail
    [[ $(as games ein "$fru") == *'FRUNumber="F1"'* ]]
    equal 'CreateInstance refused: account games may not change instances
CreateInstance refused: account mail may not change instances' \
        "$(sed -n 's/^morvik-cimd: warning: //p' "$BATS_TEST_TMPDIR/cimd.log")" 'the log'
}

@test "the account nobody, taken for lack of another, is not the server's own" {
    needsUsers
    startCimd "$mof"
    runsAs "$(id -u nobody)" "$(id -g nobody)"
    mayNotChange nobody
    stopServers
    startCimd --user nobody "$mof"
    mayChange nobody
}

@test "--writers: accounts, and groups with all their members, as they are at the start and at a reload" {
    needsUsers
    # Covered for the server alone. The file is written anew, not replaced.
    local group=$files/group
    withOperators() { # LINE
        { cat /etc/group && printf '%s\n' "$1"; } >"$group"
    }
    withOperators 'operators:x:4242:games,mail'
    # shellcheck disable=SC2016 # expanded by the shell inside
    startServer cimd 'listening on' unshare --mount bash -c 'mount --bind "$1" /etc/group && shift && exec "$@"' \
        bash "$group" "$cimd" --writers games --writers 'sys,@operators' "$mof"
    mayChange games
    mayChange sys
    mayChange mail
    mayNotChange daemon
    # Members are looked up for each connection, names at a reload.
    withOperators 'operators:x:4242:daemon'
    mayChange daemon
    mayNotChange mail
    withOperators 'others:x:4242:daemon'
    reload
    logHas 'error: not reloaded: there is no group operators'
    mayChange daemon
    withOperators 'operators:x:4343:daemon'
    mayNotChange daemon
    reload
    logHas 'reloaded: 1 namespace'
    mayChange daemon
}

@test "a kernel that does not know the owners of connections: reported, reads are served, changes refused" {
    needsUsers
    startServer cimd 'listening on' "$python" "$support/without_netlink.py" "$cimd" "$mof"
    logHas 'error: the kernel does not know whose connections are: all changes will be refused: sock_diag: Address family not supported by protocol'
    [[ $(create root) == *'CIM_ERR_ACCESS_DENIED: the account at the other end of the connection is unknown'* ]]
    equal '' "$(as root ein "$fru")" 'the list of names'
    logHas 'warning: CreateInstance refused: the account at the other end of the connection is unknown: sock_diag: '
}

@test "a client that closes its connection before it is served may change nothing" {
    needsUsers
    startCimd "$mof"
    change create F1 fan
    "$python" - "$support" "$(serverPid)" <<'END'
import os, signal, socket, sys
sys.path.insert(0, sys.argv[1])
import cim_client, cim_xml
def request(operation, parameters):
    body = cim_xml.request_message(operation, "root/kvasd", parameters)
    body = body if isinstance(body, bytes) else body.encode()
    return (f"POST /cimom HTTP/1.1\r\nHost: localhost\r\nContent-Length: {len(body)}\r\nCIMOperation: MethodCall\r\n"
            f"CIMMethod: {operation}\r\nCIMObject: root%2Fkvasd\r\n\r\n").encode() + body
delete = request("DeleteInstance", [("InstanceName", cim_client.path("F1"))])
server = int(sys.argv[2])
os.kill(server, signal.SIGSTOP)
with socket.create_connection(("127.0.0.1", 5988)) as client:
    client.sendall(delete)
os.kill(server, signal.SIGCONT)
assert cim_client.Session().frus() == [("F1", "fan")]
# One that only says that it sends no more still waits for the answer.
with socket.create_connection(("127.0.0.1", 5988)) as client:
    client.sendall(delete)
    client.shutdown(socket.SHUT_WR)
    assert b"ERROR" not in client.makefile("rb").read()
assert cim_client.Session().frus() == []
END
    logHas 'warning: DeleteInstance refused: the account at the other end of the connection is unknown'
}

@test "morvik-cimd(8): the first example" {
    needsUsers
    # In place of sudo: the account daemon stands for morvik, and root may run the programs of the build.
    # shellcheck disable=SC2317 # the example calls it
    sudo() {
        case $1 in
        systemd-sysusers) ;;
        -u) "${@:3}" ;;
        *) "$@" ;;
        esac
    }
    local example
    example=$(awk '/^\.Sh EXAMPLES/ { inside = 1 } inside && /^\.Ed/ { exit } inside && /^[$ ]/' \
        "$MORVIK_BIN_DIR/../man/morvik-cimd.8" |
        sed -E "s/^\\$ //; s/\\\\e$/\\\\/; s#/var/lib/morvik#$files/state#g; s/ morvik -g morvik/ daemon -g daemon/
            s#/[a-z/]*/sbin/#$MORVIK_BIN_DIR/#; s#/[a-z/]*/kvaxdt.mof#$mof#; s/parts\.example\.com/127.0.0.1/")
    equal 7 "$(grep -c . <<<"$example")" 'the lines'
    eval "$(sed -n '1,2p' <<<"$example")"
    startServer cimd 'morvik-cimd: listening on' bash -c "exec $(sed -n '3,5{s/sudo //;s/&$//;p}' <<<"$example")"
    runsAs "$(id -u daemon)" "$(id -g daemon)"
    eval "$(sed -n '6,$p' <<<"$example")" >said 2>&1
    if grep 'did not complete' said >&2; then return 1; fi
}
