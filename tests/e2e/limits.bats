#!/usr/bin/env bats
# Runs without enough disk space, files, memory, or without commands. Such a run ends with status 0 and one of
# its messages, never by a signal, and existing data is not lost. The next run that has enough publishes the
# whole inventory.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    startMachine
}
teardown() {
    cd "$BATS_TEST_TMPDIR" || true
    stopServers
    while mountpoint --quiet work; do umount --lazy work; done
}

server=(-s 127.0.0.1 -d /pc/dolmex/bp_server)

fans() { # NUMBER...
    printf '"F%03d","FAN","","Fan of a data file that is longer than what is left"\n' "$@"
}

# More than fits into the remaining space; some complete lines do fit.
offerFans() {
    startFtp
    fans {1..200} | putOnParts 1234wpk.txt
}

nextRunIsComplete() {
    runMorvik "${server[@]}"
    succeeded
    filesAre
    equal "$(printf 'F%03d\n' {1..200})" "$(published | cut -d '|' -f 1)" 'the list of FRU numbers'
}

# The first fans were published, but not all 200.
publishedSomeFans() {
    local count
    count=$(published | wc -l)
    ((count > 0 && count < 200))
    equal "$(fans $(seq "$count") | cut -d '"' -f 2)" "$(published | cut -d '|' -f 1)" 'the list of FRU numbers'
}

# --- a full disk ---

useDiskOf() { # KIB
    mount -t tmpfs -o "size=${1}k" full "$PWD" || skip 'nothing can be mounted here'
    cd "$PWD" || return
}

fillDisk() { # [KIB to be left]
    dd if=/dev/zero of=filler bs=4k status=none 2>/dev/null || true
    truncate --size=-"${1-0}K" filler
}

@test "a full disk: the script cannot be written, so the local copy is used and kept" {
    offerFans
    useDiskOf 64
    fans 7 >fru.txt
    fillDisk
    runMorvik "${server[@]}"
    usedLocalCopy
    filesAre filler fru.txt
    publishedNumbersAre F007
    rm filler fru.txt
    nextRunIsComplete
}

@test "a disk that fills during the transfer: the received part is imported, up to its last newline" {
    offerFans
    useDiskOf 64
    fillDisk 8 # two pages: the script uses one of them until the end of the transfer
    runMorvik "${server[@]}"
    succeeded
    publishedSomeFans
    filesAre filler
    rm filler
    nextRunIsComplete
}

# --- a read-only disk ---

makeReadOnly() {
    mount --bind "$PWD" "$PWD" || skip 'nothing can be mounted here'
    mount -o remount,bind,ro "$PWD"
    cd "$PWD" || return
}

@test "a read-only disk: nothing is fetched, the local copy is used, and all files remain" {
    offerFans
    fans 7 >fru.txt
    echo old >fru.log
    makeReadOnly
    runMorvik "${server[@]}"
    usedLocalCopy
    filesAre fru.log fru.txt
    publishedNumbersAre F007
    cd .. && umount work && cd work && rm fru.log fru.txt
    nextRunIsComplete
}

@test "a read-only disk with a file that counts as fetched: it cannot be moved, so fru.txt is read and kept" {
    fans 7 >fru.txt
    fans 8 >1234wpk.txt
    makeReadOnly
    runMorvik "${server[@]}"
    succeeded
    filesAre 1234wpk.txt fru.txt
    publishedNumbersAre F007
}

# --- limits on the size of files ---

limited() { # OPTION VALUE  the output goes through pipes, which the limit does not affect
    out=$BATS_TEST_TMPDIR/out err=$BATS_TEST_TMPDIR/err
    {
        {
            status=0
            (
                ulimit -c 0 "$1" "$2"
                LC_ALL=C exec timeout --kill-after=5 "$patience" "$morvik" "${server[@]}"
            ) 2>&1 >&5 5>&- 3>&- 4>&- </dev/null || status=$?
            printf '%d\n' "$status" >"$BATS_TEST_TMPDIR/status"
        } | cat >"$err"
    } 5>&1 | cat >"$out"
    status=$(<"$BATS_TEST_TMPDIR/status")
}

@test "files of at most 1 KiB: the received part is imported, up to its last newline" {
    offerFans
    limited -f 1
    succeeded
    filesAre
    publishedSomeFans
    nextRunIsComplete
}

@test "files of 0 bytes: nothing is fetched, the local copy is used and kept" {
    offerFans
    fans 7 >fru.txt
    limited -f 0
    usedLocalCopy
    filesAre fru.txt
    publishedNumbersAre F007
    rm fru.txt
    nextRunIsComplete
}

@test "standard output is a file that cannot grow: the run continues without its messages" {
    fans 7 >fru.txt
    status=0
    (ulimit -c 0 && ulimit -f 0 && exec "$morvik" "${server[@]}" >"$BATS_TEST_TMPDIR/out") || status=$?
    equal 0 "$status" status
    publishedNumbersAre F007
}

