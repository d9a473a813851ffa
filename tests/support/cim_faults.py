"""The ways in which cim_peer.py misbehaves.

A fault is a line "OPERATION[/CLASS] NTH FAULT [DETAIL]", for instance

    EnumerateInstances/KVAXDT_Processor 1 hang
    CreateInstance 2 error 11
    * * chunked

It strikes the NTH request of that operation (and class), or every one for "*".
"""

import os
import socket
import struct
import time

import cim_answers

HANG_SECONDS = 120
LONGER_THAN_ANY_LIMIT = 70 * 1024 * 1024

STATUS_OK = "HTTP/1.1 200 OK"
CONTENT_TYPE = 'Content-Type: application/xml; charset="utf-8"'
END_OF_ANSWER = b"</IMETHODRESPONSE>"
METHOD_RESPONSE = "CIMOperation: MethodResponse"


def head(*lines):
    return ("\r\n".join(lines) + "\r\n\r\n").encode()


def with_length(body, *lines, status=STATUS_OK):
    return head(status, CONTENT_TYPE, *lines, f"Content-Length: {len(body)}") + body


def send_well(client, body):
    client.sendall(with_length(body, METHOD_RESPONSE))


def chunk(data):
    return f"{len(data):x}\r\n".encode() + data + b"\r\n"


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

    def strikes(self, request):
        if self.operation not in ("*", request.operation):
            return False
        if self.class_name not in ("", request.class_name()):
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
        striking = [fault for fault in self.faults if fault.strikes(request)]
        return striking[0] if striking else None


def hang(client, request, answer, detail):
    time.sleep(HANG_SECONDS)
    return False


def close(client, request, answer, detail):
    return False


def reset(client, request, answer, detail):
    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    return False


def close_within_head(client, request, answer, detail):
    client.sendall(head(STATUS_OK, CONTENT_TYPE)[:-4])
    return False


def close_within_body(client, request, answer, detail):
    whole = with_length(answer(), METHOD_RESPONSE)
    client.sendall(whole[:-20])
    return False


def garbage(client, request, answer, detail):
    client.sendall(b"\x00\xff\xfe this is not HTTP\r\n\r\n" * 3)
    return False


def drip(client, request, answer, detail):
    for byte in with_length(answer(), METHOD_RESPONSE):
        client.sendall(bytes([byte]))
        time.sleep(1)
    return False


def drip_body(client, request, answer, detail):
    body = answer()
    client.sendall(with_length(body, METHOD_RESPONSE)[: -len(body)])
    for byte in body:
        client.sendall(bytes([byte]))
        time.sleep(1)
    return False


def replaced(old, new):
    def way(client, request, answer, detail):
        body = answer()
        if old not in body:
            raise ValueError(f"nothing to replace in {body!r}")
        send_well(client, body.replace(old, new))
        return True

    return way


def wrong_id(client, request, answer, detail):
    send_well(client, answer().replace(f'ID="{request.message_id}"'.encode(), b'ID="424242"'))
    return True


def missing_id(client, request, answer, detail):
    send_well(client, answer().replace(f' ID="{request.message_id}"'.encode(), b""))
    return True


def wrong_operation(client, request, answer, detail):
    name = f'IMETHODRESPONSE NAME="{request.operation}"'.encode()
    send_well(client, answer().replace(name, b'IMETHODRESPONSE NAME="ModifyInstance"'))
    return True


def whole_body(make):
    """A well-formed HTTP answer with another body."""

    def way(client, request, answer, detail):
        send_well(client, make(answer()))
        return True

    return way


def deep(body):
    tower = b"<A>" * 200000 + b"</A>" * 200000
    return body.replace(END_OF_ANSWER, tower + END_OF_ANSWER)


def entities(body):
    """Each entity stands for ten of the one before it: a few bytes that would be gigabytes."""
    lines = ['<!ENTITY a0 "aaaaaaaaaa">']
    lines += [f'<!ENTITY a{i} "{f"&a{i - 1};" * 10}">' for i in range(1, 12)]
    document_type = f"<!DOCTYPE CIM [{''.join(lines)}]>".encode()
    body = body.replace(b"<CIM ", document_type + b"<CIM ", 1)
    return body.replace(END_OF_ANSWER, b"<VALUE>&a11;</VALUE>" + END_OF_ANSWER)


def huge(client, request, answer, detail):
    client.sendall(
        head(STATUS_OK, CONTENT_TYPE, METHOD_RESPONSE, f"Content-Length: {LONGER_THAN_ANY_LIMIT}")
    )
    return pour(client, lambda data: data)


def huge_chunked(client, request, answer, detail):
    client.sendall(head(STATUS_OK, CONTENT_TYPE, METHOD_RESPONSE, "Transfer-Encoding: chunked"))
    return pour(client, chunk)


