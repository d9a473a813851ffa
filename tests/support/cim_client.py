#!/usr/bin/python3
"""A CIM client for tests, with nothing of the project's own in it. As a program:

cim_client.py list                one line for each instance of KVAXDT_FRU: the values of FRUNumber,
                                  Name, Description, IdentifyingNumber, Vendor and RevisionLevel,
                                  separated by "|", sorted; control characters and backslashes as
                                  Python writes them
cim_client.py publish FRU-NUMBER IDENTIFYING-NUMBER VENDOR
                                  creates an instance of KVAXDT_FRU as another publisher
cim_client.py change CHANGE...    one after the other on one connection; a CHANGE is one of
                                  create NUMBER NAME, modify NUMBER NAME, delete NUMBER, list;
                                  list prints NUMBER=NAME of each instance in the server's order
cim_client.py send FILE           sends the bytes of FILE; prints what comes back
cim_client.py meaning FILE...     for each recorded HTTP answer, what it means, in one line

The first request that the server refuses ends the program with status 1.
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
FRU = "KVAXDT_FRU"
ENUMERATE_FRUS = [("ClassName", f'<CLASSNAME NAME="{FRU}"/>')]
COLUMNS = ("FRUNumber", "Name", "Description", "IdentifyingNumber", "Vendor", "RevisionLevel")


class CimError(Exception):
    def __init__(self, operation, code, description):
        super().__init__(f"{operation}: CIM error {code}: {description}")
        self.code = code


class Session:
    """Keeps its connection. A request that the server refuses raises CimError; a connection that ends, or
    an answer that is not an answer, raises OSError or ConnectionError."""

    def __init__(self, port=ADDRESS[1], timeout=20):
        self.connection = http.client.HTTPConnection(ADDRESS[0], port, timeout=timeout)

    def close(self):
        self.connection.close()

    def raw(self, operation, parameters):
        """The body of the answer."""
        body = cim_xml.request_message(operation, NAMESPACE, parameters)
        headers = cim_xml.http_headers(operation, NAMESPACE)
        try:
            self.connection.request("POST", "/cimom", body, headers)
            response = self.connection.getresponse()
            text = response.read()
        except http.client.HTTPException as error:
            raise ConnectionError(f"{operation}: {error!r}") from error
        if response.status != 200:
            raise ConnectionError(f"{operation}: HTTP status {response.status}")
        return text

    def call(self, operation, parameters):
        reply = ElementTree.fromstring(self.raw(operation, parameters)).find(".//IMETHODRESPONSE")
        error = reply.find("ERROR")
        if error is not None:
            raise CimError(operation, int(error.get("CODE")), error.get("DESCRIPTION"))
        return reply

    # The instances are of KVAXDT_FRU. Unless others are given, their keys differ in the FRU number, and
    # their content is the name.

    def create(self, number, name, **others):
        self.call("CreateInstance", [("NewInstance", instance(number, name, **others))])

    def modify(self, number, name):
        self.change(number, instance(number, name))

    def change_description(self, number, text):
        self.change(number, cim_xml.instance_element(FRU, [("Description", "string", text)]))

    def change(self, number, changed):
        named = f"<VALUE.NAMEDINSTANCE>{path(number)}{changed}</VALUE.NAMEDINSTANCE>"
        self.call("ModifyInstance", [("ModifiedInstance", named)])

    def delete(self, number):
        self.delete_by(keys(number))

    def delete_by(self, values):
        self.call("DeleteInstance", [("InstanceName", name_of(values))])

    def instances(self):
        """The values of each instance by the names of the properties, in the order of the answer."""
        reply = self.call("EnumerateInstances", ENUMERATE_FRUS)
        return [
            {property.get("NAME"): value_of(property) for property in element.iter("PROPERTY")}
            for element in reply.iter("INSTANCE")
        ]

    def frus(self):
        """(number, name) of each instance, in the order of the answer."""
        return [(values["FRUNumber"], values["Name"]) for values in self.instances()]


def keys(number):
    return {"FRUNumber": number, "IdentifyingNumber": "1", "Vendor": "Acme"}


def name_of(values):
    return cim_xml.name_element(FRU, [(key, values[key]) for key in cim_xml.FRU_KEYS])


def path(number):
    return name_of(keys(number))


def instance(number, name, **others):
    values = keys(number) | {"Name": name} | others
    return cim_xml.instance_element(FRU, [(key, "string", value) for key, value in values.items()])


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


def visible(text):
    if text is None:
        return "NULL"
    return "".join(c if c.isprintable() and c != "\\" else ascii(c)[1:-1] for c in text)


def value_of(element):
    """The text of a property; without a VALUE it is null, with an empty one it is not."""
    value = element.find("VALUE")
    return None if value is None else value.text or ""


def list_instances():
    lines = ("|".join(visible(values.get(column)) for column in COLUMNS)
             for values in Session().instances())
    for line in sorted(lines):
        print(line)


def publish(number, identifying_number, vendor):
    Session().create(number, "FAN", IdentifyingNumber=identifying_number, Vendor=vendor,
                     Description="other", RevisionLevel="9")


def change(*words):
    session, words = Session(), list(words)
    while words:
        action = words.pop(0)
        if action == "list":
            print(" ".join(f"{number}={name}" for number, name in session.frus()))
        elif action == "delete":
            session.delete(words.pop(0))
        else:
            {"create": session.create, "modify": session.modify}[action](words.pop(0), words.pop(0))


def send_file(path):
    with open(path, "rb") as file:
        sys.stdout.buffer.write(send(file.read()))


class Recorded:
    """Lets http.client read an answer from bytes."""

    def __init__(self, raw):
        self.raw = raw

    def makefile(self, *_, **__):
        return io.BytesIO(self.raw)


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


COMMANDS = {"list": list_instances, "publish": publish, "change": change, "send": send_file,
            "meaning": meaning}

if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1] not in COMMANDS:
        sys.exit(__doc__)
    try:
        COMMANDS[sys.argv[1]](*sys.argv[2:])
    except (CimError, OSError) as error:
        sys.exit(str(error))
