import assert from "node:assert/strict";
import { test } from "node:test";
import { type Edit, namedBy, nextEdit } from "../src/editor/edits.ts";
import { match } from "../src/editor/match.ts";
import { changeBetween, merge } from "../src/editor/merge.ts";
import {
  ascending,
  consecutive,
  inserted,
  moved,
  type Order,
  removed,
  stretchBetween,
} from "../src/editor/order.ts";

const orderOf = (...ids: number[]): Order => Int32Array.from(ids);
const plain = (order: Order) => [...order];

/** Numbers that are the same at each run (mulberry32). */
function random(seed: number) {
  let state = seed;
  return (below: number) => {
    state = (state + 0x6d2b79f5) | 0;
    let mixed = Math.imul(state ^ (state >>> 15), 1 | state);
    mixed = (mixed + Math.imul(mixed ^ (mixed >>> 7), 61 | mixed)) ^ mixed;
    return ((mixed ^ (mixed >>> 14)) >>> 0) % below;
  };
}

const RUNS = 2000;

/** Any edit of any order; new ids come from `fresh`. */
function edited(order: Order, below: (most: number) => number, fresh: () => number): Order {
  const size = order.length;
  const some = [...order.keys()].filter(() => below(4) === 0);
  switch (below(3)) {
    case 0:
      return inserted(order, below(size + 1), Int32Array.from({ length: 1 + below(3) }, fresh));
    case 1:
      return removed(order, new Set(some.map((at) => order[at] as number)));
    default:
      return moved(order, some, below(size + 1));
  }
}

/** Two ways on from one order. */
function forks(seed: number) {
  const below = random(seed);
  let last = 100;
  const fresh = () => last++;
  const base = consecutive(0, below(12));
  const on = () => {
    let order = base;
    for (let edits = below(4); edits > 0; edits--) order = edited(order, below, fresh);
    return order;
  };
  return { base, ours: on(), theirs: on() };
}

test("entries are moved together before the one at a position", () => {
  assert.deepEqual(plain(moved(consecutive(0, 6), [1, 4], 3)), [0, 2, 1, 4, 3, 5]);
  assert.deepEqual(plain(moved(consecutive(0, 4), [0], 4)), [1, 2, 3, 0]);
  assert.deepEqual(plain(moved(consecutive(0, 4), [1, 2], 2)), [0, 1, 2, 3]);
});

test("moving is the same as taking out of an array and putting back", () => {
  const below = random(1);
  for (let run = 0; run < RUNS; run++) {
    const order = [...consecutive(0, below(20))];
    const positions = order.filter(() => below(3) === 0);
    const at = below(order.length + 1);
    const expected = order.slice(0, at).filter((id) => !positions.includes(id));
    expected.push(...positions, ...order.slice(at).filter((id) => !positions.includes(id)));
    assert.deepEqual(plain(moved(Int32Array.from(order), positions, at)), expected);
  }
});

test("the shortest stretch holds all that differs, and nothing at its ends that does not", () => {
  const one = stretchBetween(consecutive(0, 100), moved(consecutive(0, 100), [40], 43));
  assert.deepEqual({ ...one, ids: plain(one.ids) }, { start: 40, limit: 3, ids: [41, 42, 40] });
  for (let run = 0; run < RUNS; run++) {
    const { base, ours } = forks(run);
    const { start, limit, ids } = stretchBetween(base, ours);
    const result = [...base];
    const replaced = result.splice(start, limit, ...ids);
    assert.deepEqual(result, plain(ours));
    if (replaced.length > 0 && ids.length > 0) {
      assert.notEqual(replaced[0], ids[0]);
      assert.notEqual(replaced.at(-1), ids.at(-1));
    }
  }
});

function done(server: Order, edit: Edit): number[] {
  const result = [...server];
  if (edit.kind === "append") result.push(...edit.ids);
  else if (edit.kind === "replace") result.splice(edit.start, edit.limit, ...edit.ids);
  else return result.filter((_, at) => !edit.positions.includes(at));
  return result;
}

