#!/usr/bin/python3
"""Receives the messages of a service to systemd.

notify_socket.py NAME FILE   NAME is a path, or a name in the abstract namespace, written with "@".
                             Prints "ready", then appends each message to FILE as one line, until
                             SIGTERM, which is status 0.
"""

import signal
import socket
import sys


def main(name, path):
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
    messages = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    messages.bind("\0" + name[1:] if name.startswith("@") else name)
    print("ready", flush=True)
    while True:
        with open(path, "a", encoding="utf-8") as file:
            file.write(messages.recv(4096).decode().rstrip("\n").replace("\n", " ") + "\n")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
