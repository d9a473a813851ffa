#!/usr/bin/python3
"""Interrupts morvik at each stage of a run, and lets another run follow.

interrupted_runs.py DIRECTORY SIGNAL program|group [SEED]

Must run in a room: it replaces /bin/sh, and needs ports 21, 5988 and 5989. The signal is sent to the
program only, or, as a terminal does, to all the processes that it has started as well. Prints one line
for each stage:

    STAGE ended=HOW next=OUTCOME

HOW is the signal that ended the run, or its status. OUTCOME is "complete" if the next run printed
nothing, left nothing in the directory, and published the whole file and nothing else.

Stages: OPERATION-asked (the request has arrived), OPERATION-answered (it was carried out, and half of
the answer was sent), COMMAND-before and COMMAND-after (a shell command is about to run, or has run),
login and transfer (of the FTP client), and some random moments.
"""

import os
import random
import shutil
import signal
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from fault_runs import BIN, FETCHED, REQUESTS, Bench, Server

HERE = os.path.dirname(os.path.abspath(__file__))
COMPLETE = ["F1:1", "F2:2", "KEPT:1", "M1:1", "P1:1"]
OPERATIONS = [name for name in REQUESTS if name not in ("connection", "creations", "all")]
# The shell commands of a run with a download, in order.
COMMANDS = ["open", "user", "bin", "cd", "get", "bye", "ftp", "rm-script", "mv", "rm-file", "rm-log"]
RANDOM_MOMENTS = 8
PATIENCE = 60

# Passes everything to the shell. The command whose number is in the file "stall" waits until that file
# is removed.
COVER = """\
#!{control}/sh
stall() {{
    : >'{control}/reached'
    while [ -e '{control}/stall' ]; do sleep 0.01; done
}}
if ! read -r wanted phase 2>/dev/null <'{control}/stall'; then
    exec '{control}/sh' "$@"
fi
echo >>'{control}/count'
[ "$(wc -l <'{control}/count')" = "$wanted" ] || exec '{control}/sh' "$@"
[ "$phase" = after ] || stall
'{control}/sh' "$@"
[ "$phase" = before ] || stall
"""


def until(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            sys.exit(f"waited too long for {what}")
        time.sleep(0.002)


def group_runs(group):
    try:
        os.killpg(group, 0)
    except ProcessLookupError:
        return False
    return True


def is_logging_in():
    """A connection of a client to port 21 is established."""
    with open("/proc/net/tcp", encoding="ascii") as table:
        lines = [line.split() for line in table]
    return any(line[2].endswith(":0015") and line[3] == "01" for line in lines[1:])


class Interruption(Bench):
    def __init__(self, directory, number, to_group):
        super().__init__(directory)
        self.signal = number
        self.to_group = to_group
        self.control = self.path("control")
        self.parts = self.path("parts")
        shutil.rmtree(self.control, ignore_errors=True)
        for path in (self.control, os.path.join(self.parts, "dir")):
            os.makedirs(path, exist_ok=True)
        self.write("parts/dir/1234wpk.txt", FETCHED)
        self.cover_shell()
        self.ftp = Server(
            "ready", "/usr/bin/python3", os.path.join(HERE, "ftp_server.py"), "--root", self.parts,
            "--pause", self.mark("pause"),
        )
        self.set_fault("")
        self.start_peer()

    def mark(self, name):
        return os.path.join(self.control, name)

    def cover_shell(self):
        shell = os.path.realpath("/bin/sh")
        shutil.copy(shell, self.mark("sh"))
        self.write("control/cover", COVER.format(control=self.control))
        os.chmod(self.mark("cover"), 0o755)
        subprocess.run(["mount", "--bind", self.mark("cover"), shell], check=True)

    def remove(self, *names):
        for name in names:
            if os.path.exists(self.mark(name)):
                os.remove(self.mark(name))

    def stages(self, seed):
        """(name, function that prepares it, function that returns whether it is reached or None)."""
        for operation in OPERATIONS:
            for kind, when in (("hang", "asked"), ("hang-within-body", "answered")):
                line = f"{REQUESTS[operation]} {kind} {self.mark('reached')}"
                yield f"{operation}-{when}", lambda line=line: self.set_fault(line), None
        for number, command in enumerate(COMMANDS, 1):
            for phase in ("before", "after"):
                text = f"{number} {phase}\n"
                yield f"{command}-{phase}", lambda text=text: self.write("control/stall", text), None
        yield "login", lambda: self.ftp.process.send_signal(signal.SIGSTOP), is_logging_in
        reached = self.mark("pause.reached")
        yield "transfer", lambda: self.write("control/pause", ""), lambda: os.path.exists(reached)
        moments = random.Random(seed)
        for _ in range(RANDOM_MOMENTS):
            seconds = moments.uniform(0, self.seconds_of_a_run)
            yield "random", lambda: None, lambda seconds=seconds: self.has_run_for(seconds)

    def has_run_for(self, seconds):
        return time.monotonic() - self.started >= seconds

    def let_go(self):
        self.set_fault("")
        self.remove("stall", "count", "reached", "pause", "pause.reached")
        self.ftp.process.send_signal(signal.SIGCONT)

    def interrupted(self, prepare, is_reached):
        self.begin()
        prepare()
        run = self.start()
        is_reached = is_reached or (lambda: os.path.exists(self.mark("reached")))
        until(lambda: is_reached() or run.poll() is not None, "the stage")
        ended_before = run.poll() is not None
        if not ended_before:
            (os.killpg if self.to_group else os.kill)(run.pid, self.signal)
        # system() ignores SIGINT while its command runs, so the command must go on.
        if self.signal == signal.SIGINT:
            self.let_go()
        status = run.wait(PATIENCE)
        self.let_go()
        # The processes that the run started may outlive it for a moment.
        until(lambda: not group_runs(run.pid), "the end of the processes that the run started")
        if ended_before:
            return "before"
        return signal.Signals(-status).name if status < 0 else str(status)

    def next_run(self):
        run = self.start()
        status = run.wait(PATIENCE)
        self.seconds_of_a_run = time.monotonic() - self.started
        outcome = (status, self.text("out"), self.text("err"), os.listdir(self.path("work")),
                   self.published.numbers())
        return "complete" if outcome == (0, "", "", [], COMPLETE) else repr(outcome)

    def end(self):
        self.ftp.end()
        super().end()


def main(directory, name, target, seed=None):
    seed = seed or str(time.time_ns())
    bench = Interruption(directory, signal.Signals[name], target == "group")
    bench.begin()
    print(f"none ended=0 next={bench.next_run()}", flush=True)
    for stage, prepare, is_reached in bench.stages(seed):
        ended = bench.interrupted(prepare, is_reached)
        print(f"{stage} ended={ended} next={bench.next_run()}", flush=True)
    bench.end()
    print(f"seed {seed}", file=sys.stderr)


if __name__ == "__main__":
    if len(sys.argv) not in (4, 5):
        sys.exit(__doc__)
    main(*sys.argv[1:])
