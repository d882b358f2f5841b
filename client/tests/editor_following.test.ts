import assert from "node:assert/strict";
import { test } from "node:test";
import { follow } from "../src/editor/following.ts";
import { consecutive, moved, removed } from "../src/editor/order.ts";
import { rangesOf, Selection } from "../src/list/selection.ts";

function selected(...positions: number[]) {
  const selection = new Selection();
  selection.replace(rangesOf(positions));
  selection.moveTo(positions.at(-1) ?? 0);
  return selection;
}

test("a selection goes where its entries go", () => {
  const before = consecutive(0, 6);
  const selection = selected(1, 4);
  follow(selection, before, moved(before, [1, 4], 6));
  assert.deepEqual(selection.positions(), [4, 5]);
  assert.equal(selection.active.value, 5);
});

test("what is gone is selected no longer, and what comes next is active", () => {
  const before = consecutive(0, 6);
  const selection = selected(1, 2, 4);
  follow(selection, before, removed(before, new Set([2, 4])));
  assert.deepEqual(selection.positions(), [1]);
  assert.equal(selection.active.value, 3); // entry 5
});

test("when the end is gone, the last one is active", () => {
  const before = consecutive(0, 4);
  const selection = selected(3);
  follow(selection, before, removed(before, new Set([2, 3])));
  assert.equal(selection.active.value, 1);
  follow(selection, consecutive(0, 2), removed(consecutive(0, 2), new Set([0, 1])));
  assert.equal(selection.active.value, 0);
});
