"""Which folder may include which: the arrows between folders go one way.

ALLOWED is the whole rule, and no more than is used: an arrow that nobody uses is taken out. A folder
may always include itself and the C++ standard library.
"""

import re
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)
SUFFIXES = {".h", ".cpp", ".c"}

PROGRAM = ["handler", "actions", "player", "export", "model"]
HOST = ["text", "files", "system", "accounts", "index", "playlists", "smart", "web",
        "host"]
LIBRARY = ["catalog", "media", "api"]

# folder: folders, single headers, and libraries (by the first part of their headers' names) that
# its sources may include.
ALLOWED = {
    "src/model": ["vexo", "json"],
    "src/player": ["vexo", "json", "src/model"],
    "src/handler": ["vexo"],
    "src/actions": ["vexo", "src/handler/audio_playlist.h", "src/model", "src/player/queue.h"],
    "src/export": ["vexo", "src/handler/audio_playlist.h", "src/model", "src/player/queue.h"],
    "standalone/text": [],
    "standalone/files": [],
    "standalone/system": ["files", "text", "ini.h"],
    "standalone/accounts": ["system", "files", "text"],
    "standalone/index": ["system", "files", "text", "sqlite3.h", "libpq-fe.h"],
    "standalone/playlists": ["index", "accounts", "system", "files", "text", "xxhash.h"],
    "standalone/smart": ["index", "accounts", "system", "files", "text"],
    "standalone/web": ["json", "nettle", "accounts", "system", "files", "text"],
    # Nobody else includes vexo/, the device's interface, and nobody includes host.
    "standalone/host": ["vexo", "web", "smart", "playlists", "index", "accounts", "system", "files",
                        "text"],
    # The library program: what there is, without HTTP; then streams and covers; then the resources.
    "library/catalog": ["playlists", "smart", "index", "accounts", "system", "files", "text",
                        "expat.h"],
    "library/media": ["web", "index", "accounts", "system", "files", "text", "xxhash.h"],
    "library/api": ["media", "catalog", "web", "playlists", "index", "accounts", "system", "files", "text",
                    "json"],
    "tools": ["index", "accounts", "system", "files", "text", "json", "CLI", "taglib",
              "libdeflate.h", "mpd", "nettle", "png.h", "turbojpeg.h", "webp"],
}

# What is in every system: POSIX, Linux and the C library.
SYSTEM = re.compile(r"^(sys|linux|netinet|arpa)/|^(dirent|dlfcn|fcntl|fnmatch|ftw|getopt|glob|grp|"
                    r"iconv|libgen|limits|malloc|paths|poll|pthread|pwd|sched|signal|spawn|strings|syslog|"
                    r"termios|unistd|utime|crypt)\.h$|^std\w+\.h$|^[a-z_]+$")


def folder_of(path, source):
    """The folder's name in ALLOWED, None for a file that has no rule (tests, benchmarks)."""
    parts = path.relative_to(source).parts
    if parts[0] == "src":
        return f"src/{parts[1]}"
    if parts[:2] == ("platform", "standalone"):
        return f"standalone/{parts[2]}"
    if parts[:2] == ("platform", "tools"):
        return "tools"
    if parts[0] == "library":
        return f"library/{parts[1]}"
    return None


def target_of(folder, header, source):
    """What an include means: a folder of ALLOWED, "vexo", or the first part of a foreign name."""
    first = header.split("/")[0]
    if folder.startswith("src/"):
        return f"src/{first}" if first in PROGRAM else first
    if first in HOST:
        return f"standalone/{first}"
    if first in LIBRARY:
        return f"library/{first}"
    if (source / "platform/tools" / first).is_dir() and "/" in header:
        return "tools"
    return first


def is_allowed(folder, header, source):
    target = target_of(folder, header, source)
    if target == folder or SYSTEM.match(header):
        return True
    if "/" not in header and target not in ALLOWED[folder]:
        return False
    for allowed in ALLOWED[folder]:
        if target in (allowed, f"standalone/{allowed}", f"library/{allowed}") or (
                f"src/{header}" == allowed):
            return True
    return False


def sources(source):
    for top in ("src", "platform/standalone", "platform/tools", "library"):
        yield from sorted(path for path in (source / top).rglob("*") if path.suffix in SUFFIXES)


