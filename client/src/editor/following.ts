// A selection stays with its entries, wherever they go.
import { rangesOf, type Selection } from "../list/selection.ts";
import { largestOf, type Order, placesOf } from "./order.ts";

export function follow(selection: Selection, before: Order, after: Order) {
  if (before === after) return;
  const places = placesOf(after, largestOf(before, after));
  const positions: number[] = [];
  for (const at of selection.positions()) {
    const place = places[before[at] ?? 0] ?? -1;
    if (at < before.length && place !== -1) positions.push(place);
  }
  selection.replace(rangesOf(positions));
  selection.moveTo(activeAfter(selection.active.peek(), before, after, places));
}

/** Where the active entry went; if that is gone, the next one that is there. */
function activeAfter(active: number, before: Order, after: Order, places: Int32Array) {
  for (let at = active; at < before.length; at++) {
    const place = places[before[at] as number] as number;
    if (place !== -1) return place;
  }
  return Math.max(0, after.length - 1);
}
