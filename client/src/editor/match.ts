// Which entries of a list, as the server has it now, are those that were known before.
import { ascending, largestOf, type Order, placesOf } from "./order.ts";

export interface Matched {
  order: Order;
  /** In the new list only, and in the old one only. */
  added: number[];
  removed: number[];
  /** How many are elsewhere. */
  movedCount: number;
}

/**
 * Gives the entries of the new list, which are told by `keys`, the ids that they had before; `fresh` makes ids for
 * others. Of several with the same key the one that follows the last that was found is taken, else the first. An entry
 * whose key is undefined was never seen: it is taken for whatever stands in its place.
 */
export function match(
  before: Order,
  keyOf: (id: number) => string | undefined,
  keys: readonly string[],
  fresh: () => number,
): Matched {
  const old = Array.from(before, keyOf);
  const order = new Int32Array(keys.length).fill(-1);
  const { start, tail } = sameEnds(old, keys);
  for (let at = 0; at < start; at++) order[at] = before[at] as number;
  for (let at = 1; at <= tail; at++) order[keys.length - at] = before[before.length - at] as number;

  const oldEnd = old.length - tail;
  const taken = matchMiddle(old, oldEnd, start, keys, keys.length - tail, (at, oldAt) => {
    order[at] = before[oldAt] as number;
  });
  const removed: number[] = [];
  for (let at = start; at < oldEnd; at++) if (!taken[at]) removed.push(before[at] as number);
  const added: number[] = [];
  for (let at = start; at < keys.length - tail; at++) {
    if (order[at] !== -1) continue;
    order[at] = fresh();
    added.push(order[at] as number);
  }
  return { order, added, removed, movedCount: movedBetween(before, order) };
}

function sameEnds(old: readonly (string | undefined)[], keys: readonly string[]) {
  const same = (a: string | undefined, b: string | undefined) => a === undefined || a === b;
  const most = Math.min(old.length, keys.length);
  let start = 0;
  while (start < most && same(old[start], keys[start])) start++;
  let tail = 0;
  while (tail < most - start && same(old[old.length - 1 - tail], keys[keys.length - 1 - tail])) tail++;
  return { start, tail };
}

/** Calls `pair` for each that is found; tells which of the old ones were. */
function matchMiddle(
  old: readonly (string | undefined)[],
  oldEnd: number,
  start: number,
  keys: readonly string[],
  end: number,
  pair: (at: number, oldAt: number) => void,
): Uint8Array {
  const taken = new Uint8Array(old.length);
  const unseen: number[] = [];
  const places = new Map<string, number[]>(); // descending, so the first is the last
  for (let at = oldEnd - 1; at >= start; at--) {
    const key = old[at];
    if (key === undefined) unseen.push(at);
    else if (!places.get(key)?.push(at)) places.set(key, [at]);
  }
  const take = (at: number, oldAt: number) => {
    taken[oldAt] = 1;
    pair(at, oldAt);
  };
  const others: number[] = [];
  let next = start;
  for (let at = start; at < end; at++) {
    const key = keys[at] as string;
    const found =
      next < oldEnd && !taken[next] && old[next] === key ? next : firstFree(places.get(key), taken);
    if (found === undefined) others.push(at);
    else {
      take(at, found);
      next = found + 1;
    }
  }
  for (const at of others) {
    const oldAt = unseen.pop();
    if (oldAt === undefined) break;
    take(at, oldAt);
  }
  return taken;
}

function firstFree(places: number[] | undefined, taken: Uint8Array): number | undefined {
  while (places?.length) {
    const at = places.at(-1) as number;
    if (!taken[at]) return at;
    places.pop();
  }
  return undefined;
}

/** How many of those that are in both have to be moved to make one order the other. */
export function movedBetween(before: Order, after: Order): number {
  const places = placesOf(before, largestOf(before, after));
  const inBefore = after.map((id) => places[id] as number);
  const stays = ascending(inBefore);
  return inBefore.reduce((count, place, at) => count + (place !== -1 && !stays[at] ? 1 : 0), 0);
}
