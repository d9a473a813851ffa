# shellcheck shell=bash disable=SC2034,SC2154,SC2119,SC2120 # what is set elsewhere, and used elsewhere
# Shared by the tests of morvik-run. Loaded by each of them.

# shellcheck source=tests/support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

run=$MORVIK_BIN_DIR/morvik-run
state=$BATS_TEST_TMPDIR/state
files=$BATS_TEST_TMPDIR/files
mkdir -p "$files"
# libcurl 8.14 loses the name of a host that it cannot resolve each time it is asked again.
printf 'leak:libcurl.so\n' >"$BATS_TEST_TMPDIR/leaks"
export LSAN_OPTIONS=suppressions=$BATS_TEST_TMPDIR/leaks:print_suppressions=0
unset MORVIK_{URL,FILES,FILE,SERVER,DIRECTORY,KEYRING,CA,MIN_SHARE,MISSING,METRICS} STATE_DIRECTORY

# Like runMorvik; NAME=VALUE before the options are settings. Tries again at once.
runNight() { # [NAME=VALUE...] [OPTION...]
    local settings=()
    while [[ ${1-} == *=* && ${1-} != -* ]]; do
        settings+=("$1")
        shift
    done
    runInstead env MORVIK_RETRY_PAUSE=0.01 STATE_DIRECTORY="$state" "${settings[@]}" "$run" "$@"
}

# A run with the data files of the directory $files.
runFiles() { # [OPTION...]
    runNight MORVIK_FILES="$files" "$@"
}

# Its last run ended with this status, and these words are in what it wrote.
ended() { # STATUS [WORDS...]
    local words
    if ! equal "$1" "$status" 'the exit status'; then
        cat "$out" "$err" >&2
        return 1
    fi
    shift
    for words; do
        grep -qF -- "$words" "$out" "$err" || {
            printf 'no "%s" in:\n' "$words" >&2
            cat "$out" "$err" >&2
            return 1
        }
    done
}

# A data file with so many fans, which begin with a letter.
fans() { # LETTER COUNT
    local number
    for ((number = 1; number <= $2; ++number)); do
        printf '"%s%d","FAN","","Fan %d"\n' "$1" "$number" "$number"
    done
}

# Publishes four fans, A1 to A4, as the last good run.
startGood() {
    fans A 4 >"$files/1234wpk.txt"
    runFiles
    ended 0 'published 4 entries of' '4 added, 0 removed'
}

goodStays() {
    publishedNumbersAre A1 A2 A3 A4
}

# A member of the last run in status.json.
lastRun() { # JQ-EXPRESSION
    jq -c "$1" "$state/status.json"
}
