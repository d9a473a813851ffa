"""A CIM client that keeps its connection, for tests with many requests.

A request that the server refuses raises CimError; a connection that ends, or an answer that is not an
answer, raises OSError or ConnectionError.
"""

import http.client
from urllib.parse import quote

import cim_xml
from cim_xml import ElementTree

NAMESPACE = "root/kvasd"
FRU = "KVAXDT_FRU"
ENUMERATE_FRUS = [("ClassName", f'<CLASSNAME NAME="{FRU}"/>')]


class CimError(Exception):
    def __init__(self, operation, code, description):
        super().__init__(f"{operation}: CIM error {code}: {description}")
        self.code = code


class Session:
    def __init__(self, port=5988, timeout=20):
        self.connection = http.client.HTTPConnection("127.0.0.1", port, timeout=timeout)

    def close(self):
        self.connection.close()

    def raw(self, operation, parameters):
        """The body of the answer."""
        body = cim_xml.request_message(operation, NAMESPACE, parameters)
        headers = {
            "Content-Type": 'application/xml; charset="utf-8"',
            "CIMOperation": "MethodCall",
            "CIMMethod": operation,
            "CIMObject": quote(NAMESPACE, safe=""),
        }
        try:
            self.connection.request("POST", "/cimom", body, headers)
            response = self.connection.getresponse()
            text = response.read()
        except http.client.HTTPException as error:
            raise ConnectionError(f"{operation}: {error!r}") from error
        if response.status != 200:
            raise ConnectionError(f"{operation}: HTTP status {response.status}")
        return text

    def call(self, operation, parameters):
        reply = ElementTree.fromstring(self.raw(operation, parameters)).find(".//IMETHODRESPONSE")
        error = reply.find("ERROR")
        if error is not None:
            raise CimError(operation, int(error.get("CODE")), error.get("DESCRIPTION"))
        return reply

    # The instances are of KVAXDT_FRU, told apart by FRU number; their content is the name.

    def create(self, number, name):
        self.call("CreateInstance", [("NewInstance", instance(number, name))])

    def modify(self, number, name):
        named = f"<VALUE.NAMEDINSTANCE>{path(number)}{instance(number, name)}</VALUE.NAMEDINSTANCE>"
        self.call("ModifyInstance", [("ModifiedInstance", named)])

    def change_description(self, number, text):
        changed = f'<INSTANCE CLASSNAME="{FRU}"><PROPERTY NAME="Description" TYPE="string"><VALUE>{text}</VALUE></PROPERTY></INSTANCE>'
        named = f"<VALUE.NAMEDINSTANCE>{path(number)}{changed}</VALUE.NAMEDINSTANCE>"
        self.call("ModifyInstance", [("ModifiedInstance", named)])

    def delete(self, number):
        self.call("DeleteInstance", [("InstanceName", path(number))])

    def frus(self):
        """(number, name) of each instance, in the order of the answer."""
        reply = self.call("EnumerateInstances", ENUMERATE_FRUS)
        found = []
        for element in reply.iter("INSTANCE"):
            texts = {p.get("NAME"): p.findtext("VALUE") for p in element.iter("PROPERTY")}
            found.append((texts["FRUNumber"], texts["Name"]))
        return found


def keys(number):
    return [("FRUNumber", number), ("IdentifyingNumber", "1"), ("Vendor", "Acme")]


def path(number):
    return cim_xml.name_element(FRU, keys(number))


def instance(number, name):
    strings = [(key, "string", value) for key, value in [*keys(number), ("Name", name)]]
    return cim_xml.instance_element(FRU, strings)
