#!/usr/bin/python3
"""Runs a command on a terminal and writes what the terminal gets to standard output.

terminal.py COLUMNS COMMAND [ARG...]    ends with the status of the command
terminal.py --widest                    the columns of the widest line of standard input, as Unicode
                                        defines them
"""

import fcntl
import os
import pty
import struct
import sys
import termios
import unicodedata


def run(columns, command):
    child, terminal = pty.fork()
    if child == 0:
        fcntl.ioctl(1, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        settings = termios.tcgetattr(1)
        settings[1] &= ~termios.OPOST  # line ends as they are written
        termios.tcsetattr(1, termios.TCSANOW, settings)
        os.execvp(command[0], command)
    while True:
        try:
            piece = os.read(terminal, 65536)
        except OSError:  # on Linux, nobody is left on the other side
            break
        if not piece:
            break
        sys.stdout.buffer.write(piece)
    return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])


def width(text):
    wide = sum(unicodedata.east_asian_width(c) in "WF" for c in text)
    marks = sum(unicodedata.category(c) in ("Mn", "Me") for c in text)
    return len(text) + wide - marks


if __name__ == "__main__":
    if sys.argv[1] == "--widest":
        text = sys.stdin.buffer.read().decode()
        print(max(width(line) for line in text.split("\n")))
    else:
        sys.exit(run(int(sys.argv[1]), sys.argv[2:]))
