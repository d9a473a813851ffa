#!/usr/bin/python3
"""Kills a morvik-cimd again and again under a stream of changes, and looks what it remembers.

kill_rounds.py PROGRAM MOF STORE ROUNDS SEED

In each round the server is started on the same store and its instances are compared with what was
acknowledged before: each acknowledged creation and change is there, each acknowledged deletion is too,
and there is nothing else. Of a change that was under way when the server was killed, either outcome is
right. Then some clients make random changes, each to instances of its own, until the server is killed
at a random moment. Prints a summary; the first difference ends the run with status 1.
"""

import random
import subprocess
import sys
import threading
import time

from cim_session import Session

CLIENTS = 4
# So that deletions are as frequent as creations, and a comparison is quick.
INSTANCES_OF_A_CLIENT = 12
LONGEST_ROUND = 0.12  # seconds
PATIENCE = 30


class Client:
    def __init__(self, number, seed):
        self.number = number
        self.random = random.Random(f"{seed} {number}")
        self.acknowledged = {}  # name by FRU number
        self.pending = None  # (FRU number, name afterwards; None for deleted)
        self.changes = 0
        self.fault = None

    def change_until_killed(self, first_done):
        try:
            session = Session(timeout=PATIENCE)
            while True:
                self.change(session)
                first_done.set()
        except OSError:
            pass  # the server is dead
        except Exception as error:  # for the main thread, which must not take silence for success
            self.fault = error
        finally:
            first_done.set()

    def change(self, session):
        fru = f"C{self.number}N{self.random.randrange(INSTANCES_OF_A_CLIENT)}"
        name = f"change {self.changes} " + "x" * self.random.choice([0, 10, 200])
        if fru not in self.acknowledged:
            self.make(fru, name, lambda: session.create(fru, name))
        elif self.random.random() < 0.6:
            self.make(fru, None, lambda: session.delete(fru))
        else:
            self.make(fru, name, lambda: session.modify(fru, name))

    def make(self, fru, name, action):
        self.pending = (fru, name)
        action()
        self.settle(fru, name)
        self.changes += 1

    def settle(self, fru, name):
        self.pending = None
        if name is None:
            self.acknowledged.pop(fru, None)
        else:
            self.acknowledged[fru] = name

    def compare(self, served):
        """`served` is what the server has of this client's instances."""
        if self.pending is not None:
            fru, name = self.pending
            if served.get(fru) == name:
                self.settle(fru, name)
            self.pending = None
        if served != self.acknowledged:
            wrong = [
                f"{fru}: acknowledged {self.acknowledged.get(fru)!r}, served {served.get(fru)!r}"
                for fru in sorted(served.keys() | self.acknowledged.keys())
                if served.get(fru) != self.acknowledged.get(fru)
            ]
            sys.exit("\n".join(wrong))


def start(program, mof, store):
    server = subprocess.Popen(
        [program, "--store", store, mof], stderr=subprocess.PIPE, text=True, errors="replace"
    )
    told = []
    for line in server.stderr:
        told.append(line)
        if "listening on" in line:
            break
    else:
        sys.exit(f"the server did not start again: {''.join(told)}")
    if any("not served" in line for line in told):
        server.kill()
        sys.exit("".join(told))
    return server


def compare_all(clients):
    session = Session(timeout=PATIENCE)
    everything = session.frus()
    session.close()
    served = dict(everything)
    if len(served) != len(everything):
        sys.exit("an instance is served twice")
    for client in clients:
        prefix = f"C{client.number}N"
        client.compare({fru: name for fru, name in served.items() if fru.startswith(prefix)})


def run_round(clients, server, moment):
    first_done = threading.Event()
    threads = [
        threading.Thread(target=client.change_until_killed, args=(first_done,), daemon=True)
        for client in clients
    ]
    for thread in threads:
        thread.start()
    first_done.wait(PATIENCE)
    time.sleep(moment)
    server.kill()
    server.communicate()
    for thread in threads:
        thread.join(PATIENCE)
    for client in clients:
        if client.fault is not None:
            sys.exit(f"client {client.number}: {client.fault}")


def main(program, mof, store, rounds, seed):
    print(f"seed {seed}")
    moments = random.Random(seed)
    clients = [Client(number, seed) for number in range(CLIENTS)]
    under_way = 0
    for _ in range(int(rounds)):
        server = start(program, mof, store)
        try:
            compare_all(clients)
            run_round(clients, server, moments.uniform(0, LONGEST_ROUND))
        finally:
            server.kill()
        under_way += sum(client.pending is not None for client in clients)
    server = start(program, mof, store)
    compare_all(clients)
    server.terminate()
    server.communicate()
    changes = sum(client.changes for client in clients)
    print(f"{rounds} kills, {changes} acknowledged changes, {under_way} under way when killed")
    if changes < int(rounds):
        sys.exit("too few changes to prove anything")


if __name__ == "__main__":
    if len(sys.argv) != 6:
        sys.exit(__doc__)
    main(*sys.argv[1:])
