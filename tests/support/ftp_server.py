#!/usr/bin/python3
"""A small anonymous, read-only FTP server on the loopback interface, for tests and the demo.

Prints "ready" on standard output once it listens. Ends with status 0 on SIGTERM or SIGINT, and with
status 124 when its time is up, so that a forgotten server does not stay.
"""

import argparse
import errno
import io
import os
import signal
import sys
import time
import warnings

# pyftpdlib 1.5 uses modules that Python calls deprecated; users can do nothing about it.
warnings.filterwarnings("ignore", category=DeprecationWarning)

try:
    from pyftpdlib.authorizers import DummyAuthorizer
    from pyftpdlib.filesystems import AbstractedFS
    from pyftpdlib.handlers import FTPHandler
    from pyftpdlib.log import config_logging
    from pyftpdlib.servers import FTPServer
except ImportError as error:
    sys.exit(f"ftp_server.py: {error} (package python3-pyftpdlib)")

ADDRESS = "127.0.0.1"


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--port", type=int, default=21, help="port on 127.0.0.1 (default 21)")
    parser.add_argument("--root", required=True, help="directory to serve")
    parser.add_argument("--refuse-login", action="store_true", help="refuse every login")
    parser.add_argument(
        "--break-off", type=int, metavar="BYTES", help="break off transfers after so many bytes"
    )
    parser.add_argument(
        "--pause",
        metavar="FILE",
        help="while FILE exists, stop after the first bytes of a transfer, and write FILE.reached",
    )
    parser.add_argument("--log", help="file to append the received commands to, one a line")
    parser.add_argument(
        "--max-seconds", type=float, default=600, help="end after this time (default 600)"
    )
    arguments = parser.parse_args()
    if not os.path.isdir(arguments.root):
        parser.error(f"{arguments.root} is not a directory")
    if arguments.max_seconds <= 0:
        parser.error("--max-seconds must be more than 0")
    return arguments


class FailingFile(io.BytesIO):
    """A file that cannot be read to its end, as on a damaged disk. Its reader answers 426 then."""

    def __init__(self, name, beginning):
        super().__init__(beginning)
        self.name = name

    def read(self, size=-1):
        part = super().read(size)
        if not part:
            raise OSError(errno.EIO, os.strerror(errno.EIO))
        return part


class PausingFile(io.BytesIO):
    """A file whose reader, and with it the whole server, stops after the first bytes."""

    def __init__(self, name, content, pause):
        super().__init__(content)
        self.name = name
        self.pause = pause

    def read(self, size=-1):
        if not os.path.exists(self.pause):
            return super().read(size)
        if self.tell() == 0:
            return super().read(40)
        with open(self.pause + ".reached", "wb"):
            pass
        while os.path.exists(self.pause):
            time.sleep(0.01)
        return super().read(size)


def make_filesystem(make_file):
    """All files are what make_file(name, content) makes of them."""

    class Filesystem(AbstractedFS):
        def open(self, filename, mode):
            with super().open(filename, mode) as file:
                return make_file(filename, file.read())

    return Filesystem


def make_handler(arguments):
    """A new handler class for this server: pyftpdlib keeps its settings in the class."""
    log = open(arguments.log, "a", buffering=1, encoding="utf-8") if arguments.log else None

    class Handler(FTPHandler):
        banner = "parts server"
        auth_failed_timeout = 0  # the real delay after a refused login only makes tests slow

        def pre_process_command(self, line, cmd, arg):
            if log:
                log.write(line + "\n")
            super().pre_process_command(line, cmd, arg)

    if arguments.break_off is not None:
        Handler.abstracted_fs = make_filesystem(
            lambda name, content: FailingFile(name, content[: arguments.break_off])
        )
    if arguments.pause is not None:
        Handler.abstracted_fs = make_filesystem(
            lambda name, content: PausingFile(name, content, arguments.pause)
        )
    Handler.authorizer = DummyAuthorizer()
    if not arguments.refuse_login:
        Handler.authorizer.add_anonymous(arguments.root, perm="elr")
    return Handler


def main():
    arguments = parse_arguments()
    config_logging(level="ERROR")
    try:
        server = FTPServer((ADDRESS, arguments.port), make_handler(arguments))
    except OSError as error:
        sys.exit(f"ftp_server.py: {ADDRESS} port {arguments.port}: {error}")

    def end(status):
        server.close_all()
        os._exit(status)  # out of whatever the loop is doing; nothing is left to be written

    signal.signal(signal.SIGTERM, lambda *_: end(0))
    signal.signal(signal.SIGINT, lambda *_: end(0))
    signal.signal(signal.SIGALRM, lambda *_: end(124))
    signal.setitimer(signal.ITIMER_REAL, arguments.max_seconds)
    print("ready", flush=True)
    server.serve_forever(handle_exit=False)


if __name__ == "__main__":
    main()