test("edits lead from what the server has to what is wanted", () => {
  for (let run = 0; run < RUNS; run++) {
    const { base, ours } = forks(run);
    const edit = nextEdit(base, ours);
    assert.deepEqual(edit ? done(base, edit) : plain(base), plain(ours));
    if (!edit) continue;
    assert.deepEqual(plain(edit.result), plain(ours));
    const gone = plain(base).filter((id) => !ours.includes(id));
    for (const id of gone) assert.ok(namedBy(edit, base).includes(id), `${id} cannot be undone`);
  }
});

test("what is added at the end is appended, what is taken away is removed, all else replaces", () => {
  const kind = (wanted: Order) => nextEdit(consecutive(0, 5), wanted)?.kind;
  assert.equal(kind(consecutive(0, 5)), undefined);
  assert.equal(kind(orderOf(0, 1, 2, 3, 4, 9)), "append");
  assert.equal(kind(orderOf(0, 2, 4)), "remove");
  assert.equal(kind(orderOf()), "remove");
  assert.equal(kind(orderOf(0, 9, 1, 2, 3, 4)), "replace");
  assert.equal(kind(orderOf(0, 2, 1, 3, 4)), "replace");
});

test("the longest ascending row stays", () => {
  assert.deepEqual(ascending([0, 3, 1, 2, 4]), [true, false, true, true, true]);
  assert.deepEqual(ascending([-1, 5, -1, 6]), [false, true, false, true]);
  assert.deepEqual(ascending([]), []);
});

test("nothing of theirs, or nothing of ours, makes a merge the other one", () => {
  for (let run = 0; run < RUNS; run++) {
    const { base, ours, theirs } = forks(run);
    assert.deepEqual(plain(merge(base, ours, base).order), plain(ours), `run ${run}`);
    assert.deepEqual(plain(merge(base, base, theirs).order), plain(theirs), `run ${run}`);
  }
});

test("a merge has each entry once, all that was added, and nothing that either took away", () => {
  for (let run = 0; run < RUNS; run++) {
    const { base, ours, theirs } = forks(run);
    const { order, lost } = merge(base, ours, theirs);
    const expected = [...new Set([...base, ...ours, ...theirs])].filter(
      (id) => (ours.includes(id) || !base.includes(id)) && (theirs.includes(id) || !base.includes(id)),
    );
    assert.deepEqual(plain(order).sort(), expected.sort(), `run ${run}`);
    for (const id of lost) assert.ok(ours.includes(id) && !theirs.includes(id));
  }
});

test("a merge puts entries where their neighbours are", () => {
  const base = consecutive(0, 5);
  const both = (ours: number[], theirs: number[]) =>
    plain(merge(base, orderOf(...ours), orderOf(...theirs)).order);
  assert.deepEqual(both([0, 1, 9, 2, 3, 4], [8, 0, 1, 2, 3, 4]), [8, 0, 1, 9, 2, 3, 4]);
  assert.deepEqual(both([0, 1, 2, 3, 4, 9], [0, 1, 2, 3, 4, 8]), [0, 1, 2, 3, 4, 8, 9]);
  assert.deepEqual(both([4, 0, 1, 2, 3], [0, 1, 2, 4]), [4, 0, 1, 2]);
  assert.deepEqual(both([0, 1, 2, 9, 3, 4], [0, 1, 3, 4]), [0, 1, 9, 3, 4]);
});

test("what we moved and they removed is told, and so is what should stand in its place", () => {
  const base = consecutive(0, 4);
  assert.deepEqual(merge(base, orderOf(1, 2, 3, 0), orderOf(1, 2, 3)).lost, [0]);
  const repaired = merge(base, orderOf(0, 9, 2, 3), orderOf(0, 2, 3), new Map([[9, 1]]));
  assert.deepEqual([plain(repaired.order), repaired.lost], [[0, 2, 3], [9]]);
});