def includes(path):
    for match in INCLUDE.finditer(path.read_text()):
        yield match.group(1) or match.group(2)


def is_beside(path, header):
    """An include of a file in the very same folder, by its bare name."""
    return "/" not in header and (path.parent / header).exists()


def arrows(source):
    """(file, folder, header) of every include that goes out of its folder's own."""
    for path in sources(source):
        folder = folder_of(path, source)
        for header in includes(path):
            if not is_beside(path, header):
                yield path.relative_to(source), folder, header


def violations(source):
    found = []
    for path, folder, header in arrows(source):
        if folder not in ALLOWED:
            found.append(f"{path}: the folder {folder} has no rule")
        elif not is_allowed(folder, header, source):
            found.append(f"{path}: {folder} must not include {header}")
    return found


def pairs_that_include_each_other(source):
    seen = {(folder, target_of(folder, header, source)) for _, folder, header in arrows(source)}
    return [pair for pair in seen if pair[0] < pair[1] and (pair[1], pair[0]) in seen]


def unit_of(path):
    """A header and the source of its name are one unit."""
    return path.with_suffix("").as_posix()


def file_of(path, header, source):
    """The file of ours that an include means, or None."""
    parts = path.relative_to(source).parts
    roots = [path.parent, source / "src"] if parts[0] == "src" else [
        path.parent, source / "platform/standalone", source / "platform/tools", source / "library"]
    for root in roots:
        if (root / header).is_file():
            return root / header
    return None


def unit_graph(source):
    graph = {}
    for path in sources(source):
        used = graph.setdefault(unit_of(path.relative_to(source)), set())
        for header in includes(path):
            target = file_of(path, header, source)
            if target is not None:
                used.add(unit_of(target.relative_to(source)))
    return {unit: used - {unit} for unit, used in graph.items()}


def cycles(graph):
    """The units that are left when those that use none of the others are taken away, again and
    again, from both ends: all that is on a cycle, or between two."""
    left = {unit: set(used) for unit, used in graph.items()}
    while True:
        used_by_any = set().union(*left.values()) if left else set()
        free = {unit for unit, used in left.items() if not used or unit not in used_by_any}
        if not free:
            return sorted(left)
        left = {unit: used - free for unit, used in left.items() if unit not in free}


def unused_arrows(source):
    """What ALLOWED allows and nobody uses."""
    used = {folder: set() for folder in ALLOWED}
    for _, folder, header in arrows(source):
        target = target_of(folder, header, source)
        used.get(folder, set()).update((target, target.split("/")[-1], header, f"src/{header}"))
    return [(folder, allowed) for folder, those in ALLOWED.items() for allowed in those
            if allowed not in used[folder]]


def linked_folders(source):
    """folder: the folders whose libraries its own library links."""
    lists = (source / "platform/standalone/CMakeLists.txt").read_text()
    return {name: set(re.findall(r"vexo_(\w+)", libraries))
            for name, libraries in re.findall(r"vexo_module\((\w+)([^)]*)\)", lists)
            if name != "name"}


def host_interface_includes(source):
    """What the host's headers include beside themselves and the standard library."""
    for path in sorted((source / "platform/include").rglob("*.h")):
        for header in includes(path):
            if not header.startswith("vexo/") and not SYSTEM.match(header):
                yield path.name, header


class Includes(unittest.TestCase):
    def test_every_arrow_is_allowed(self):
        self.assertEqual(violations(SOURCE), [])

    def test_no_two_folders_include_each_other(self):
        self.assertEqual(pairs_that_include_each_other(SOURCE), [])

    def test_every_allowed_arrow_is_used(self):
        self.assertEqual(unused_arrows(SOURCE), [])

    def test_every_library_links_what_its_folder_may_include(self):
        self.assertEqual(linked_folders(SOURCE), {
            name: {allowed for allowed in ALLOWED[f"standalone/{name}"] if allowed in HOST}
            for name in HOST})

    def test_no_sources_include_each_other_in_a_circle(self):
        self.assertEqual(cycles(unit_graph(SOURCE)), [])

    def test_the_host_interface_knows_the_standard_library_and_json_only(self):
        self.assertEqual({header.split("/")[0] for _, header in host_interface_includes(SOURCE)},
                         {"json"})

    def test_the_sources_are_found(self):
        folders = {folder for _, folder, _ in arrows(SOURCE)}
        self.assertEqual(folders, set(ALLOWED))


