import assert from "node:assert/strict";
import { test } from "node:test";
import { Slots } from "../src/list/slots.ts";

const rowsOf = (slots: ReturnType<Slots["arrange"]>) => slots.map(({ index }) => index);
const keysOf = (slots: ReturnType<Slots["arrange"]>) => slots.map(({ key }) => key);

test("what is scrolled away leaves its place to what comes into view", () => {
  const slots = new Slots();
  const before = slots.arrange([0, 1, 2, 3], false);
  const after = slots.arrange([2, 3, 4, 5], true);
  assert.deepEqual(keysOf(after), keysOf(before));
  assert.deepEqual(rowsOf(after), [4, 5, 2, 3]);
});

test("a row that stays keeps its place, wherever the others are", () => {
  const slots = new Slots();
  const key = slots.arrange([7, 8, 9], false).find(({ index }) => index === 9)?.key;
  slots.arrange([9, 500, 501], true);
  const settled = slots.arrange([9, 500, 501], false);
  assert.deepEqual(rowsOf(settled), [9, 500, 501]);
  assert.equal(settled[0]?.key, key);
});

test("there are as many places as rows, and each is another one", () => {
  const slots = new Slots();
  for (const rows of [[0, 1], [0, 1, 2, 3], [3], [], [8, 9, 10]]) {
    const arranged = slots.arrange(rows, true);
    assert.deepEqual(
      rowsOf(arranged).sort((a, b) => a - b),
      rows,
    );
    assert.equal(new Set(keysOf(arranged)).size, rows.length);
  }
});
