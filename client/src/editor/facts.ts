// What is to be told of a list as a whole, from the entries that are known.
import { durationOf } from "../list/items.ts";
import type { Contents } from "./contents.ts";
import type { Order } from "./order.ts";

export interface Facts {
  /** Of the known entries, in seconds. */
  duration: number;
  /** Ids of those that stand further up already. */
  duplicates: ReadonlySet<number>;
  /** Ids of those that nothing plays. */
  missing: readonly number[];
  /** How many are known. */
  known: number;
}

export function factsOf(order: Order, contents: Contents): Facts {
  const seen = new Set<string>();
  const duplicates = new Set<number>();
  const missing: number[] = [];
  let [duration, known] = [0, 0];
  for (const id of order) {
    const item = contents.get(id);
    if (!item) continue;
    known++;
    duration += durationOf(item) ?? 0;
    if (item.missing) missing.push(id);
    const key = contents.keyOf(id) as string;
    if (seen.has(key)) duplicates.add(id);
    else seen.add(key);
  }
  return { duration, duplicates, missing, known };
}

/** As far as it is known, in seconds. */
export function durationOfAll(ids: Order, contents: Contents): number {
  return ids.reduce((sum, id) => sum + (durationOf(contents.get(id) ?? {}) ?? 0), 0);
}
