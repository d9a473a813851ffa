#!/usr/bin/python3
"""Runs morvik against a CIM server with a fault, once for each of the operations.

fault_runs.py DIRECTORY FAULT OPERATION...

Needs ports 5988 and 5989. Prints one line for each run that shows how it ended; fault.bats has
the expected lines. FAULT is one of cim_faults.py with its detail; OPERATION is one of REQUESTS, or
"connection" for a run without a server, whatever the fault.

The server that the faults are put in front of is morvik-cimd. An earlier run has left OLD1 and OLD2 on
it, and another publisher KEPT between them. The working directory has a file that counts as fetched,
with P1, M1, F1 and F2, and the user's own fru.txt with L1.
"""

import os
import shutil
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from cim_client import Session

HERE = os.path.dirname(os.path.abspath(__file__))
BIN = os.environ["MORVIK_BIN_DIR"]
MACHINE = """
instance of KVAXDT_ComputerSystemDetails { name = "box"; model = "Server 123 -[1234ABX]-"; };
instance of KVAXDT_Processor { DeviceID = "0"; CurrentClockSpeed = 2400; };
instance of KVAXDT_PhysicalMemory { Tag = "0"; Capacity = 536870912; };
"""
EARLIER = [("OLD1", "KVAHalvoranFru1"), ("KEPT", "1"), ("OLD2", "KVAHalvoranFru2")]
FETCHED = """\
"P1","PROCESSOR","SPEED=2400","x"
"M1","MEMORY","SIZE=512","x"
"F1","FAN","","x"
"F2","FAN","","x"
"""
LOCAL = '"L1","FAN","","x"\n'

# The request of each operation that gets the fault. If a run makes several requests of the kind, it is
# one after others have succeeded, so that the outcome shows whether their effects remain.
REQUESTS = {
    "system": "EnumerateInstances/KVAXDT_ComputerSystemDetails 1",
    "names": "EnumerateInstanceNames 1",
    "property": "GetProperty 2",
    "deletion": "DeleteInstance 2",
    "processor": "EnumerateInstances/KVAXDT_Processor 1",
    "memory": "EnumerateInstances/KVAXDT_PhysicalMemory 1",
    "creation": "CreateInstance 3",
    "creations": "CreateInstance *",
    "all": "* *",
}

LOCAL_COPY = "\nA local copy of fru.txt is detected. MORVIK will run base on this file.\n"
NOT_COMPLETE = "Morvik did not complete. Please run morvik manually (see man morvik for help).\n"
OUTPUTS = {
    "": "nothing",
    LOCAL_COPY: "local",
    NOT_COMPLETE: "failed",
    LOCAL_COPY + NOT_COMPLETE: "local+failed",
}

TIME_LIMIT = 20  # seconds for one operation
# A time-out may come late, but not before its time by more than clocks differ.
TOLERANCE = 0.5
PATIENCE = 100

class Server:
    """A process that has reported that it is ready."""

    def __init__(self, ready, *command):
        self.process = subprocess.Popen(
            command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True
        )
        for line in self.process.stdout:
            if ready in line:
                return
        sys.exit(f"{command[0]} did not start")

    def runs(self):
        return self.process.poll() is None

    def end(self):
        self.process.terminate()
        if self.process.wait() != 0:
            sys.exit(f"a server ended with status {self.process.returncode}:\n{self.process.stdout.read()}")
        self.process.stdout.close()


class Published:
    """The instances on the server, accessed without the peer that makes the faults."""

    def __init__(self):
        self.session = Session(port=5989)

    def numbers(self):
        """FRU:NUMBER of each, sorted."""
        return sorted(
            f"{values['FRUNumber']}:{values['IdentifyingNumber'].removeprefix('KVAHalvoranFru')}"
            for values in self.session.instances()
        )

    def restore(self):
        for values in self.session.instances():
            self.session.delete_by(values)
        for fru, number in EARLIER:
            self.session.create(fru, "FAN", IdentifyingNumber=number, Vendor="KVA")
        if [fru for fru, _ in self.session.frus()] != [fru for fru, _ in EARLIER]:
            sys.exit("the server has another order")


