"""No source declares a name for itself that it does not use: `using a::b;`, `using b = ...;` and
`namespace b = ...;`, and none includes a source."""

import re
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
# Comments, texts and characters.
NO_CODE = re.compile(r"""//[^\n]*|/\*.*?\*/|R"\(.*?\)"|"(?:\\.|[^"\\\n])*"|(?<!\w)'(?:\\.[^'\n]*|.)'""",
                     re.DOTALL)
DECLARED = re.compile(r"\b(?:using\s+(?!namespace\b)[\w:<>, ]*::(\w+)\s*;|using\s+(\w+)\s*=|"
                      r"namespace\s+(\w+)\s*=)")
INCLUDED = re.compile(r'^\s*#\s*include\s*"([^"]*\.c(?:pp)?)"', re.MULTILINE)


def unused_names(text):
    code = NO_CODE.sub(" ", text)
    return [name for name in ("".join(groups) for groups in DECLARED.findall(code))
            if len(re.findall(rf"\b{name}\b", code)) < 2]


class UnusedNames(unittest.TestCase):
    def test_sources_use_the_names_that_they_declare(self):
        for top in ("src", "platform", "library", "tests", "benchmarks"):
            for path in sorted((SOURCE / top).rglob("*.cpp")):
                with self.subTest(path.relative_to(SOURCE)):
                    text = path.read_text()
                    self.assertEqual(unused_names(text), [])
                    self.assertEqual(INCLUDED.findall(text), [])


class Rules(unittest.TestCase):
    def test_what_is_unused(self):
        for text, unused in (("using std::map;", ["map"]), ("using std::map; map a;", []),
                             ("using std::map; // map", ["map"]), ('using std::map; "map"', ["map"]),
                             ("namespace fs = std::filesystem;", ["fs"]),
                             ("namespace fs = std::filesystem; fs::path a;", []),
                             ("using Ids = std::set<int>;", ["Ids"]),
                             ('using a::operator""sv;', []), ("using namespace a::b;", []),
                             ("using a::b; 1'000 + '\\'' + '\"' + b + '\\x41' + '\"';", [])):
            with self.subTest(text):
                self.assertEqual(unused_names(text), unused)


if __name__ == "__main__":
    unittest.main()
