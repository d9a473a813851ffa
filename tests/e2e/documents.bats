#!/usr/bin/env bats
# The commands of README.md and docs/*.md work as written. scripts/test-packages runs those that need a
# system of their own. Needs a room with the users of the host: --users.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    export LANG=en_US.UTF-8 COLUMNS=100
    PATH=$MORVIK_BIN_DIR:$PATH
}
teardown() { stopServers; }

# The lines of a block, which are indented by four blanks.
block() { # FILE NAME
    awk -v mark="<!-- block: $2 -->" '
        $0 == mark { inside = 1; next }
        !inside { next }
        /^    / { while (blanks > 0) { print ""; --blanks } print substr($0, 5); begun = 1; next }
        /^$/ { blanks += begun; next }
        begun { exit }' "$(document "$1")" | grep . -A 1000
}

document() { # FILE
    if [[ -f $project/docs/$1 ]]; then printf '%s' "$project/docs/$1"; else printf '%s' "$project/$1"; fi
}

# A text of the documents with this machine as the server, the programs of the build in place of the
# installed ones, and a directory of the test as /srv/ftp.
here() { # TEXT
    sed -E "s#ftp\.example\.com#127.0.0.1#g; s#/usr/(local/)?s?bin/(morvik)#$MORVIK_BIN_DIR/\2#g
        s#/usr/(local/)?share/morvik/schema#$schema#g; s#/srv/ftp#${srv-}#g" <<<"$1"
}

follow() { # FILE NAME
    sudo() { "$@"; }
    eval "$(here "$(block "$1" "$2")")"
}

# The parts server of the sample machine, and its CIM server.
startSample() {
    startCimd "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    startFtp
    cp "$schema/samples/parts/1234wpk.txt" "$parts/pc/dolmex/bp_server"
}

# The server has no handler for SIGTERM.
endServer() {
    kill "${servers[0]#*:}"
    wait "${servers[0]#*:}" || true
    servers=("${servers[@]:1}")
}

@test "README.md: the session is what the programs print" {
    startSample
    cp "$schema/samples/parts/1234wpk.txt" .
    local line
    block README.md session | while IFS= read -r line; do
        [[ $line != '$ '* ]] || printf '%s\n' "$line"
    done >commands
    (($(wc -l <commands) == 4))
    while IFS= read -r line; do
        printf '%s\n' "$line"
        # Otherwise the list would count as fetched.
        [[ $line != *'morvik -s'* ]] || rm 1234wpk.txt
        eval "$(here "${line#$ }")" 2>&1
    done <commands >actual
    equal "$(block README.md session)" "$(cat actual)" 'the session'
}

@test "README.md: the two commands exist, and the installation is that of docs/install.md" {
    local command
    while read -r command; do
        (cd "$project" && "$command" --help) >help 2>&1 || true
        grep -q '^usage: ' help
    done < <(block README.md 'two commands')
    equal "scripts/package
$(block install.md install)
$(block install.md look | grep morvik-show)" "$(block README.md install | sed 's#/build/packages/#/#g')" 'the commands'
}

@test "docs/build.md: configuring, installing and running" {
    local build
    build=$(cd "$MORVIK_BIN_DIR/.." && pwd)
    # The build under test has been compiled already.
    cmake() {
        case $1 in
        -S) command cmake "$1" "$project" "${@:3}" -DMORVIK_TESTS=OFF >configured ;;
        --build) ;;
        --install) DESTDIR=$BATS_TEST_TMPDIR/installed command cmake --install "$build" "${@:3}" >/dev/null ;;
        *) return 1 ;;
        esac
    }
    follow build.md build
    grep -q '^MORVIK_DEFAULT_PARTS_SERVER:[A-Z]*=127.0.0.1$' build/CMakeCache.txt
    follow build.md install
    (($(find "$BATS_TEST_TMPDIR/installed" -name 'morvik*' -type f -perm -100 | wc -l) >= 3))
    man() { [[ $1 == -l ]] && mandoc "$2"; }
    follow build.md manual >page
    grep -q 'built-in parts server' page
    startFtp
    cp "$schema/samples/parts/1234wpk.txt" "$parts/pc/dolmex/bp_server"
    startServer cimd 'listening on' bash -c "$(here "$(block build.md serve)" | sed '$s/^/exec /')"
    follow build.md run >published
    grep -q A110003 published
}

