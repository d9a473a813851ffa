"""The costs of an operation of morvik, counted rather than timed, and of its start.

    costs.py BIN_DIR BENCH_DIR

Runs where port 5988 is free. Instructions are counted by valgrind's callgrind, system calls by strace,
both of the process morvik alone, not of its shell commands. Each is the difference of two runs whose
data files differ by 1,000 lines, divided by that.
"""
import argparse
import os
import re
import resource
import statistics
import subprocess
import tempfile

from imports import SCENARIOS, Bench

FEW, MORE = 100, 1000

ROWS = {
    "enumerate two processors": "processor lines, none fits",
    "create an instance": "entries published",
    "both": "processors published",
    "read a property, delete": "earlier entries deleted",
}


class Counter(Bench):
    def __init__(self, bin_dir, bench_dir):
        super().__init__(bin_dir, bench_dir)
        self.command = [os.path.join(bin_dir, "morvik"), "-s", "127.0.0.1"]

    def run(self, prefix, text, old):
        with open("fru.txt", "w", encoding="utf-8") as file:
            file.write(text)
        with self.server(old):
            return subprocess.run(prefix + self.command, stdout=subprocess.DEVNULL,
                                  stderr=subprocess.PIPE, text=True, check=True).stderr

    def instructions(self, text, old):
        output = self.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"], text, old)
        return {"": int(re.findall(r"Collected : (\d+)", output)[-1])}

    def calls(self, text, old):
        self.run(["strace", "-c", "-o", "calls"], text, old)
        with open("calls", encoding="utf-8") as file:
            rows = [line.split() for line in file if line[:1] == " "]
        return {row[-1]: int(row[3]) for row in rows if row[-1] != "total"}

    def each(self, count, scenario):
        """The counts of `count` for one more line, by name; those of almost zero are left out."""
        few, many = (count(*SCENARIOS[scenario](lines)) for lines in (FEW, FEW + MORE))
        costs = {name: (many[name] - few.get(name, 0)) / MORE for name in many}
        return {name: cost for name, cost in costs.items() if cost >= 0.05}


def start_up(counter):
    """CPU milliseconds and peak memory in MiB of a run that finds no server."""
    runs = [counter.measured(*counter.command) for _ in range(21)]
    return statistics.median(run[1] for run in runs) * 1e3, statistics.median(run[2] for run in runs)


def libraries(program):
    listed = subprocess.run(["ldd", program], capture_output=True, text=True, check=True).stdout
    return sum("=>" in line for line in listed.splitlines())


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("bin_dir", type=os.path.abspath)
    parser.add_argument("bench_dir", type=os.path.abspath)
    options = parser.parse_args()
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    with tempfile.TemporaryDirectory() as directory:
        os.chdir(directory)
        counter = Counter(options.bin_dir, options.bench_dir)
        print("%-26s %12s  %s" % ("for each line", "instructions", "system calls"))
        for name, scenario in ROWS.items():
            calls = counter.each(counter.calls, scenario)
            print("%-26s %12s  %s" % (
                name, format(round(counter.each(counter.instructions, scenario)[""]), ","),
                ", ".join("%s %.1f" % call for call in sorted(calls.items()))))
        cpu, peak = start_up(counter)
        print("\na run that finds no server: %.1f ms of CPU time, peak %.1f MiB, %d shared libraries"
              % (cpu, peak, libraries(counter.command[0])))


if __name__ == "__main__":
    main()
