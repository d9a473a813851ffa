"""Times whole runs of morvik, and a replay of the same requests as ready-made bytes.

    imports.py [--full] [--repeat N] [--running] BIN_DIR BENCH_DIR

BIN_DIR has morvik and morvik-cimd, BENCH_DIR has the programs of this directory. Port 5988 must be free:
each run gets its own morvik-cimd there. With --running the CIM server that already listens there is
measured instead; it must have loaded kvaxdt.mof and machine.mof.

Each run has a local copy of the data file, so nothing is fetched. The time of a run without entries
(start-up, shell commands) is subtracted. Prints medians.
"""
import argparse
import contextlib
import http.client
import http.server
import os
import platform
import resource
import signal
import statistics
import subprocess
import sys
import tempfile
import threading

HERE = os.path.dirname(os.path.abspath(__file__))
SCHEMA = os.path.join(HERE, "..", "schema")
PORT = 5988

MACHINE = os.path.join(HERE, "machine.mof")
SUPPORT = os.path.join(HERE, "..", "tests", "support")
sys.path.insert(0, SUPPORT)
import cim_client

# Apart from reading the model, a run makes one enumeration for each line, one creation for each line that
# fits, and one property read and one deletion for each instance of an earlier run.
SCENARIOS = {
    "nothing": lambda n: ("", 0),
    "comments": lambda n: ("# Not a part of any machine, and of no interest to this one\n" * n, 0),
    "keyboard lines, none fits": lambda n: (lines(n, "KEYBOARD", "LANGUAGE=xx"), 0),
    "memory lines, none fits": lambda n: (lines(n, "MEMORY", "SIZE=256"), 0),
    "processor lines, none fits": lambda n: (lines(n, "PROCESSOR", "SPEED=1800"), 0),
    "entries published": lambda n: (lines(n, "FAN", ""), 0),
    "processors published": lambda n: (lines(n, "PROCESSOR", "SPEED=2400"), 0),
    "earlier entries deleted": lambda n: ("", n),
}

# As large as the answers of other servers: two instances with 54 properties, 10 KiB.
WIDE = "class Wide { [Key] string Id; %s };\n" % " ".join(
    "%s Property%02d;" % ("uint32" if i % 2 else "string", i) for i in range(53)
) + "".join('instance of Wide { Id = "%d"; %s };\n' % (n, " ".join(
    "Property%02d = %s;" % (i, i if i % 2 else '"Text number %d"' % i) for i in range(53)))
    for n in range(2))


def lines(count, category, qualifier):
    return "".join('"F%06d","%s","%s","Part number %d of the benchmark"\n'
                   % (i, category, qualifier, i) for i in range(count))


def publish_earlier(count, port):
    """Entries as an earlier run has published them."""
    session = cim_client.Session(port)
    for i in range(count):
        session.create("E%06d" % i, "FAN", IdentifyingNumber="KVAHalvoranFru1", Vendor="KVA",
                       Description="Fan %d" % i, RevisionLevel="1.0")
    session.close()


class Process:
    """A server, from its ready line to its end."""

    def __init__(self, ready, *command):
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                        text=True)
        for line in self.process.stdout:
            if ready in line:
                return
        raise SystemExit("%s did not start" % command[0])

    def cpu_seconds(self):
        with open("/proc/%d/schedstat" % self.process.pid, encoding="ascii") as file:
            return int(file.read().split()[0]) / 1e9

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait()
        self.process.stdout.close()


class Recorder(http.server.BaseHTTPRequestHandler):
    """Forwards each request to the server on the next port, and appends it to the file "requests"."""

    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True
    wbufsize = -1

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        head = "".join("%s: %s\r\n" % header for header in self.headers.items()) + "\r\n"
        request = self.raw_requestline + head.encode() + body
        with open("requests", "ab") as file:
            file.write(b"%d\n" % len(request) + request + b"\n")
        server = http.client.HTTPConnection("127.0.0.1", PORT + 1)
        server.request("POST", self.path, body, dict(self.headers))
        answer = server.getresponse()
        self.send_response_only(answer.status)
        for header in answer.getheaders():
            self.send_header(*header)
        self.end_headers()
        self.wfile.write(answer.read())
        server.close()

    def log_message(self, *_):
        pass


