#!/usr/bin/python3
"""Clients that want as much as they can get of the CIM server on 127.0.0.1:5988, until SIGTERM.

greedy_clients.py COUNT    so many connections; each sends its request again as soon as it has the
                           answer, without a pause: every second one lists all instances, the others
                           send 1 MB of property names. Prints "ready" after the first answers, and
                           at the end how many there were.
"""

import selectors
import signal
import socket
import sys

import cim_client
import cim_xml

READ_SIZE = 1 << 20


def requests():
    names = "<VALUE.ARRAY>" + "<VALUE/>" * 125_000 + "</VALUE.ARRAY>"
    for operation, parameters in (
        ("EnumerateInstances", cim_client.ENUMERATE_FRUS),
        ("EnumerateInstances", [*cim_client.ENUMERATE_FRUS, ("PropertyList", names)]),
    ):
        body = cim_xml.request_message(operation, cim_client.NAMESPACE, parameters)
        yield cim_xml.http_request(operation, cim_client.NAMESPACE, body)


class Client:
    def __init__(self, selector, request):
        self.selector = selector
        self.request = request
        self.answers = 0
        self.connect()

    def connect(self):
        self.socket = socket.socket()
        self.socket.setblocking(False)
        self.socket.connect_ex(cim_client.ADDRESS)
        self.to_send, self.header, self.to_read = memoryview(self.request), b"", None
        both = selectors.EVENT_READ | selectors.EVENT_WRITE
        self.selector.register(self.socket, both, self)

    def step(self, events):
        try:
            if events & selectors.EVENT_WRITE:
                self.send()
            if events & selectors.EVENT_READ:
                self.receive()
        except BlockingIOError:
            pass
        except OSError:
            self.selector.unregister(self.socket)
            self.socket.close()
            self.connect()

    def send(self):
        self.to_send = self.to_send[self.socket.send(self.to_send) :]
        if not self.to_send:
            self.selector.modify(self.socket, selectors.EVENT_READ, self)

    def receive(self):
        data = self.socket.recv(READ_SIZE)
        if not data:
            raise ConnectionResetError
        if self.to_read is None:
            self.header += data
            end = self.header.find(b"\r\n\r\n")
            if end < 0:
                return
            length = self.header.lower().split(b"content-length:")[1].split(b"\r\n")[0]
            self.to_read = int(length) - (len(self.header) - end - 4)
        else:
            self.to_read -= len(data)
        if self.to_read == 0:
            self.answers += 1
            self.to_send, self.header, self.to_read = memoryview(self.request), b"", None
            self.selector.modify(
                self.socket, selectors.EVENT_READ | selectors.EVENT_WRITE, self
            )


def main(count):
    ended = []
    signal.signal(signal.SIGTERM, lambda *_: ended.append(True))
    selector = selectors.DefaultSelector()
    choices = list(requests())
    clients = [Client(selector, choices[number % 2]) for number in range(count)]
    is_ready = False
    while not ended:
        for key, events in selector.select(timeout=0.1):
            key.data.step(events)
        if not is_ready and all(sum(c.answers for c in clients[kind::2]) for kind in (0, 1)):
            is_ready = True
            print("ready", flush=True)
    print(sum(client.answers for client in clients), "answers")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(int(sys.argv[1]))
