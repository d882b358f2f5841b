// From the order that the server has to the one that is wanted, by the requests that there are.
import { largestOf, type Order, placesOf, stretchBetween } from "./order.ts";

/** One request. `result` is what the server has when it is done. */
export type Edit = { result: Order } & (
  | { kind: "append"; ids: Order }
  | { kind: "remove"; positions: number[]; ids: Order }
  | { kind: "replace"; start: number; limit: number; ids: Order }
);

/** The next request that leads from one order to the other; undefined when they are the same. */
export function nextEdit(server: Order, wanted: Order): Edit | undefined {
  const { start, limit, ids } = stretchBetween(server, wanted);
  if (limit === 0 && ids.length === 0) return undefined;
  if (limit === 0 && start === server.length) return { kind: "append", ids, result: wanted };
  const gone = removedAmong(server.subarray(start, start + limit), ids);
  if (!gone) return { kind: "replace", start, limit, ids, result: wanted };
  const positions = gone.map((at) => start + at);
  return {
    kind: "remove",
    positions,
    ids: Int32Array.from(positions, (at) => server[at] as number),
    result: wanted,
  };
}

/** The positions to remove from one order to have the other; undefined when there is more to do. */
function removedAmong(before: Order, after: Order): number[] | undefined {
  const gone: number[] = [];
  let kept = 0;
  for (let at = 0; at < before.length; at++) {
    if (kept < after.length && before[at] === after[kept]) kept++;
    else gone.push(at);
  }
  return kept === after.length ? gone : undefined;
}

/** The ids whose entries have to be known before an edit is sent: those it names, and those it takes away. */
export function namedBy(edit: Edit, server: Order): Order {
  if (edit.kind !== "replace") return edit.ids;
  const replaced = server.subarray(edit.start, edit.start + edit.limit);
  const places = placesOf(edit.ids, largestOf(edit.ids, replaced));
  const gone = replaced.filter((id) => places[id] === -1);
  const named = new Int32Array(edit.ids.length + gone.length);
  named.set(edit.ids);
  named.set(gone, edit.ids.length);
  return named;
}
