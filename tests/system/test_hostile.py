"""Names and ids that try to reach a file outside the playlists folders, in every action.

All that lies in the device root is compared before and after; only the playlists folders, the index,
the logs and temporary files may change, and in the playlists folders no list that was there.
"""

import unittest
import urllib.parse

from server import BEN, KINDS, LIBRARY, PERSONAL, PREFERENCE, ROOT, ServerTest, tree

VICTIM = "#EXTM3U\n/victim.mp3\n"
BAIT = {
    "one up": b"../victim",
    "three up": b"../../../victim",
    "up and down again": b"../playlists/../victim",
    "up after a folder": b"sub/../../victim",
    "far up": b"../" * 30 + b"etc/victim",
    "absolute": str(ROOT / "etc/victim").encode(),
    "absolute with slashes": b"//" + str(ROOT / "etc/victim").encode(),
    "dot dot": b"..",
    "dot": b".",
    "nothing": b"",
    "slash": b"/",
    "slash behind": b"../",
    "backslashes": b"..\\..\\victim",
    "percent": b"%2e%2e/victim",
    "a NUL": b"../victim\0x",
    "a NUL first": b"\0../victim",
    "line break": b"x\n../victim",
    "carriage return": b"x\r\n../victim",
    "4096 bytes": b"n" * 4096,
    "4096 bytes of ups": b"../" * 1365 + b"x",
    "a path cut at 4096": b"a/" * 2040 + b"../victim",
    "invalid UTF-8": b"\xff\xfe/../victim",
    "overlong UTF-8 dots": b"\xc0\xae\xc0\xae/victim",
    "another user's": b"../../anna/playlists/victim",
    "a link out of the folder": b"way_out/victim",
    "a link out of the folder, a new name": b"way_out/new",
    "format letters": b"%s%s%n",
    "shell words": b"$(touch victim); `touch victim`",
}
TAILED = b"musiclib_music_%s/playlist/%s"
SMART = b"musiclib_music_%s/smart/%s"


def node_ids(bait):
    """The bait as the tail of ids of both libraries, and as a whole id."""
    yield from (TAILED % (b"shared", bait), TAILED % (b"personal", bait), bait)


def requests(kind, bait, victim_id):
    """All actions, with the bait wherever a name or an id may stand."""
    song = b'["1"]'
    type_ = kind.type.encode()
    new = {b"name": bait, b"type": type_}
    yield {b"action": b"add", **new, b"id_info_list": song}
    yield {b"action": b"add", **new, b"id_info_list": song, b"overwrite": b"true"}
    yield {b"action": b"addsearch", **new, b"category": b"all", b"keyword": b"e"}
    yield {b"action": b"addplaying", **new, b"target": b"stream"}
    yield {b"action": b"addplaying", b"name": b"queue", b"type": type_, b"target": bait}
    yield {b"action": b"saveplsname", b"id": victim_id, b"name": bait}
    for id_ in node_ids(bait):
        yield {b"action": b"addsongs", b"playlist": id_, b"id_info_list": song}
        yield {b"action": b"update", b"playlist": id_, b"id_info_list": song, b"start": b"0",
               b"limit": b"1"}
        yield {b"action": b"removesongs", b"playlist": id_, b"seq_list": b"0"}
        yield {b"action": b"remove_missing", b"playlist_id": id_}
        yield {b"action": b"saveplsname", b"id": id_, b"name": b"caught"}
        yield {b"action": b"duplicate", b"id": id_}
        yield {b"action": b"delete", b"playlists": id_}
        yield {b"action": b"checkempty", b"playlist": id_}
        yield {b"action": b"download", b"playlist": id_, b"filename": bait}
    for library in (b"shared", b"personal"):
        id_ = SMART % (library, bait)
        yield {b"action": b"duplicate", b"id": id_}
        yield {b"action": b"delete", b"smartPlaylists": id_}
        yield {b"action": b"checkempty", b"playlist": id_}


