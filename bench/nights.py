"""One parts server for many machines: what a night costs it.

    nights.py [MACHINES [SECONDS]]

Simulates the requests of one night of MACHINES machines (10,000) to a real nginx with files for 200 machine
types, at random moments of two hours as morvik.timer spreads them, in SECONDS seconds (60). Each machine is
a new client with its own connection that asks for what morvik-run asks. In the nights of "changed", one
in fifty machines has an old version of its file. Prints how many requests there were and how many were answered
with 304, and for each machine the bytes of requests and answers as HTTP has them, all bytes on the wire in both
directions, and the CPU time of nginx; and the most machines that begin in one simulated second.
"""
import asyncio
import collections
import os
import random
import signal
import ssl
import subprocess
import sys
import tempfile
import time

TYPES = 200
LINES = 60  # in a file: about 4 KB, with several languages and clock speeds
WINDOW = 2 * 3600
CONFIGURATION = """
user root; daemon off; pid nginx.pid; error_log error.log; worker_processes 1;
events { worker_connections 4096; }
http { access_log off; default_type text/plain; keepalive_timeout 65; client_body_temp_path b; proxy_temp_path p;
       fastcgi_temp_path f; uwsgi_temp_path u; scgi_temp_path s;
       ssl_certificate cert.pem; ssl_certificate_key key.pem; ssl_session_tickets off;
       server { listen 127.0.0.1:5980; listen 127.0.0.1:5981 ssl; root files; } }
"""
PORTS = {False: 5980, True: 5981}


def write_files():
    os.mkdir("files")
    for number in range(TYPES):
        with open("files/%04dwpk.txt" % number, "w", encoding="ascii") as file:
            file.writelines('"%02dP%04d","MEMORY","SIZE=%d","%d MB memory module of machine type %04d"\n'
                            % (line, number, 256 << line % 8, 256 << line % 8, number)
                            for line in range(LINES))
    with open("files/SHA256SUMS", "w", encoding="ascii") as file:
        for number in range(TYPES):
            file.write("%064x  %04dwpk.txt\n" % (random.getrandbits(256), number))
    with open("files/SHA256SUMS.gpg", "wb") as file:
        file.write(random.randbytes(566))  # as long as a signature with a 4096-bit key


def make_certificate():
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                    "-days", "2", "-subj", "/CN=parts.example.com", "-keyout", "key.pem", "-out", "cert.pem"],
                   check=True, capture_output=True)


def bytes_on_wire():
    with open("/proc/net/dev", encoding="ascii") as file:
        loopback = next(line for line in file if line.strip().startswith("lo:"))
    return int(loopback.split(":")[1].split()[8])


class Server:
    def __enter__(self):
        with open("nginx.conf", "w", encoding="ascii") as file:
            file.write(CONFIGURATION)
        self.process = subprocess.Popen(["nginx", "-p", os.getcwd(), "-c", "nginx.conf", "-e", "error.log"])
        for _ in range(100):
            if os.path.exists("nginx.pid") and os.path.getsize("nginx.pid"):
                return self
            time.sleep(0.05)
        raise SystemExit("nginx did not start: " + open("error.log", encoding="utf-8").read())

    def cpu_seconds(self):
        ticks = 0
        children = open("/proc/%d/task/%d/children" % (self.process.pid, self.process.pid), encoding="ascii").read()
        for pid in [str(self.process.pid)] + children.split():
            with open("/proc/%s/schedstat" % pid, encoding="ascii") as file:
                ticks += int(file.read().split()[0])
        return ticks / 1e9

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait()


async def run_machine(counts, tls, names, etag):
    """One run of one machine: a connection, and requests on it one after the other."""
    reader, writer = await asyncio.open_connection("127.0.0.1", PORTS[tls is not None], ssl=tls)
    for name in names:
        known = etag if name == names[0] else None
        request = ("GET /%s HTTP/1.1\r\nHost: parts.example.com\r\nUser-Agent: morvik-run/0.1.0\r\n"
                   "Accept: */*\r\n%s\r\n" % (name, "If-None-Match: %s\r\n" % known if known else "")).encode()
        writer.write(request)
        head = await reader.readuntil(b"\r\n\r\n")
        body = b""
        status = head[9:12]
        if status == b"200":
            length = next(line for line in head.split(b"\r\n") if line.lower().startswith(b"content-length:"))
            body = await reader.readexactly(int(length.split(b":")[1]))
        elif status != b"304":
            raise SystemExit("unexpected answer: %r" % head)
        counts["requests"] += 1
        counts["unchanged"] += status == b"304"
        counts["sent"] += len(request)
        counts["received"] += len(head) + len(body)
        if status == b"304":
            break  # nothing to verify
    writer.close()


async def etags():
    found = {}
    for number in range(TYPES):
        reader, writer = await asyncio.open_connection("127.0.0.1", PORTS[False])
        writer.write(b"HEAD /%04dwpk.txt HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n" % number)
        head = await reader.read()
        found[number] = next(line.split(b": ")[1].decode() for line in head.split(b"\r\n") if line.startswith(b"ETag"))
        writer.close()
    return found


async def night(server, machines, seconds, is_signed, stale_share, tls):
    known = await etags()
    counts = collections.Counter()
    moments = sorted(random.uniform(0, WINDOW) for _ in range(machines))
    busiest = max(collections.Counter(int(moment) for moment in moments).values())
    wire, cpu, start, running = bytes_on_wire(), server.cpu_seconds(), time.monotonic(), set()
    for moment in moments:
        wait = moment / WINDOW * seconds - (time.monotonic() - start)
        if wait > 0.001:
            await asyncio.sleep(wait)
        number = random.randrange(TYPES)
        names = ["%04dwpk.txt" % number] + (["SHA256SUMS", "SHA256SUMS.gpg"] if is_signed else [])
        etag = None if stale_share is None else '"old"' if random.random() < stale_share else known[number]
        task = asyncio.ensure_future(run_machine(counts, tls, names, etag))
        running.add(task)
        task.add_done_callback(running.discard)
    while running:
        await asyncio.gather(*list(running))
    return counts, bytes_on_wire() - wire, server.cpu_seconds() - cpu, busiest


def main():
    machines = int(sys.argv[1]) if len(sys.argv) > 1 else 10000
    seconds = float(sys.argv[2]) if len(sys.argv) > 2 else 60
    no_check = ssl.create_default_context()
    no_check.check_hostname, no_check.verify_mode = False, ssl.CERT_NONE
    nights = [("every file anew", False, None, None), ("every file anew, signed", True, None, None),
              ("changed", False, 0.02, None), ("changed, signed", True, 0.02, None),
              ("changed, signed, TLS", True, 0.02, no_check)]
    row = "%-24s %9s %9s %9s %9s %9s %9s %9s"
    print(row % ("%d machines" % machines, "requests", "304", "asked B", "answer B", "wire B", "CPU us", "busiest"))
    for name, is_signed, stale_share, tls in nights:
        with tempfile.TemporaryDirectory() as directory:
            os.chdir(directory)
            write_files()
            make_certificate()
            with Server() as server:
                counts, wire, cpu, busiest = asyncio.run(
                    night(server, machines, seconds, is_signed, stale_share, tls))
            os.chdir("/")
        print(row % (name, counts["requests"], counts["unchanged"], counts["sent"] // machines,
                     counts["received"] // machines, wire // machines, round(cpu * 1e6 / machines), busiest),
              flush=True)


if __name__ == "__main__":
    main()
