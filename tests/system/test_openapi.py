"""Whether the tests that ran before have met every path, parameter and status of doc/openapi.yaml."""

import unittest

from openapi import ACTIONS, DOCUMENT, NOTES, PROGRAM, parameters_of

METHODS = ("get", "head", "put", "post", "delete")


def promised():
    """Every (path, method, kind, name) that the document tells."""
    for path, item in DOCUMENT["paths"].items():
        for method in METHODS:
            operation = item.get(method)
            if operation is None:
                continue
            for parameter in parameters_of(item, operation):
                if parameter["in"] == "query" and path != PROGRAM:
                    yield f"{path} {method} parameter {parameter['name']}"
            for status in operation["responses"]:
                yield f"{path} {method} status {status}"
    for action, schema in ACTIONS.items():
        for name in schema["properties"]:
            yield f"action {action} {name}"


class Document(unittest.TestCase):
    def test_is_met_in_all_its_parts(self):
        met = {line for notes in NOTES.iterdir() for line in notes.read_text().splitlines()}
        missed = [promise for promise in promised() if promise not in met]
        self.assertFalse(missed, "no test has met\n" + "\n".join(missed))


if __name__ == "__main__":
    unittest.main()
