#!/usr/bin/python3
"""A CIM server for tests: hands requests on to a real server, or answers by a description of a machine,
writes down what it is asked, and misbehaves on request.

Prints "ready" on standard output once it listens on 127.0.0.1. Ends on SIGTERM.

--machine FILE   JSON: {"CLASS": [instance, ...], ...}; an instance is a list of properties
                 [name, type, value]; value is a text, null, or a list of texts (an array).
                 The instances of KVAXDT_FRU are the published ones; creations and deletions are
                 answered but change nothing. With "names": "<INSTANCENAME ...>..." these are the
                 names of all published instances, and each is one of morvik's own.
--upstream PORT  everything goes to the server on this port of 127.0.0.1 instead.
--log FILE       one line for each request: number of the connection, operation, namespace, and
                 every argument with its value.
--accepted FILE  a line for each connection, whether or not a request follows.
--raw DIRECTORY  new, for each request as it came: 001.http, 002.http, ...
--faults FILE    see cim_faults.py; read again for each request, and counted from the start again
                 when its text has changed. Connections are then numbered from 1 again, too.
"""

import argparse
import http.client
import json
import os
import signal
import socket
import sys
import threading

import cim_faults
import cim_xml

END_OF_HEAD = b"\r\n\r\n"


def parse_arguments():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("--machine")
    parser.add_argument("--upstream", type=int)
    parser.add_argument("--log", default=os.devnull)
    parser.add_argument("--accepted", default=os.devnull)
    parser.add_argument("--raw")
    parser.add_argument("--faults")
    return parser.parse_args()


class CannedMachine:
    """Answers from a description alone."""

    def __init__(self, classes):
        self.classes = classes

    def content(self, request):
        class_name = request.class_name()
        instances = self.classes.get(class_name)
        if request.operation == "EnumerateInstances":
            if instances is None:
                return cim_xml.error(5, f"no class {class_name}")
            return cim_xml.returned(
                "".join(
                    cim_xml.named_instance(class_name, number, properties)
                    for number, properties in enumerate(instances)
                )
            )
        if request.operation == "EnumerateInstanceNames":
            if "names" in self.classes:
                return cim_xml.returned(self.classes["names"])
            names = (self.name(class_name, properties) for properties in instances or [])
            return cim_xml.returned("".join(names))
        if request.operation == "GetProperty":
            return self.property(request)
        if request.operation == "CreateInstance":
            properties = [
                (element.get("NAME"), element.get("TYPE"), element.findtext("VALUE"))
                for element in request.parameter("NewInstance")
            ]
            return cim_xml.returned(self.name(class_name, properties))
        if request.operation == "DeleteInstance":
            return ""
        return cim_xml.error(7)

    @staticmethod
    def name(class_name, properties):
        values = {name: value or "" for name, _, value in properties}
        return cim_xml.name_element(class_name, [(key, values[key]) for key in cim_xml.FRU_KEYS])

    def property(self, request):
        if "names" in self.classes:
            return cim_xml.returned("<VALUE>KVAHalvoranFru1</VALUE>")
        wanted = cim_xml.describe_value(request.parameter("InstanceName"))
        property_name = cim_xml.describe_value(request.parameter("PropertyName"))
        for properties in self.classes.get(request.class_name(), []):
            name = cim_xml.ElementTree.fromstring(self.name(request.class_name(), properties))
            if cim_xml.describe_value(name) == wanted:
                value = {name: value for name, _, value in properties}[property_name]
                if value is None:
                    return ""
                return cim_xml.returned(f"<VALUE>{cim_xml.escape(value)}</VALUE>")
        return cim_xml.error(6)


class Peer:
    def __init__(self, arguments):
        self.arguments = arguments
        self.lock = threading.Lock()
        self.faults = cim_faults.Faults(arguments.faults)
        self.connections = 0
        self.requests = 0
        if arguments.raw:
            os.mkdir(arguments.raw)
        classes = {}
        if arguments.machine:
            with open(arguments.machine, encoding="utf-8") as file:
                classes = json.load(file)
        self.canned = CannedMachine(classes)

    def write_down(self, connection, raw, line):
        self.requests += 1
        with open(self.arguments.log, "a", encoding="utf-8") as log:
            log.write(f"{connection} {line}\n")
        if self.arguments.raw:
            path = os.path.join(self.arguments.raw, f"{self.requests:03}.http")
            with open(path, "wb") as file:
                file.write(raw)

    def answer(self, request, raw):
        if self.arguments.upstream:
            return self.forwarded(raw)
        return cim_xml.answer(
            request.operation, request.message_id, self.canned.content(request)
        )

    def forwarded(self, raw):
        with socket.create_connection(("127.0.0.1", self.arguments.upstream)) as upstream:
            upstream.sendall(raw)
            response = http.client.HTTPResponse(upstream, method="POST")
            response.begin()
            return response.read()

    def serve(self, client):
        """One connection, from its first request to its last."""
        own_number = None
        while True:
            raw = receive_request(client)
            if raw is None:
                return
            request = cim_xml.parse_request(raw.split(END_OF_HEAD, 1)[1])
            with self.lock:
                if self.faults.read_again():
                    self.connections = 0
                    own_number = None
                if own_number is None:
                    self.connections += 1
                    own_number = self.connections
                self.write_down(own_number, raw, cim_xml.describe(request))
                fault = self.faults.next_for(request)
            if fault is None:
                cim_faults.send_well(client, self.answer(request, raw))
            elif not fault.act(client, request, lambda: self.answer(request, raw)):
                return


def receive_request(client):
    """The bytes of one request, or None at the end of the connection."""
    raw = b""
    while END_OF_HEAD not in raw:
        more = client.recv(65536)
        if not more:
            return None
        raw += more
    head, body = raw.split(END_OF_HEAD, 1)
    lines = head.decode("latin-1").lower().split("\r\n")[1:]
    headers = dict(line.split(": ", 1) for line in lines)
    while len(body) < int(headers["content-length"]):
        more = client.recv(65536)
        if not more:
            return None
        body += more
    return head + END_OF_HEAD + body


def serve_connection(peer, client):
    with client:
        client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        try:
            peer.serve(client)
        except OSError:
            pass  # the client has gone away; what it was sent until then is in the log


def accept_all(peer, listener):
    while True:
        try:
            client, _ = listener.accept()
        except OSError:
            signal.pause()  # a fault has closed it, and the rest follows
        with open(peer.arguments.accepted, "a", encoding="utf-8") as file:
            file.write("connection\n")
        threading.Thread(target=serve_connection, args=(peer, client), daemon=True).start()


def main():
    arguments = parse_arguments()
    signal.signal(signal.SIGTERM, lambda *_: os._exit(0))
    listener = socket.create_server(("127.0.0.1", 5988))
    cim_faults.listeners.append(listener)
    print("ready", flush=True)
    accept_all(Peer(arguments), listener)


if __name__ == "__main__":
    sys.exit(main())
