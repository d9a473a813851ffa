#!/usr/bin/python3
"""Sends what no CIM client should send to the CIM server on 127.0.0.1:5988.

bad_requests.py statuses    each bad request once: "NAME STATUS ERROR", with the HTTP status of the
                            answer ("none" without one) and its CIMError header, if any
bad_requests.py prefixes    every prefix of a good request
bad_requests.py damages     a good request with one byte at a time replaced
"""

import sys

import cim_client
import cim_xml

METHOD = "EnumerateInstanceNames"
NAMESPACE = "root/kvasd"
GOOD_BODY = cim_xml.request_message(
    METHOD, NAMESPACE, [("ClassName", '<CLASSNAME NAME="KVAXDT_FRU"/>')]
)
GOOD = cim_xml.http_request(METHOD, NAMESPACE, GOOD_BODY)


def without(header):
    lines = GOOD.split(b"\r\n")
    return b"\r\n".join(line for line in lines if not line.startswith(header + b":"))


def with_length(length):
    """Announces a body of this length. Its own follows."""
    return replaced(b"Length: %d" % len(GOOD_BODY), b"Length: %d" % length)


def with_body(body):
    return cim_xml.http_request(METHOD, NAMESPACE, body)


def replaced(old, new):
    assert old in GOOD
    return GOOD.replace(old, new)


def in_body(old, new):
    assert old in GOOD_BODY
    return with_body(GOOD_BODY.replace(old, new))


MULTIPLYING = (
    b'<!DOCTYPE CIM [<!ENTITY a "aaaaaaaaaa"><!ENTITY b "&a;&a;&a;&a;&a;&a;&a;&a;">'
    b'<!ENTITY c "&b;&b;&b;&b;&b;&b;&b;&b;">]><CIM '
)

TOWER = b"<A>" * 100000 + b"</A>" * 100000

BAD = {
    "nothing": b"",
    "not-http": b"hello\r\n\r\n",
    "binary": bytes(range(256)) * 10,
    "get": b"GET / HTTP/1.1\r\nHost: localhost\r\n\r\n",
    "no-host": without(b"Host"),
    "other-host": replaced(b"Host: 127.0.0.1:5988", b"Host: example.com"),
    "two-hosts": replaced(b"Host:", b"Host: example.com\r\nHost:"),
    "origin": replaced(b"Host:", b"Origin: http://localhost:5988\r\nHost:"),
    "preflight": b"OPTIONS /cimom HTTP/1.1\r\nHost: localhost\r\nOrigin: http://example.com\r\n\r\n",
    "other-object": replaced(b"root%2Fkvasd", b"root%2Fother"),
    "negative-length": with_length(-1),
    "length-no-number": replaced(b"Length: ", b"Length: x"),
    "too-long": with_length(99999999999),
    "long-headers": replaced(b"Host:", b"X: " + b"x" * 100000 + b"\r\nHost:"),
    "not-well-formed": with_body(b"<CIM><oo>"),
    "document-type": in_body(b"<CIM ", MULTIPLYING),
    "deep": with_body(TOWER),
    "deep-within": in_body(b"</IMETHODCALL>", TOWER + b"</IMETHODCALL>"),
    "protocol-version": in_body(b'PROTOCOLVERSION="1.0"', b'PROTOCOLVERSION="9.0"'),
}


def status_of(answer):
    lines = answer.decode("latin-1").split("\r\n")
    words = lines[0].split(" ")
    status = words[1] if words[0].startswith("HTTP/") and len(words) > 1 else "none"
    errors = [line[9:].strip() for line in lines if line.lower().startswith("cimerror:")]
    return " ".join([status, *errors])


def print_statuses():
    for name, request in BAD.items():
        print(name, status_of(cim_client.send(request)))


def send_prefixes():
    for length in range(len(GOOD)):
        cim_client.send(GOOD[:length])


def send_damages():
    for position in range(len(GOOD)):
        cim_client.send(GOOD[:position] + b"\xff" + GOOD[position + 1 :])


COMMANDS = {
    "statuses": print_statuses,
    "prefixes": send_prefixes,
    "damages": send_damages,
}

if __name__ == "__main__":
    if len(sys.argv) != 2 or sys.argv[1] not in COMMANDS:
        sys.exit(__doc__)
    COMMANDS[sys.argv[1]]()
