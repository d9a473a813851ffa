"""Checks documents of morvik-show against the schema, which must also have every member of them.

usage: valid_json.py SCHEMA DOCUMENT...
"""

import json
import sys

import jsonschema


def closed(schema):
    """The schema with no other members than those that it describes."""
    if isinstance(schema, list):
        return [closed(item) for item in schema]
    if not isinstance(schema, dict):
        return schema
    result = {name: closed(value) for name, value in schema.items()}
    if isinstance(schema.get("properties"), dict):
        result["additionalProperties"] = False
    return result


def main(schema_file, *documents):
    with open(schema_file, encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(
        closed(schema), format_checker=jsonschema.FormatChecker())
    for name in documents:
        with open(name, encoding="ascii") as file:
            document = json.load(file)
        for error in validator.iter_errors(document):
            sys.exit(f"{name}: {error.json_path}: {error.message}")


main(*sys.argv[1:])
