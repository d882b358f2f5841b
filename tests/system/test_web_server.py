"""What the web server's configuration promises beside what the program answers."""

import base64
import re
import resource
import socket
import time
import unittest
import zipfile
from io import BytesIO
from pathlib import Path

from client_files import ClientFiles
from server import ANNA, LIBRARY, PASSWORD, ROOT, SOURCE, RootTest, ServerTest
from server import encode, free_port, run, start

FORM = "application/x-www-form-urlencoded"
QUERY = "action=checkempty&playlist=musiclib_random"


class WebServerTest(ServerTest):
    @classmethod
    def setting(cls, name):
        """A number of the configuration that holds before a request has come."""
        conf = (ROOT / "etc/lighttpd.conf").read_text()
        return int(re.search(rf"^{re.escape(name)} = (\d+)$", conf, re.MULTILINE).group(1))

    def connect(self, sent=b""):
        client = socket.create_connection(("127.0.0.1", self.server.port), timeout=60)
        self.addCleanup(client.close)
        client.sendall(sent)
        return client

    def post(self, body, length):
        """The head of a request with a body of that length, and a first part of the body."""
        token = base64.b64encode(f"{ANNA}:{PASSWORD}".encode()).decode()
        return (f"POST /audio_playlist.cgi HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n"
                f"Authorization: Basic {token}\r\nContent-Length: {length}\r\n"
                f"Content-Type: {FORM}\r\n\r\n{body}").encode()

    @staticmethod
    def rest(client):
        received = bytearray()
        while part := client.recv(1 << 20):
            received += part
        return bytes(received)


class Bounds(WebServerTest):
    def test_connections_that_ask_nothing_keep_nobody_out(self):
        count = self.setting("server.max-connections") + 200
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, (soft, hard))
        resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
        for number in range(count):
            self.connect((b"", b"GET /audio_playlist.cgi HTTP/1.1\r\nHost:")[number % 2])
        self.assertEqual(self.server.send(ANNA, QUERY, timeout=30).status, 200)

    def test_a_client_may_be_slower_than_one_that_asks_nothing(self):
        song = LIBRARY / "large.bin"
        with open(song, "wb") as file:
            file.truncate(64 << 20)
        body = encode({"action": "download", "id_info_list": [{"res": str(song)}]})
        reader = self.connect(self.post(body, len(body)))
        reader.recv(1)
        body = "action=checkempty&playlist=musiclib_random"
        writer = self.connect(self.post(body[:10], len(body)))
        idle = self.connect()
        self.assertEqual(idle.recv(1), b"")  # the bound on those has passed, for all three
        time.sleep(2)
        writer.sendall(body[10:].encode())
        self.assertIn(b'"success":true', self.rest(writer))
        head, _, content = self.rest(reader).partition(b"\r\n\r\n")
        self.assertIn(b"200 OK", b"H" + head)
        self.assertEqual(len(content), 64 << 20)


class Ranges(WebServerTest):
    def test_a_part_of_a_stream_is_all_of_it(self):
        objects = [{"res": path} for path in self.tracks[:2]]
        for wanted in ("bytes=0-3", "bytes=-1", "bytes=5-", "bytes=0-0,2-3", "bytes=999999999-"):
            for songs in (objects, objects[:1], []):
                with self.subTest(wanted, songs=len(songs)):
                    answer = self.server.send(
                        ANNA, body=encode({"action": "download", "id_info_list": songs}),
                        headers={"Content-Type": FORM, "Range": wanted})
                    self.assertEqual(answer.status, 200)
                    self.assertNotIn("Content-Range", answer.headers)
                    self.assertEqual(answer.headers.get_all("Accept-Ranges", ["none"]), ["none"])
                    if len(songs) == 1:
                        self.assertEqual(answer.body, Path(self.tracks[0]).read_bytes())
                    else:
                        self.assertIsNone(zipfile.ZipFile(BytesIO(answer.body)).testzip())

    def test_a_get_of_a_part_of_a_stream_is_all_of_it(self):
        query = encode({"action": "download", "id_info_list": []})
        answer = self.server.send(ANNA, query, headers={"Range": "bytes=0-3"})
        self.assertEqual(answer.status, 200)
        self.assertIsNone(zipfile.ZipFile(BytesIO(answer.body)).testzip())


class Client(ClientFiles, ServerTest):
    pass


class WholeMachine(RootTest):
    """packaging/vexo-playlists.conf, included by a configuration as small as a machine's may be."""

    PACKAGED = SOURCE / "packaging/vexo-playlists.conf"

    @staticmethod
    def including(file, port):
        conf = ROOT / "etc/machine.conf"
        conf.write_text(f'server.document-root = "{ROOT}/www"\nserver.bind = "127.0.0.1"\n'
                        f'server.port = {port}\ninclude "{file}"\n')
        return conf

    def test_the_web_server_understands_it(self):
        run("lighttpd", "-tt", "-f", self.including(self.PACKAGED, 80))

    def test_it_serves_the_accounts_and_nobody_else(self):
        here = ROOT / "etc/playlists.conf"
        here.write_text(self.PACKAGED.read_text()
                        .replace("/etc/vexo/", f"{ROOT}/etc/vexo/")
                        .replace("/usr/lib/vexo/", f"{ROOT}/www/"))
        port = free_port()
        log = ROOT / "var/log/vexo/machine.log"
        server = start(["lighttpd", "-D", "-f", self.including(here, port)], log,
                       lambda: "server started" in log.read_text())
        self.addCleanup(server.wait, 20)
        self.addCleanup(server.terminate)
        url = f"http://127.0.0.1:{port}/playlists/audio_playlist.cgi?{QUERY}"
        self.assertIn('"success":true', run("curl", "-s", "-u", f"{ANNA}:{PASSWORD}", url))
        for user in ([], ["-u", f"{ANNA}:wrong"]):
            status = run("curl", "-s", "-o", "/dev/null", "-w", "%{http_code}", *user, url)
            self.assertEqual(status, "401")


if __name__ == "__main__":
    unittest.main()
