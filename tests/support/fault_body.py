"""Faults of the body of an answer: its bytes, its XML, and what it says."""

import re

import cim_xml
from http_bytes import send_well

END_OF_ANSWER = b"</IMETHODRESPONSE>"


# --- the message, which depends on the request ---


def wrong_id(client, request, answer, detail):
    send_well(client, answer().replace(f'ID="{request.message_id}"'.encode(), b'ID="424242"'))
    return True


def missing_id(client, request, answer, detail):
    send_well(client, answer().replace(f' ID="{request.message_id}"'.encode(), b""))
    return True


def wrong_operation(client, request, answer, detail):
    name = f'IMETHODRESPONSE NAME="{request.operation}"'.encode()
    send_well(client, answer().replace(name, b'IMETHODRESPONSE NAME="ModifyInstance"'))
    return True


def says(client, request, content):
    send_well(client, cim_xml.answer(request.operation, request.message_id, content))
    return True


def error(client, request, answer, detail):
    """Answers an error instead of doing what was asked."""
    return says(client, request, cim_xml.error(detail or 1, "deliberate"))


def error_without_code(client, request, answer, detail):
    return says(client, request, '<ERROR DESCRIPTION="deliberate"/>')


def foreign_result(client, request, answer, detail):
    """Done, but the result is of a kind that no operation has."""
    answer()
    return says(client, request, cim_xml.returned("<CLASS NAME='X'/>"))


WAYS = {
    "wrong-id": wrong_id,
    "missing-id": missing_id,
    "wrong-operation": wrong_operation,
    "error": error,
    "error-without-code": error_without_code,
    "foreign-result": foreign_result,
}


# --- the body alone: each takes a good one and returns another ---


def inserted(text):
    """This text inside the answer, behind what it says."""
    return replaced(END_OF_ANSWER, text + END_OF_ANSWER)


def replaced(old, new):
    def change(body):
        if old not in body:
            raise ValueError(f"nothing to replace in {body!r}")
        return body.replace(old, new)

    return change


def twice(tag):
    """The element of this name twice."""

    def change(body):
        element = re.search(b"<%s[ >].*</%s>" % (tag, tag), body, re.DOTALL).group()
        return body.replace(element, element + element)

    return change


def with_document_type(text, use=b""):
    """This document type in front, and what makes use of it inside."""

    def change(body):
        return inserted(use)(body.replace(b"<CIM ", text + b"<CIM ", 1))

    return change


def deep(body):
    return inserted(b"<A>" * 200000 + b"</A>" * 200000)(body)


def multiplying_entities(body):
    """Each entity stands for ten of the one before it: a few bytes that would be gigabytes."""
    lines = ['<!ENTITY a0 "aaaaaaaaaa">']
    lines += [f'<!ENTITY a{i} "{f"&a{i - 1};" * 10}">' for i in range(1, 12)]
    document_type = f"<!DOCTYPE CIM [{''.join(lines)}]>".encode()
    return with_document_type(document_type, b"<VALUE>&a11;</VALUE>")(body)


def utf_16(body):
    text = body.decode().replace('encoding="utf-8"', 'encoding="utf-16"')
    return text.encode("utf-16")


BODIES = {
    "empty-body": lambda body: b"",
    "not-xml": lambda body: b"It works!\n",
    "html": lambda body: b"<html><body><p>It works!</p></body></html>",
    "cut-xml": lambda body: body[: len(body) // 2],
    "mismatched-end": replaced(b"</SIMPLERSP>", b"</SIMPLEREQ>"),
    "two-roots": lambda body: body + b"<CIM/>",
    "text-behind": lambda body: body + b"text",
    "duplicate-attribute": replaced(b'PROTOCOLVERSION="1.0"', b'A="1" A="2"'),
    "bad-utf8": inserted(b"\xff\xfe"),
    "overlong-utf8": inserted(b"\xc0\xbc"),
    "surrogate-utf8": inserted(b"\xed\xa0\x80"),
    "utf-16": utf_16,
    "nul": inserted(b"\x00"),
    "control-character": inserted(b"\x01"),
    "bad-reference": inserted(b"&#0;"),
    "undefined-entity": inserted(b"&nbsp;"),
    "deep": deep,
    "many-attributes": inserted(b"<A " + b" ".join(b'a%d=""' % i for i in range(100000)) + b"/>"),
    "many-elements": inserted(b"<A/>" * 9000000),
    "long-name": inserted(b"<" + b"A" * 2000000 + b"/>"),
    "entities": multiplying_entities,
    "file-entity": with_document_type(
        b'<!DOCTYPE CIM [<!ENTITY a SYSTEM "file:///etc/passwd">]>', b"<VALUE>&a;</VALUE>"
    ),
    "network-entity": with_document_type(
        b'<!DOCTYPE CIM [<!ENTITY a SYSTEM "http://127.0.0.1:5987/">]>', b"<VALUE>&a;</VALUE>"
    ),
    "parameter-entity": with_document_type(
        b'<!DOCTYPE CIM [<!ENTITY % a SYSTEM "http://127.0.0.1:5987/">%a;]>'
    ),
    "document-type": with_document_type(b'<!DOCTYPE CIM SYSTEM "http://127.0.0.1:5987/cim.dtd">'),
    "no-response-element": replaced(b"IMETHODRESPONSE", b"METHODRESPONSE"),
    "request": lambda body: body.replace(b"SIMPLERSP", b"SIMPLEREQ"),
    "two-answers": twice(b"IMETHODRESPONSE"),
    "two-messages": twice(b"MESSAGE"),
    "unknown-element": inserted(b"<ANY/>"),
    "error-without-number": inserted(b'<ERROR CODE="any"/>'),
    "error-of-success": inserted(b'<ERROR CODE="0"/>'),
    "error-past-any-number": inserted(b'<ERROR CODE="99999999999999999999"/>'),
    "error-behind-result": inserted(b'<ERROR CODE="1"/>'),
    # Good, in a less common form.
    "byte-order-mark": lambda body: b"\xef\xbb\xbf" + body,
    "instructions": lambda body: body.replace(b"<CIM ", b"<?any thing?><CIM ", 1) + b"<!-- end -->\n",
    "long-comment": inserted(b"<!--" + b"x" * 20000000 + b"-->"),
}
