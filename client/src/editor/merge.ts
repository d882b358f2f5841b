// Two ways that an order went on from the same one, brought together. What is unsent goes so onto a list that somebody
// else has changed; and undo is the same: from "after" to "before", whatever has come since.
import { ascending, largestOf, type Order, placesOf, stretchBetween } from "./order.ts";

export interface Merged {
  order: Order;
  /** What we moved or replaced, and they took away. */
  lost: number[];
}

/**
 * What was done from `base` to `ours`, done to `theirs`. `replaces` tells which entry a new one stands in for: if that
 * is there no longer, neither comes the new one.
 */
export function merge(
  base: Order,
  ours: Order,
  theirs: Order,
  replaces: ReadonlyMap<number, number> = new Map(),
): Merged {
  const mostId = largestOf(base, ours, theirs);
  const inBase = placesOf(base, mostId);
  const inOurs = placesOf(ours, mostId);
  const inTheirs = placesOf(theirs, mostId);
  const has = (places: Int32Array, id: number) => places[id] !== -1;
  const stays = ascending(ours.map((id) => inBase[id] as number));
  const isLost = (id: number) => {
    if (has(inBase, id)) return !has(inTheirs, id);
    const old = replaces.get(id);
    return old !== undefined && has(inBase, old) && !has(inTheirs, old);
  };

  const puts = new Uint8Array(mostId + 1); // what goes to a place of ours
  const lost: number[] = [];
  ours.forEach((id, at) => {
    if (stays[at]) return;
    if (isLost(id)) lost.push(id);
    else if (has(inBase, id) || !has(inTheirs, id)) puts[id] = 1;
  });
  const left = theirs.filter((id) => !puts[id] && (!has(inBase, id) || has(inOurs, id)));
  const anchors = (id: number, at: number) => stays[at] === true && has(inTheirs, id);
  return { order: woven(left, ours, puts, anchors, stays.lastIndexOf(true)), lost };
}

/**
 * Puts the chosen ids of `ours` between those that are left: each behind the nearest anchor before it, else before the
 * nearest one after it; those beyond the last that stayed come at the end.
 */
function woven(
  left: Order,
  ours: Order,
  puts: Uint8Array,
  anchors: (id: number, at: number) => boolean,
  lastStay: number,
): Order {
  const before = new Map<number, number[]>();
  const behind = new Map<number, number[]>();
  const end: number[] = [];
  let waiting: number[] = [];
  let anchor: number | undefined;
  ours.forEach((id, at) => {
    if (anchors(id, at)) {
      if (anchor === undefined) before.set(id, waiting);
      anchor = id;
      waiting = [];
      behind.set(id, waiting);
    } else if (puts[id]) (at > lastStay ? end : waiting).push(id);
  });
  if (anchor === undefined) end.unshift(...waiting);
  const order: number[] = [];
  for (const id of left) {
    for (const put of before.get(id) ?? []) order.push(put);
    order.push(id);
    for (const put of behind.get(id) ?? []) order.push(put);
  }
  for (const put of end) order.push(put);
  return Int32Array.from(order);
}

/** An edit that was done, in as little as tells it again: what changed, with some of what is around it. */
export interface Change {
  before: Order;
  after: Order;
}

const AROUND = 64;

export function changeBetween(before: Order, after: Order): Change {
  const { start, limit, ids } = stretchBetween(before, after);
  const first = Math.max(0, start - AROUND);
  return {
    before: before.slice(first, start + limit + AROUND),
    after: after.slice(first, start + ids.length + AROUND),
  };
}
