#!/usr/bin/env bash
# Runs a command, such as a test, with valgrind around every program in MORVIK_BIN_DIR:
#
#     MORVIK_BIN_DIR=build/release/bin tests/support/under_valgrind.sh tests/support/room bats tests/e2e/wire.bats
#
# Prints what valgrind has found. The status is 1 if that is anything, otherwise that of the command:
# programs are some thirty times slower than usual, so a test that waits for them may fail for that.
set -euo pipefail
programs=$(cd "${MORVIK_BIN_DIR:?}" && pwd)
wrapped=$(mktemp -d)
trap 'rm -rf "$wrapped"' EXIT
mkdir "$wrapped/bin" "$wrapped/log"
chmod -R 777 "$wrapped" # some tests run programs as another user
for program in "$programs"/*; do
    cat >"$wrapped/bin/${program##*/}" <<END
#!/bin/bash
exec valgrind --quiet --leak-check=full --errors-for-leak-kinds=definite --child-silent-after-fork=yes \\
    --log-file='$wrapped/log/%p' '$program' "\$@"
END
    chmod 755 "$wrapped/bin/${program##*/}"
done

status=0
MORVIK_BIN_DIR=$wrapped/bin "$@" || status=$?
# With --quiet a program without errors leaves an empty file.
logs=("$wrapped"/log/*)
[[ -e ${logs[0]} ]] || { printf 'under_valgrind: no program was run\n' >&2; exit 1; }
printf 'under_valgrind: %d runs of programs\n' "${#logs[@]}"
findings=0
for log in "${logs[@]}"; do
    [[ -s $log ]] || continue
    cat "$log"
    findings=1
done
((findings == 0)) || exit 1
exit "$status"
