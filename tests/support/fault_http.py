"""Faults of HTTP: lengths, chunks, headers, trailers, codings and statuses."""

import zlib

import cim_xml
from http_bytes import (
    CONTENT_TYPE,
    LAST_CHUNK,
    METHOD_RESPONSE,
    STATUS_OK,
    chunk,
    chunked_head,
    chunks,
    head,
    send_well,
    with_length,
)

LONGER_THAN_ANY_LIMIT = 70 * 1024 * 1024

# What comes with a status. Who followed a redirection would be seen on this port.
ELSEWHERE = "Location: http://127.0.0.1:5987/cimom"
STATUS_LINES = {
    "301": [ELSEWHERE],
    "302": [ELSEWHERE],
    "303": [ELSEWHERE],
    "307": ["Location: /cimom"],
    "308": [ELSEWHERE],
    "401": ['WWW-Authenticate: Basic realm="cim"', 'WWW-Authenticate: Local "/etc/passwd"'],
    "407": ['Proxy-Authenticate: Digest realm="cim", nonce="1"'],
    "500": ["CIMError: request-not-valid", "PGErrorDetail: test%20of%20errors"],
    "503": ["Retry-After: 0"],
}


def status(client, request, answer, detail):
    """DETAIL is the status. One of success comes with a good answer."""
    code = detail.split()[0]
    body = answer() if code[0] == "2" else b"<html><body>no</body></html>"
    lines = [METHOD_RESPONSE, *STATUS_LINES.get(code, [])]
    client.sendall(with_length(body, *lines, status=f"HTTP/1.1 {detail} Any"))
    return True


def headers(*lines, first=STATUS_OK):
    """The answer with these lines and CIMOperation, its length and its type."""

    def way(client, request, answer, detail):
        client.sendall(with_length(answer(), METHOD_RESPONSE, *lines, status=first))
        return True

    return way


def framed(*lines, first=STATUS_OK, more=b""):
    """The answer with these lines in place of its length; then the connection ends."""

    def way(client, request, answer, detail):
        body = answer()
        filled = [line.format(length=len(body), less=len(body) - 20) for line in lines]
        client.sendall(head(first, CONTENT_TYPE, METHOD_RESPONSE, *filled) + body + more)
        return False

    return way


def wrong_header(client, request, answer, detail):
    client.sendall(with_length(answer(), "CIMOperation: MethodCall"))
    return True


def missing_header(client, request, answer, detail):
    client.sendall(with_length(answer()))
    return True


def content_type(client, request, answer, detail):
    body = answer()
    lines = [METHOD_RESPONSE, f"Content-Type: {detail}", f"Content-Length: {len(body)}"]
    client.sendall(head(STATUS_OK, *lines) + body)
    return True


# --- too much ---


def huge(client, request, answer, detail):
    client.sendall(
        head(STATUS_OK, CONTENT_TYPE, METHOD_RESPONSE, f"Content-Length: {LONGER_THAN_ANY_LIMIT}")
    )
    return pour(client, lambda data: data)


def huge_chunked(client, request, answer, detail):
    client.sendall(chunked_head())
    return pour(client, chunk)


