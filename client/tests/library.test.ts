// Parts of long lists, and columns that fit.
import assert from "node:assert/strict";
import { test } from "node:test";
import { fitting } from "../src/library/fitting.ts";
import { cut, sampleParts } from "../src/library/parts.ts";

const range = (first: number, end: number) => ({ first, end });

test("ranges are cut to the positions among all that they hold", () => {
  const ranges = [range(10, 20), range(100, 105), range(200, 300)];
  assert.deepEqual(cut(ranges, 0, 1000), ranges);
  assert.deepEqual(cut(ranges, 0, 10), [range(10, 20)]);
  assert.deepEqual(cut(ranges, 9, 16), [range(19, 20), range(100, 105), range(200, 201)]);
  assert.deepEqual(cut(ranges, 114, 200), [range(299, 300)]);
  assert.deepEqual(cut(ranges, 115, 200), []);
  assert.deepEqual(cut([], 0, 10), []);
});

test("a sample of a list that is not longer than it is the list", () => {
  assert.deepEqual(sampleParts(0, 2000, Math.random), [range(0, 0)]);
  assert.deepEqual(sampleParts(2000, 2000, Math.random), [range(0, 2000)]);
});

test("a sample of a long list has songs from everywhere in it, none twice", () => {
  for (const random of [() => 0, () => 0.999999, Math.random]) {
    for (const total of [2001, 5000, 1_000_000]) {
      const parts = sampleParts(total, 2000, random);
      const held = parts.reduce((sum, { first, end }) => sum + end - first, 0);
      assert.equal(held, 2000);
      assert.ok(parts.every(({ first, end }) => first >= 0 && end <= total));
      for (let tenth = 0; tenth < 10; tenth++) {
        const [from, to] = [(tenth * total) / 10, ((tenth + 1) * total) / 10];
        assert.ok(parts.some(({ first, end }) => first < to && end > from));
      }
    }
  }
});

test("columns make room in their order, and the first one stays", () => {
  const columns = [{ least: 160 }, { least: 64 }, { least: 112 }, { least: 40 }];
  const fits = (room: number) => fitting(columns, room, 12).map(({ least }) => least);
  assert.deepEqual(fits(412), [160, 64, 112, 40]);
  assert.deepEqual(fits(411), [160, 64, 112]);
  assert.deepEqual(fits(359), [160, 64, 40]);
  assert.deepEqual(fits(100), [160]);
});
