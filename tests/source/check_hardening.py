"""check_hardening.py BUILD: whether the programs of a build are protected as cmake/Hardening.cmake says.

What a whole program shows is read from it; what only its sources' objects show (guarded stacks,
checked calls, marked jump targets), from the objects, as the C library's own would hide it.
"""

import json
import platform
import subprocess
import sys
import unittest
from pathlib import Path

BUILD = Path(sys.argv.pop()) if len(sys.argv) > 1 else Path("build/test")
PROGRAMS = ["audio_playlist.cgi", "audio_library.cgi", "playlistctl", "zip", "cover", "vexoaudiod"]
OBJECTS = "src/libaudio_playlist_core.a"


def readelf(*arguments):
    done = subprocess.run(["readelf", "--wide", *map(str, arguments)], stdout=subprocess.PIPE,
                          text=True, check=True)
    return done.stdout


def compile_command(target):
    """How the build compiles a source of a target."""
    commands = json.loads((BUILD / "compile_commands.json").read_text())
    return next(row["command"] for row in commands if f"/{target}.dir/" in row["command"])


class Programs(unittest.TestCase):
    def each_matches(self, options, expected):
        for program in PROGRAMS:
            self.assertRegex(readelf(*options, BUILD / "bin" / program), expected, program)

    def test_stand_at_an_address_by_chance(self):
        self.each_matches(["--file-header"],
                          r"Type:\s+DYN \(Position-Independent Executable file\)")

    def test_have_read_only_tables_of_addresses(self):
        self.each_matches(["--segments"], r"\n\s+GNU_RELRO\s")
        self.each_matches(["--dynamic"], r"\(FLAGS_1\).*\bNOW\b")

    def test_run_no_code_on_the_stack(self):
        self.each_matches(["--segments"], r"\n\s+GNU_STACK\s.*\sRW\s")

    def test_find_the_frames_of_an_exception_by_a_table(self):
        self.each_matches(["--segments"], r"\n\s+GNU_EH_FRAME\s")

    def test_the_one_a_request_starts_loads_no_library(self):
        if "libjsoncpp.a" not in (BUILD / "build.ninja").read_text():
            self.skipTest("no static jsoncpp")
        text = readelf("--segments", "--dynamic", BUILD / "bin/audio_playlist.cgi")
        self.assertNotIn("INTERP", text)
        self.assertNotIn("NEEDED", text)


class Objects(unittest.TestCase):
    def test_guard_their_stacks(self):
        self.assertIn(" __stack_chk_fail", readelf("--symbols", BUILD / OBJECTS))

    def test_call_the_checked_functions_of_the_c_library(self):
        if " -O" not in compile_command("audio_playlist_core"):
            self.skipTest("not optimized")
        self.assertRegex(readelf("--symbols", BUILD / OBJECTS), r" UND __\w+_chk\b")

    def test_mark_where_jumps_may_land(self):
        if platform.machine() != "x86_64":
            self.skipTest("this processor knows no such marks")
        notes = readelf("--notes", BUILD / OBJECTS)
        files = notes.count("\nFile: ")
        self.assertGreater(files, 0)
        self.assertEqual(notes.count("IBT, SHSTK"), files)


if __name__ == "__main__":
    unittest.main()
