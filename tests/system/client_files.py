"""The client's files, as any web server has to send them."""

import gzip
import re

from server import ROOT

FILES = ROOT / "usr/share/vexo/client"
POLICY = (
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; "
    "media-src 'self' http: https:; connect-src 'self'; manifest-src 'self'; worker-src 'self'; "
    "frame-ancestors 'none'; base-uri 'none'; form-action 'self'")


class ClientFiles:
    """What each of them has to do, for a test with a `server`."""

    def get(self, path, **headers):
        headers = {name.replace("_", "-"): value for name, value in headers.items()}
        return self.server.send(None, path=path, headers=headers)

    def assets(self):
        """The scripts and the style that the page names."""
        names = re.findall(r'(?:src|href)="(app-[^"]+)"', self.get("/").body.decode())
        self.assertEqual({name.split(".")[-1] for name in names}, {"js", "css"})
        return names

    def test_the_page_is_there_for_everybody(self):
        page = self.get("/")
        self.assertEqual((page.status, page.body), (200, (FILES / "index.html").read_bytes()))
        self.assertEqual(page.headers["Content-Type"], "text/html; charset=utf-8")

    def test_its_files_have_their_types(self):
        types = {".js": "text/javascript; charset=utf-8", ".css": "text/css; charset=utf-8",
                 ".svg": "image/svg+xml", ".png": "image/png",
                 ".webmanifest": "application/manifest+json",
                 ".html": "text/html; charset=utf-8"}
        for file in FILES.iterdir():
            answer = self.get(f"/{file.name}")
            self.assertEqual((answer.status, answer.body), (200, file.read_bytes()), file)
            self.assertEqual(answer.headers["Content-Type"], types[file.suffix])

    def test_every_file_says_what_a_page_may_do(self):
        for path in ("/", *(f"/{file.name}" for file in FILES.iterdir())):
            headers = self.get(path).headers
            self.assertEqual(headers.get_all("Content-Security-Policy"), [POLICY], path)
            self.assertEqual(headers.get_all("X-Content-Type-Options"), ["nosniff"], path)
            self.assertEqual(headers.get_all("Referrer-Policy"), ["same-origin"], path)

    def test_what_has_a_hash_in_its_name_is_kept(self):
        for name in self.assets():
            kept, = self.get(f"/{name}").headers.get_all("Cache-Control")
            self.assertIn("max-age=31536000", kept)

    def test_all_else_is_asked_for_again(self):
        for name in ("", "index.html", "service_worker.js", "manifest.webmanifest"):
            for encoding in ("identity", "gzip"):
                first = self.get(f"/{name}", Accept_Encoding=encoding)
                self.assertEqual(first.headers.get_all("Cache-Control"), ["no-cache"], name)
                again = self.get(f"/{name}", Accept_Encoding=encoding,
                                 If_None_Match=first.headers["ETag"])
                self.assertEqual((again.status, again.body), (304, b""), (name, encoding))

    def test_a_file_that_is_not_there_is_not_kept(self):
        answer = self.get("/app-NOTHERE0.js")
        self.assertEqual(answer.status, 404)
        self.assertNotIn("max-age", answer.headers.get("Cache-Control", ""))

    def test_scripts_and_styles_come_compressed(self):
        for name in self.assets():
            answer = self.get(f"/{name}", Accept_Encoding="gzip")
            if (FILES / name).stat().st_size > 1024:
                self.assertEqual(answer.headers["Content-Encoding"], "gzip")
                self.assertEqual(gzip.decompress(answer.body), (FILES / name).read_bytes())

    def test_what_programs_answer_is_not_compressed(self):
        for path in ("/api/openapi.json", "/api/session", "/audio_playlist.cgi"):
            self.assertNotIn("Content-Encoding", self.get(path, Accept_Encoding="gzip").headers)
            self.assertNotIn("Content-Security-Policy", self.get(path).headers)
