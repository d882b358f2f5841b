import assert from "node:assert/strict";
import { test } from "node:test";

// What a page has.
Object.assign(globalThis, { matchMedia: () => ({ matches: false, addEventListener: () => {} }) });
const { movesBetween } = await import("../src/list/glide.ts");

const drawn = (ids: string, first = 0, end = ids.length) => ({ ids: [...ids], first, end });

test("rows come from where they were, and those that stay from nowhere", () => {
  assert.deepEqual(
    [...movesBetween(drawn("abcd"), drawn("acbd"))],
    [
      [1, 2],
      [2, 1],
    ],
  );
  assert.deepEqual([...movesBetween(drawn("abcd"), drawn("bcd"))].length, 3);
});

test("what was or is not drawn does not glide", () => {
  assert.deepEqual(
    [...movesBetween(drawn("abcdef", 0, 3), drawn("fabcde", 0, 3))],
    [
      [1, 0],
      [2, 1],
    ],
  );
});
