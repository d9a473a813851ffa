"""The ways in which cim_peer.py misbehaves.

A fault is a line "OPERATION[/CLASS] NTH FAULT [DETAIL]", for instance

    EnumerateInstances/KVAXDT_Processor 1 hang
    CreateInstance 2 error 11
    * * chunked

It strikes the NTH request of that operation (and class), or every one for "*". The operation
"Connection" is a new connection, before its first request.

The faults themselves are functions of the client's socket, the request, what carries the request out
and returns the body of its answer, and the detail. They say whether the connection goes on. A fault
that does not ask for the body has not carried the request out.
"""

import os

import cim_answers
import fault_body
import fault_connection
import fault_http
from http_bytes import send_well


def whole_body(make):
    """A well-formed HTTP answer with another body."""

    def way(client, request, answer, detail):
        send_well(client, make(answer()))
        return True

    return way


WAYS = {
    **fault_connection.WAYS,
    **fault_http.WAYS,
    **fault_body.WAYS,
    **{name: whole_body(make) for name, make in fault_body.BODIES.items()},
    **{name: whole_body(form) for name, form in cim_answers.FORMS.items()},
}


class Fault:
    """One line of the file. act() says whether the connection goes on."""

    def __init__(self, line):
        words = line.split(maxsplit=3)
        self.operation, _, self.class_name = words[0].partition("/")
        self.nth = words[1]
        self.kind = words[2]
        self.detail = words[3] if len(words) > 3 else ""
        self.seen = 0
        self.way = WAYS[self.kind]  # a fault that does not exist must not pass for a good answer

    def strikes(self, operation, class_name):
        if self.operation not in ("*", operation):
            return False
        if self.class_name not in ("", class_name):
            return False
        self.seen += 1
        return self.nth in ("*", str(self.seen))

    def act(self, client, request, answer):
        return self.way(client, request, answer, self.detail)


class Faults:
    def __init__(self, path):
        self.path = path
        self.text = ""
        self.faults = []

    def read_again(self):
        """Says whether the file has changed."""
        text = ""
        if self.path and os.path.exists(self.path):
            with open(self.path, encoding="utf-8") as file:
                text = file.read()
        if text == self.text:
            return False
        self.text = text
        self.faults = [Fault(line) for line in text.splitlines() if line and line[0] != "#"]
        return True

    def next_for(self, request):
        return self.next(request.operation, request.class_name())

    def next_for_connection(self):
        return self.next("Connection", "") if "Connection" in self.text else None

    def next(self, operation, class_name):
        striking = [fault for fault in self.faults if fault.strikes(operation, class_name)]
        return striking[0] if striking else None
