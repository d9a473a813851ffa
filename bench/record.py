"""Passes the requests of clients on to a server, and writes them down for replay.

    record.py PORT SERVER_PORT FILE

Listens on 127.0.0.1:PORT and prints "ready". Requests must have a Content-Length.
"""
import re
import socket
import sys
import threading

LENGTH = re.compile(rb"\r\ncontent-length: *(\d+)", re.IGNORECASE)


def read_message(connection, rest):
    """One message with the bytes behind it, or nothing at the end."""
    data = rest
    while b"\r\n\r\n" not in data:
        more = connection.recv(65536)
        if not more:
            return None, b""
        data += more
    header = data.index(b"\r\n\r\n") + 4
    found = LENGTH.search(data[:header])
    size = header + (int(found.group(1)) if found else 0)
    while len(data) < size:
        more = connection.recv(1 << 20)
        if not more:
            return None, b""
        data += more
    return data[:size], data[size:]


def serve(client, server_port, out, lock):
    server = socket.create_connection(("127.0.0.1", server_port))
    server.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    rest = answer_rest = b""
    with client, server:
        while True:
            request, rest = read_message(client, rest)
            if request is None:
                return
            with lock:
                out.write(b"%d\n" % len(request) + request + b"\n")
                out.flush()
            server.sendall(request)
            answer, answer_rest = read_message(server, answer_rest)
            if answer is None:
                return
            client.sendall(answer)


def main():
    port, server_port, name = int(sys.argv[1]), int(sys.argv[2]), sys.argv[3]
    listener = socket.create_server(("127.0.0.1", port))
    lock = threading.Lock()
    with open(name, "wb") as out:
        print("ready", flush=True)
        while True:
            client, _ = listener.accept()
            threading.Thread(target=serve, args=(client, server_port, out, lock), daemon=True).start()


main()
