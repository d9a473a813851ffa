#!/usr/bin/python3
"""A client with small requests beside others that ask for much; a process of its own, which their
threads do not slow down.

modest_client.py    creates, changes and deletes 20 instances, each over a connection of its own, and
                    prints how many milliseconds the longest of the 60 requests took. A request that is
                    not served within ten seconds ends it with status 1.
"""

import time

from cim_client import Session


def main():
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


main()
