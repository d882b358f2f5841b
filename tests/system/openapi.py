"""Requests and their answers, held against doc/openapi.yaml: path, parameters and body of the one, status,
type and body of the other. What was met is noted in a folder beside the build, whose own is empty for
each test; there test_openapi.py looks for what no test has met.
"""

import functools
import json
import re
import sys
from pathlib import Path

import jsonschema
import yaml

from places import BUILD, SOURCE

DOCUMENT = yaml.safe_load((SOURCE / "doc/openapi.yaml").read_text())
EVERY_OPERATION = DOCUMENT["x-responses-of-every-operation"]
NOTES = BUILD.with_name(BUILD.name + "-openapi-met")
# A playlist's node id has slashes in it.
VARIABLE = {"playlist": r"(?:musiclib_random|[^/]+/[^/]+/[^/]+)"}


class Mismatch(AssertionError):
    """The server, or the test, does something that the document does not tell."""


def resolve(node):
    """What stands at the end of a reference."""
    while "$ref" in node:
        target = DOCUMENT
        for name in node["$ref"].removeprefix("#/").split("/"):
            target = target[name]
        node = target
    return node


def find_path(path):
    """The document's path, and what it says of it; None when it has none like that."""
    for template, item in DOCUMENT["paths"].items():
        pattern = re.sub(r"\\{(\w+)\\}", lambda name: VARIABLE.get(name[1], "[^/]+"),
                         re.escape(template))
        if re.fullmatch(pattern, path):
            return template, item
    return None


def parameters_of(item, operation):
    return [resolve(parameter)
            for parameter in item.get("parameters", []) + operation.get("parameters", [])]


@functools.cache
def note(*words):
    """Remembers that a test has met a part of the document."""
    print(*words, file=notes(), flush=True)


@functools.cache
def notes():
    """The notes of this run's test, which begin anew."""
    NOTES.mkdir(exist_ok=True)
    return open(NOTES / Path(sys.argv[0]).stem, "w", encoding="utf-8")


def validate(instance, schema, what):
    """Holds a document against a schema of the document's."""
    error = next(validator(json.dumps(schema)).iter_errors(instance), None)
    if error is not None:
        raise Mismatch(f"{what}: {error.message} at {list(error.absolute_path)}")


@functools.cache
def validator(schema):
    whole = {**json.loads(schema), "components": DOCUMENT["components"]}
    return jsonschema.Draft202012Validator(whole)


def check_query(template, method, declared, query):
    names = {parameter["name"] for parameter in declared if parameter["in"] == "query"}
    for name in query:
        if name not in names:
            raise Mismatch(f"{method} {template} has no parameter {name}")
        note(template, method, "parameter", name)


def check_body(template, method, operation, content_type, body):
    content = resolve(operation.get("requestBody", {})).get("content", {})
    media = content.get(content_type.split(";")[0])
    if media is None:
        raise Mismatch(f"{method} {template} takes no {content_type}")
    if content_type.startswith("application/json"):
        validate(json.loads(body), media["schema"], f"the body of {method} {template}")


def check_answer(template, method, operation, answer, is_head):
    status = str(answer.status)
    response = operation["responses"].get(status) or EVERY_OPERATION.get(status)
    if response is None:
        raise Mismatch(f"{method} {template} never answers {answer.status}: {answer}")
    note(template, method, "status", answer.status)
    content = resolve(response).get("content", {})
    if is_head or (not content and not answer.body):
        return
    got = answer.headers.get("Content-Type", "").split(";")[0]
    media = content.get(got) or content.get(got.split("/")[0] + "/*") or content.get("*/*")
    if media is None:
        raise Mismatch(f"{method} {template} answers {answer.status} of type {got}, not {list(content)}")
    if got.endswith("json"):
        validate(answer.json, media.get("schema", {}), f"the {answer.status} of {method} {template}")


def check(method, path, query, body, content_type, answer):
    """Holds a request and its answer against the document. A request that is refused (4xx) may be one
    that the document does not allow."""
    found = find_path(path)
    if found is None:
        if answer.status != 404:
            raise Mismatch(f"{path} is not in the document, and answers {answer}")
        return
    template, item = found
    name = "get" if method == "HEAD" else method.lower()
    operation = item.get(name)
    if operation is None:
        if answer.status != 405:
            raise Mismatch(f"{method} {template} is not in the document, and answers {answer}")
        return
    if answer.status < 400:
        check_query(template, name, parameters_of(item, operation), query)
        if body is not None:
            check_body(template, name, operation, content_type, body)
    check_answer(template, name, operation, answer, method == "HEAD")


PROGRAM = "/audio_playlist.cgi"
ACTIONS = {schema["properties"]["action"]["const"]: schema for schema in map(
    resolve, DOCUMENT["components"]["schemas"]["Action"]["oneOf"])}


def check_program(method, answer):
    """Holds an answer of the playlist program against the document."""
    operation = DOCUMENT["paths"][PROGRAM].get(method.lower())
    status = str(answer.status)
    if operation is None:
        if answer.status != 405:
            raise Mismatch(f"{PROGRAM} has no {method}, and answers {answer}")
        return
    if status not in operation["responses"]:
        raise Mismatch(f"{method} {PROGRAM} never answers {status}: {answer}")
    note(PROGRAM, method.lower(), "status", status)
    if answer.body.startswith(b"{") and answer.headers["Content-Type"].startswith("text/plain"):
        validate(answer.json, {"$ref": "#/components/schemas/ActionAnswer"}, f"{method} {PROGRAM}")


def check_action(parameters, answer):
    """Holds an action that was done against the document. One that was refused may be another."""
    if answer.status != 200 or (answer.body.startswith(b"{") and not answer.json.get("success")):
        return
    schema = ACTIONS.get(parameters["action"])
    if schema is None:
        raise Mismatch(f"{parameters['action']} is no action, and is done")
    texts = {name: value if isinstance(value, str) else json.dumps(value)
             for name, value in parameters.items()}
    validate(texts, schema, parameters["action"])
    for name in parameters:
        note("action", parameters["action"], name)
