#!/usr/bin/python3
"""Changes and lists the instances of KVAXDT_FRU at the CIM server on 127.0.0.1:5988.

cim_change.py CHANGE...     one after the other on one connection; a CHANGE is one of
                            create NUMBER NAME, modify NUMBER NAME, delete NUMBER, list
list prints NUMBER=NAME of each instance in the order of the server, separated by blanks. The first
change that the server refuses ends the run with status 1; standard error tells the CIM error.
"""

import sys

from cim_session import CimError, Session

ARGUMENTS = {"create": 2, "modify": 2, "delete": 1, "list": 0}


def run(words):
    session = Session()
    while words:
        change = words.pop(0)
        arguments = [words.pop(0) for _ in range(ARGUMENTS[change])]
        if change == "list":
            print(" ".join(f"{number}={name}" for number, name in session.frus()))
        else:
            getattr(session, change)(*arguments)


if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1] not in ARGUMENTS:
        sys.exit(__doc__)
    try:
        run(sys.argv[1:])
    except (CimError, OSError) as error:
        sys.exit(str(error))
