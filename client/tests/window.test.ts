import assert from "node:assert/strict";
import { test } from "node:test";
import {
  extentOf,
  HIGHEST,
  rowsBetween,
  rowsInView,
  scrollFor,
  topAfter,
  topToShow,
  withNext,
} from "../src/list/window.ts";

const ROW = 36;
const VIEW = 720;
const short = extentOf(20_000, ROW, VIEW);
const long = extentOf(1_000_000, ROW, VIEW);

test("a list that browsers can draw is scrolled pixel by pixel", () => {
  assert.equal(short.box, 20_000 * ROW);
  assert.equal(topAfter(short, 0, 0, 12_345), 12_345);
  assert.equal(scrollFor(short, 12_345), 12_345);
});

test("a longer one has a box that browsers can draw", () => {
  assert.equal(long.box, HIGHEST);
  assert.equal(long.whole, 36_000_000);
});

test("small steps in a long list move it by as many pixels, either way", () => {
  assert.equal(topAfter(long, 1_000_000, 222_222, 222_342), 1_000_120);
  assert.equal(topAfter(long, 1_000_000, 222_222, 222_102), 999_880);
});

test("large steps in a long list move it in proportion", () => {
  const middle = (HIGHEST - VIEW) / 2;
  assert.equal(Math.round(topAfter(long, 0, 0, middle)), (36_000_000 - VIEW) / 2);
});

test("the ends of the box are the ends of the list, however one came there", () => {
  assert.equal(topAfter(long, 5000, 40, 0), 0);
  assert.equal(topAfter(long, 35_000_000, HIGHEST - VIEW - 10, HIGHEST - VIEW), 36_000_000 - VIEW);
});

test("where a top is scrolled to is read as that top again", () => {
  for (const top of [0, 1, 36, 999_999, 18_000_000, 36_000_000 - VIEW]) {
    const far = top > 18_000_000 ? 0 : HIGHEST - VIEW;
    assert.ok(Math.abs(topAfter(long, 0, far, scrollFor(long, top)) - top) < 1, `${top}`);
  }
});

test("rows in view are those that show, and some more within the list", () => {
  assert.deepEqual(rowsInView(0, VIEW, ROW, 100, 6), { first: 0, end: 26 });
  assert.deepEqual(rowsInView(18, VIEW, ROW, 100, 0), { first: 0, end: 21 });
  assert.deepEqual(rowsInView(100 * ROW - VIEW, VIEW, ROW, 100, 6), { first: 74, end: 100 });
  assert.deepEqual(rowsInView(0, VIEW, ROW, 0, 6), { first: 0, end: 0 });
});

test("what comes into view next is known from the step before, unless that was a jump", () => {
  assert.deepEqual(withNext(110, 140, 100), { first: 110, end: 180 });
  assert.deepEqual(withNext(100, 130, 110), { first: 60, end: 130 });
  assert.deepEqual(withNext(5, 35, 10), { first: 0, end: 35 });
  assert.deepEqual(withNext(500, 530, 10), { first: 500, end: 530 });
  assert.deepEqual(withNext(10, 40, 10), { first: 10, end: 40 });
});

test("a row is brought into view by the shortest way", () => {
  assert.equal(topToShow(5, ROW, 0, VIEW), 0);
  assert.equal(topToShow(5, ROW, 1000, VIEW), 5 * ROW);
  assert.equal(topToShow(30, ROW, 0, VIEW), 31 * ROW - VIEW);
});

test("rows between two heights are those that a part of lies there, whatever stands between them", () => {
  const between = (top: number, bottom: number) => rowsBetween(top, bottom, 10, 20, [], 0);
  assert.deepEqual(between(0, 1), { first: 0, end: 1 });
  assert.deepEqual(between(9, 31), { first: 0, end: 4 });
  assert.deepEqual(between(10, 30), { first: 1, end: 3 });
  assert.deepEqual(between(190, 500), { first: 19, end: 20 });
  assert.deepEqual(between(200, 500), { first: 20, end: 20 });
  const apart = (top: number, bottom: number) => rowsBetween(top, bottom, 10, 20, [0, 3], 5);
  assert.deepEqual(apart(0, 4), { first: 0, end: 0 });
  assert.deepEqual(apart(0, 6), { first: 0, end: 1 });
  assert.deepEqual(apart(34, 39), { first: 2, end: 3 });
  assert.deepEqual(apart(35, 41), { first: 3, end: 4 });
  assert.deepEqual(apart(205, 210), { first: 19, end: 20 });
});