test("undo takes back an edit whatever came since, and redo does it again", () => {
  for (let run = 0; run < RUNS; run++) {
    const { base, ours, theirs } = forks(run);
    const change = changeBetween(base, ours);
    const undone = merge(change.after, change.before, ours).order;
    assert.deepEqual(plain(undone), plain(base), `run ${run}`);
    assert.deepEqual(plain(merge(change.before, change.after, undone).order), plain(ours), `run ${run}`);
    const now = merge(base, ours, theirs).order;
    const later = merge(change.after, change.before, now).order;
    for (const id of theirs) {
      if (!base.includes(id)) assert.ok(later.includes(id), `run ${run}: ${id} of theirs is gone`);
    }
    for (const id of ours) {
      if (!base.includes(id)) assert.ok(!later.includes(id), `run ${run}: ${id} of ours is still there`);
    }
  }
});

test("a change of a long list is kept by what is around it", () => {
  const before = consecutive(0, 100_000);
  const change = changeBetween(before, moved(before, [50_000], 50_010));
  assert.ok(change.before.length < 200, `${change.before.length} ids`);
});

function matchOf(before: (string | undefined)[], now: string[]) {
  let last = 100;
  const found = match(
    consecutive(0, before.length),
    (id) => before[id],
    now,
    () => last++,
  );
  return { ...found, order: plain(found.order) };
}

test("entries of a changed list are found again", () => {
  assert.deepEqual(matchOf(["a", "b", "c"], ["a", "x", "b", "c"]), {
    order: [0, 100, 1, 2],
    added: [100],
    removed: [],
    movedCount: 0,
  });
  assert.deepEqual(matchOf(["a", "b", "c"], ["c", "a"]), {
    order: [2, 0],
    added: [],
    removed: [1],
    movedCount: 1,
  });
});

test("of several that are the same, the one with the same neighbour is found", () => {
  assert.deepEqual(matchOf(["a", "x", "b", "x", "c"], ["b", "x", "c"]).order, [2, 3, 4]);
  assert.deepEqual(matchOf(["a", "a", "a"], ["a", "a"]).order, [0, 1]);
});

test("entries that were never seen are taken for what stands in their place", () => {
  const before = ["a", undefined, undefined, "d", undefined];
  assert.deepEqual(matchOf(before, ["a", "b", "c", "d", "e"]).order, [0, 1, 2, 3, 4]);
  assert.deepEqual(matchOf(before, ["a", "b", "c", "d", "e", "f"]), {
    order: [0, 1, 2, 3, 4, 100],
    added: [100],
    removed: [],
    movedCount: 0,
  });
  assert.deepEqual(matchOf(before, ["x", "a", "b", "c", "e"]).removed, [3]);
});

test("matching gives each entry one id, and finds all that can be found", () => {
  for (let run = 0; run < RUNS; run++) {
    const { base, ours } = forks(run);
    const letter = (id: number) => "abcdef"[id % 6] as string;
    const keys = plain(ours).map(letter);
    const { order, added, removed: gone } = matchOf(plain(base).map(letter), keys);
    assert.equal(new Set(order).size, keys.length, `run ${run}`);
    order.forEach((id, at) => {
      if (id < 100) assert.equal(letter(id), keys[at], `run ${run}`);
    });
    assert.equal(base.length - gone.length, keys.length - added.length);
    for (const id of gone) {
      const another = added.some((other) => keys[order.indexOf(other)] === letter(id));
      assert.ok(!another, `run ${run}: ${letter(id)} is told as removed and as added`);
    }
  }
});

test("an order of 100,000 is edited, merged and matched in no time to speak of", () => {
  const base = consecutive(0, 100_000);
  const odd = Array.from({ length: 50_000 }, (_, at) => 2 * at + 1);
  const begin = performance.now();
  const ours = moved(base, odd, 0);
  const theirs = inserted(base, 500, orderOf(100_000));
  merge(base, ours, theirs);
  match(base, String, Array.from(theirs, String), () => 200_000);
  const took = performance.now() - begin;
  console.error(`100,000 entries moved, merged and matched in ${Math.round(took)} ms`);
  assert.ok(took < 2000, `${took} ms`);
});
