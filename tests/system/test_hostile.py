"""Names and ids that try to reach a file outside the playlists folders, in every action.

All that lies in the device root is compared before and after; only the playlists folders, the index,
the logs and temporary files may change, and in the playlists folders no list that was there.
"""

import unittest
import urllib.parse

from server import (ANNA, BEN, KINDS, LIBRARY, PERSONAL, PREFERENCE, ROOT, SHARED, ServerTest, tree)

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
    MADE = {"caught", "queue", "bait"}

    def setUp(self):
        (ROOT / "outside").mkdir(exist_ok=True)
        for folder in (LIBRARY, ROOT / "etc", ROOT / "outside", ROOT, ROOT / "var/lib/vexo",
                       *(kind.folder.parent for kind in KINDS)):
            (folder / "victim.m3u").write_text(VICTIM)
        for kind in KINDS:
            kind.folder.mkdir(parents=True, exist_ok=True)
            way_out = kind.folder / "way_out"
            if not way_out.is_symlink():
                way_out.symlink_to(ROOT / "outside")
            if not kind.file("untouched").exists():
                self.assertTrue(self.server.add(kind, "untouched", ["1", "2"]).success)

    def state(self):
        """Everything that no hostile request may change."""
        found = tree(ROOT)
        for path in list(found):
            inside = path[len(str(ROOT)) + 1:]
            in_playlists = any(path.startswith(f"{kind.folder}/") for kind in KINDS)
            if inside.startswith(self.MAY_CHANGE):
                del found[path]
            elif in_playlists and not path.endswith(("untouched.m3u", "way_out")):
                del found[path]
        return found

    def send(self, kind, parameters):
        answer = self.server.send(kind.user, body=urllib.parse.urlencode(parameters), headers={
            "Content-Type": "application/x-www-form-urlencoded"})
        self.assertIn(answer.status, (200, 400), (parameters, answer))

    def test_nothing_outside_the_playlists_folders_changes(self):
        sent = 0
        for description, bait in BAIT.items():
            for kind in (SHARED, PERSONAL, PREFERENCE):
                victim = self.server.add(kind, "bait", ["1"],
                                         overwrite=str(kind.file("bait").exists()).lower())
                before = self.state()
                for parameters in requests(kind, bait, victim.id.encode()):
                    self.send(kind, parameters)
                    sent += 1
                with self.subTest(f"{description}, {kind.name}"):
                    self.assertEqual(self.state(), before)
                for file in (kind.file("bait"), kind.file("caught")):
                    if file.exists():
                        file.unlink()
        self.assertGreater(sent, 60)

    def test_one_user_cannot_reach_anothers_lists(self):
        before = self.state()
        for tail in (b"untouched", b"../../ben/playlists/untouched", b"../../anna/playlists/untouched"):
            for user, kind in ((ANNA, PREFERENCE), (BEN, PERSONAL)):
                for parameters in requests(kind, tail, b"musiclib_music_personal/playlist/none"):
                    if parameters[b"action"] not in (b"add", b"addsearch", b"addplaying") and \
                            b"shared" not in b"".join(parameters.values()) and user != kind.user:
                        self.server.send(user, body=urllib.parse.urlencode(parameters), headers={
                            "Content-Type": "application/x-www-form-urlencoded"})
        self.assertEqual(self.state(), before)


if __name__ == "__main__":
    unittest.main()
