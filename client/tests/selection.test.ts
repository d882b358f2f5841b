import assert from "node:assert/strict";
import { test } from "node:test";
import { normalized, rangesOf, Selection, without } from "../src/list/selection.ts";

test("ranges that meet or touch become one", () => {
  const ranges = [
    { first: 8, end: 9 },
    { first: 1, end: 4 },
    { first: 4, end: 6 },
    { first: 5, end: 5 },
  ];
  assert.deepEqual(normalized(ranges), [
    { first: 1, end: 6 },
    { first: 8, end: 9 },
  ]);
});

test("taking out the middle of a range leaves two", () => {
  assert.deepEqual(without([{ first: 0, end: 10 }], { first: 3, end: 5 }), [
    { first: 0, end: 3 },
    { first: 5, end: 10 },
  ]);
});

test("positions become ranges", () => {
  assert.deepEqual(rangesOf([7, 1, 2, 3]), [
    { first: 1, end: 4 },
    { first: 7, end: 8 },
  ]);
});

test("extending goes from the one that was chosen last, and takes back what it selected before", () => {
  const selection = new Selection();
  selection.only(5);
  selection.extendTo(8);
  assert.deepEqual(selection.positions(), [5, 6, 7, 8]);
  selection.extendTo(3);
  assert.deepEqual(selection.positions(), [3, 4, 5]);
  assert.equal(selection.active.value, 3);
});

test("extending leaves alone what was chosen one by one", () => {
  const selection = new Selection();
  selection.only(1);
  selection.toggle(10);
  selection.extendTo(12);
  selection.extendTo(11);
  assert.deepEqual(selection.positions(), [1, 10, 11]);
});

test("what is extended from a place of a selection comes beside it", () => {
  const selection = new Selection();
  selection.replace([{ first: 2, end: 5 }]);
  selection.goOnFrom(4);
  selection.extendTo(6);
  assert.deepEqual(selection.positions(), [2, 3, 4, 5, 6]);
  selection.extendTo(4);
  assert.deepEqual(selection.positions(), [2, 3, 4]);
});

test("choosing one that is chosen gives it up", () => {
  const selection = new Selection();
  selection.all(4);
  selection.toggle(2);
  assert.deepEqual(selection.positions(), [0, 1, 3]);
  assert.equal(selection.count.value, 3);
});

test("all of a million is one range", () => {
  const selection = new Selection();
  selection.all(1_000_000);
  assert.equal(selection.count.value, 1_000_000);
  assert.equal(selection.ranges.value.length, 1);
  assert.ok(selection.has(999_999));
  assert.ok(!selection.has(1_000_000));
});
