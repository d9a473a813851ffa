"""The faults that cim_peer.py can be made to show.

A fault is a line "OPERATION[/CLASS] NTH FAULT [DETAIL]", for instance

    EnumerateInstances/KVAXDT_Processor 1 hang
    CreateInstance 2 error 11
    * * close

It strikes the NTH request of that operation (and class), or every one for "*".

There is one fault for each outcome that a request can have. The tests of the client library cover what
else can be wrong with an answer, and the many forms of a good one.

The faults are functions of the client's socket, the request, a function that carries out the request
and returns the body of its answer, and the detail. They return true when the connection stays open. A
fault that does not ask for the body has not carried out the request.
"""

import os
import socket
import struct
import time

import cim_xml

STATUS_OK = "HTTP/1.1 200 OK"
CONTENT_TYPE = 'Content-Type: application/xml; charset="utf-8"'
METHOD_RESPONSE = "CIMOperation: MethodResponse"
HANG_SECONDS = 120
LONGER_THAN_ANY_LIMIT = 70 * 1024 * 1024

# The socket on which the server waits for connections, once it does.
listeners = []


def head(*lines):
    return ("\r\n".join(lines) + "\r\n\r\n").encode("latin-1")


def with_length(body, *lines, status=STATUS_OK):
    return head(status, CONTENT_TYPE, METHOD_RESPONSE, *lines, f"Content-Length: {len(body)}") + body


def send_well(client, body):
    client.sendall(with_length(body))


# --- no answer, or not an answer ---


def close(client, request, answer, detail):
    return False


def reset(client, request, answer, detail):
    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    return False


def close_after_work(client, request, answer, detail):
    answer()
    return False


def end(client, request, answer, detail):
    """The whole server ends: later operations cannot even connect."""
    os._exit(0)


def hang(client, request, answer, detail):
    reached(detail)
    time.sleep(HANG_SECONDS)
    return False


def hang_within_body(client, request, answer, detail):
    client.sendall(with_length(answer())[:-20])
    reached(detail)
    time.sleep(HANG_SECONDS)
    return False


def reached(path):
    """Makes the file for which a test waits."""
    if path:
        with open(path, "wb"):
            pass


def status(client, request, answer, detail):
    """DETAIL is the HTTP status."""
    client.sendall(with_length(b"<html/>", status=f"HTTP/1.1 {detail} Any"))
    return True


def huge(client, request, answer, detail):
    client.sendall(head(STATUS_OK, CONTENT_TYPE, METHOD_RESPONSE, "Transfer-Encoding: chunked"))
    data = b"10000\r\n" + b" " * 65536 + b"\r\n"
    for _ in range(LONGER_THAN_ANY_LIMIT // 65536):
        client.sendall(data)
    return False


def error(client, request, answer, detail):
    """Answers with an error, CODE[:WORDS], instead of carrying out the request."""
    code, _, words = (detail or "1").partition(":")
    content = cim_xml.error(code, words.replace("_", " ") or "deliberate")
    send_well(client, cim_xml.answer(request.operation, request.message_id, content))
    return True


# --- a good answer, and then the end of the connection ---


def close_when_idle(client, request, answer, detail):
    """Without announcing it. Answer and end arrive together, so that the client can notice."""
    client.setsockopt(socket.IPPROTO_TCP, socket.TCP_CORK, 1)
    send_well(client, answer())
    client.shutdown(socket.SHUT_WR)
    return False


def end_after_answer(client, request, answer, detail):
    body = answer()
    # First, so that not even the fastest client finds it open.
    listeners[0].shutdown(socket.SHUT_RDWR)
    close_when_idle(client, request, lambda: body, detail)
    os._exit(0)


# --- other bodies ---


def substitute(client, request, answer, detail):
    """DETAIL is TEXT=HEX: these bytes in place of the text, in every answer that has it."""
    text, other = detail.split("=")
    send_well(client, answer().replace(text.encode(), bytes.fromhex(other)))
    return True


def other_body(change):
    def way(client, request, answer, detail):
        send_well(client, change(answer()))
        return True

    return way


def inserted(text):
    """This text at the end of the response element."""

    def change(body):
        assert b"</IMETHODRESPONSE>" in body
        return body.replace(b"</IMETHODRESPONSE>", text + b"</IMETHODRESPONSE>")

    return change


WAYS = {
    way.__name__.replace("_", "-"): way
    for way in (
        close, reset, close_after_work, end, hang, hang_within_body, status, huge, error,
        close_when_idle, end_after_answer, substitute,
    )
} | {
    name: other_body(change)
    for name, change in {
        "not-xml": lambda body: b"It works!\n",
        "bad-utf8": inserted(b"\xff\xfe"),
        "long-comment": inserted(b"<!--" + b"x" * 20000000 + b"-->"),
    }.items()
}


class Fault:
    """One line of the file. act() returns true when the connection stays open."""

    def __init__(self, line):
        words = line.split(maxsplit=3)
        self.operation, _, self.class_name = words[0].partition("/")
        self.nth = words[1]
        self.detail = words[3] if len(words) > 3 else ""
        self.seen = 0
        if words[2] not in WAYS:  # must not count as any kind of answer
            os.abort()
        self.way = WAYS[words[2]]

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
        """Returns true when the file has changed."""
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
        striking = [
            fault for fault in self.faults if fault.strikes(request.operation, request.class_name())
        ]
        return striking[0] if striking else None