@test "docs/troubleshooting.md: each command shows the cause" {
    # Without servers.
    follow troubleshooting.md machine 2>said || (($? == 2))
    grep -q 'cannot connect' said
    follow troubleshooting.md transfer >answer 2>&1
    grep -q 'Connection refused' answer
    startSample
    follow troubleshooting.md machine | grep -q '^Machine type *1234$'
    follow troubleshooting.md transfer >answer 2>&1
    grep -q '^226' answer
    rm "$parts/pc/dolmex/bp_server/1234wpk.txt"
    follow troubleshooting.md transfer >answer 2>&1
    sed -n '/^250/,$p' answer | grep -q '^550'
    rmdir "$parts/pc/dolmex/bp_server"
    follow troubleshooting.md transfer >answer 2>&1
    if grep -q '^250' answer; then return 1; fi
    grep -q '^550' answer
    equal tnftp "$(basename "$(follow troubleshooting.md client)")" 'the FTP client'
    cp "$schema/samples/parts/1234wpk.txt" parts.txt
    follow troubleshooting.md explain | grep -q 'clock differs'
    mkdir -p "$parts/pc/dolmex/bp_server"
    cp parts.txt "$parts/pc/dolmex/bp_server/1234wpk.txt"
    (export TMPDIR=$PWD && follow 'troubleshooting.md' 'by hand') >said 2>&1
    equal '' "$(cat said)" 'what a good run prints'
    published | grep -q A110003
    follow troubleshooting.md report | grep -q '^morvik-show [0-9]'
}

@test "docs/parts-server.md: vsftpd as described serves morvik" {
    # scripts/setup does not install it, because on Debian it would serve the network from then on.
    command -v vsftpd >/dev/null || skip 'no vsftpd here'
    srv=$BATS_TEST_TMPDIR/srv
    block parts-server.md configuration | sed "s|/srv/ftp|$srv|" >vsftpd.conf
    # Changed only to run in the foreground and in a room, and without what systemd makes for it at the start.
    mkdir empty
    printf '%s\n' background=NO listen_address=127.0.0.1 isolate=NO isolate_network=NO \
        secure_chroot_dir="$PWD/empty" xferlog_file="$PWD/vsftpd.log" >>vsftpd.conf
    # The user ftp must have access.
    chmod a+x "$BATS_RUN_TMPDIR" "$BATS_TEST_TMPDIR"/{..,../..,.}
    setpriv --reuid=65534 --regid=65534 --clear-groups test -x "$BATS_TEST_TMPDIR" ||
        skip 'other users have no access here'
    cp "$schema/samples/parts/1234wpk.txt" .
    follow parts-server.md files
    vsftpd vsftpd.conf &
    servers+=("vsftpd:$!")
    until (exec 3<>/dev/tcp/127.0.0.1/21) 2>/dev/null; do
        kill -0 "${servers[-1]#*:}" || return 1
        sleep 0.05
    done
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
    endServer
}

@test "docs/parts-server.md: a maker signs, and a machine publishes what is signed" {
    export GNUPGHOME=$BATS_TEST_TMPDIR/keys
    mkdir -m 700 "$GNUPGHOME"
    # shellcheck disable=SC2317 # the block calls it
    gpg() { command gpg --batch --quiet --pinentry-mode loopback --passphrase '' "$@" 2>/dev/null 3>&-; }
    cp "$schema/samples/parts/1234wpk.txt" .
    follow parts-server.md sign
    gpgconf --kill all
    startCimd "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    MORVIK_FILES=$PWD MORVIK_KEYRING=$PWD/parts-keyring.gpg morvik-run --state state
    (($(published | wc -l) == 13))
}

