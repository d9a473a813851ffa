"""Whole runs of morvik beside a replay of the same requests as ready-made bytes.

    imports.py [--full] [--repeat N] [--running] BIN_DIR BENCH_DIR

Runs where port 5988 is free, and starts morvik-cimd there for each run; with --running the server that
is there already is measured, which must have kvaxdt.mof and machine.mof of this folder. BIN_DIR has morvik and morvik-cimd, BENCH_DIR has replay. Each run has a
local copy of the data file, so that nothing is fetched; what its two FTP commands take is told by the
run with an empty file, and taken off. Prints the median of the runs and the ratio to the replay.
"""
import argparse
import contextlib
import os
import platform
import resource
import signal
import statistics
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
SCHEMA = os.path.join(HERE, "..", "schema")
PORT = 5988

MACHINE = os.path.join(HERE, "machine.mof")
ROOM = os.path.join(HERE, "..", "tests", "support", "room")

# What a run does beside reading the model: for each line one enumeration, for each that fits one
# creation, for each instance of an earlier run one property read and one deletion.
SCENARIOS = {
    "nothing": lambda n: ("", 0),
    "processor lines, none fits": lambda n: (lines(n, "PROCESSOR", "SPEED=1800"), 0),
    "memory lines, none fits": lambda n: (lines(n, "MEMORY", "SIZE=256"), 0),
    "keyboard lines, none fits": lambda n: (lines(n, "KEYBOARD", "LANGUAGE=xx"), 0),
    "entries published": lambda n: (lines(n, "FAN", ""), 0),
    "processors published": lambda n: (lines(n, "PROCESSOR", "SPEED=2400"), 0),
    "earlier entries deleted": lambda n: ("", n),
}


def lines(count, category, qualifier):
    return "".join('"F%06d","%s","%s","Part number %d of the benchmark"\n'
                   % (i, category, qualifier, i) for i in range(count))


def earlier(count):
    return "".join('instance of KVAXDT_FRU { FRUNumber = "E%06d"; IdentifyingNumber = '
                   '"KVAHalvoranFru1"; Vendor = "KVA"; Name = "FAN"; Description = "Fan %d"; '
                   'RevisionLevel = "1.0"; };\n' % (i, i) for i in range(count))


class Process:
    """A server, from its ready line to its end."""

    def __init__(self, ready, *command):
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                        text=True)
        for line in self.process.stdout:
            if ready in line:
                return
        raise SystemExit("%s did not start" % command[0])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait()
        self.process.stdout.close()


class Bench:
    def __init__(self, bin_dir, bench_dir):
        self.bin_dir, self.bench_dir = bin_dir, bench_dir

    def server(self, old, port=PORT, more=""):
        with open("earlier.mof", "w", encoding="utf-8") as file:
            file.write(earlier(old) + more)
        return Process("listening on", os.path.join(self.bin_dir, "morvik-cimd"), "--listen",
                       "127.0.0.1:%d" % port, os.path.join(SCHEMA, "kvaxdt.mof"), MACHINE,
                       "earlier.mof")

    def morvik(self, text):
        """Seconds, CPU seconds and peak memory in MiB of one run."""
        with open("fru.txt", "w", encoding="utf-8") as file:
            file.write(text)
        run = subprocess.run([os.path.join(self.bench_dir, "measure"),
                              os.path.join(self.bin_dir, "morvik"), "-s", "127.0.0.1"],
                             stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                             check=True)
        # The FTP client complains there as well.
        passed, cpu, peak = run.stderr.splitlines()[-1].split()
        return float(passed), float(cpu), float(peak) / 1024

    def record(self, text, old):
        with self.server(old, PORT + 1), \
             Process("ready", sys.executable, os.path.join(HERE, "record.py"), str(PORT),
                     str(PORT + 1), "requests"):
            self.morvik(text)

    def replay(self):
        output = subprocess.run([os.path.join(self.bench_dir, "replay"), "127.0.0.1", str(PORT),
                                 "requests"], capture_output=True, text=True, check=True).stdout
        passed, cpu, count = output.split()
        return float(passed), float(cpu), int(count)

    def measure(self, text, old, repeat):
        self.record(text, old)
        runs, replays = [], []
        for _ in range(repeat):
            with self.server(old):
                runs.append(self.morvik(text))
            with self.server(old):
                replays.append(self.replay())
        median = statistics.median
        return ([median(values) for values in zip(*runs)],
                [median(values) for values in zip(*replays)])


class RunningBench(Bench):
    """With a server that is not ours to start: an own run before makes what the measured one finds."""

    @contextlib.contextmanager
    def server(self, old, port=PORT):
        self.morvik(lines(old, "FAN", ""))
        yield

    def record(self, text, old):
        """Apart from the running server, which has the port that morvik asks."""
        with open("recorded.txt", "w", encoding="utf-8") as file:
            file.write(text)
        subprocess.run([ROOM, sys.executable, os.path.abspath(__file__), "--record", str(old),
                        self.bin_dir, self.bench_dir], check=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--full", action="store_true")
    parser.add_argument("--repeat", type=int, default=3)
    parser.add_argument("--running", action="store_true")
    parser.add_argument("--record", type=int, metavar="OLD", help="record a run with recorded.txt")
    parser.add_argument("bin_dir", type=os.path.abspath)
    parser.add_argument("bench_dir", type=os.path.abspath)
    options = parser.parse_args()
    sizes = [10, 1000, 10000] if options.full else [10, 1000]
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    if options.record is not None:
        with open("recorded.txt", encoding="utf-8") as file:
            Bench(options.bin_dir, options.bench_dir).record(file.read(), options.record)
        return
    print("%s, %d processors, Linux %s" % (platform.machine(), os.cpu_count(), platform.release()))
    print("%-27s %6s %9s %9s %6s %9s %9s %7s" % ("run", "lines", "morvik", "replay", "ratio",
                                                 "CPU/op", "CPU/op", "peak"))
    print("%-27s %6s %9s %9s %6s %9s %9s %7s" % ("", "", "ms", "ms", "", "morvik us", "replay us",
                                                 "MiB"))
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        bench = (RunningBench if options.running else Bench)(options.bin_dir, options.bench_dir)
        base, base_replay = bench.measure("", 0, 2 * options.repeat + 1)
        print("%-27s %6s %9.1f %9.1f" % ("nothing to import", "", base[0] * 1e3, base_replay[0] * 1e3))
        for name, make in SCENARIOS.items():
            if name == "nothing":
                continue
            for size in sizes:
                text, old = make(size)
                run, replay = bench.measure(text, old, options.repeat)
                # Of both, what the run without entries takes is left out: for morvik that is
                # starting, and the shell commands of the download.
                own, raw = run[0] - base[0], replay[0] - base_replay[0]
                operations = max(replay[2] - base_replay[2], 1)
                print("%-27s %6d %9.1f %9.1f %6.2f %9.1f %9.1f %7.1f" % (
                    name, size, own * 1e3, raw * 1e3, own / raw,
                    (run[1] - base[1]) * 1e6 / operations,
                    (replay[1] - base_replay[1]) * 1e6 / operations, run[2]))


if __name__ == "__main__":
    main()
