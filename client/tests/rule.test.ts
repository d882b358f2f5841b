import assert from "node:assert/strict";
import { test } from "node:test";
import { offsetOf, parseRule, placeOf, RuleError } from "../src/smart/parser.ts";
import { printRule } from "../src/smart/printer.ts";
import { FIELDS, firstTest, type Rule, withField } from "../src/smart/rule.ts";

/** As the parser gives it when it reads what the printer writes. */
const PLAIN = [
  'title includes "snail"',
  'artist not is "Nina"\nand album starts with "a \\"b\\" \\\\ c"\nand path not ends with ".mp3"',
  "genre is empty\nor comment not is empty\nor year = 0",
  'not (genre is "Folk" or genre is "Jazz")',
  'title is "a"\nand (rating >= 4 or play_count > 10 or (year < 2000 and year != 1999))',
  'title is "a"\nor (rating <= 4 and not (disc = 1 and track = 1))',
  "time_added after last month\nand time_modified before 2020-02-29",
  "time_added after 1 day ago\nor time_added before 3 weeks ago",
  "time_added before 2 months before 1 year after this week",
  'title includes "潮風 🌊"\norder by random\nlimit 50',
  "song_length > 240\norder by time_added desc\nlimit 9223372036854775807",
  "file_size > 0\norder by album_artist",
];

for (const text of PLAIN) {
  test(`there and back: ${text.replaceAll("\n", " ")}`, () => {
    const { rule } = parseRule(text);
    assert.equal(printRule(rule), text);
    assert.deepEqual(parseRule(printRule(rule)).rule, rule);
  });
}

/** Other ways to write the same. */
const SAME: [string, string][] = [
  ['NOT Title IS "x" && ! rating < 3', 'title not is "x"\nand rating >= 3'],
  ['((title is "x"))', 'title is "x"'],
  ['not not artist not includes "x"', 'artist not includes "x"'],
  ['not (title is "x")', 'title not is "x"'],
  ['title is "x" or title is "y" and year > 1', 'title is "x"\nor (title is "y" and year > 1)'],
  ["not time_added before today", "time_added after today"],
  ["time_added after 1 days ago order by year asc", "time_added after 1 day ago\norder by year"],
  ['title is "x" # why\n# more\n', 'title is "x"'],
];

for (const [text, printed] of SAME) {
  test(`the same: ${text.trim()}`, () => assert.equal(printRule(parseRule(text).rule), printed));
}

test("comments are noticed, but not in strings", () => {
  assert.equal(parseRule('title is "x" # why').hasComments, true);
  assert.equal(parseRule('title is "#1"').hasComments, false);
});

/** The text, with a mark where it is wrong. */
const WRONG: [string, string][] = [
  ["^", "field"],
  ["^colour is 3", "field"],
  ["title ^= 3", "text_operator"],
  ["title starts ^by", "with"],
  ["title is ^empt", "string"],
  ['title is ^"x', "open_string"],
  ['title is ^"x\n"', "open_string"],
  ['title is ^"\\n"', "escape"],
  ["year ^is 3", "number_operator"],
  ["year > ^x", "integer"],
  ["year > ^-1", "integer"],
  ["year > ^9223372036854775808", "too_large"],
  ["time_added ^= today", "date_operator"],
  ["time_added after ^tomorrow", "date"],
  ["time_added after ^last decade", "date"],
  ["time_added after ^2023-02-29", "no_such_day"],
  ["time_added after ^1000001 days ago", "too_large"],
  ["time_added after 3 ^hours ago", "unit"],
  ["time_added after 3 days ^since today", "direction"],
  ['(title is "x"^', "close"],
  ['title is "x" ^)', "end"],
  ['title is "x" ^}', "end"],
  ['title is "x" order ^title', "by"],
  ['title is "x" order by ^colour', "order"],
  ['title is "x" limit ^', "integer"],
  ['title is "x" limit 3 ^and', "end"],
  ['title is "潮風"\n  and ^colour is 3', "field"],
  [`${"(".repeat(101)}^`, "too_deep"],
];

for (const [marked, fault] of WRONG) {
  test(`wrong: ${marked.slice(0, 60)}`, () => {
    const begin = marked.indexOf("^");
    const text = marked.replace("^", "");
    assert.throws(
      () => parseRule(text),
      (error) => {
        assert.ok(error instanceof RuleError);
        assert.deepEqual([error.fault, error.begin], [fault, begin]);
        return true;
      },
    );
  });
}

test("ten thousand conditions, and no more", () => {
  const tests = (count: number) => Array(count).fill("year = 1").join(" or ");
  assert.equal(parseRule(tests(10_000)).rule.conditions.parts.length, 10_000);
  assert.throws(() => parseRule(tests(10_001)), { fault: "too_many" });
});

test("columns are characters, and lead back", () => {
  const text = 'title is "🌊"\nand 🌊';
  const offset = text.lastIndexOf("🌊");
  assert.deepEqual(placeOf(text, offset), { line: 2, column: 5 });
  assert.equal(offsetOf(text, 2, 5), offset);
  assert.deepEqual(placeOf(text, text.indexOf("\n")), { line: 1, column: 13 });
});

test("each field has a test that can be read", () => {
  for (const field of FIELDS) {
    const rule: Rule = { conditions: { kind: "and", not: false, parts: [firstTest(field)] } };
    assert.deepEqual(parseRule(printRule(rule)).rule, rule);
  }
});

test("another field keeps what it can", () => {
  const test = { ...firstTest("title"), value: "x" } as ReturnType<typeof firstTest>;
  assert.deepEqual(withField(test, "artist"), { ...test, field: "artist" });
  assert.deepEqual(withField(test, "year"), firstTest("year"));
});
