"""Faults of the connection: it ends, stays silent, or carries something else than one answer."""

import os
import socket
import struct
import time

import cim_xml
from http_bytes import (
    CONTENT_TYPE,
    LAST_CHUNK,
    METHOD_RESPONSE,
    STATUS_OK,
    chunk,
    chunked_head,
    head,
    send_well,
    with_length,
)

HANG_SECONDS = 120

# The one socket on which the server waits for connections, once it does.
listeners = []


def reset_at_end(client):
    """What closes the socket then resets the connection."""
    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


# --- it ends ---


def close(client, request, answer, detail):
    return False


def reset(client, request, answer, detail):
    reset_at_end(client)
    return False


def close_after_work(client, request, answer, detail):
    answer()
    return False


def reset_after_work(client, request, answer, detail):
    answer()
    reset_at_end(client)
    return False


def close_within_head(client, request, answer, detail):
    client.sendall(head(STATUS_OK, CONTENT_TYPE)[:-4])
    return False


def close_within_body(client, request, answer, detail):
    client.sendall(with_length(answer(), METHOD_RESPONSE)[:-20])
    return False


def reset_within_body(client, request, answer, detail):
    client.sendall(with_length(answer(), METHOD_RESPONSE)[:-20])
    reset_at_end(client)
    return False


def close_within_chunk(client, request, answer, detail):
    client.sendall(chunked_head() + chunk(answer())[:-20])
    return False


def close_before_last_chunk(client, request, answer, detail):
    client.sendall(chunked_head() + chunk(answer()))
    return False


def end(client, request, answer, detail):
    """The whole server ends: what follows cannot even connect."""
    os._exit(0)


def end_after_answer(client, request, answer, detail):
    body = answer()
    # First, so that not even the quickest client finds it open.
    listeners[0].shutdown(socket.SHUT_RDWR)
    # Answer and end of the connection arrive together, see close_when_idle().
    client.setsockopt(socket.IPPROTO_TCP, socket.TCP_CORK, 1)
    send_well(client, body)
    client.shutdown(socket.SHUT_WR)
    os._exit(0)


# --- it takes its time ---


def tell(path):
    """Who waits for the silence to begin waits for this file."""
    if path:
        with open(path, "wb"):
            pass


def hang(client, request, answer, detail):
    tell(detail)
    time.sleep(HANG_SECONDS)
    return False


def hang_within_head(client, request, answer, detail):
    client.sendall(head(STATUS_OK, CONTENT_TYPE)[:-4])
    time.sleep(HANG_SECONDS)
    return False


def hang_within_body(client, request, answer, detail):
    client.sendall(with_length(answer(), METHOD_RESPONSE)[:-20])
    tell(detail)
    time.sleep(HANG_SECONDS)
    return False


def hang_before_last_chunk(client, request, answer, detail):
    client.sendall(chunked_head() + chunk(answer()))
    time.sleep(HANG_SECONDS)
    return False


def drip_bytes(client, data):
    for byte in data:
        client.sendall(bytes([byte]))
        time.sleep(1)
    return False


def drip(client, request, answer, detail):
    return drip_bytes(client, with_length(answer(), METHOD_RESPONSE))


def drip_body(client, request, answer, detail):
    body = answer()
    client.sendall(with_length(body, METHOD_RESPONSE)[: -len(body)])
    return drip_bytes(client, body)


def drip_chunks(client, request, answer, detail):
    client.sendall(chunked_head())
    for byte in answer():
        client.sendall(chunk(bytes([byte])))
        time.sleep(1)
    client.sendall(LAST_CHUNK)
    return False


def drip_interim(client, request, answer, detail):
    for _ in range(HANG_SECONDS):
        client.sendall(b"HTTP/1.1 100 Continue\r\n\r\n")
        time.sleep(1)
    return False


# --- it ends after a good answer ---


def close_when_idle(client, request, answer, detail):
    """As a server whose patience with idle connections has ended: without a word. Answer and end of
    the connection arrive together, so that the client has a chance to notice."""
    client.setsockopt(socket.IPPROTO_TCP, socket.TCP_CORK, 1)
    send_well(client, answer())
    client.shutdown(socket.SHUT_WR)
    return False


def close_soon(client, request, answer, detail):
    """The same, but a moment after the answer."""
    send_well(client, answer())
    end_of_wait = time.monotonic() + 0.0002  # asleep, it could miss its time
    while time.monotonic() < end_of_wait:
        pass
    return False


def close_later(client, request, answer, detail):
    """The same, but after DETAIL seconds in which nothing came."""
    send_well(client, answer())
    time.sleep(float(detail))
    return False


def reset_later(client, request, answer, detail):
    close_later(client, request, answer, detail)
    return reset(client, request, answer, detail)


def connection_close(client, request, answer, detail):
    client.sendall(with_length(answer(), METHOD_RESPONSE, "Connection: close"))
    return False


# --- it carries something else ---


def garbage(client, request, answer, detail):
    client.sendall(b"\x00\xff\xfe this is not HTTP\r\n\r\n" * 3)
    return False


def other_protocol(client, request, answer, detail):
    client.sendall(b"220 parts server ready\r\n")
    return False


def extra_bytes(client, request, answer, detail):
    client.sendall(with_length(answer(), METHOD_RESPONSE) + b"and more")
    return True


def second_answer(client, request, answer, detail):
    """The answer to a request that the client has not made yet: refused."""
    next_id = str(int(request.message_id) + 1)
    early = b"".join(
        with_length(cim_xml.answer(operation, next_id, cim_xml.error(1)), METHOD_RESPONSE)
        for operation in ("EnumerateInstances", "GetProperty", "DeleteInstance", "CreateInstance")
    )
    client.sendall(with_length(answer(), METHOD_RESPONSE) + early)
    return True


WAYS = {
    "close": close,
    "reset": reset,
    "close-after-work": close_after_work,
    "reset-after-work": reset_after_work,
    "close-within-head": close_within_head,
    "close-within-body": close_within_body,
    "reset-within-body": reset_within_body,
    "close-within-chunk": close_within_chunk,
    "close-before-last-chunk": close_before_last_chunk,
    "end": end,
    "end-after-answer": end_after_answer,
    "hang": hang,
    "hang-within-head": hang_within_head,
    "hang-within-body": hang_within_body,
    "hang-before-last-chunk": hang_before_last_chunk,
    "drip": drip,
    "drip-body": drip_body,
    "drip-chunks": drip_chunks,
    "drip-interim": drip_interim,
    "close-when-idle": close_when_idle,
    "close-soon": close_soon,
    "close-later": close_later,
    "reset-later": reset_later,
    "connection-close": connection_close,
    "garbage": garbage,
    "other-protocol": other_protocol,
    "extra-bytes": extra_bytes,
    "second-answer": second_answer,
}
