"""Every program that scripts and tests start comes with the packages that they install.

scripts/packages* name the packages; what those depend on is there too, and so is Debian's smallest
system: the required packages and apt.
"""

import ast
import os
import re
import shutil
import subprocess
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
SERVING = ["packages"]
MACHINES = [*SERVING, "packages.machines"]
TESTING = [*MACHINES, "packages.test"]
CLEANING = ["packages.clean"]
# The lists that are installed before a script runs; of all others, those of the tests.
LISTS = {"serve": SERVING, "packaging/install": SERVING, "scripts/build": SERVING,
         "scripts/install_packages": [], "scripts/lay_root": SERVING,
         "scripts/lighttpd_conf": SERVING, "scripts/mpd_conf": SERVING,
         "scripts/three_machines": MACHINES, "scripts/haproxy_conf": MACHINES,
         "scripts/static_jsoncpp": SERVING,
         "scripts/static_libpq": SERVING, "scripts/debian_source": SERVING, "scripts/clean_machine": CLEANING}
DEBIAN = "/usr/sbin:/usr/bin:/sbin:/bin"  # where packages put programs
# Started only where they are there.
OPTIONAL = {"sudo", "systemctl", "ccache"}

NAME = re.compile(r"(?:[a-z][a-z0-9+._-]*|7zz)$")
# They start the program that their arguments name.
STARTERS = {"command", "env", "exec", "nice", "nohup", "setpriv", "setsid", "start", "timeout",
            "xargs"}
LEADING = {"!", "do", "elif", "else", "if", "then", "until", "while", "{"}
BUILTINS = {"[", ".", ":", "break", "cd", "command", "continue", "done", "echo", "esac", "eval",
            "exec", "exit", "export", "false", "fi", "kill", "local", "printf", "pwd", "read",
            "return", "set", "shift", "test", "trap", "true", "ulimit", "umask", "unset", "wait",
            "}"}


class Shell:
    """The simple commands of a POSIX shell script, as lists of words. What is quoted is a word's
    part that no program's name has, but for command substitutions."""

    def __init__(self, text):
        self.text, self.at, self.commands, self.functions = text, 0, [], set()
        self.words, self.word = [], None  # of the command that is being read
        self.first = 0  # the first command that may be a pattern of a case instead
        self.documents = []
        self.read_until(None)

    def read_until(self, end):
        """Reads commands to the closing parenthesis, or to the end of the script."""
        outer = self.words, self.word, self.first
        self.words, self.word, self.first = [], None, len(self.commands)
        while self.at < len(self.text):
            char = self.text[self.at]
            self.at += 1
            if char == end:
                break
            if char in "()":
                self.read_parenthesis(char)
            elif char in "\n;&|":
                self.read_separator(char)
            else:
                self.read_part(char)
        self.end_command()
        self.words, self.word, self.first = outer

    def end_word(self):
        if self.word is not None:
            self.words.append(self.word)
        self.word = None

    def end_command(self):
        self.end_word()
        if self.words:
            self.commands.append(self.words)
        self.words = []

    def read_parenthesis(self, char):
        if char == ")":  # behind the pattern of a case
            del self.commands[self.first:]
            self.words, self.word = [], None
        elif self.word is not None:
            self.functions.add(self.word)
            self.word, self.at = None, self.at + 1
        else:
            self.end_command()
            self.read_until(")")

    def read_separator(self, char):
        self.end_command()
        if char == "\n":
            self.skip_documents()
        if char == "\n" or self.text.startswith(";;", self.at - 1):
            self.first = len(self.commands)

    def read_part(self, char):
        """A word's character, what ends a word, or what is quoted or redirected."""
        if char in "'\"$\\`":
            self.word = (self.word or "") + "\0"
            self.read_quoted(char)
        elif char == "#" and self.word is None:
            self.at = (self.text + "\n").index("\n", self.at)
        elif self.text.startswith("<<", self.at - 1):
            self.documents.append(re.match(r"<-?\s*['\"]?(\w+)", self.text[self.at:]).group(1))
            self.at += 1
        elif char in "<>" and self.text.startswith("&", self.at):
            self.word, self.at = (self.word or "") + "\0", self.at + 1
        elif char.isspace():
            self.end_word()
        else:
            self.word = (self.word or "") + char

    def read_quoted(self, quote):
        if quote == "\\":
            self.at += 1
        elif quote == "'":
            self.at = self.text.index("'", self.at) + 1
        elif quote == "$":
            self.read_expansion()
        elif quote == '"':
            while (char := self.text[self.at]) != '"':
                self.at += 1
                if char in "\\$":
                    self.read_quoted(char)
            self.at += 1

    def read_expansion(self):
        if self.text.startswith("((", self.at):
            self.at = self.text.index("))", self.at) + 2
        elif self.text.startswith("(", self.at):
            self.at += 1
            self.read_until(")")

    def skip_documents(self):
        for mark in self.documents:
            self.at = re.compile(rf"^\s*{mark}$", re.MULTILINE).search(self.text, self.at).end()
        self.documents = []