class TheRuleItself(unittest.TestCase):
    """Trees that break the rule are found to break it."""

    CASES = [
        ("src/model/a.h", '#include "actions/b.h"', "the model must not know actions"),
        ("src/actions/a.cpp", '#include "player/ctrl.h"', "only the queue of the player"),
        ("src/player/a.cpp", "#include <sqlite3.h>", "a library of the host"),
        ("src/export/a.cpp", '#include "system/config.h"', "the standalone platform"),
        ("platform/standalone/text/a.h", '#include "web/b.h"', "only host uses web"),
        ("platform/standalone/smart/a.h", '  #  include "playlists/b.h"', "smart and playlists"),
        ("platform/standalone/accounts/a.h", '#include "index/b.h"', "accounts and index"),
        ("platform/tools/zip/a.cpp", '#include "web/b.h"', "tools use all but web"),
        ("platform/standalone/web/a.h", '#include "host/b.h"', "nothing uses host"),
        ("platform/standalone/index/a.h", '#include "vexo/media_info.h"', "the device's records"),
        ("library/api/a.h", '#include "host/b.h"', "the library program needs no device"),
        ("library/catalog/a.h", '#include "api/b.h"', "the catalog knows no HTTP"),
        ("platform/standalone/new/a.h", '#include "text/b.h"', "a folder without a rule"),
    ]
    FINE = [
        ("src/actions/a.cpp", '#include "player/queue.h"\n#include <vector>\n#include <unistd.h>'),
        ("src/export/a.cpp", '#include "export/b.h"\n#include "model/c.h"\n#include "vexo/web.h"'),
        ("platform/standalone/host/a.cpp", '#include "playlists/b.h"\n#include <sys/stat.h>'),
        ("platform/tools/playlistctl/a.cpp", '#include "playlistctl/scan/b.h"\n#include "index/c.h"'),
    ]

    def check(self, name, text):
        with tempfile.TemporaryDirectory() as folder:
            source = Path(folder)
            (source / "platform/tools/playlistctl").mkdir(parents=True)
            (source / name).parent.mkdir(parents=True, exist_ok=True)
            (source / name).write_text(text)
            return violations(source)

    def test_finds_each_forbidden_arrow(self):
        for name, text, description in self.CASES:
            with self.subTest(description):
                self.assertEqual(len(self.check(name, text)), 1)

    def test_lets_allowed_arrows_pass(self):
        for name, text in self.FINE:
            with self.subTest(name):
                self.assertEqual(self.check(name, text), [])

    def test_finds_sources_in_a_circle_only(self):
        graph = {"main": {"a"}, "a": {"b", "leaf"}, "b": {"c"}, "c": {"a"}, "leaf": set()}
        self.assertEqual(cycles(graph), ["a", "b", "c"])
        self.assertEqual(cycles({**graph, "c": {"leaf"}}), [])

    def test_takes_a_header_and_its_source_for_one(self):
        with tempfile.TemporaryDirectory() as folder:
            source = Path(folder)
            (source / "platform/standalone/text").mkdir(parents=True)
            for name, header in (("a.cpp", "b"), ("b.cpp", "a"), ("a.h", "a"), ("b.h", "b")):
                (source / "platform/standalone/text" / name).write_text(
                    f'#include "text/{header}.h"')
            self.assertEqual(cycles(unit_graph(source)),
                             ["platform/standalone/text/a", "platform/standalone/text/b"])

    def test_finds_two_folders_that_include_each_other(self):
        with tempfile.TemporaryDirectory() as folder:
            source = Path(folder)
            for one, other in (("text", "files"), ("files", "text")):
                (source / f"platform/standalone/{one}").mkdir(parents=True)
                (source / f"platform/standalone/{one}/a.h").write_text(f'#include "{other}/a.h"')
            self.assertEqual(pairs_that_include_each_other(source),
                             [("standalone/files", "standalone/text")])


if __name__ == "__main__":
    unittest.main()
