import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { test } from "node:test";
import { de } from "../src/text/de.ts";
import { en } from "../src/text/en.ts";
import { parts } from "../src/text/en_parts.ts";

const STATIC_IMPORT = /^import (?!type )(?:[^;]*? from )?"(\.[^"]+)";/gm;

/** The files that are fetched with a file, at once. */
function filesWith(path: string, known = new Set<string>()): Set<string> {
  if (known.has(path) || !/\.tsx?$/.test(path)) return known;
  known.add(path);
  for (const [, name] of readFileSync(path, "utf8").matchAll(STATIC_IMPORT)) {
    filesWith(join(dirname(path), name ?? ""), known);
  }
  return known;
}

/** Where the name of a text stands, or its beginning. */
function namesIn(source: string, name: string) {
  const begun = [...source.matchAll(/`([\w.]+)\$\{/g)].map(([, beginning]) => beginning ?? "");
  return source.includes(`"${name}"`) || begun.some((beginning) => name.startsWith(beginning));
}

test("the first page has all of its texts at once", () => {
  const files = [...filesWith("src/main.tsx")].filter((path) => !path.startsWith("src/text/"));
  assert.ok(files.includes("src/app/frame.tsx") && !files.includes("src/smart/rule_view.tsx"));
  for (const path of files) {
    const source = readFileSync(path, "utf8");
    const late = Object.keys(parts).filter((name) => namesIn(source, name));
    assert.deepEqual(late, [], `${path} names texts of src/text/en_parts.ts: move them to en.ts`);
  }
});

test("every language has the same texts", () => {
  const names = [...Object.keys(en), ...Object.keys(parts)].sort();
  assert.deepEqual(Object.keys(de).sort(), names);
  assert.equal(new Set(names).size, names.length);
});
