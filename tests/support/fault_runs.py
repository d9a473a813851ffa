#!/usr/bin/python3
"""Runs morvik against a CIM server with a fault, once for each of the operations.

fault_runs.py DIRECTORY FAULT OPERATION...

Needs ports 5988 and 5989. Prints one line for each run that shows how it ended; fault_table.bash has
the expected lines. FAULT is one of cim_faults.py with its detail, or "mute" for a server that accepts
no connection; OPERATION is one of REQUESTS.

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
import cim_xml
from cim_client import ENUMERATE_FRUS, Session

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
    "connection": "Connection *",
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
# Limits for a run with small answers, and for one that is sent more than it may keep.
MODEST_KIB, LARGE_KIB = 40 * 1024, 400 * 1024
MEMORY = os.environ.get("MORVIK_MEMORY", "modest")


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

    def read(self):
        """(FRU number, identifying number, INSTANCENAME) of each, in the server's order."""
        reply = self.session.call("EnumerateInstances", ENUMERATE_FRUS)
        found = []
        for element in reply.iter("VALUE.NAMEDINSTANCE"):
            texts = {p.get("NAME"): p.findtext("VALUE") for p in element.iter("PROPERTY")}
            name = cim_xml.ElementTree.tostring(element.find("INSTANCENAME"), encoding="unicode")
            found.append((texts["FRUNumber"], texts["IdentifyingNumber"], name))
        return found

    def restore(self):
        for _, _, name in self.read():
            self.session.call("DeleteInstance", [("InstanceName", name)])
        for fru, number in EARLIER:
            self.session.create(fru, "FAN", IdentifyingNumber=number, Vendor="KVA")
        if [fru for fru, _, _ in self.read()] != [fru for fru, _ in EARLIER]:
            sys.exit("the server has another order")


class Bench:
    def __init__(self, directory):
        self.directory = directory
        os.makedirs(directory, exist_ok=True)
        with open(self.path("machine.mof"), "w", encoding="utf-8") as file:
            file.write(MACHINE)
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

    def start_peer(self, *options):
        if self.peer is None or not self.peer.runs():
            command = [os.path.join(HERE, "cim_peer.py"), *options]
            self.peer = Server("ready", "/usr/bin/python3", *command)

    def run(self, fault, operation):
        self.number += 1
        self.published.restore()
        # A new text for each run, so that the peer counts from the start again.
        with open(self.path("faults"), "w", encoding="utf-8") as file:
            file.write(f"# {self.number}\n{REQUESTS[operation]} {fault}\n")
        with open(self.path("requests"), "w", encoding="utf-8"):
            pass
        if fault == "mute":
            self.start_peer("--mute")
        elif fault != "none":
            self.start_peer(
                "--upstream", "5989", "--faults", self.path("faults"), "--log", self.path("requests")
            )
        outcome = self.morvik()
        if fault.startswith("end"):
            self.peer.process.wait(PATIENCE)  # it is ending; the next run needs a new one
        return self.describe(operation, *outcome)

    def morvik(self):
        work = self.path("work")
        shutil.rmtree(work, ignore_errors=True)
        os.mkdir(work)
        for name, text in (("1234wpk.txt", FETCHED), ("fru.txt", LOCAL)):
            with open(os.path.join(work, name), "w", encoding="utf-8") as file:
                file.write(text)
        before = time.monotonic()
        with open(self.path("out"), "wb") as out, open(self.path("err"), "wb") as err:
            run = subprocess.Popen(
                [os.path.join(BIN, "morvik"), "-s", "127.0.0.1", "-d", "dir"],
                cwd=work, stdin=subprocess.DEVNULL, stdout=out, stderr=err,
            )
            usage = self.wait(run, before + PATIENCE)
        return run.returncode, time.monotonic() - before, usage.ru_maxrss

    @staticmethod
    def wait(run, end):
        while True:
            pid, status, usage = os.wait4(run.pid, os.WNOHANG)
            if pid != 0:
                run.returncode = os.waitstatus_to_exitcode(status)
                return usage
            if time.monotonic() > end:
                run.kill()
            time.sleep(0.002)

    def describe(self, operation, status, seconds, peak):
        requests = self.text("requests").splitlines()
        created = [line.split('FRUNumber:string="')[1].split('"')[0]
                   for line in requests if " CreateInstance " in line]
        deleted = [line.split('FRUNumber="')[1].split('"')[0]
                   for line in requests if " DeleteInstance " in line]
        left = [f"{fru}:{number.removeprefix('KVAHalvoranFru')}"
                for fru, number, _ in self.published.read()]
        connections = len({line.split()[0] for line in requests})
        fields = {
            "says": OUTPUTS.get(self.text("out"), repr(self.text("out"))),
            "files": ",".join(sorted(os.listdir(self.path("work")))),
            "deleted": ",".join(deleted),
            "created": ",".join(created),
            "left": ",".join(sorted(left)),
            "connections": connections,
            "limits": max(0, int((seconds + TOLERANCE) / TIME_LIMIT)),
        }
        line = " ".join([operation, *(f"{name}={value}" for name, value in fields.items())])
        return " ".join([line, *self.oddities(status, peak, requests)])

    def oddities(self, status, peak, requests):
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
        if MEMORY != "any" and peak > {"modest": MODEST_KIB, "large": LARGE_KIB}[MEMORY]:
            yield f"memory={peak}"

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