def pour(client, wrap):
    data = wrap(b" " * 65536)
    for _ in range(LONGER_THAN_ANY_LIMIT // 65536):
        client.sendall(data)
    return False


def huge_head(client, request, answer, detail):
    client.sendall(f"{STATUS_OK}\r\n".encode())
    for number in range(20000):
        client.sendall(f"X-Header-{number}: {'x' * 100}\r\n".encode())
    client.sendall(b"Content-Length: 0\r\n\r\n")
    return False


def status_401(client, request, answer, detail):
    status = "HTTP/1.1 401 Unauthorized"
    client.sendall(with_length(b"", 'WWW-Authenticate: Basic realm="cim"', status=status))
    return True


def status_500(client, request, answer, detail):
    lines = ("CIMError: request-not-valid", "PGErrorDetail: test%20of%20errors")
    client.sendall(with_length(b"", *lines, status="HTTP/1.1 500 Internal Server Error"))
    return True


def wrong_header(client, request, answer, detail):
    client.sendall(with_length(answer(), "CIMOperation: MethodCall"))
    return True


def missing_header(client, request, answer, detail):
    client.sendall(with_length(answer()))
    return True


def error(client, request, answer, detail):
    """Answers an error instead of doing what was asked."""
    name = f'<IMETHODRESPONSE NAME="{request.operation}">'
    body = (
        '<?xml version="1.0" encoding="utf-8" ?><CIM CIMVERSION="2.0" DTDVERSION="2.0">'
        f'<MESSAGE ID="{request.message_id}" PROTOCOLVERSION="1.0"><SIMPLERSP>{name}'
        f'<ERROR CODE="{detail or 1}" DESCRIPTION="deliberate"/>'
        "</IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>"
    )
    send_well(client, body.encode())
    return True


def chunked(client, request, answer, detail):
    body = answer()
    pieces = b"".join(chunk(body[i : i + 100]) for i in range(0, len(body), 100))
    lines = (STATUS_OK, CONTENT_TYPE, METHOD_RESPONSE, "Transfer-Encoding: chunked")
    client.sendall(head(*lines) + pieces + b"0\r\n\r\n")
    return True


def error_in_trailer(client, request, answer, detail):
    body = (
        '<?xml version="1.0" encoding="utf-8" ?>\n<CIM CIMVERSION="2.0" DTDVERSION="2.0">\n'
        f'<MESSAGE ID="{request.message_id}" PROTOCOLVERSION="1.0">\n<SIMPLERSP>\n'
        f'<IMETHODRESPONSE NAME="{request.operation}">\n</IMETHODRESPONSE>\n'
        "</SIMPLERSP>\n</MESSAGE>\n</CIM>\n"
    ).encode()
    lines = (STATUS_OK, CONTENT_TYPE, METHOD_RESPONSE, "Transfer-Encoding: chunked")
    trailer = b"0\r\nCIMStatusCode: 1\r\nCIMStatusCodeDescription: CIM_ERR_FAILED%3A%20test\r\n\r\n"
    client.sendall(head(*lines) + chunk(body) + trailer)
    return True


def end(client, request, answer, detail):
    """The whole server ends: what follows cannot even connect."""
    os._exit(0)


def close_when_idle(client, request, answer, detail):
    """As a server whose patience with idle connections has ended: without a word. Answer and end of
    the connection arrive together, so that the client has a chance to notice."""
    client.setsockopt(socket.IPPROTO_TCP, socket.TCP_CORK, 1)
    send_well(client, answer())
    client.shutdown(socket.SHUT_WR)
    return False


def close_soon(client, request, answer, detail):
    """The same, but a moment after the answer."""
    send_well(client, answer())
    end = time.monotonic() + 0.0002  # asleep, it could miss its time
    while time.monotonic() < end:
        pass
    return False


def connection_close(client, request, answer, detail):
    client.sendall(with_length(answer(), METHOD_RESPONSE, "Connection: close"))
    return False


def unusual_headers(client, request, answer, detail):
    """All of this is allowed, and some servers do it."""
    body = answer()
    lines = (
        STATUS_OK,
        "content-type:   text/xml",
        f"content-length: {len(body):010}",
        "cimoperation: MethodResponse",
        "WBEMServerResponseTime: 42",
        "Date: Thu, 01 Jan 1970 00:00:00 GMT",
    )
    client.sendall(head(*lines) + body)
    return True


def interim(client, request, answer, detail):
    """A client must pass over interim answers, asked for or not."""
    client.sendall(b"HTTP/1.1 100 Continue\r\n\r\n")
    send_well(client, answer())
    return True


WAYS = {
    # No usable answer.
    "hang": hang,
    "drip": drip,
    "drip-body": drip_body,
    "close": close,
    "reset": reset,
    "close-within-head": close_within_head,
    "close-within-body": close_within_body,
    "garbage": garbage,
    "huge": huge,
    "huge-chunked": huge_chunked,
    "huge-head": huge_head,
    "status-401": status_401,
    "status-500": status_500,
    "wrong-header": wrong_header,
    "missing-header": missing_header,
    "wrong-id": wrong_id,
    "missing-id": missing_id,
    "wrong-operation": wrong_operation,
    "no-response-element": replaced(b"IMETHODRESPONSE", b"METHODRESPONSE"),
    "cut-xml": whole_body(lambda body: body[: len(body) // 2]),
    "deep": whole_body(deep),
    "entities": whole_body(entities),
    "not-xml": whole_body(lambda body: b"It works!\n"),
    "html": whole_body(lambda body: b"<html><body><p>It works!</p></body></html>"),
    "empty-body": whole_body(lambda body: b""),
    "bad-utf8": replaced(END_OF_ANSWER, b"\xff\xfe" + END_OF_ANSWER),
    "error": error,
    "error-in-trailer": error_in_trailer,
    "end": end,
    # Good answers in a less common form.
    "chunked": chunked,
    "close-when-idle": close_when_idle,
    "close-soon": close_soon,
    "connection-close": connection_close,
    "unusual-headers": unusual_headers,
    "interim": interim,
    **{name: whole_body(form) for name, form in cim_answers.FORMS.items()},
}