class Hostile(ServerTest):
    MAY_CHANGE = ("var/lib/vexo/index.db", "var/log/", "tmp", "etc/vexo/")

    def setUp(self):
        (ROOT / "outside").mkdir(exist_ok=True)
        for folder in (LIBRARY, ROOT / "etc", ROOT / "outside", ROOT, ROOT / "var/lib/vexo",
                       *(kind.folder.parent for kind in KINDS)):
            (folder / "victim.m3u").write_text(VICTIM)
        # The rules of a user with a personal library lie here; duplicates make the folder.
        self.annas_rules = ROOT / "var/lib/vexo/preferences/anna/playlists"
        self.annas_rules.mkdir(parents=True, exist_ok=True)
        for kind in KINDS:
            kind.folder.mkdir(parents=True, exist_ok=True)
            way_out = kind.folder / "way_out"
            if not way_out.is_symlink():
                way_out.symlink_to(ROOT / "outside")
            if not kind.file("untouched").exists():
                self.assertTrue(self.server.add(kind, "untouched", ["1", "2"]).success)

    def state(self):
        """Everything that no hostile request may change."""
        folders = (self.annas_rules, *(kind.folder for kind in KINDS))
        return {path: there for path, there in tree(ROOT).items()
                if not path[len(str(ROOT)) + 1:].startswith(self.MAY_CHANGE)
                and (path.endswith(("untouched.m3u", "way_out"))
                     or not any(path.startswith(f"{folder}/") for folder in folders))}

    def assert_unchanged(self, before):
        after = self.state()
        self.assertEqual({path for path in before.keys() | after.keys()
                          if before.get(path) != after.get(path)}, set())

    def send(self, kind, parameters):
        answer = self.server.send(kind.user, body=urllib.parse.urlencode(parameters), headers={
            "Content-Type": "application/x-www-form-urlencoded"})
        # A list that is refused is no archive.
        allowed = (200, 400, 500) if parameters[b"action"] == b"download" else (200, 400)
        self.assertIn(answer.status, allowed, (parameters, answer))

    def test_nothing_outside_the_playlists_folders_changes(self):
        sent = 0
        before = self.state()
        for description, bait in BAIT.items():
            for kind in KINDS:
                victim = self.server.add(kind, f"victim of {description}", ["1"]).id
                for parameters in requests(kind, bait, victim.encode()):
                    self.send(kind, parameters)
                    sent += 1
                with self.subTest(f"{description}, {kind.name}"):
                    self.assert_unchanged(before)
        self.assertGreater(sent, 60)

    def test_one_user_cannot_reach_anothers_lists(self):
        hers = self.server.add(PERSONAL, "hers", ["1"]).id
        self.assertTrue(self.server.add(PREFERENCE, "his", ["1"]).success)
        hers_id = hers.rsplit("/", 1)[1].encode()
        for thief, owner, tails in (
                (PREFERENCE, PERSONAL, (b"hers", hers_id, b"../../anna/playlists/hers")),
                (PERSONAL, PREFERENCE, (b"his", b"../../ben/playlists/his"))):
            before = tree(owner.folder)
            for tail in tails:
                for parameters in requests(thief, tail, TAILED % (b"personal", tail)):
                    self.send(thief, parameters)
            self.assertEqual(tree(owner.folder), before)


class Log(ServerTest):
    """Clients' texts in the web server's log, which is read in terminals and by other programs."""

    def logged_by(self, **parameters):
        before = len(self.server.log())
        self.server.ask(**parameters)
        return self.server.log()[before:]

    def test_no_text_forges_a_line(self):
        for forged in ("x\nforged: all is well", "x\r\nforged: all is well",
                       "x\x1b[2Jforged: all is well", "x\u0085forged: all is well"):
            with self.subTest(repr(forged)):
                lines = self.logged_by(action="delete", user=BEN, playlists=forged)
                self.assertIn("forged: all is well is wrong id", lines)
                self.assertEqual(len(lines.splitlines()), 1, lines)
                self.assertTrue(lines[:-1].isprintable(), lines)

    def test_small_requests_make_small_logs(self):
        ids = [chr(first) + chr(second) for first in range(97, 123) for second in range(97, 123)]
        floods = {
            "songs that are none": {"action": "add", "name": "zeros", "type": "shared",
                                    "id_info_list": "[" + "0," * 5000 + "0]"},
            "ids that are none": {"action": "delete", "user": BEN, "playlists": "x," * 5000},
            "different ones": {"action": "delete", "user": BEN, "playlists": ",".join(ids * 5)},
        }
        for description, parameters in floods.items():
            with self.subTest(description):
                lines = self.logged_by(**parameters)
                self.assertTrue(lines)
                self.assertLess(len(lines), 20_000)

    def test_repeated_lines_are_counted(self):
        lines = self.logged_by(action="delete", user=BEN, playlists="x," * 5000)
        self.assertRegex(lines, r"x is wrong id\n.*last message repeated 4999 times\n$")


if __name__ == "__main__":
    unittest.main()
