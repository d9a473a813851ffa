#!/usr/bin/env bats
# What docs/*.md tell to do, done. (docs/install.md is followed by scripts/test-packages.) Needs a room
# with the users of the host: --users.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    export LANG=en_US.UTF-8 COLUMNS=100
    PATH=$MORVIK_BIN_DIR:$PATH
}
teardown() { stopServers; }

# The lines of a block, which is indented by four blanks.
block() { # FILE NAME
    awk -v mark="<!-- block: $2 -->" '
        $0 == mark { inside = 1; next }
        !inside { next }
        /^    / { while (blanks > 0) { print ""; --blanks } print substr($0, 5); begun = 1; next }
        /^$/ { blanks += begun; next }
        begun { exit }' "$project/docs/$1" | grep . -A 1000
}

# With this machine as the server, and a folder of the test as /srv/ftp.
follow() { # FILE NAME
    sudo() { "$@"; }
    local commands
    commands=$(block "$1" "$2")
    commands=${commands//ftp.example.com/127.0.0.1}
    commands=${commands//\/usr\/sbin\/morvik/morvik}
    eval "${commands//\/srv\/ftp/$srv}"
}

@test "docs/parts-server.md: a server as described gives morvik its file" {
    # scripts/setup does not install it: on Debian it would serve the network from then on.
    command -v vsftpd >/dev/null || skip 'no vsftpd here'
    srv=$BATS_TEST_TMPDIR/srv
    block parts-server.md configuration | sed "s|/srv/ftp|$srv|" >vsftpd.conf
    # In the foreground, and in a room: nothing else is changed.
    printf '%s\n' background=NO listen_address=127.0.0.1 isolate=NO isolate_network=NO \
        xferlog_file="$PWD/vsftpd.log" >>vsftpd.conf
    # The user ftp must get there.
    chmod a+x "$BATS_RUN_TMPDIR" "$BATS_TEST_TMPDIR"/{..,../..,.}
    setpriv --reuid=65534 --regid=65534 --clear-groups test -x "$BATS_TEST_TMPDIR" ||
        skip 'other users cannot come here'
    cp "$schema/samples/parts/1234wpk.txt" .
    follow parts-server.md files
    vsftpd vsftpd.conf &
    servers+=("vsftpd:$!")
    until (exec 3<>/dev/tcp/127.0.0.1/21) 2>/dev/null; do kill -0 "${servers[-1]#*:}" && sleep 0.05; done
    follow parts-server.md try >try.out
    grep -q '^226' try.out

    startCimd "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    rm 1234wpk.txt
    follow parts-server.md run
    (($(published | wc -l) == 13))
    printf '"N1","FAN","","New"\n' >new.txt
    follow parts-server.md replace
    follow parts-server.md run
    published | grep -q N1
    (($(published | wc -l) == 1))
    kill "${servers[0]#*:}"
    wait "${servers[0]#*:}" || true # it ends by the signal
    servers=("${servers[@]:1}")
}

@test "docs/data-files.md: the example is judged as it says" {
    startCimd "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    block data-files.md first >1234wpk.txt
    equal "$(block data-files.md explain | tail -n +2)" \
        "$(eval "$(block data-files.md explain | sed -n '1s/^\$ //p')")" 'the explanation'
    follow data-files.md status
    grep -q '"format": 1' verdict.json
}

@test "docs/many-machines.md: entries are found, here and from elsewhere" {
    command -v jq >/dev/null || skip 'no jq here'
    startCimd --listen 127.0.0.1:15988 "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    startCimd "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    if follow many-machines.md check; then return 1; fi
    cp "$schema/samples/parts/1234wpk.txt" fru.txt
    runMorvik -s 127.0.0.1 -d nowhere
    follow many-machines.md check
    mkdir inventory
    morvik-show --json >inventory/full.json
    morvik-show --server 127.0.0.1:15988 --json >inventory/empty.json || (($? == 1))
    equal ./full.json "$(follow many-machines.md find)" 'the machines with the part'
    follow many-machines.md tunnel || (($? == 1))
}

@test "every block of these documents is followed here" {
    local file name
    for file in parts-server data-files many-machines; do
        while read -r name; do
            [[ $name == restart ]] || grep -qE "(follow|block) $file.md $name\b" "$BATS_TEST_FILENAME" ||
                { printf '%s: the block %s is not tried\n' "$file" "$name" >&2; return 1; }
        done < <(sed -n 's/^<!-- block: \(.*\) -->$/\1/p' "$project/docs/$file.md")
    done
}
