#!/usr/bin/python3
"""A parts server for tests: files of a directory by HTTP or HTTPS, with ETag and Last-Modified.

Prints "ready" on standard output once it listens on 127.0.0.1. Ends on SIGTERM.

--certificate FILE  HTTPS, with this certificate and key (PEM).
--log FILE          a line for each request: status, path, "conditional" if it was that.
--fault FILE        read for each request; one line, as long as the file exists:
                      status N [TIMES]  answer N instead, or only that often
                      cut BYTES         send so much of the file, then close
                      unsized BYTES     the same without announcing a length
                      stall             send nothing
                      endless           send blanks without end
                      page              an HTML page with status 200 instead of each file
                      redirect URL      302 to URL and the name of the file
"""

import argparse
import hashlib
import http.server
import os
import signal
import ssl
import sys
import threading
import time

arguments = None
lock = threading.Lock()


def next_fault():
    """The words of the fault for this request, or an empty list."""
    try:
        with open(arguments.fault, encoding="utf-8") as file:
            words = file.read().split()
    except (OSError, TypeError):
        return []
    if words[:1] == ["status"] and len(words) == 3:
        times = int(words[2]) - 1
        if times < 0:
            return []
        with open(arguments.fault, "w", encoding="utf-8") as file:
            file.write(f"status {words[1]} {times}\n")
    return words


class Handler(http.server.BaseHTTPRequestHandler):
    def log_message(self, *_):
        pass

    def write_down(self, status):
        asked = {"if-none-match", "if-modified-since"} & {name.lower() for name in self.headers}
        with lock, open(arguments.log, "a", encoding="utf-8") as file:
            file.write(f"{status} {self.path}{' conditional' if asked else ''}\n")

    def reply(self, status, body=b"", headers=()):
        self.write_down(status)
        self.send_response(status)
        for name, value in headers:
            self.send_header(name, value)
        if status != 304:
            self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def do_GET(self):
        with lock:
            fault = next_fault()
        kind = fault[0] if fault else ""
        if kind == "status":
            return self.reply(int(fault[1]))
        if kind == "page":
            return self.reply(200, b"<!DOCTYPE html>\n<html><body>Sign in</body></html>\n")
        if kind == "redirect":
            name = self.path.rsplit("/", 1)[-1]
            return self.reply(302, headers=[("Location", f"{fault[1]}/{name}")])
        if kind == "stall":
            self.write_down("stall")
            time.sleep(600)
            return None
        if kind == "endless":
            self.write_down("endless")
            self.send_response(200)
            self.end_headers()
            while True:
                self.wfile.write(b" " * 65536)
        path = os.path.join(arguments.root, self.path.split("?")[0].lstrip("/"))
        try:
            with open(path, "rb") as file:
                body = file.read()
                changed = self.date_time_string(int(os.fstat(file.fileno()).st_mtime))
        except OSError:
            return self.reply(404)
        if kind in ("cut", "unsized"):
            self.write_down(kind)
            self.send_response(200)
            if kind == "cut":
                self.send_header("Content-Length", str(len(body)))
            self.end_headers()
            self.wfile.write(body[: int(fault[1])])
            self.close_connection = True
            return None
        etag = f'"{hashlib.sha1(body).hexdigest()}"'
        headers = [("ETag", etag), ("Last-Modified", changed)]
        if self.headers.get("If-None-Match") == etag:
            return self.reply(304, headers=headers)
        return self.reply(200, body, headers)


def main():
    global arguments
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("--port", type=int, default=8080)
    parser.add_argument("--root", required=True)
    parser.add_argument("--certificate")
    parser.add_argument("--log", default=os.devnull)
    parser.add_argument("--fault")
    arguments = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: os._exit(0))
    server = http.server.ThreadingHTTPServer(("127.0.0.1", arguments.port), Handler)
    server.daemon_threads = True
    server.handle_error = lambda *_: None  # a client that hangs up is no fault of the server
    if arguments.certificate:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(arguments.certificate)
        server.socket = context.wrap_socket(server.socket, server_side=True)
    print("ready", flush=True)
    server.serve_forever()


if __name__ == "__main__":
    sys.exit(main())