class Bench:
    def __init__(self, directory):
        self.directory = directory
        os.makedirs(directory, exist_ok=True)
        self.write("machine.mof", MACHINE)
        schema = os.path.join(HERE, "../../schema/kvaxdt.mof")
        self.cimd = Server(
            "listening on", os.path.join(BIN, "morvik-cimd"), "--listen", "127.0.0.1:5989", schema,
            self.path("machine.mof"),
        )
        self.published = Published()
        self.peer = None
        self.number = 0

    def path(self, name):
        return os.path.join(self.directory, name)

    def start_peer(self):
        if self.peer is None or not self.peer.runs():
            self.peer = Server(
                "ready", "/usr/bin/python3", os.path.join(HERE, "cim_peer.py"), "--upstream", "5989",
                "--faults", self.path("faults"), "--log", self.path("requests"),
            )

    def set_fault(self, line):
        # A new text for each run, so that the peer counts from the start again.
        self.number += 1
        self.write("faults", f"# {self.number}\n{line}\n")

    def begin(self):
        shutil.rmtree(self.path("work"), ignore_errors=True)
        os.mkdir(self.path("work"))
        self.published.restore()

    def start(self):
        """Starts morvik in the working directory, as a group of processes."""
        self.started = time.monotonic()
        with open(self.path("out"), "wb") as out, open(self.path("err"), "wb") as err:
            return subprocess.Popen(
                [os.path.join(BIN, "morvik"), "-s", "127.0.0.1", "-d", "dir"],
                cwd=self.path("work"), stdin=subprocess.DEVNULL, stdout=out, stderr=err,
                start_new_session=True,
            )

    def run(self, fault, operation):
        self.begin()
        self.write("work/1234wpk.txt", FETCHED)
        self.write("work/fru.txt", LOCAL)
        self.write("requests", "")
        if operation != "connection":
            self.set_fault(f"{REQUESTS[operation]} {fault}")
            self.start_peer()
        status = self.start().wait(PATIENCE)
        seconds = time.monotonic() - self.started
        if fault.startswith("end"):
            self.peer.process.wait(PATIENCE)  # it is ending; the next run needs a new one
        return self.describe(operation, status, seconds)

    def describe(self, operation, status, seconds):
        requests = self.text("requests").splitlines()
        created = [line.split('FRUNumber:string="')[1].split('"')[0]
                   for line in requests if " CreateInstance " in line]
        deleted = [line.split('FRUNumber="')[1].split('"')[0]
                   for line in requests if " DeleteInstance " in line]
        connections = len({line.split()[0] for line in requests})
        fields = {
            "says": OUTPUTS.get(self.text("out"), repr(self.text("out"))),
            "files": ",".join(sorted(os.listdir(self.path("work")))),
            "deleted": ",".join(deleted),
            "created": ",".join(created),
            "left": ",".join(self.published.numbers()),
            "connections": connections,
            "limits": max(0, int((seconds + TOLERANCE) / TIME_LIMIT)),
        }
        line = " ".join([operation, *(f"{name}={value}" for name, value in fields.items())])
        return " ".join([line, *self.oddities(status, requests)])

    def oddities(self, status, requests):
        """Whatever must not occur in any run."""
        if status != 0:
            yield f"status={status}"
        errors = [line for line in self.text("err").splitlines() if not line.startswith("ftp: ")]
        if errors:
            yield f"errors={errors}"
        calls = [line.split(" ", 1)[1] for line in requests]
        # Each line of these files asks something else, so no request may occur twice.
        if len(set(calls)) != len(calls):
            yield f"twice={[call for call in calls if calls.count(call) > 1]}"

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)

    def text(self, name):
        with open(self.path(name), encoding="utf-8", errors="replace") as file:
            return file.read()

    def end(self):
        if self.peer is not None and self.peer.runs():
            self.peer.end()
        self.cimd.end()


def main(directory, fault, *operations):
    bench = Bench(directory)
    for operation in operations:
        print(bench.run(fault, operation), flush=True)
    bench.end()


if __name__ == "__main__":
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