def programs_of_command(words):
    """The program that a simple command starts, and those that it is told to start."""
    words = list(words)
    while words and (words[0] in LEADING or re.match(r"\w+=", words[0])):
        words.pop(0)
    if not words or words[0] in ("for", "case", "in") or words[:2] == ["command", "-v"]:
        return
    yield words[0]
    if words[0] in STARTERS:
        yield from programs_of_command([word for word in words[1:] if NAME.match(word)])


def shell_programs(text):
    shell = Shell(text)
    found = {name for words in shell.commands for name in programs_of_command(words)}
    return {name for name in found - shell.functions - BUILTINS if NAME.match(name)}


def leading_text(node):
    """The first element of a list or tuple, when it is a text."""
    if isinstance(node, (ast.List, ast.Tuple)) and node.elts:
        node = node.elts[0]
        return node.value if isinstance(node, ast.Constant) and isinstance(node.value, str) else ""
    return ""


def python_programs(text):
    """Programs that calls name: run("NAME", ...), or any function that gets a list or tuple which
    begins with the name; and lists and tuples elsewhere that begin with that of a program."""
    found = set()
    for node in ast.walk(ast.parse(text)):
        if isinstance(node, ast.Call):
            called = node.func.attr if isinstance(node.func, ast.Attribute) else getattr(
                node.func, "id", "")
            first = node.args[0] if node.args else None
            if called == "run" and isinstance(first, ast.Constant):
                found.add(first.value)
            elif called in ("run", "start", "Popen", "check_output", "check_call", "call"):
                found.add(leading_text(first))
        elif shutil.which(leading_text(node) or "/"):
            found.add(leading_text(node))
    return {name for name in found - BUILTINS if NAME.match(name)}


def scripts(source):
    """Every script, with its programs."""
    files = [source / "serve", source / "test", source / "bench", source / ".ci/run",
             *(source / "scripts").iterdir(), *(source / "packaging").iterdir(),
             *(source / "benchmarks").glob("*.py"), *(source / "tests").rglob("*.py")]
    for file in sorted(file for file in files if file.is_file()):
        text = file.read_text()
        first = text.split("\n", 1)[0]
        if first == "#!/bin/sh":
            yield str(file.relative_to(source)), shell_programs(text)
        elif file.suffix == ".py" or "python" in first:
            yield str(file.relative_to(source)), python_programs(text)
    command = re.compile(r'\b(?:popen|system|RunCommand)\(\s*"([^"\']*)')
    for file in sorted((source / "tests").rglob("*.[ch]*")):
        started = command.findall(file.read_text(errors="replace"))
        yield str(file.relative_to(source)), set().union(*map(shell_programs, started))


