"""How time and memory of morvik grow with the data file and with what earlier runs have left.

    scale.py [--largest LINES] BIN_DIR BENCH_DIR

Runs where port 5988 is free. BIN_DIR has morvik and morvik-cimd, BENCH_DIR has measure. The runs have a
local copy of the data file and no FTP client, so that it is morvik that is measured. "CPU" is the
time of morvik's own, "server" that of the CIM server. "each" is what one line or instance takes of the
two together, after what a run without any takes, and "growth" that against the line above: 1 is work in
proportion. "peak" is the most memory that morvik has had.
"""
import argparse
import os
import shutil
import statistics
import subprocess
import tempfile

from imports import Bench, earlier, lines

SIZES = [10, 1000, 100000, 1000000]
EARLIER_SIZES = [10, 1000, 100000]
# Short runs are repeated, and not divided: chance weighs more in them.
REPEAT_BELOW = 100000
WORTH_DIVIDING = 0.02  # seconds
# The server keeps everything that is published in memory.
BYTES_PER_INSTANCE = 6000

FILES = {
    "comments": lambda n: "# Part of no machine, and of no interest to this one\n" * n,
    "keyboards, other languages": lambda n: lines(n, "KEYBOARD", "LANGUAGE=xx"),
    "processors, none fits": lambda n: lines(n, "PROCESSOR", "SPEED=1800"),
    "fans, all published": lambda n: lines(n, "FAN", ""),
    "one line of so many KB": lambda n: "x" * (1000 * n) + "\n",
}
LARGEST_LINE = 100000  # KB

LEFT = {
    "of ours, all deleted": earlier,
    "of others, all kept": lambda n: earlier(n).replace("KVAHalvoranFru1", "1"),
    "of both": lambda n: earlier(n // 2)
    + earlier(n // 2).replace('"E', '"X').replace("KVAHalvoranFru1", "1"),
}


class Scale(Bench):
    def __init__(self, bin_dir, bench_dir, folder):
        super().__init__(bin_dir, bench_dir)
        self.base = 0
        tools = os.path.join(folder, "tools")
        os.mkdir(tools)
        for name in ("rm", "mv"):
            os.symlink(shutil.which(name), os.path.join(tools, name))
        os.environ["PATH"] = tools  # no FTP client: its memory would count as morvik's

    def run(self, text, left, repeat):
        """Medians of seconds, CPU seconds of morvik and of the server, and peak memory in MiB."""
        runs = []
        for _ in range(repeat):
            with self.server(0, more=left) as server:
                before = cpu_seconds(server.process.pid)
                passed, cpu, peak = self.morvik(text)
                runs.append((passed, cpu, cpu_seconds(server.process.pid) - before, peak))
        return [statistics.median(values) for values in zip(*runs)]

    def row(self, name, size, text, left, before):
        passed, cpu, served, peak = self.run(text, left, 5 if size < REPEAT_BELOW else 1)
        work = cpu + served - self.base
        worth = work > WORTH_DIVIDING
        each = work / size * 1e6
        print("%-27s %9s %8.2f %8.2f %8.2f %8s %6s %8.1f" % (
            name, format(size, ","), passed, cpu, served, "%.2f" % each if worth else "",
            "%.2f" % (each / before) if worth and before else "", peak), flush=True)
        return each if worth else None

    def table(self, title, kinds, sizes, fits, make):
        print("\n%-27s %9s %8s %8s %8s %8s %6s %8s" % (
            title, "how many", "time", "CPU", "server", "each", "growth", "peak"))
        print("%37s %8s %8s %8s %8s %6s %8s" % ("", "s", "s", "s", "us", "", "MiB"))
        for name, content in kinds.items():
            before = None
            for size in sizes:
                if fits(name, size):
                    text, left = make(content(size))
                    before = self.row(name, size, text, left, before)


def cpu_seconds(pid):
    with open("/proc/%d/stat" % pid, encoding="ascii") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def available_memory():
    with open("/proc/meminfo", encoding="ascii") as file:
        values = dict(line.split(":") for line in file)
    return int(values["MemAvailable"].split()[0]) * 1024


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--largest", type=int, default=SIZES[-1])
    parser.add_argument("bin_dir", type=os.path.abspath)
    parser.add_argument("bench_dir", type=os.path.abspath)
    options = parser.parse_args()

    def fits(name, size):
        if size > options.largest or (name.startswith("one line") and size > LARGEST_LINE):
            return False
        if name.startswith("fans") and size * BYTES_PER_INSTANCE > available_memory() * 0.8:
            print("%-27s %9s: too little memory for the server" % (name, format(size, ",")))
            return False
        return True

    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        bench = Scale(options.bin_dir, options.bench_dir, folder)
        passed, cpu, served, peak = bench.run("", "", 9)
        bench.base = cpu + served
        print("A run without any entry: %.3f s, %.3f s of CPU time, %.1f MiB" % (passed, cpu, peak))
        bench.table("lines of the data file", FILES, SIZES, fits, lambda text: (text, ""))
        bench.table("earlier instances", LEFT, EARLIER_SIZES, fits, lambda left: ("", left))


main()
