#!/usr/bin/python3
"""Clients of every bad kind at the CIM server on 127.0.0.1:5988, until SIGTERM. Prints "ready" when each kind
has done its worst once, and at the end how often each did.
"""

import random
import signal
import socket
import struct
import sys
import threading
import time
from collections import Counter, deque

import bad_requests
import cim_client

PAUSE = 0.02  # seconds; they are to be rude, not to take the machine's time from the others
GOOD = bad_requests.GOOD


def connect():
    client = socket.create_connection(cim_client.ADDRESS, timeout=5)
    client.setblocking(False)
    return client


def push(client, data):
    """As much as the system takes at once."""
    try:
        while data:
            data = data[client.send(data) :]
    except OSError:  # full, or the server has closed
        pass


class Held:
    """Connections that are left open, the last few of them."""

    def __init__(self, count):
        self.clients = deque()
        self.count = count

    def add(self, client):
        self.clients.append(client)
        if len(self.clients) > self.count:
            self.clients.popleft().close()


def sending(data, count=0):
    """Connects and sends what data() returns, and holds so many connections open."""
    held = Held(count)
    while True:
        client = connect()
        push(client, data())
        held.add(client)
        yield


def dripping():
    held = Held(20)
    while True:
        held.add(connect())
        for number, other in enumerate(held.clients):
            push(other, GOOD[number : number + 1])
        yield


def silent():
    """More than the server keeps connections, as fast as they can be had."""
    held = Held(300)
    while True:
        for _ in range(150):
            held.add(connect())
        yield


def resetting():
    while True:
        client = connect()
        push(client, GOOD[: random.choice([10, len(GOOD) - 1, len(GOOD)])])
        client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        client.close()
        yield


HUGE_HEADER = GOOD[:20] + b"X-Many: " + b"y" * 1000000
HUGE_BODY = bad_requests.with_length(1000000) + b" " * 900000

KINDS = {
    "half_a_request": lambda: sending(lambda: GOOD[: random.randrange(1, len(GOOD))], 30),
    "never_reading": lambda: sending(lambda: GOOD * 2000, 5),
    "dripping": dripping,
    "silent": silent,
    "resetting": resetting,
    "garbage": lambda: sending(lambda: random.randbytes(random.choice([1, 100, 20000]))),
    "huge_headers": lambda: sending(lambda: HUGE_HEADER, 5),
    "huge_bodies": lambda: sending(lambda: HUGE_BODY, 5),
    "deep_documents": lambda: sending(lambda: bad_requests.BAD["deep-within"]),
}


done = Counter()
ended = threading.Event()


def run(kind):
    doing = KINDS[kind]()
    while not ended.wait(PAUSE):
        try:
            next(doing)
        except OSError:  # dropped while connecting
            doing = KINDS[kind]()
        done[kind] += 1


def main():
    signal.signal(signal.SIGTERM, lambda *_: ended.set())
    threads = [threading.Thread(target=run, args=(kind,)) for kind in KINDS]
    for thread in threads:
        thread.start()
    while len(done) < len(KINDS) and not ended.is_set():
        time.sleep(0.01)
    print("ready", flush=True)
    for thread in threads:
        thread.join()
    print(dict(done))


if __name__ == "__main__":
    main()