def pour(client, wrap):
    data = wrap(b" " * 65536)
    for _ in range(LONGER_THAN_ANY_LIMIT // 65536):
        client.sendall(data)
    return False


def many_headers(client, request, answer, detail):
    client.sendall(f"{STATUS_OK}\r\n".encode())
    for number in range(20000):
        client.sendall(f"X-Header-{number}: {'x' * 100}\r\n".encode())
    client.sendall(b"Content-Length: 0\r\n\r\n")
    return False


def long_header(client, request, answer, detail):
    client.sendall(f"{STATUS_OK}\r\nX-Long: {'x' * 2000000}\r\n".encode())
    return False


def long_status_line(client, request, answer, detail):
    client.sendall(f"{STATUS_OK}{'x' * 2000000}\r\n".encode())
    return False


def many_interim(client, request, answer, detail):
    client.sendall(b"HTTP/1.1 100 Continue\r\n\r\n" * 100000)
    return False


def long_extension(client, request, answer, detail):
    client.sendall(chunked_head() + b"5;" + b"x" * 2000000 + b"\r\n")
    return False


def many_trailers(client, request, answer, detail):
    client.sendall(chunked_head() + chunk(answer()) + b"0\r\n" + b"X-Trailer: y\r\n" * 100000)
    return False


# --- chunks, trailers, codings ---


def chunked(client, request, answer, detail):
    client.sendall(chunked_head() + chunks(answer()) + LAST_CHUNK)
    return True


def bad_chunk_size(client, request, answer, detail):
    client.sendall(chunked_head() + b"xyz\r\n" + answer() + b"\r\n" + LAST_CHUNK)
    return False


def overflowing_chunk_size(client, request, answer, detail):
    client.sendall(chunked_head() + b"1ffffffffffffffff\r\n" + answer() + b"\r\n" + LAST_CHUNK)
    return False


def wrong_chunk_size(client, request, answer, detail):
    client.sendall(chunked_head() + chunk(answer())[:-30] + b"\r\n" + LAST_CHUNK)
    return False


def trailers(*lines):
    def way(client, request, answer, detail):
        end = "".join(f"{line}\r\n" for line in lines).encode()
        client.sendall(chunked_head() + chunks(answer()) + b"0\r\n" + end + b"\r\n")
        return True

    return way


def error_in_trailer(client, request, answer, detail):
    body = cim_xml.answer(request.operation, request.message_id, "\n")
    trailer = b"0\r\nCIMStatusCode: 1\r\nCIMStatusCodeDescription: CIM_ERR_FAILED%3A%20test\r\n\r\n"
    client.sendall(chunked_head() + chunk(body) + trailer)
    return True


def compressed(body):
    packer = zlib.compressobj(9, zlib.DEFLATED, 31)
    return packer.compress(body) + packer.flush()


def gzip(client, request, answer, detail):
    client.sendall(with_length(compressed(answer()), METHOD_RESPONSE, "Content-Encoding: gzip"))
    return True


def gzip_bomb(client, request, answer, detail):
    """A hundred KiB that would be a hundred MiB."""
    body = compressed(answer() + b" " * 100 * 1024 * 1024)
    client.sendall(with_length(body, METHOD_RESPONSE, "Content-Encoding: gzip"))
    return True


def gzip_unsaid(client, request, answer, detail):
    send_well(client, compressed(answer()))
    return True


def transfer_gzip(client, request, answer, detail):
    lines = (STATUS_OK, CONTENT_TYPE, METHOD_RESPONSE, "Transfer-Encoding: gzip, chunked")
    client.sendall(head(*lines) + chunks(compressed(answer())) + LAST_CHUNK)
    return False


def chunked_with_length(client, request, answer, detail):
    client.sendall(chunked_head("Content-Length: 5") + chunks(answer()) + LAST_CHUNK)
    return False


# --- good, in a less common form ---


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
    "status": status,
    "wrong-header": wrong_header,
    "missing-header": missing_header,
    "content-type": content_type,
    "bad-header": headers("X-Bad: a\x00b"),
    "http-2": headers(first="HTTP/2.0 200 OK"),
    "status-line-without-number": headers(first="HTTP/1.1 OK"),
    "huge": huge,
    "huge-chunked": huge_chunked,
    "many-headers": many_headers,
    "long-header": long_header,
    "long-status-line": long_status_line,
    "many-interim": many_interim,
    "long-extension": long_extension,
    "many-trailers": many_trailers,
    "length-of-less": framed("Content-Length: {less}"),
    "length-of-more": framed("Content-Length: 50000000"),
    "length-of-too-much": framed("Content-Length: 500000000000"),
    "length-past-any-number": framed("Content-Length: 99999999999999999999999"),
    "negative-length": framed("Content-Length: -5"),
    "length-without-number": framed("Content-Length: many"),
    "two-lengths": framed("Content-Length: {length}", "Content-Length: 7"),
    "no-length": framed(),
    "http-1.0": framed("Content-Length: {length}", first="HTTP/1.0 200 OK"),
    "chunked-with-length": chunked_with_length,
    "chunked": chunked,
    "bad-chunk-size": bad_chunk_size,
    "overflowing-chunk-size": overflowing_chunk_size,
    "wrong-chunk-size": wrong_chunk_size,
    "trailers": trailers("X-Checksum: 7", "CIMStatusCode: 0"),
    "bad-trailer": trailers("CIMStatusCode: none"),
    "error-in-trailer": error_in_trailer,
    "gzip": gzip,
    "gzip-bomb": gzip_bomb,
    "gzip-unsaid": gzip_unsaid,
    "transfer-gzip": transfer_gzip,
    "unusual-headers": unusual_headers,
    "interim": interim,
}