class Packages:
    """The packages that are installed here."""

    def __init__(self):
        listed = subprocess.check_output(
            ["dpkg-query", "-W", "-f", "${Package}\t${Provides}\t${Priority}\t${Essential}\t"
             "${Pre-Depends},${Depends}\n"], text=True)
        self.depends, self.smallest, self.providers = {}, {"apt"}, {}
        for line in listed.splitlines():
            name, provides, priority, essential, depends = line.split("\t")
            self.depends[name] = self.names(depends)
            for provided in self.names(provides):
                self.providers.setdefault(provided, set()).add(name)
            if priority == "required" or essential == "yes":
                self.smallest.add(name)

    @staticmethod
    def names(text):
        return {re.split(r"[ :(]", part.strip())[0] for part in re.split(r"[,|]", text)} - {""}

    def with_dependencies(self, names):
        found, left = set(), [*names, *self.smallest]
        while left:
            name = left.pop()
            if name not in found:
                found.add(name)
                left += [*self.depends.get(name, ()), *self.providers.get(name, ())]
        return found

    @staticmethod
    def owners(programs):
        """Program: the packages that it may be of; none when it is not here."""
        places = {}
        for program in programs:
            path = shutil.which(program, path=DEBIAN)
            for place in {path, os.path.realpath(path)} if path else ():
                places.setdefault(place, []).append(program)
                places.setdefault(place.removeprefix("/usr"), []).append(program)
        done = subprocess.run(["dpkg-query", "-S", *sorted(places)], text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        found = {program: set() for program in programs}
        for line in done.stdout.splitlines():
            names, _, place = line.rpartition(": ")
            for program in places.get(place, ()):
                found[program] |= Packages.names(names)
        return found


def listed(source, lists):
    words = [line.split("#")[0] for name in lists
             for line in (source / "scripts" / name).read_text().splitlines()]
    return set(" ".join(words).split())


class Programs(unittest.TestCase):
    def test_every_program_comes_with_a_package_that_is_installed(self):
        packages = Packages()
        started = dict(scripts(SOURCE))
        owners = packages.owners(set().union(*started.values()))
        self.assertIn("strace", owners)
        for script, programs in started.items():
            lists = LISTS.get(script, TESTING)
            allowed = packages.with_dependencies(listed(SOURCE, lists))
            for program in sorted(programs - OPTIONAL):
                with self.subTest(script=script, program=program):
                    if owners[program] or lists is not CLEANING:  # which the tests do not install
                        self.assertTrue(owners[program] & allowed,
                                        f"is of {owners[program] or 'no package here'}")


class Rules(unittest.TestCase):
    def test_programs_of_a_shell_script(self):
        script = """#!/bin/sh
set -eu # sox
own() { mpc -q; }
case $1 in
-h | yes | nmap) curl "$(jq .a "$2")" ;;
esac
name='ffmpeg' X=$(seq 3 | tac) flac "a b; lame" || exec sed 's/a/b/; mplayer' &
cat <<TEXT >file
oggenc
TEXT
if ! command -v rg >/dev/null; then own; nice -n 5 strace -f x; fi
n=$((n + 1)); for i in vim emacs; do wc; done
"""
        self.assertEqual(shell_programs(script), {"mpc", "curl", "jq", "seq", "tac", "flac", "sed",
                                                  "cat", "nice", "strace", "wc"})

    def test_programs_of_a_python_script(self):
        script = """
run("sox", "-n", tone)
subprocess.run(["flac", name], check=True)
process = start(("lame", "x"), log)
found = ["sh", "-c", "nothing"]
run(SOURCE / "serve", "mpc")
words = ["no such program", "sed"]
"""
        self.assertEqual(python_programs(script), {"sox", "flac", "lame", "sh"})

    def test_a_package_brings_what_it_depends_on_and_no_more(self):
        packages = Packages()
        self.assertIn("binutils", packages.with_dependencies({"g++"}))
        self.assertNotIn("lighttpd", packages.with_dependencies({"g++"}))
        owners = packages.owners({"sed", "no-such-program"})
        self.assertEqual(owners, {"sed": {"sed"}, "no-such-program": set()})
        self.assertIn("sed", packages.with_dependencies(()))


if __name__ == "__main__":
    unittest.main()