@test "docs/many-machines.md: systemd accepts the drop-in file" {
    command -v systemd-analyze >/dev/null || skip 'no systemd here'
    DESTDIR=$PWD/tree cmake --install "$MORVIK_BIN_DIR/.." --component tool >/dev/null
    mkdir -p units/morvik.service.d
    find tree -name morvik.service -exec sed 's#^\(Exec[A-Za-z]*=-*\)/.*#\1/bin/true#' {} + >units/morvik.service
    block many-machines.md 'on failure' >units/morvik.service.d/on-failure.conf
    printf '[Service]\nExecStart=/bin/true\n' >units/mail-to-admin@.service
    systemd-analyze verify --man=no units/morvik.service 2>findings || { cat findings >&2; return 1; }
    equal '' "$(grep -F "$PWD/units" findings || true)" 'what systemd finds'
}

# Asks Prometheus, once its answer has what is expected, for 20 seconds.
answers() { # PATH JQ-FILTER
    local answer='' i
    for ((i = 0; i < 200; i++)); do
        answer=$("$python" -c 'import sys, urllib.request; print(urllib.request.urlopen(sys.argv[1]).read().decode())' \
            "http://127.0.0.1:9090/api/v1/$1" 2>/dev/null) || true
        ! jq -e "$2" <<<"$answer" >/dev/null 2>&1 || return 0
        sleep 0.1
    done
    printf 'not %s: %s\n' "$2" "$answer" >&2
    return 1
}

@test "docs/many-machines.md: node exporter and Prometheus find a part, and the alert fires" {
    # scripts/setup installs them only on demand, because on Debian they serve the network from then on.
    command -v prometheus >/dev/null && command -v prometheus-node-exporter >/dev/null || skip 'no Prometheus here'
    # shellcheck disable=SC2317 # the block calls them
    setfacl() { equal '-m u:morvik:rwx /var/lib/prometheus/node-exporter' "$*" 'what is allowed'; }
    # shellcheck disable=SC2317
    tee() { [[ $1 == -a && $2 == /etc/default/morvik ]] && cat >settings; }
    follow many-machines.md metrics
    mkdir nodes
    sed -i "s#/var/lib/prometheus/node-exporter#$PWD/nodes#" settings
    startCimd "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    (set -a && source settings && morvik-run --state state --file "$schema/samples/parts/1234wpk.txt")
    promtool check metrics <nodes/morvik.prom
    block many-machines.md alerts >alerts.yml
    promtool check rules alerts.yml
    printf '%s\n' 'global: {scrape_interval: 1s, evaluation_interval: 1s}' 'rule_files: [alerts.yml]' \
        'scrape_configs: [{job_name: node, static_configs: [{targets: ["127.0.0.1:9100"]}]}]' >prometheus.yml
    # The exporter ends with the status of its signal, a server here with 0.
    # shellcheck disable=SC2016 # for the inner shell
    startServer exporter 'Listening on' bash -c 'trap "kill %1; exit 0" TERM; "$@" & wait' exporter \
        prometheus-node-exporter --collector.disable-defaults --collector.textfile \
        --collector.textfile.directory=nodes --web.listen-address=127.0.0.1:9100
    startServer prometheus 'ready to receive' prometheus --config.file=prometheus.yml --storage.tsdb.path=tsdb \
        --web.listen-address=127.0.0.1:9090
    local query
    while IFS= read -r query; do
        query=$(jq -rn --arg query "$query" '$query | @uri')
        answers "query?query=$query" '.data.result | length == 1'
    done < <(block many-machines.md queries)
    answers rules '[.data.groups[].rules[] | .health == "ok" and .state == "inactive"] == [true, true]'
    # The last good run was three days ago.
    sed -E "s/^(morvik_last_success_timestamp_seconds) .*/\1 $(($(date +%s) - 3 * 86400))/" nodes/morvik.prom >old
    mv old nodes/morvik.prom
    answers alerts '[.data.alerts[] | .labels.alertname + " " + .state + " " + .annotations.summary] ==
        ["MorvikNoGoodRun firing 127.0.0.1:9100: no good run of morvik-run in the last two days"]'
}

