"""Playlist files as other programs, and other people, leave them in the folders: every format is read
and edited as what it is, what is no playlist is replaced or deleted, and no link is read through."""

import io
import os
import unittest
import zipfile

from server import (BEN, KINDS, LIBRARY, PERSONAL, PREFERENCE, ROOT, SHARED, ServerTest,
                    playlistctl, songs_of)

BOUND = 100_000
TOO_LONG = b"#EXTM3U\n" + b"/a\n" * (BOUND + 1)
UNREADABLE = {
    "a binary file": bytes(range(256)),
    "too many entries": TOO_LONG,
    "half of UTF-16": b"\xff\xfe/\0a",
}


class Formats(ServerTest):
    def put(self, kind, name, content):
        """A list of that name whose file has this content. Gives its node id."""
        exists = "true" if kind.file(name).exists() else "false"
        answer = self.server.add(kind, name, ["1"], overwrite=exists)
        self.assertTrue(answer.success, answer)
        kind.file(name).write_bytes(content)
        return answer.id

    def ask(self, kind, action, **parameters):
        return self.server.ask(action, kind.user, **parameters)

    def edit(self, kind, action, **parameters):
        answer = self.ask(kind, action, **parameters)
        self.assertTrue(answer.success, answer)

    def download(self, kind, id_):
        """The names in the archive of a list, but for those of the playlists themselves."""
        answer = self.ask(kind, "download", playlist=id_)
        names = zipfile.ZipFile(io.BytesIO(answer.body)).read("playlist.m3u8").decode()
        return names.splitlines()

    def test_pls_stays_pls(self):
        for kind in KINDS:
            with self.subTest(kind.name):
                id_ = self.put(kind, "pls", b"[playlist]\r\nX=1\r\nFile1=http://radio/1\r\n"
                                            b"Title1=One\r\nNumberOfEntries=1\r\nVersion=2\r\n")
                self.edit(kind, "addsongs", playlist=id_, id_info_list=[{"res": "http://radio/2"}])
                self.assertEqual(self.download(kind, id_), ["http://radio/1", "http://radio/2"])
                self.edit(kind, "removesongs", playlist=id_, seq_list="0")
                content = kind.file("pls").read_bytes()
                self.assertIn(b"[playlist]\r\nX=1\r\nFile1=http://radio/2\n", content)
                self.assertIn(b"NumberOfEntries=1\r\nVersion=2\r\n", content)
                self.assertNotIn(b"http://radio/1", content)

    def test_utf16_becomes_utf8_by_an_edit(self):
        text = f"#EXTM3U\r\n{self.tracks[0]}\r\n# Ä\r\n{self.tracks[1]}\r\n"
        for encoding, mark in (("utf-16-le", b"\xff\xfe"), ("utf-16-be", b"\xfe\xff")):
            for kind in KINDS:
                with self.subTest(f"{kind.name} {encoding}"):
                    id_ = self.put(kind, encoding, mark + text.encode(encoding))
                    self.assertEqual(self.download(kind, id_),
                                     [os.path.basename(track) for track in self.tracks[:2]])
                    self.edit(kind, "addsongs", playlist=id_,
                              id_info_list=[{"res": "http://radio/1"}])
                    content = kind.file(encoding).read_text()
                    self.assertTrue(content.startswith("#EXTM3U\n" + self.tracks[0]), content)
                    self.assertIn("# Ä\n", content)

    def test_m3u8_files_are_playlists(self):
        file = SHARED.folder / "dropped.m3u8"
        file.write_text(f"{self.tracks[0]}\n")
        playlistctl("scan")
        rows = playlistctl("doctor")
        self.assertNotIn("dropped", rows)
        copy = self.server.add(SHARED, "copy", ["1"])
        self.assertTrue(copy.success)
        # Ids ascend: the scan gave the file the id before the copy's.
        id_ = f"{copy.id.rpartition('/')[0]}/{int(copy.id.rpartition('/')[2]) - 1}"
        self.edit(SHARED, "addsongs", playlist=id_, id_info_list=[{"res": "http://radio/1"}])
        self.assertEqual(songs_of(file), [self.tracks[0], "http://radio/1"])
        self.edit(SHARED, "delete", playlists=id_)
        self.assertFalse(file.exists())

    def test_what_is_no_playlist_is_not_edited_and_stays(self):
        for description, content in UNREADABLE.items():
            for kind in KINDS:
                with self.subTest(f"{kind.name}: {description}"):
                    id_ = self.put(kind, description, content)
                    answers = [
                        self.ask(kind, "addsongs", playlist=id_, id_info_list=["1"]),
                        self.ask(kind, "removesongs", playlist=id_, seq_list="0"),
                        self.ask(kind, "remove_missing", playlist_id=id_),
                        self.ask(kind, "update", playlist=id_, id_info_list=["1"], start="0",
                                 limit="1")]
                    self.assertEqual({answer.error for answer in answers}, {"common/error_system"})
                    self.assertEqual(kind.file(description).read_bytes(), content)

    def test_what_is_no_playlist_counts_as_empty_but_is_not_downloaded(self):
        secrets = ROOT / "etc/vexo/passwords"
        for kind in KINDS:
            for description, content in {**UNREADABLE, "a link": b""}.items():
                with self.subTest(f"{kind.name}: {description}"):
                    id_ = self.put(kind, description, content)
                    if description == "a link":
                        kind.file(description).unlink()
                        kind.file(description).symlink_to(secrets)
                    self.assertEqual(self.ask(kind, "checkempty", playlist=id_).json,
                                     {"isEmpty": True, "success": True})
                    answer = self.ask(kind, "download", playlist=id_)
                    self.assertEqual((answer.status, answer.json), (500, {}))
                    kind.file(description).unlink()

    def test_a_playlist_without_a_file_is_an_empty_archive(self):
        self.assertEqual(self.download(PREFERENCE, "musiclib_music_personal/playlist/none"), [])

    def test_what_is_no_playlist_is_overwritten_and_deleted(self):
        for description, content in UNREADABLE.items():
            for kind in KINDS:
                with self.subTest(f"{kind.name}: {description}"):
                    id_ = self.put(kind, description, content)
                    answer = self.server.add(kind, description, [{"res": "http://radio/1"}],
                                             overwrite="true")
                    self.assertTrue(answer.success, answer)
                    self.assertEqual(songs_of(kind.file(description)), ["http://radio/1"])
                    kind.file(description).write_bytes(content)
                    self.edit(kind, "delete", playlists=id_)
                    self.assertFalse(kind.file(description).exists())

    def test_an_edit_never_passes_the_bound(self):
        full = TOO_LONG[:-len(b"/a\n")]
        for kind in KINDS:
            with self.subTest(kind.name):
                id_ = self.put(kind, "full", full)
                answer = self.ask(kind, "addsongs", playlist=id_, id_info_list=["1"])
                self.assertEqual(answer.error, "common/error_system")
                self.assertEqual(kind.file("full").read_bytes(), full)
                self.edit(kind, "removesongs", playlist=id_, seq_list="0")
                self.edit(kind, "addsongs", playlist=id_, id_info_list=["1"])
                self.assertEqual(len(songs_of(kind.file("full"))), BOUND)

    def test_no_link_is_read_through(self):
        secrets = ROOT / "etc/vexo/passwords"
        outside = LIBRARY / "outside.m3u"
        outside.write_text("http://radio/secret\n")
        self.assertTrue(self.server.add(PERSONAL, "hers", [{"res": "http://radio/secret"}]).success)
        targets = ((SHARED, secrets), (PERSONAL, secrets), (PREFERENCE, secrets), (SHARED, outside),
                   (PREFERENCE, PERSONAL.file("hers")))
        for number, (kind, target) in enumerate(targets):
            with self.subTest(f"{kind.name} to {target}"):
                name = f"link {number}"
                id_ = self.put(kind, name, b"")
                kind.file(name).unlink()
                kind.file(name).symlink_to(target)
                before = target.read_bytes()
                self.assertEqual(self.ask(kind, "download", playlist=id_).status, 500)
                answer = self.ask(kind, "duplicate", id=id_)
                self.assertNotIn(b"radio/secret", answer.body)
                for other in KINDS:
                    for file in other.folder.glob(f"{name}*"):
                        if not file.is_symlink():
                            self.assertEqual(songs_of(file), [])
                self.ask(kind, "addsongs", playlist=id_, id_info_list=["1"])
                self.assertEqual(target.read_bytes(), before)
                self.edit(kind, "delete", playlists=id_)
                self.assertFalse(kind.file(name).is_symlink())
                self.assertEqual(target.read_bytes(), before)

    def test_entries_tell_nothing_of_other_files(self):
        there, gone = ROOT / "etc/vexo/passwords", ROOT / "etc/vexo/gone"
        entries = [str(there), str(gone), *(os.path.relpath(path, SHARED.folder)
                                            for path in (there, gone))]
        for kind in KINDS:
            with self.subTest(kind.name):
                id_ = self.put(kind, "entries", "\n".join(entries).encode())
                self.edit(kind, "remove_missing", playlist_id=id_)
                self.assertEqual(songs_of(kind.file("entries")), entries)

    def test_a_queue_of_somebody_elses_making_is_not_read(self):
        queue = ROOT / f"tmp/playing_{BEN}.pls"
        lists = ROOT / "tmp/source.m3u"
        lists.write_text("http://radio/secret\n")
        for name, make in (("soft", queue.symlink_to), ("hard", queue.hardlink_to)):
            make(lists)
            answer = self.server.ask("addplaying", BEN, name=name, target="stream")
            self.assertEqual(answer.error, "common/error_system")
            self.assertEqual(songs_of(PREFERENCE.file(name)), [])
            queue.unlink()
        queue.write_text("[playlist]\nFile1=http://radio/1\n")
        self.assertTrue(self.server.ask("addplaying", BEN, name="own", target="stream").success)
        self.assertEqual(songs_of(PREFERENCE.file("own")), ["http://radio/1"])


if __name__ == "__main__":
    unittest.main()
