import assert from "node:assert/strict";
import { test } from "node:test";
import { Joined } from "../src/library/joined.ts";
import type { FetchPage } from "../src/list/source.ts";

const never = new AbortController().signal;

/** A list of texts, and what was asked of it. */
function list(name: string, total: number) {
  const asked: [number, number][] = [];
  const all = Array.from({ length: total }, (_, at) => `${name}${at}`);
  const fetch: FetchPage<string> = async (offset, limit) => {
    asked.push([offset, limit]);
    return { total, offset, items: all.slice(offset, offset + limit) };
  };
  return { fetch, asked, all };
}

test("any stretch of several lists is that of all, one behind the other", async () => {
  const lists = [list("a", 3), list("b", 0), list("c", 4)];
  const all = lists.flatMap((part) => part.all);
  for (let offset = 0; offset <= all.length; offset++) {
    for (let limit = 1; limit <= all.length; limit++) {
      const joined = new Joined(lists.map(({ fetch }) => fetch));
      const page = await joined.fetch(offset, limit, never);
      assert.deepEqual(page, { total: 7, offset, items: all.slice(offset, offset + limit) });
    }
  }
});

test("only the list is asked that has the stretch", async () => {
  const [a, b] = [list("a", 300), list("b", 300)];
  const joined = new Joined([a.fetch, b.fetch]);
  await joined.fetch(0, 100, never);
  await joined.fetch(100, 100, never);
  assert.deepEqual(a.asked, [
    [0, 100],
    [100, 100],
  ]); // prettier-ignore
  assert.deepEqual(b.asked, [[0, 100]]);
  assert.deepEqual(joined.totals, [300, 300]);
});
