"""check_tidy.py SOURCE BUILD: clang-tidy has nothing to say about the program and the platform.

It looks at what the compiler of BUILD looks at: at each source, or in a build that unites the sources
of a folder at these, and at all of one top folder in one go, as most of the time goes into headers of the
library. That takes a sixth of the time. What passed is not looked at again until a part of it, or
something it includes, has changed: what it consisted of when it passed is kept in BUILD/tidy.json.
(Two checks see nothing in united sources; test_unused_names.py does their work.)
"""

import hashlib
import json
import os
import re
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, field
from pathlib import Path

source, build = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
passed_file = build / "tidy.json"
rules = [source / ".clang-tidy", *sorted((source / "platform").rglob(".clang-tidy"))]
configuration = b"".join(path.read_bytes() for path in rules)
OWN_RULES = [path.parent for path in rules[1:]]

TOPS = ("src", "platform/standalone", "platform/tools", "library")
# A united source includes sources, which test_unused_names.py lets nobody else do.
OPTIONS = ["--quiet", "--checks=-bugprone-suspicious-include"]


@dataclass
class Look:
    """What is looked at in one go: sources that are compiled alike, but for where they find headers."""

    name: str
    sources: list = field(default_factory=list)
    arguments: list = field(default_factory=list)  # of the compiler, each once
    objects: list = field(default_factory=list)

    def add(self, path, words):
        self.sources.append(path)
        self.objects.append(words[words.index("-o") + 1])
        for argument in arguments_of(words):
            if argument not in self.arguments:
                self.arguments.append(argument)

    def file(self):
        """One that includes all sources, when there are several."""
        if len(self.sources) == 1:
            return self.sources[0]
        united = build / "tidy" / f"{self.name.replace('/', '_')}.cxx"
        united.parent.mkdir(exist_ok=True)
        united.write_text("".join(f'#include "{path}"\n' for path in self.sources))
        return str(united)


def arguments_of(words):
    """What a compile command says but for the file and where the object goes, in tuples."""
    found, words = [], iter(words[1:])
    for word in words:
        if word in ("-o", "-c"):
            next(words)
        elif word in ("-isystem", "-include", "-Xclang"):
            found.append((word, next(words)))
        else:
            found.append((word,))
    return found


def stays_apart(path):
    """So do sources that the build leaves apart, programs, as each has its main(), and folders that are
    looked at by rules of their own."""
    if not path.is_relative_to(build):
        return True
    parts = [Path(part) for part in re.findall('#include "(.*)"', path.read_text())]
    return any(part.name == "main.cpp" or part.parent in OWN_RULES for part in parts)


def looks():
    """All of the program and the platform."""
    found = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = Path(entry["file"])
        top = next((top for top in TOPS if path.is_relative_to(source / top)
                    or path.is_relative_to(build / top)), None)
        if top:
            name = str(path) if stays_apart(path) else top
            found.setdefault(name, Look(name)).add(str(path), shlex.split(entry["command"]))
    return list(found.values())


def dependencies():
    """Object file: all that it was compiled from, as ninja has recorded it."""
    found, target = {}, None
    for line in subprocess.check_output(["ninja", "-C", str(build), "-t", "deps"],
                                        text=True).splitlines():
        if line.startswith("    "):
            found[target].append(line.strip())
        elif ": #deps" in line:
            target = line.split(": #deps")[0]
            found[target] = []
    return found


def fingerprint(look, files):
    digest = hashlib.sha256(repr(look).encode())
    digest.update(configuration)
    digest.update(Path(__file__).read_bytes())
    for name in sorted(files):
        status = os.stat(build / name)
        digest.update(f"{name} {status.st_size} {status.st_mtime_ns}\n".encode())
    return digest.hexdigest()


def tidy(look):
    arguments = [word for argument in look.arguments for word in argument]
    done = subprocess.run(["clang-tidy", *OPTIONS, look.file(), "--", *arguments], check=False, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return look, done.returncode == 0, done.stdout


def main():
    passed = json.loads(passed_file.read_text()) if passed_file.exists() else {}
    recorded = dependencies()
    found = looks()
    missing = [name for look in found for name in look.objects if name not in recorded]
    if missing or not found:
        print("not built:", *missing)
        return 1
    files = {look.name: {name for part in look.objects for name in recorded[part]} for look in found}
    found.sort(key=lambda look: len(files[look.name]), reverse=True)  # what takes longest, first
    now = {look.name: fingerprint(look, files[look.name]) for look in found}
    changed = [look for look in found if passed.get(look.name) != now[look.name]]
    failed = []
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        for look, fine, output in pool.map(tidy, changed):
            if not fine:
                failed.append(look.name)
                print(output)
    passed_file.write_text(json.dumps({name: mark for name, mark in now.items()
                                       if name not in failed}))
    print(f"{sum(len(look.sources) for look in found)} files in {len(found)} looks, {len(changed)} of them "
          f"needed, {len(failed)} with findings")
    return 1 if failed else 0


sys.exit(main())
