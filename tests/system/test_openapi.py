"""Whether the tests that ran before have met every path, parameter and status of doc/openapi.yaml."""

import unittest

from api import DOCUMENT, NOTES, parameters_of

METHODS = ("get", "put", "post", "delete")


def promised():
    """Every (path, method, kind, name) that the document tells."""
    for path, item in DOCUMENT["paths"].items():
        for method in METHODS:
            operation = item.get(method)
            if operation is None:
                continue
            for parameter in parameters_of(item, operation):
                if parameter["in"] == "query":
                    yield f"{path} {method} parameter {parameter['name']}"
            for status in operation["responses"]:
                yield f"{path} {method} status {status}"


class Document(unittest.TestCase):
    def test_is_met_in_all_its_parts(self):
        met = {line for notes in NOTES.iterdir() for line in notes.read_text().splitlines()}
        self.assertEqual([promise for promise in promised() if promise not in met], [])


if __name__ == "__main__":
    unittest.main()
