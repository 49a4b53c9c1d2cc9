#!/usr/bin/env python3
"""Holds JSON documents, one behind the other in a file, against the schema of what qva tells.

    check_output.py SCHEMA FILE [KIND ...]    the kinds that must be there, in their order
"""

import json
import sys

import jsonschema


def documents(text):
    decoder = json.JSONDecoder()
    place = 0
    while text[place:].strip():
        place += len(text[place:]) - len(text[place:].lstrip())
        document, place = decoder.raw_decode(text, place)
        yield document


def main():
    schema = json.load(open(sys.argv[1], encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    found = []
    for document in documents(open(sys.argv[2], encoding="utf-8").read()):
        kinds = []
        faults = []
        for name in (branch["$ref"].rsplit("/", 1)[1] for branch in schema["oneOf"]):
            part = {"$ref": "#/$defs/" + name, "$defs": schema["$defs"]}
            errors = list(jsonschema.Draft202012Validator(part).iter_errors(document))
            if not errors:
                kinds.append(name)
            elif not any(error.validator in ("const", "enum") for error in errors):
                faults += [f"{name}: {error.message[:200]}" for error in errors]
        if len(kinds) != 1:
            sys.exit(f"not one kind of document but {kinds}: {faults} {json.dumps(document)[:300]}")
        found += kinds
    if len(sys.argv) > 3 and found != sys.argv[3:]:
        sys.exit(f"found {found}, expected {sys.argv[3:]}")
    if not found:
        sys.exit("no document")


main()