@test "standard output is a pipe that nobody reads: the run continues without its messages" {
    fans 7 >fru.txt
    # The reader ends before the run starts.
    {
        until [[ -s $BATS_TEST_TMPDIR/reader ]]; do sleep 0.01; done
        while kill -0 "$(<"$BATS_TEST_TMPDIR/reader")" 2>/dev/null; do sleep 0.01; done
        status=0
        "$morvik" "${server[@]}" 2>/dev/null || status=$?
        printf '%d\n' "$status" >"$BATS_TEST_TMPDIR/status"
    } | bash -c 'echo $$ >"$1"' bash "$BATS_TEST_TMPDIR/reader"
    equal 0 "$(<"$BATS_TEST_TMPDIR/status")" status
    publishedNumbersAre F007
}

# --- few file descriptors, little memory ---

# The run ended by itself: with its own messages, or because it could not be loaded.
endedWell() { # WHAT
    if ((status == 0)) && ! grep -qvxE "$anyMessage" "$out"; then return; fi
    if ((status == 127)) && grep -qE 'error while loading shared|cannot allocate TLS' "$err"; then return; fi
    printf 'with %s: status %d\n' "$1" "$status" >&2
    cat "$out" "$err" >&2
    return 1
}

# The sanitizers need terabytes of address space, and their own descriptors.
needsOrdinaryProgram() {
    if grep -q __asan_init "$morvik"; then
        skip 'not with the sanitizers'
    fi
}

@test "few file descriptors: a file that cannot be opened counts as missing" {
    needsOrdinaryProgram
    offerFans
    fans 7 >fru.txt
    local descriptors
    for descriptors in {3..16}; do
        fans 8 >1234wpk.txt
        limited -n "$descriptors"
        endedWell "$descriptors descriptors"
    done
    rm -f fru.txt 1234wpk.txt fru.log fruscript.scr
    nextRunIsComplete
}

# The smallest memory in KiB with which the program can be loaded.
leastMemory() {
    local low=1000 high=200000 middle
    while ((high - low > 4)); do
        middle=$(((low + high) / 2))
        limited -v "$middle"
        if ((status == 127)); then low=$middle; else high=$middle; fi
    done
    printf '%d\n' "$high"
}

# There was too little memory even for an exception, so the C++ library ended the program.
couldNotThrow() {
    ((status == 134)) && grep -q '^terminate called' "$err"
}

@test "little memory: the run ends with its message, or skips entries" {
    needsOrdinaryProgram
    local least memory complete=0 incomplete=0
    fans 7 >fru.txt
    least=$(leastMemory)
    for ((memory = least - 40; memory < least + 400; memory += 4)); do
        limited -v "$memory"
        couldNotThrow || endedWell "$memory KiB"
        if grep -q 'did not complete' "$out"; then incomplete=$((incomplete + 1)); fi
        rm -f fruscript.scr fru.log
    done
    for ((memory = least + 400; memory < least + 4000; memory += 200)); do
        limited -v "$memory"
        endedWell "$memory KiB"
        if [[ $(published | cut -d '|' -f 1) == F007 ]]; then complete=$((complete + 1)); fi
    done
    printf 'from %d KiB: %d runs ended with the message, %d were complete\n' "$least" "$incomplete" "$complete"
    ((incomplete > 0 && complete > 0))
    fans 7 | cmp - fru.txt
}

@test "an answer larger than the memory is a failure" {
    needsOrdinaryProgram
    stopServers
    startRecordedMachine
    printf '* * long-comment\n' >"$faults"
    fans 7 >fru.txt
    local least memory
    least=$(leastMemory)
    for ((memory = least + 4000; memory < least + 120000; memory += 4000)); do
        limited -v "$memory"
        endedWell "$memory KiB"
        if ((memory < least + 20000)); then
            grep -q 'did not complete' "$out"
        fi
    done
    publishedNumbersAre F007
}

# --- missing commands ---

# Runs with these commands only.
withOnly() { # COMMAND...
    local name
    mkdir -p "$BATS_TEST_TMPDIR/bin"
    for name in cat grep timeout "$@"; do
        ln -sf "$(command -v "$name")" "$BATS_TEST_TMPDIR/bin/$name"
    done
    PATH=$BATS_TEST_TMPDIR/bin runMorvik "${server[@]}"
}

@test "no ftp: nothing is fetched, the local copy is used and kept" {
    fans 7 >fru.txt
    withOnly mv rm
    usedLocalCopy
    filesAre fru.txt
    grep -q ftp "$err"
}

@test "no mv: the fetched file is not renamed, so the data file is missing" {
    offerFans
    withOnly ftp rm
    said "$couldNotOpen"
    filesAre 1234wpk.txt
    publishedNumbersAre
    nextRunIsComplete
}

@test "no rm: everything is imported, the work files remain, and the next run removes them" {
    offerFans
    withOnly ftp mv
    succeeded
    filesAre fru.log fru.txt fruscript.scr
    equal 200 "$(published | wc -l)" 'the number of published instances'
    nextRunIsComplete
}

@test "no shell: nothing is fetched, the local copy is used and kept" {
    offerFans
    fans 7 >fru.txt
    unshare --mount true || skip 'nothing can be mounted here'
    # shellcheck disable=SC2016 # expanded by the shell inside
    runInstead unshare --mount bash -c 'mount --bind /dev/null "$(readlink -f /bin/sh)" && exec "$@"' \
        bash "$morvik" "${server[@]}"
    usedLocalCopy
    filesAre fru.txt
    publishedNumbersAre F007
    rm fru.txt
    nextRunIsComplete
}
