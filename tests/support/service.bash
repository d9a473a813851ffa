# shellcheck shell=bash disable=SC2154 # what is not set here is set by e2e.bash
# Shared by the tests of morvik-cimd as a service. Loaded by each of them after e2e.bash.

mof=$schema/kvaxdt.mof
export LC_ALL=C

# The process id of the running morvik-cimd.
serverPid() {
    local server
    for server in "${servers[@]}"; do
        [[ $server != cimd:* ]] || printf '%s\n' "${server##*:}"
    done
}

change() { "$python" "$support/cim_client.py" change "$@"; }

# The published instances are these, in this order.
listIs() { # 'NUMBER=NAME ...'
    equal "$1" "$(change list)" 'the list of instances'
}

startWithStore() { # [ARG...]
    startCimd --store fru.db "$@" "$mof"
}

# The server gets no chance to do anything about it.
killServer() {
    local pid server others=() status=0
    pid=$(serverPid)
    kill -KILL "$pid"
    wait "$pid" 2>/dev/null || status=$?
    for server in "${servers[@]}"; do
        [[ $server == cimd:* ]] || others+=("$server")
    done
    servers=("${others[@]}")
    equal 137 "$status" 'the status of the killed server'
}

# The server has written a line with this text, within seconds.
logHas() { # TEXT [TIMES]
    local end=$((SECONDS + 20))
    until (($(grep -cF -- "$1" "$BATS_TEST_TMPDIR/cimd.log") >= ${2-1})); do
        if ((SECONDS >= end)); then
            printf 'the log has no "%s":\n' "$1" >&2
            cat "$BATS_TEST_TMPDIR/cimd.log" >&2
            return 1
        fi
        sleep 0.01
    done
}

logHasNot() { # TEXT
    grep -qF -- "$1" "$BATS_TEST_TMPDIR/cimd.log" || return 0
    cat "$BATS_TEST_TMPDIR/cimd.log" >&2
    return 1
}

# morvik-cimd ends by itself with this status. What it writes is in the files $out and $err.
endsWith() { # STATUS [ARG...]
    local expected=$1
    shift
    runInstead "$cimd" "$@"
    equal "$expected" "$status" "the status of morvik-cimd $*" || { cat "$err" >&2; return 1; }
}

# Standard error ends with this line. Warnings about root may come before it.
complains() { # LINE
    equal "$1" "$(tail -n 1 "$err")" 'the message'
}

reload() {
    kill -HUP "$(serverPid)"
}
