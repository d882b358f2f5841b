"""Requests to download."""

import io
import zipfile

from server import ANNA, ROOT, ServerTest, encode, wait_until

# The playlists that each archive holds.
PLAYLISTS = ["playlist.m3u", "playlist.m3u8"]


def working_folders():
    return [entry for entry in (ROOT / "tmp").iterdir() if entry.name.startswith("audiodl")]


class DownloadTest(ServerTest):
    def download(self, user=ANNA, headers=None, **parameters):
        return self.server.send(user, body=encode({"action": "download", **parameters}), headers={
            "Content-Type": "application/x-www-form-urlencoded", **(headers or {})})

    def archive(self, **parameters):
        answer = self.download(**parameters)
        self.assertEqual(answer.headers["Content-Type"], "application/force-download")
        archive = zipfile.ZipFile(io.BytesIO(answer.body))
        self.assertIsNone(archive.testzip())
        return archive

    def tearDown(self):
        wait_until(lambda: not working_folders(), "working folders are removed")
