#!/usr/bin/python3
"""Well-behaved clients of the CIM server on 127.0.0.1:5988.

served_clients.py many COUNT SECONDS PROCESS-ID
    so many at once; each creates, changes, lists and deletes its own instance over one connection, with pauses as
    people and programs make them. Prints, in one line, REQUESTS MEDIAN WORST EARLY LATE: the number of
    requests, milliseconds of an answer, and the most KiB of memory that the server with this process id
    had in the first and in the second half of the time.
served_clients.py modest
    one with small requests beside clients that ask for much: creates, changes and deletes 20 instances, each over
    its own connection, and prints how many milliseconds the longest of the 60 requests took.
served_clients.py greedy COUNT
    so many that want as much as they can get, until SIGTERM: each sends its request again as soon as it has the
    answer, every second one to list all instances, the others with 1 MB of property names. Prints "ready"
    once answers of both kinds have begun, and at the end how many there were.

The first request of the others that is not served as it should ends the run with status 1.
"""

import asyncio
import signal
import statistics
import sys
import threading
import time

import cim_xml
from cim_client import ADDRESS, ENUMERATE_FRUS, NAMESPACE, Session

PAUSE = 0.05  # seconds


class Client:
    def __init__(self, number, end):
        self.fru = f"G{number}"
        self.end = end
        self.milliseconds = []
        self.fault = None

    def run(self):
        try:
            session = Session()
            while time.monotonic() < self.end:
                self.timed(session.create, self.fru, "fan")
                self.timed(session.modify, self.fru, "disk")
                listing = self.timed(session.raw, "EnumerateInstances", ENUMERATE_FRUS)
                if f">{self.fru}<".encode() not in listing:
                    raise ValueError("its instance is not listed")
                self.timed(session.delete, self.fru)
        except Exception as error:  # whatever it is, the run has failed
            self.fault = f"{self.fru}: {error!r}"

    def timed(self, action, *arguments):
        start = time.monotonic()
        result = action(*arguments)
        self.milliseconds.append(1000 * (time.monotonic() - start))
        time.sleep(PAUSE)
        return result


def memory(process):
    with open(f"/proc/{process}/status", encoding="ascii") as file:
        return next(int(line.split()[1]) for line in file if line.startswith("VmRSS:"))


def most_memory(process, end):
    most = 0
    while time.monotonic() < end:
        most = max(most, memory(process))
        time.sleep(0.05)
    return most


def many(count, seconds, process):
    start = time.monotonic()
    end = start + float(seconds)
    clients = [Client(number, end) for number in range(int(count))]
    threads = [threading.Thread(target=client.run) for client in clients]
    for thread in threads:
        thread.start()
    early = most_memory(process, (start + end) / 2)
    late = most_memory(process, end)
    for thread in threads:
        thread.join()
    for client in clients:
        if client.fault is not None:
            sys.exit(client.fault)
    times = [one for client in clients for one in client.milliseconds]
    print(len(times), round(statistics.median(times)), round(max(times)), early, late)


def modest():
    worst = 0.0
    for number in range(20):
        session = Session(timeout=10)
        for action in (
            lambda: session.create(f"G{number}", "x" * 200),
            lambda: session.change_description(f"G{number}", "d" * 60_000),
            lambda: session.delete(f"G{number}"),
        ):
            start = time.monotonic()
            action()
            worst = max(worst, time.monotonic() - start)
        session.close()
    print(f"# worst of 60 small requests: {worst * 1000:.0f} ms")


async def exchange(reader, writer, request, answers, kind):
    writer.write(request)
    await writer.drain()
    head = await reader.readuntil(b"\r\n\r\n")
    answers[kind] += 1
    left = int(head.lower().split(b"content-length:")[1].split(b"\r\n")[0])
    while left > 0:
        data = await reader.read(min(left, 1 << 20))
        if not data:
            raise ConnectionResetError
        left -= len(data)


async def ask_again_and_again(request, answers, kind):
    while True:
        try:
            reader, writer = await asyncio.open_connection(*ADDRESS, limit=1 << 20)
            while True:
                await exchange(reader, writer, request, answers, kind)
        except (OSError, asyncio.IncompleteReadError):
            pass


async def be_greedy(count):
    names = "<VALUE.ARRAY>" + "<VALUE/>" * 125_000 + "</VALUE.ARRAY>"
    bodies = [
        cim_xml.request_message("EnumerateInstances", NAMESPACE, ENUMERATE_FRUS + more)
        for more in ([], [("PropertyList", names)])
    ]
    requests = [cim_xml.http_request("EnumerateInstances", NAMESPACE, body) for body in bodies]
    answers = [0, 0]
    ended = asyncio.Event()
    asyncio.get_running_loop().add_signal_handler(signal.SIGTERM, ended.set)
    clients = [
        asyncio.create_task(ask_again_and_again(requests[number % 2], answers, number % 2))
        for number in range(count)
    ]
    while not all(answers) and not ended.is_set():
        await asyncio.sleep(0.01)
    print("ready", flush=True)
    await ended.wait()
    for client in clients:
        client.cancel()
    print(sum(answers), "answers")


def greedy(count):
    asyncio.run(be_greedy(int(count)))


COMMANDS = {"many": many, "modest": modest, "greedy": greedy}

if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1] not in COMMANDS:
        sys.exit(__doc__)
    COMMANDS[sys.argv[1]](*sys.argv[2:])
