"""What holds for every resource of /api: who may ask, how, and how errors look."""

import unittest

from api import Api
from openapi import DOCUMENT, EVERY_OPERATION
from server import ANNA, BEN, CONFIG, LIBRARY, ROOT, ServerTest, use_index


def with_every_response(part):
    """An operation with what each may answer besides; anything else as it is."""
    if "responses" not in part:
        return part
    return {**part, "responses": {**EVERY_OPERATION, **part["responses"]}}


class EveryResource(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.api = Api(cls.server)

    def problem(self, answer, status, parameter=None):
        self.assertEqual(answer.status, status, answer)
        self.assertEqual(answer.headers["Content-Type"], "application/problem+json")
        self.assertEqual(answer.json.get("parameter"), parameter)
        self.assertEqual(answer.json["status"], status)

    def test_tells_what_there_is(self):
        overview = self.api.get("/").json
        self.assertEqual(overview["user"], ANNA)
        self.assertEqual([library["name"] for library in overview["libraries"]],
                         ["shared", "personal"])
        his = Api(self.server, BEN).get("/").json
        self.assertEqual([library["name"] for library in his["libraries"]], ["shared"])

    def test_its_document_is_served(self):
        nobody = Api(self.server, None)
        answer = nobody.get("/openapi.json")
        paths = {path: {key: with_every_response(part) for key, part in item.items()}
                 for path, item in DOCUMENT["paths"].items()}
        expected = {key: part for key, part in DOCUMENT.items() if not key.startswith("x-")}
        self.assertEqual(answer.json, {**expected, "paths": paths})
        again = nobody.get("/openapi.json", headers={"If-None-Match": answer.headers["ETag"]})
        self.assertEqual((again.status, again.body), (304, b""))

    def test_its_health_needs_index_and_library(self):
        nobody = Api(self.server, None)
        answer = nobody.get("/health")
        self.assertEqual((answer.status, answer.body), (204, b""))
        away = LIBRARY.rename(ROOT / "away")
        self.problem(nobody.get("/health"), 503)
        away.rename(LIBRARY)
        use_index("postgresql://vexo@/vexo?host=/nowhere")
        self.problem(nobody.get("/health"), 500)
        CONFIG.unlink()
        self.assertEqual(nobody.get("/health").status, 204)

    def test_a_head_has_no_body(self):
        answer = self.api.ask("HEAD", "/")
        self.assertEqual((answer.status, answer.body), (200, b""))
        self.assertGreater(int(answer.headers["Content-Length"]), 10)

    def test_what_is_not_there_is_404(self):
        for path in ("/nothing", "/songs/1/2/3", "/nothing/"):
            self.problem(self.api.get(path), 404)

    def test_another_method_is_405_and_told_which(self):
        answer = self.api.delete("/")
        self.problem(answer, 405)
        self.assertEqual(answer.headers["Allow"], "GET, HEAD")

    def test_an_unknown_parameter_is_named(self):
        self.problem(self.api.get("/", colour="red"), 400, "colour")

    def test_nobody_is_401(self):
        self.assertEqual(self.server.send(None, path="/api/").status, 401)

    def test_a_page_of_another_site_is_refused(self):
        self.problem(self.api.get("/", headers={"Sec-Fetch-Site": "cross-site"}), 403)


if __name__ == "__main__":
    unittest.main()
