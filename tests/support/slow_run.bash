#!/usr/bin/env bash
# One run of morvik against a CIM server that is too slow, in a room of its own so that many can take
# their time at once.
#
# usage: slow_run.bash DIRECTORY WAY
#
# WAY is a line for cim_faults.py, or "mute" for a server that does not even accept connections.
# DIRECTORY then holds: work/ (the working directory), out, err, status, milliseconds, requests.
set -euo pipefail

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
directory=$1 way=$2

mkdir -p "$directory/work"
cd "$directory/work"
cat >fru.txt <<'END'
"P1","PROCESSOR","SPEED=2400","x"
"M1","MEMORY","SIZE=512","x"
"F1","FAN","","x"
"F2","FAN","","x"
END
: >../requests
: >../peer.log
arguments=(--machine "$here/../data/fru/machine.json" --log ../requests --faults ../faults)
if [[ $way == mute ]]; then
    arguments=(--mute)
else
    printf '%s\n' "$way" >../faults
fi
/usr/bin/python3 "$here/cim_peer.py" "${arguments[@]}" >../peer.log 2>&1 &
until grep -q ready ../peer.log; do
    kill -0 $! || exit 1
    sleep 0.05
done

before=${EPOCHREALTIME/./}
status=0
LANG=en_US timeout --kill-after=5 60 "$MORVIK_BIN_DIR/morvik" -s 127.0.0.1 -d dir \
    >../out 2>../err </dev/null || status=$?
after=${EPOCHREALTIME/./}
printf '%d\n' $(((after - before) / 1000)) >../milliseconds
printf '%d\n' "$status" >../status
