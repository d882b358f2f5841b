"""Machines whose clocks differ: what one writes the others take, and nothing newer gives way."""

import fcntl
import json
import os
import subprocess
import unittest

from server import (ANNA, BIN, LIBRARY, PASSWORD, ROOT, SHARED, Answer, RootTest, cgi, run,
                    songs_of)

MINUTE, DAY, YEAR = 60, 86400, 366 * 86400
CLOCKS = (0, 10 * MINUTE, -10 * MINUTE, YEAR, -YEAR)


def ask(ahead, method, path, body=None, cookie=None, **headers):
    """One request to /api of a machine whose clock is so many seconds ahead. Gives the answer, and what
    was logged."""
    content = b"" if body is None else json.dumps(body).encode()
    environment = {"PATH": os.environ["PATH"], "GATEWAY_INTERFACE": "CGI/1.1", "REQUEST_METHOD": method,
                   "PATH_INFO": path, "QUERY_STRING": "", "HTTP_HOST": "127.0.0.1",
                   "REMOTE_ADDR": "127.0.0.1", "CONTENT_TYPE": "application/json",
                   "CONTENT_LENGTH": str(len(content)), "VEXO_CLOCK_AHEAD": str(ahead)}
    environment |= {"HTTP_COOKIE": cookie} if cookie else {"REMOTE_USER": ANNA}
    environment |= {f"HTTP_{name.upper()}": value for name, value in headers.items()}
    if path == "/session" and method == "POST":
        del environment["REMOTE_USER"]
    done = subprocess.run([BIN / "other_clock_library.cgi"], input=content, env=environment,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60, check=True)
    head, _, rest = done.stdout.partition(b"\r\n\r\n")
    lines = dict(line.split(": ", 1) for line in head.decode().splitlines())
    return Answer(int(lines.get("Status", "200").split()[0]), lines, rest), done.stderr.decode()


class Clocks(RootTest):
    def log_in(self, ahead):
        answer, _ = ask(ahead, "POST", "/session", {"name": ANNA, "password": PASSWORD})
        self.assertEqual(answer.status, 200, answer)
        return answer.headers["Set-Cookie"].split(";")[0]

    def test_a_session_holds_on_machines_whose_clocks_are_half_a_day_wrong(self):
        clocks = (0, 10 * MINUTE, -10 * MINUTE, DAY // 2, -DAY // 2)
        for begun in clocks:
            cookie = self.log_in(begun)
            for ahead in clocks:
                answer, log = ask(ahead, "GET", "/session", cookie=cookie)
                self.assertEqual((answer.status, log), (200, ""), (begun, ahead))

    def test_a_session_of_another_year_is_refused_and_the_log_says_why(self):
        answer, log = ask(0, "GET", "/session", cookie=self.log_in(YEAR))
        self.assertEqual(answer.status, 401)
        self.assertIn("seconds in the future: a clock is wrong", log)
        answer, _ = ask(YEAR, "GET", "/session", cookie=self.log_in(0))
        self.assertEqual(answer.status, 401)

    def test_all_give_the_same_versions_at_any_time(self):
        _, made = cgi(ANNA, action="add", name="list", type="shared", id_info_list=["1", "2"])
        for path in ("/songs", "/albums", "/playlists", f"/playlists/{made.id}", "/queue"):
            answers = [ask(ahead, "GET", path)[0] for ahead in CLOCKS * 2]
            self.assertEqual({(answer.status, answer.headers.get("ETag"), answer.body)
                              for answer in answers},
                             {(200, answers[0].headers.get("ETag"), answers[0].body)}, path)

    def test_what_is_written_last_holds_whatever_its_writers_clock(self):
        version = ask(0, "GET", "/queue")[0].headers["ETag"]
        for position, ahead in enumerate(CLOCKS):
            body = {"position": position, "items": [{"stream": f"http://at/{n}"}
                                                    for n in range(position + 1)]}
            answer, _ = ask(ahead, "PUT", "/queue", body, if_match=version)
            self.assertEqual(answer.status, 200, answer)
            stale, _ = ask(ahead, "PUT", "/queue", body, if_match=version)
            self.assertEqual(stale.status, 412)
            version = answer.headers["ETag"]
            for other in CLOCKS:
                self.assertEqual(ask(other, "GET", "/queue")[0].json["total"], position + 1)

    def test_a_list_that_changed_is_read_anew_at_any_time(self):
        _, made = cgi(ANNA, action="add", name="changing", type="shared")
        for number in range(1, 4):
            _, done = cgi(ANNA, action="addsongs", playlist=made.id,
                          id_info_list=[{"res": f"http://a/{number}"}])
            self.assertTrue(done.success)
            for ahead in CLOCKS:
                self.assertEqual(ask(ahead, "GET", f"/playlists/{made.id}")[0].json["total"], number)

    def test_what_was_added_of_late_goes_by_the_clock_of_who_asks(self):
        (ROOT / "etc/mt-daapd.playlist").write_text('"New" { time_added after 7 days ago }\n')
        path = "/playlists/musiclib_music_shared/smart/New"
        totals = [ask(ahead, "GET", path)[0].json["total"] for ahead in CLOCKS]
        songs = len(self.tracks)
        self.assertEqual(totals, [songs, songs, songs, 0, songs])

    def test_the_doctor_leaves_what_a_writer_holds_however_old_it_seems(self):
        held, left = [SHARED.folder / f".vexo-{process:x}-1-1-1.tmp" for process in (1, 0x7ffffff)]
        with open(held, "wb") as writer:
            left.touch()
            fcntl.flock(writer, fcntl.LOCK_EX)
            run("env", f"VEXO_CLOCK_AHEAD={YEAR}", BIN / "other_clock_playlistctl", "doctor", "--repair")
            self.assertTrue(held.exists())
            self.assertFalse(left.exists())
        held.unlink()

    def test_a_machine_of_another_year_scans_what_the_others_made(self):
        by_hand = SHARED.file("by hand")
        by_hand.write_text("http://by/hand\n")
        _, made = cgi(ANNA, action="add", name="made", type="shared", id_info_list=["1"])
        for ahead in CLOCKS[1:]:
            said = run("env", f"VEXO_CLOCK_AHEAD={ahead}", BIN / "other_clock_playlistctl", "scan")
            self.assertNotIn("changed", said.replace("0 changed", ""))
        self.assertEqual(songs_of(by_hand), ["http://by/hand"])
        _, done = cgi(ANNA, action="addsongs", playlist=made.id, id_info_list=["2"])
        self.assertTrue(done.success)
        self.assertEqual(len(list(LIBRARY.rglob("*.tmp"))), 0)


if __name__ == "__main__":
    unittest.main()