class Bench:
    def __init__(self, bin_dir, bench_dir):
        self.bin_dir, self.bench_dir = bin_dir, bench_dir

    def server(self, old, port=PORT):
        with open("more.mof", "w", encoding="utf-8") as file:
            file.write(WIDE)
        process = Process("listening on", os.path.join(self.bin_dir, "morvik-cimd"), "--max-instances", "1000000",
                          "--max-bytes", "4GiB", "--listen", "127.0.0.1:%d" % port,
                          os.path.join(SCHEMA, "kvaxdt.mof"), MACHINE, "more.mof")
        publish_earlier(old, port)
        return process

    def measured(self, *command):
        """Seconds, CPU seconds and peak memory in MiB of one run, and its standard output."""
        run = subprocess.run([os.path.join(self.bench_dir, "measure"), *command], capture_output=True,
                             text=True, check=True)
        # The FTP client writes its complaints to the same stream.
        passed, cpu, peak = run.stderr.splitlines()[-1].split()
        return float(passed), float(cpu), float(peak) / 1024, run.stdout

    def morvik(self, text):
        with open("fru.txt", "w", encoding="utf-8") as file:
            file.write(text)
        return self.measured(os.path.join(self.bin_dir, "morvik"), "-s", "127.0.0.1")[:3]

    def record(self, text, old):
        with contextlib.suppress(FileNotFoundError):
            os.remove("requests")
        with self.server(old, PORT + 1), \
             http.server.ThreadingHTTPServer(("127.0.0.1", PORT), Recorder) as recorder:
            recorder.daemon_threads = True
            threading.Thread(target=recorder.serve_forever, daemon=True).start()
            self.morvik(text)
            recorder.shutdown()

    def replay(self):
        """Seconds, CPU seconds and number of requests."""
        passed, cpu, _, count = self.measured(
            os.path.join(self.bench_dir, "replay"), "127.0.0.1", str(PORT), "requests")
        return passed, cpu, float(count)

    def measure(self, text, old, repeat):
        """Medians of morvik's runs, and of the replays with the CPU seconds of the server."""
        self.record(text, old)
        runs, replays = [], []
        for _ in range(repeat):
            with self.server(old):
                runs.append(self.morvik(text))
            with self.server(old) as server:
                before = server.cpu_seconds() if server else 0
                replays.append((*self.replay(), server.cpu_seconds() - before if server else 0))
        return tuple([statistics.median(values) for values in zip(*table)] for table in (runs, replays))


class RunningBench(Bench):
    """With a server that was started by others: a run of morvik prepares what the measured one finds."""

    @contextlib.contextmanager
    def server(self, old, port=PORT):
        self.morvik(lines(old, "FAN", ""))
        yield None

    def record(self, text, old):
        """In a room, because the running server has the port that morvik uses."""
        with open("recorded.txt", "w", encoding="utf-8") as file:
            file.write(text)
        subprocess.run([os.path.join(SUPPORT, "room"), sys.executable, os.path.abspath(__file__), "--record", str(old),
                        self.bin_dir, self.bench_dir], check=True)


def print_runs(bench, repeat, sizes):
    print("%-27s %6s %9s %9s %6s %9s %9s %9s %7s" % (
        "run", "lines", "morvik", "replay", "ratio", "CPU/op", "CPU/op", "CPU/op", "peak"))
    print("%-27s %6s %9s %9s %6s %9s %9s %9s %7s" % (
        "", "", "ms", "ms", "", "morvik us", "replay us", "server us", "MiB"))
    base, base_replay = bench.measure("", 0, 2 * repeat + 1)
    print("%-27s %6s %9.1f %9.1f" % ("nothing to import", "", base[0] * 1e3, base_replay[0] * 1e3))
    for name, make in SCENARIOS.items():
        for size in sizes if name != "nothing" else []:
            run, replay = bench.measure(*make(size), repeat)
            peak = run[2]
            run, replay = ([value - none for value, none in zip(*pair)]
                           for pair in ((run, base), (replay, base_replay)))
            operations = replay[2]
            row = "%-27s %6d %9.1f" % (name, size, run[0] * 1e3)
            if operations > 0:
                row += " %9.1f %6.2f %9.1f %9.1f %9.1f" % (
                    replay[0] * 1e3, run[0] / replay[0], *(
                        seconds * 1e6 / operations for seconds in (run[1], replay[1], replay[3])))
            else:
                row += " " * 47
            print("%s %7.1f" % (row, peak), flush=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--full", action="store_true")
    parser.add_argument("--repeat", type=int, default=3)
    parser.add_argument("--running", action="store_true")
    parser.add_argument("--record", type=int, metavar="OLD", help="record a run with recorded.txt")
    parser.add_argument("bin_dir", type=os.path.abspath)
    parser.add_argument("bench_dir", type=os.path.abspath)
    options = parser.parse_args()
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    if options.record is not None:
        with open("recorded.txt", encoding="utf-8") as file:
            Bench(options.bin_dir, options.bench_dir).record(file.read(), options.record)
        return
    print("%s, %d processors, Linux %s" % (platform.machine(), os.cpu_count(), platform.release()))
    with tempfile.TemporaryDirectory() as directory:
        os.chdir(directory)
        bench = (RunningBench if options.running else Bench)(options.bin_dir, options.bench_dir)
        print_runs(bench, options.repeat, [1000, 100000] if options.full else [1000])
        if not options.running:
            with bench.server(0):
                passed, cpu, _, _ = bench.measured(
                    os.path.join(bench.bench_dir, "bench_client"), "127.0.0.1:%d" % PORT, "root/kvasd", "Wide", "2000")
            print("\nenumeration of two instances with 54 properties: "
                  "%.1f us, %.1f us of CPU time" % (passed * 1e6 / 2000, cpu * 1e6 / 2000))


if __name__ == "__main__":
    main()
