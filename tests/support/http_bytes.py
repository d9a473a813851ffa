"""HTTP answers as bytes, for servers that must be able to get every one of them wrong."""

STATUS_OK = "HTTP/1.1 200 OK"
CONTENT_TYPE = 'Content-Type: application/xml; charset="utf-8"'
METHOD_RESPONSE = "CIMOperation: MethodResponse"
CHUNKED = "Transfer-Encoding: chunked"
LAST_CHUNK = b"0\r\n\r\n"


def head(*lines):
    return ("\r\n".join(lines) + "\r\n\r\n").encode("latin-1")


def with_length(body, *lines, status=STATUS_OK):
    return head(status, CONTENT_TYPE, *lines, f"Content-Length: {len(body)}") + body


def send_well(client, body):
    client.sendall(with_length(body, METHOD_RESPONSE))


def chunk(data):
    return f"{len(data):x}\r\n".encode() + data + b"\r\n"


def chunks(body):
    return b"".join(chunk(body[i : i + 100]) for i in range(0, len(body), 100))


def chunked_head(*lines):
    return head(STATUS_OK, CONTENT_TYPE, METHOD_RESPONSE, CHUNKED, *lines)
