import assert from "node:assert/strict";
import { test } from "node:test";
import type { FetchPage } from "../src/list/source.ts";

// What a page has, and requests are made for.
Object.assign(globalThis, { document: { baseURI: "http://localhost/" } });
const { PagedSource } = await import("../src/list/source.ts");

const TOTAL = 1000;

/** Pages that come when they are let go, or fail as an abandoned request does. */
function slowPages() {
  const asked: number[] = [];
  const waiting: (() => void)[] = [];
  const fetchPage: FetchPage<number> = (offset, limit, stop) => {
    asked.push(offset);
    return new Promise((resolve, reject) => {
      stop.addEventListener("abort", () => reject(new DOMException("gone", "AbortError")));
      const items = Array.from({ length: limit }, (_, at) => offset + at);
      waiting.push(() => resolve({ total: TOTAL, offset, items }));
    });
  };
  const letGo = async () => {
    for (const go of waiting.splice(0)) go();
    await new Promise(setImmediate);
  };
  return { asked, fetchPage, letGo };
}

test("what is in view comes in stretches, once", async () => {
  const { asked, fetchPage, letGo } = slowPages();
  const source = new PagedSource(fetchPage);
  source.want(90, 110);
  source.want(95, 115);
  assert.deepEqual(asked, [0, 100]);
  await letGo();
  assert.equal(source.total.value, TOTAL);
  assert.equal(source.at(114), 114);
  assert.equal(source.at(200), undefined);
});

test("the stretch that is scrolled to is asked for before it is in view, but none behind the last item", async () => {
  const { asked, fetchPage, letGo } = slowPages();
  const source = new PagedSource(fetchPage);
  source.want(0, 30);
  await letGo();
  source.want(20, 50);
  assert.deepEqual(asked, [0, 100]);
  await letGo();
  source.want(950, 980);
  source.want(970, 1000);
  assert.deepEqual(asked, [0, 100, 900]);
});

test("what left the view is given up, and asked for again by who comes back before that is known", async () => {
  const { asked, fetchPage, letGo } = slowPages();
  const source = new PagedSource(fetchPage);
  source.want(0, 20);
  source.want(500, 520);
  source.want(0, 20);
  assert.deepEqual(asked, [0, 500, 0]);
  await letGo();
  assert.equal(source.at(0), 0);
  assert.equal(source.at(500), undefined);
});