@test "docs/data-files.md: the example and its explanation" {
    startCimd "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    block data-files.md first >1234wpk.txt
    equal "$(block data-files.md explain | tail -n +2)" \
        "$(eval "$(block data-files.md explain | sed -n '1s/^\$ //p')")" 'the explanation'
    equal "$(block data-files.md lint | tail -n +2)" "$(follow data-files.md check || (($? == 1)))" 'the findings'
    # The commands of the last step of the workflow.
    block data-files.md workflow | sed -n '/morvik-lint/,$s/^ *//p' >step
    equal 1 "$(bash -e step >annotations || printf '%d' "$?")" 'the status of the step'
    equal '::error file=1234wpk.txt,line=8,col=12::second PLANAR: only that of line 7 is published' \
        "$(head -n 1 annotations)" 'the first annotation'
    equal "$(block data-files.md matrix)" "$(follow data-files.md on)" 'the matrix'
    follow data-files.md status
    grep -Eq '"format": ?2,' verdict.json
}

@test "docs/parts-server.md: a temporary server" {
    srv=$BATS_TEST_TMPDIR/srv
    mkdir -p "$srv/pc/dolmex/bp_server"
    cp "$schema/samples/parts/1234wpk.txt" "$srv/pc/dolmex/bp_server"
    startServer moment 'starting FTP server' bash -c "exec $(here "$(block parts-server.md moment)")"
    follow parts-server.md try >try.out
    grep -q '^226' try.out
    endServer
}

@test "docs/many-machines.md: the Ansible role writes the settings once and has the inventory as a fact" {
    command -v ansible-playbook >/dev/null || skip 'no Ansible here'
    startCimd "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    block many-machines.md playbook >site.yml
    # Packages and units are the system's, which is not ours here.
    ansible() {
        env PATH="$MORVIK_BIN_DIR:$PATH" LC_ALL=C.UTF-8 HOME="$PWD" ANSIBLE_LOCALHOST_WARNING=false \
            ANSIBLE_ROLES_PATH="$project/packaging/ansible/roles" ANSIBLE_LOCAL_TEMP="$PWD/tmp" ANSIBLE_REMOTE_TEMP="$PWD/tmp" \
            ansible-playbook -i 'localhost,' -c local \
            -e "{ansible_become: false, morvik_timer: false, morvik_packages: [], morvik_settings_file: $PWD/settings, ansible_python_interpreter: $python}" "$@" site.yml
    }
    ansible >first || { cat first >&2; return 1; }
    equal '# Written by Ansible.
LANG="en_US.UTF-8"
MORVIK_URL="https://parts.example.com/fru"' "$(cat settings)" 'the settings'
    grep -qF '"msg": "1234 KV12345: 0 entries"' first
    ansible --check --diff >second || { cat second >&2; return 1; }
    grep -qE 'changed=0 .*failed=0' second
    stopServers
    if ansible >third; then return 1; fi
    grep -q 'cannot connect' third
}

@test "docs/machine.md: the number for a part, and what was changed" {
    startCimd "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    "$MORVIK_BIN_DIR/morvik-run" --state state --file "$schema/samples/parts/1234wpk.txt" >/dev/null
    # shellcheck disable=SC2317 # the blocks call it
    morvik-show() { "$MORVIK_BIN_DIR/morvik-show" --state state "$@"; }
    follow machine.md look | grep -q '^Memory 1  512 MiB'
    equal 'Memory 1  512 MiB  A120002  512 MB registered ECC DIMM' "$(follow machine.md for | head -n 1)" 'the number'
    follow machine.md before
    follow machine.md after
    sed -i 's/Memory 2/Memory 3/' before.json
    run ! follow machine.md after
}

