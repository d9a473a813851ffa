#!/usr/bin/python3
"""A CIM client for tests, with nothing of the project's own in it.

cim_client.py list [CLASS]              one line for each instance of CLASS (KVAXDT_FRU): the values
                                        of FRUNumber, Name, Description, IdentifyingNumber, Vendor
                                        and RevisionLevel, separated by "|", sorted; control
                                        characters and backslashes as Python writes them
cim_client.py create NAME=VALUE...      creates an instance of KVAXDT_FRU as another publisher
cim_client.py send FILE                 sends the bytes of FILE; prints what comes back
cim_client.py meaning FILE...           for each recorded HTTP answer, what it means, in one line
"""

import http.client
import io
import socket
import sys
from urllib.parse import unquote

import cim_xml
from cim_xml import ElementTree

ADDRESS = ("127.0.0.1", 5988)
NAMESPACE = "root/kvasd"
COLUMNS = ("FRUNumber", "Name", "Description", "IdentifyingNumber", "Vendor", "RevisionLevel")


def send(raw):
    """The whole answer, as bytes. The server sees that no more comes, answers, and closes."""
    with socket.create_connection(ADDRESS, timeout=10) as server:
        server.sendall(raw)
        server.shutdown(socket.SHUT_WR)
        pieces = []
        while True:
            try:
                piece = server.recv(65536)
            except ConnectionResetError:
                break
            if not piece:
                break
            pieces.append(piece)
    return b"".join(pieces)


class Recorded:
    """Lets http.client read an answer from bytes."""

    def __init__(self, raw):
        self.raw = raw

    def makefile(self, *_, **__):
        return io.BytesIO(self.raw)


def call(operation, parameters):
    body = cim_xml.request_message(operation, NAMESPACE, parameters)
    with socket.create_connection(ADDRESS, timeout=10) as server:
        server.sendall(cim_xml.http_request(operation, NAMESPACE, body))
        response = http.client.HTTPResponse(server, method="POST")
        response.begin()
        text = response.read()
    if response.status != 200:
        sys.exit(f"{operation}: HTTP status {response.status}")
    reply = ElementTree.fromstring(text).find(".//IMETHODRESPONSE")
    if reply.find("ERROR") is not None:
        sys.exit(f"{operation}: {reply.find('ERROR').attrib}")
    return reply


def visible(text):
    if text is None:
        return "NULL"
    return "".join(c if c.isprintable() and c != "\\" else ascii(c)[1:-1] for c in text)


def value_of(element):
    """The text of a property; without a VALUE it is null, with an empty one it is not."""
    value = element.find("VALUE")
    return None if value is None else value.text or ""


def list_instances(class_name="KVAXDT_FRU"):
    class_element = f'<CLASSNAME NAME="{class_name}"/>'
    reply = call("EnumerateInstances", [("ClassName", class_element)])
    lines = []
    for instance in reply.iter("INSTANCE"):
        values = {e.get("NAME"): value_of(e) for e in instance.iter("PROPERTY")}
        lines.append("|".join(visible(values.get(column)) for column in COLUMNS))
    for line in sorted(lines):
        print(line)


def create(*assignments):
    pairs = [assignment.split("=", 1) for assignment in assignments]
    properties = [(name, "string", value) for name, value in pairs]
    call("CreateInstance", [("NewInstance", cim_xml.instance_element("KVAXDT_FRU", properties))])


def send_file(path):
    with open(path, "rb") as file:
        sys.stdout.buffer.write(send(file.read()))


def trailers(raw):
    """http.client drops them."""
    lines = raw.decode("latin-1").split("\r\n")
    return dict(line.split(": ", 1) for line in lines if line.startswith("CIMStatusCode"))


def meaning_of(raw):
    response = http.client.HTTPResponse(Recorded(raw), method="POST")
    response.begin()
    if response.status != 200:
        return f"HTTP {response.status}"
    reply = ElementTree.fromstring(response.read()).find(".//IMETHODRESPONSE")
    code = trailers(raw).get("CIMStatusCode")
    if reply.find("ERROR") is not None:
        code = reply.find("ERROR").get("CODE")
    if code is not None:
        return f'{reply.get("NAME")} error {code}'
    parts = [cim_xml.describe_value(name) for name in reply.iter("INSTANCENAME")]
    for element in reply.iter("PROPERTY"):
        if value_of(element) is not None:
            name, kind = element.get("NAME"), element.get("TYPE")
            parts.append(f"{name}:{kind}={visible(value_of(element))}")
    parts += [visible(value.text or "") for value in reply.findall("IRETURNVALUE/VALUE")]
    return " ".join([reply.get("NAME"), *sorted(parts)])


def meaning(*paths):
    for path in paths:
        with open(path, "rb") as file:
            print(unquote(meaning_of(file.read())))


COMMANDS = {"list": list_instances, "create": create, "send": send_file, "meaning": meaning}

if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1] not in COMMANDS:
        sys.exit(__doc__)
    COMMANDS[sys.argv[1]](*sys.argv[2:])
