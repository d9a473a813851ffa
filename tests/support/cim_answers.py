"""Answers that mean the same as those of cim_xml.py in a form that other CIM servers choose.

Each function takes the body of an answer and returns another.
"""

from xml.dom import minidom


def changed_by(change):
    def body_changed(body):
        document = minidom.parseString(body)
        change(document)
        return document.toxml(encoding="utf-8")

    return body_changed


def fragment(document, text):
    """The element that the text describes, for use in the document."""
    return document.importNode(minidom.parseString(text).documentElement, deep=True)


def put_in_pieces(document, element):
    """The text as plain text, comment and CDATA section."""
    text = element.firstChild
    text.splitText(len(text.data) // 2)
    rest = element.lastChild
    element.replaceChild(document.createCDATASection(rest.data), rest)
    element.insertBefore(document.createComment(" within a text "), element.lastChild)


def decorate(document):
    qualifier = '<QUALIFIER NAME="Key" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER>'
    for element in list(document.getElementsByTagName("*")):
        if element.tagName not in ("VALUE", "KEYVALUE"):
            if element.tagName in ("INSTANCE", "PROPERTY", "PROPERTY.ARRAY"):
                element.insertBefore(fragment(document, qualifier), element.firstChild)
            element.insertBefore(document.createComment(" - "), element.firstChild)
        elif element.firstChild:
            put_in_pieces(document, element)
    document.insertBefore(document.createComment(" in front "), document.documentElement)


def add_empty_properties(document):
    for instance in document.getElementsByTagName("INSTANCE"):
        for kind in ("datetime", "uint16"):
            text = f'<PROPERTY NAME="Any_{kind}" TYPE="{kind}"><VALUE></VALUE></PROPERTY>'
            instance.appendChild(fragment(document, text))


def put_names_into_paths(document):
    for name in document.getElementsByTagName("INSTANCENAME"):
        path = fragment(
            document,
            "<INSTANCEPATH><NAMESPACEPATH><HOST>box.example:5988</HOST><LOCALNAMESPACEPATH>"
            '<NAMESPACE NAME="root"/><NAMESPACE NAME="kvasd"/>'
            "</LOCALNAMESPACEPATH></NAMESPACEPATH></INSTANCEPATH>",
        )
        name.parentNode.replaceChild(path, name)
        path.appendChild(name)


def turn_keys_round(document):
    for name in document.getElementsByTagName("INSTANCENAME"):
        for key in reversed(name.getElementsByTagName("KEYBINDING")):
            name.appendChild(key)


def write_keys_in_upper_case(document):
    for key in document.getElementsByTagName("KEYBINDING"):
        key.setAttribute("NAME", key.getAttribute("NAME").upper())


def leave_out_key_types(document):
    for value in document.getElementsByTagName("KEYVALUE"):
        value.removeAttribute("VALUETYPE")


def empty_result(document):
    for result in document.getElementsByTagName("IRETURNVALUE"):
        while result.firstChild:
            result.removeChild(result.firstChild)


def leave_out_result(document):
    for result in list(document.getElementsByTagName("IRETURNVALUE")):
        result.parentNode.removeChild(result)


FORMS = {
    name: changed_by(change)
    for name, change in {
        "decorated": decorate,
        "empty-properties": add_empty_properties,
        "names-in-paths": put_names_into_paths,
        "keys-turned-round": turn_keys_round,
        "keys-in-upper-case": write_keys_in_upper_case,
        "keys-without-types": leave_out_key_types,
        "empty-result": empty_result,
        "no-result": leave_out_result,
    }.items()
}
