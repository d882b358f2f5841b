"""Requests to /api, each held against doc/openapi.yaml."""

import json
import urllib.parse

from openapi import check
from server import ANNA


class Api:
    """Asks a Server of /api, as a user of password, or with a session's cookie."""

    def __init__(self, server, user=ANNA, cookie=None):
        self.server, self.user, self.cookie = server, user, cookie

    def ask(self, method, path, body=None, headers=None, content_type="application/json", **query):
        """One request. `path` is below /api, its segments as they are; a `body` that is no bytes
        becomes JSON; further arguments are parameters, with "_" behind Python's own words."""
        query = {name.rstrip("_"): value for name, value in query.items()}
        headers = dict(headers or {})
        if self.cookie:
            headers["Cookie"] = self.cookie
        if body is not None:
            headers.setdefault("Content-Type", content_type)
            body = body if isinstance(body, bytes) else json.dumps(body).encode()
        answer = self.server.send(None if self.cookie else self.user,
                                  urllib.parse.urlencode(query), body, headers, method=method,
                                  path="/api" + urllib.parse.quote(path))
        check(method, "/api" + path, query, body, headers.get("Content-Type", ""), answer)
        return answer

    def get(self, path, headers=None, **query):
        return self.ask("GET", path, headers=headers, **query)

    def post(self, path, body=None, **options):
        return self.ask("POST", path, body, **options)

    def put(self, path, body=None, **options):
        return self.ask("PUT", path, body, **options)

    def delete(self, path, **options):
        return self.ask("DELETE", path, **options)
