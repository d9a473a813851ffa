#!/usr/bin/python3
"""Clients of every bad kind at the CIM server on 127.0.0.1:5988, until SIGTERM.

rude_clients.py [KIND...]   all kinds without one; prints "ready" when each has done its worst once,
                            and at the end how often each did
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


def half_a_request():
    held = Held(30)
    while True:
        client = connect()
        push(client, GOOD[: random.randrange(1, len(GOOD))])
        held.add(client)
        yield


def never_reading():
    held = Held(5)
    while True:
        client = connect()
        push(client, GOOD * 2000)
        held.add(client)
        yield


def dripping():
    held = Held(20)
    while True:
        client = connect()
        held.add(client)
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


def garbage():
    while True:
        client = connect()
        push(client, random.randbytes(random.choice([1, 100, 20000])))
        client.close()
        yield


def huge_headers():
    held = Held(5)
    while True:
        client = connect()
        push(client, GOOD[:20] + b"X-Many: " + b"y" * 1000000)
        held.add(client)
        yield


def huge_bodies():
    held = Held(5)
    length = f"Content-Length: {len(bad_requests.GOOD_BODY)}".encode()
    while True:
        client = connect()
        push(client, GOOD.replace(length, b"Content-Length: 1000000") + b" " * 900000)
        held.add(client)
        yield


def deep_documents():
    while True:
        client = connect()
        push(client, bad_requests.BAD["deep-within"])
        client.close()
        yield


KINDS = {
    kind.__name__: kind
    for kind in (half_a_request, never_reading, dripping, silent, resetting, garbage)
    + (huge_headers, huge_bodies, deep_documents)
}


class Rudeness:
    def __init__(self, kinds):
        self.done = Counter()
        self.ended = threading.Event()
        self.threads = [threading.Thread(target=self.run, args=(kind,)) for kind in kinds]

    def run(self, kind):
        doing = KINDS[kind]()
        while not self.ended.wait(PAUSE):
            try:
                next(doing)
            except StopIteration:
                doing = KINDS[kind]()
            except OSError:  # dropped while connecting
                doing = KINDS[kind]()
            self.done[kind] += 1


def main(kinds):
    rudeness = Rudeness(kinds)
    signal.signal(signal.SIGTERM, lambda *_: rudeness.ended.set())
    for thread in rudeness.threads:
        thread.start()
    while len(rudeness.done) < len(kinds) and not rudeness.ended.is_set():
        time.sleep(0.01)
    print("ready", flush=True)
    for thread in rudeness.threads:
        thread.join()
    print(dict(rudeness.done))


if __name__ == "__main__":
    chosen = sys.argv[1:] or list(KINDS)
    if not set(chosen) <= KINDS.keys():
        sys.exit(__doc__)
    main(chosen)