@test "docs/many-machines.md: checks, collection and search" {
    command -v jq >/dev/null || skip 'no jq here'
    startCimd --listen 127.0.0.1:15988 "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    startCimd "$schema/kvaxdt.mof" "$schema/samples/server-1234.mof"
    if follow many-machines.md check; then return 1; fi
    cp "$schema/samples/parts/1234wpk.txt" fru.txt
    runMorvik -s 127.0.0.1 -d nowhere
    follow many-machines.md check
    # Stands for three machines: this one, one without entries, one that is switched off.
    printf '%s\n' full empty off >hosts
    mkdir bin inventory
    cat >bin/ssh <<'END'
#!/bin/bash
[[ "${*:1:5}" == '-n -o BatchMode=yes -o ConnectTimeout=10' ]] || exit 99
case $6 in
full) "${@:7}" ;;
empty) "${@:7}" --server 127.0.0.1:15988 ;;
off) echo '{"cut'; exit 255 ;;
esac
END
    chmod +x bin/ssh
    echo old >inventory/off.json
    equal off "$(PATH=$PWD/bin:$PATH follow many-machines.md collect 2>/dev/null)" 'the machines that were not asked'
    equal inventory/full.json "$(rm inventory/off.json; follow many-machines.md find)" 'the machines with the part'
    equal 0 "$(jq '.entries | length' inventory/empty.json)" 'the entries of the one without'
    equal 'empty.json full.json' "$(cd inventory && echo *)" 'the files'
    follow many-machines.md page
    grep -q '<h1>2 machines</h1>' machines.html
    # The port that it would open is open here.
    ssh() { equal '-N -L 15988:127.0.0.1:5988 db1.example.com' "$*" 'the arguments of ssh'; }
    follow many-machines.md forward
    wait $!
    follow many-machines.md tunnel || (($? == 1))
}

@test "every mention of a document is a link, and every link leads to a file" {
    local file path links=0
    while read -r file; do
        while read -r path; do
            [[ $path == *://* || -e $(dirname "$project/$file")/${path%%#*} ]] ||
                { printf '%s: the link to %s leads nowhere\n' "$file" "$path" >&2; return 1; }
            links=$((links + 1))
        done < <(grep -oE '\]\([^)]+\)' "$project/$file" | sed 's/^](//; s/)$//')
        equal '' "$(grep -nE '(^|[^[])`([A-Za-z_-]+/)*[A-Za-z_-]+\.md`' "$project/$file" || true)" \
            "documents that $file names without a link"
    done < <(cd "$project" && printf '%s\n' README.md SECURITY.md CONTRIBUTING.md docs/*.md docs/dev/*.md fuzz/*.md)
    ((links > 20))
}

@test "every command of the documents is tried, here or by scripts/test-packages" {
    local file name marked
    for file in README.md {build,data-files,install,machine,many-machines,parts-server,troubleshooting}.md; do
        while read -r name; do
            grep -qE "(follow|block) '?$file'? '?$name\b" \
                "$BATS_TEST_FILENAME" "$project/scripts/test-packages" ||
                { printf '%s: the block %s is not tried\n' "$file" "$name" >&2; return 1; }
        done < <(sed -n 's/^<!-- block: \(.*\) -->$/\1/p' "$(document "$file")")
        # Outside of blocks there are only pictures, and scripts/package.
        marked=$(awk '
            /^<!-- block: / { inBlock = 1; next }
            /^    / { if (!inBlock && !/^     *[+|]|^      parts server|^    scripts\/package$/) print; begun = 1; next }
            begun && /^[^ ]/ { inBlock = begun = 0 }' "$(document "$file")")
        equal '' "$marked" "commands of $file outside of blocks"
    done
}
