// Pictures take turns.
import assert from "node:assert/strict";
import { test } from "node:test";
import { takeTurn } from "../src/library/turns.ts";

test("four are at work, the next begins when one ends, and who gives up is left out", () => {
  const begun: number[] = [];
  const ends = Array.from({ length: 8 }, (_, at) => takeTurn(() => begun.push(at)));
  assert.deepEqual(begun, [0, 1, 2, 3]);
  ends[4]?.();
  ends[1]?.();
  assert.deepEqual(begun, [0, 1, 2, 3, 5]);
  ends[1]?.();
  assert.deepEqual(begun, [0, 1, 2, 3, 5]);
  for (const end of ends) end();
  const last: number[] = [];
  const others = Array.from({ length: 5 }, (_, at) => takeTurn(() => last.push(at)));
  assert.equal(last.length, 4);
  for (const end of others) end();
});
