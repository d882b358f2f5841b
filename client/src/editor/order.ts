// The order of a list: the ids of its entries. An id is this client's own number for an entry; it stays the
// entry's wherever that goes, so edits, undo, selections and what others did are all told by it. As a list has
// 100,000 entries at most, an order is an array of at most 400 KB: each edit copies it, which takes less
// than a millisecond and is simpler than anything that would not.

export type Order = Int32Array;

/** The server's bound. */
export const MOST_ENTRIES = 100_000;

export const EMPTY: Order = new Int32Array(0);

/** Counts from `first` on. */
export function consecutive(first: number, count: number): Order {
  return Int32Array.from({ length: count }, (_, at) => first + at);
}

export function inserted(order: Order, at: number, ids: ArrayLike<number>): Order {
  const result = new Int32Array(order.length + ids.length);
  result.set(order.subarray(0, at));
  result.set(ids, at);
  result.set(order.subarray(at), at + ids.length);
  return result;
}

export function removed(order: Order, gone: ReadonlySet<number>): Order {
  return order.filter((id) => !gone.has(id));
}

/** The entries at these ascending positions together, before what was at position `at`. */
export function moved(order: Order, positions: readonly number[], at: number): Order {
  const ids = positions.map((position) => order[position] as number);
  const above = positions.filter((position) => position < at).length;
  return inserted(removed(order, new Set(ids)), at - above, ids);
}

/** Where each id is in the order; -1 for those that are not in it. */
export function placesOf(order: Order, mostId: number): Int32Array {
  const places = new Int32Array(mostId + 1).fill(-1);
  for (let at = 0; at < order.length; at++) places[order[at] as number] = at;
  return places;
}

export function largestOf(...orders: Order[]): number {
  let largest = 0;
  for (const order of orders) for (const id of order) if (id > largest) largest = id;
  return largest;
}

/** What to replace in one order to have the other: the shortest stretch that holds all that differs. */
export interface Stretch {
  start: number;
  limit: number;
  ids: Order;
}

export function stretchBetween(before: Order, after: Order): Stretch {
  const most = Math.min(before.length, after.length);
  let start = 0;
  while (start < most && before[start] === after[start]) start++;
  let tail = 0;
  while (tail < most - start && before[before.length - 1 - tail] === after[after.length - 1 - tail]) tail++;
  return { start, limit: before.length - start - tail, ids: after.subarray(start, after.length - tail) };
}

/**
 * Which of these places stand in ascending order if as few as possible are taken out: true for those that
 * stay. Places below 0 are none, and never stay.
 */
export function ascending(places: ArrayLike<number>): boolean[] {
  const ends: number[] = []; // of the best row of each length: where its last one is
  const before = new Int32Array(places.length).fill(-1);
  for (let at = 0; at < places.length; at++) {
    const place = places[at] as number;
    if (place < 0) continue;
    let low = 0;
    for (let high = ends.length; low < high; ) {
      const middle = (low + high) >> 1;
      if ((places[ends[middle] as number] as number) < place) low = middle + 1;
      else high = middle;
    }
    before[at] = low > 0 ? (ends[low - 1] as number) : -1;
    ends[low] = at;
  }
  const stays = new Array<boolean>(places.length).fill(false);
  for (let at = ends.at(-1) ?? -1; at >= 0; at = before[at] as number) stays[at] = true;
  return stays;
}
