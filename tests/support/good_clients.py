#!/usr/bin/python3
"""Many well-behaved clients at once at the CIM server on 127.0.0.1:5988.

good_clients.py COUNT SECONDS PROCESS-ID

Each creates, changes, lists and deletes an instance of its own over one connection, with pauses as
people and programs make them. Prints, in one line, REQUESTS MEDIAN WORST EARLY LATE: the number of
requests, milliseconds of an answer, and the most KiB of memory that the server with this process id
had in the first and in the second half of the time. The first request that is not served as it should
ends the run with status 1.
"""

import statistics
import sys
import threading
import time

from cim_client import ENUMERATE_FRUS, Session

PAUSE = 0.05  # seconds


class Client:
    def __init__(self, number, clock):
        self.fru = f"G{number}"
        self.clock = clock
        self.milliseconds = []
        self.fault = None

    def run(self):
        try:
            session = Session()
            while time.monotonic() < self.clock.end and self.clock.fault is None:
                self.timed(session.create, self.fru, "fan")
                self.timed(session.modify, self.fru, "disk")
                listing = self.timed(session.raw, "EnumerateInstances", ENUMERATE_FRUS)
                if f">{self.fru}<".encode() not in listing:
                    raise ValueError("its instance is not listed")
                self.timed(session.delete, self.fru)
        except Exception as error:  # whatever it is, the run has failed
            self.clock.fault = f"{self.fru}: {error!r}"

    def timed(self, action, *arguments):
        start = time.monotonic()
        result = action(*arguments)
        self.milliseconds.append(1000 * (time.monotonic() - start))
        time.sleep(PAUSE)
        return result


class Clock:
    def __init__(self, seconds):
        self.end = time.monotonic() + seconds
        self.fault = None


def memory(process):
    with open(f"/proc/{process}/status", encoding="ascii") as file:
        return next(int(line.split()[1]) for line in file if line.startswith("VmRSS:"))


def most_memory(process, seconds):
    most, end = 0, time.monotonic() + seconds
    while time.monotonic() < end:
        most = max(most, memory(process))
        time.sleep(0.05)
    return most


def main(count, seconds, process):
    clock = Clock(float(seconds))
    clients = [Client(number, clock) for number in range(int(count))]
    threads = [threading.Thread(target=client.run) for client in clients]
    for thread in threads:
        thread.start()
    early = most_memory(process, float(seconds) / 2)
    late = most_memory(process, float(seconds) / 2)
    for thread in threads:
        thread.join()
    if clock.fault is not None:
        sys.exit(clock.fault)
    times = [one for client in clients for one in client.milliseconds]
    print(len(times), round(statistics.median(times)), round(max(times)), early, late)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
