"""CIM-XML as the tests need it: takes requests and answers apart, and makes both.

Stands on Python's standard library alone and shares nothing with the programs under test, so a
misunderstanding on their side does not cancel out here.
"""

import xml.etree.ElementTree as ElementTree
from dataclasses import dataclass
from urllib.parse import quote
from xml.sax.saxutils import escape, quoteattr

DECLARATION = '<?xml version="1.0" encoding="utf-8" ?>\n'
FRU_KEYS = ("FRUNumber", "IdentifyingNumber", "Vendor")


@dataclass
class Request:
    operation: str
    message_id: str
    namespace: str
    parameters: list  # of (name, element or None)

    def parameter(self, name):
        return next((value for key, value in self.parameters if key == name), None)

    def class_name(self):
        """The class that the request is about."""
        for name in ("ClassName", "InstanceName", "NewInstance"):
            element = self.parameter(name)
            if element is not None:
                return element.get("NAME") or element.get("CLASSNAME")
        return ""


def parse_request(body):
    message = ElementTree.fromstring(body).find("MESSAGE")
    call = message.find("SIMPLEREQ/IMETHODCALL")
    path = call.findall("LOCALNAMESPACEPATH/NAMESPACE")
    parameters = [(p.get("NAME"), p[0] if len(p) else None) for p in call.findall("IPARAMVALUE")]
    return Request(
        call.get("NAME"),
        message.get("ID"),
        "/".join(part.get("NAME") for part in path),
        parameters,
    )


def describe(request):
    """The whole meaning of a request in one line."""
    parts = [request.operation, request.namespace]
    parts += [f"{name}={describe_value(value)}" for name, value in request.parameters]
    return " ".join(parts)


def describe_value(element):
    if element is None:
        return "NULL"
    if element.tag == "CLASSNAME":
        return element.get("NAME")
    if element.tag == "VALUE":
        return element.text or ""
    if element.tag == "INSTANCENAME":
        keys = [f'{key.get("NAME")}="{key[0].text or ""}"' for key in element]
        return f'{element.get("CLASSNAME")}.{",".join(keys)}'
    if element.tag == "INSTANCE":
        inside = " ".join(describe_property(child) for child in element)
        return f'{element.get("CLASSNAME")}{{{inside}}}'
    return ElementTree.tostring(element, encoding="unicode")


def describe_property(element):
    """NAME:type="text"; whatever a plain string property does not have is shown as it is."""
    attributes = dict(element.attrib)
    if attributes.pop("PROPAGATED", "false") != "false":
        attributes["PROPAGATED"] = "true"
    if element.tag != "PROPERTY" or [child.tag for child in element] != ["VALUE"]:
        return ElementTree.tostring(element, encoding="unicode")
    name, kind = attributes.pop("NAME"), attributes.pop("TYPE")
    more = "".join(f" {key}={value}" for key, value in attributes.items())
    return f'{name}:{kind}="{element[0].text or ""}"{more}'


def answer(operation, message_id, content):
    return (
        f'{DECLARATION}<CIM CIMVERSION="2.0" DTDVERSION="2.0">'
        f'<MESSAGE ID={quoteattr(message_id)} PROTOCOLVERSION="1.0"><SIMPLERSP>'
        f"<IMETHODRESPONSE NAME={quoteattr(operation)}>{content}</IMETHODRESPONSE>"
        "</SIMPLERSP></MESSAGE></CIM>"
    ).encode()


def error(code, description="refused by the test"):
    return f'<ERROR CODE="{code}" DESCRIPTION={quoteattr(description)}/>'


def returned(content):
    return f"<IRETURNVALUE>{content}</IRETURNVALUE>" if content else ""


def property_element(name, kind, value):
    """A value of None is a null property, a list an array."""
    head = f"NAME={quoteattr(name)} TYPE={quoteattr(kind)}"
    if isinstance(value, list):
        values = "".join(f"<VALUE>{escape(text)}</VALUE>" for text in value)
        return f"<PROPERTY.ARRAY {head}><VALUE.ARRAY>{values}</VALUE.ARRAY></PROPERTY.ARRAY>"
    inside = "" if value is None else f"<VALUE>{escape(value)}</VALUE>"
    return f"<PROPERTY {head}>{inside}</PROPERTY>"


def instance_element(class_name, properties):
    """Properties are (name, type, value)."""
    inside = "".join(property_element(*one) for one in properties)
    return f"<INSTANCE CLASSNAME={quoteattr(class_name)}>{inside}</INSTANCE>"


def name_element(class_name, keys):
    """Keys are (name, value), all strings."""
    inside = "".join(
        f"<KEYBINDING NAME={quoteattr(name)}>"
        f'<KEYVALUE VALUETYPE="string">{escape(value)}</KEYVALUE></KEYBINDING>'
        for name, value in keys
    )
    return f"<INSTANCENAME CLASSNAME={quoteattr(class_name)}>{inside}</INSTANCENAME>"


def named_instance(class_name, number, properties):
    name = name_element(class_name, [("InstanceNumber", str(number))])
    instance = instance_element(class_name, properties)
    return f"<VALUE.NAMEDINSTANCE>{name}{instance}</VALUE.NAMEDINSTANCE>"


def request_message(operation, namespace, parameters, message_id="7"):
    """Parameters are (name, element text)."""
    path = "".join(f"<NAMESPACE NAME={quoteattr(part)}/>" for part in namespace.split("/"))
    inside = "".join(
        f"<IPARAMVALUE NAME={quoteattr(name)}>{value}</IPARAMVALUE>" for name, value in parameters
    )
    return (
        f'{DECLARATION}<CIM CIMVERSION="2.0" DTDVERSION="2.0">'
        f'<MESSAGE ID={quoteattr(message_id)} PROTOCOLVERSION="1.0"><SIMPLEREQ>'
        f"<IMETHODCALL NAME={quoteattr(operation)}><LOCALNAMESPACEPATH>{path}</LOCALNAMESPACEPATH>"
        f"{inside}</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>"
    ).encode()


def http_headers(operation, namespace):
    return {
        "Content-Type": 'application/xml; charset="utf-8"',
        "CIMOperation": "MethodCall",
        "CIMMethod": operation,
        "CIMObject": quote(namespace, safe=""),
    }


def http_request(operation, namespace, body):
    head = f"POST /cimom HTTP/1.1\r\nHost: 127.0.0.1:5988\r\nContent-Length: {len(body)}\r\n"
    head += "".join(f"{name}: {value}\r\n" for name, value in http_headers(operation, namespace).items())
    return head.encode() + b"\r\n" + body
