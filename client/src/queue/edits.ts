// What people do to the queue of this browser, and how it is undone.
import type { Item } from "../list/items.ts";
import { here } from "../playback/here.ts";
import type { Key, Order } from "../playback/order.ts";
import { queue } from "../playback/queue.ts";
import { t } from "../text/index.ts";
import { record } from "../ui/history.ts";
import { announce, notifyFailure } from "../ui/notices.tsx";

/** Does it, and remembers how the queue was; `gone` are entries that return when it is undone. */
function edit(label: string, work: () => void, gone: ReadonlyMap<Key, Item> = new Map()) {
  const before = queue.order.peek();
  work();
  here.follow();
  const after = queue.order.peek();
  const go = (from: Order, to: Order) => async () => {
    queue.restore(from, to, gone);
    here.follow();
  };
  record({ label, undo: go(after, before), redo: go(before, after) });
}

async function remove(label: string, keys: readonly Key[]) {
  try {
    await queue.loadAll(); // what is not known yet could not return
  } catch (error) {
    return notifyFailure(t("queue.not_loaded"), error, () => void remove(label, keys));
  }
  edit(label, () => queue.remove(keys), queue.itemsOf(keys));
}

export function removeAt(positions: readonly number[]) {
  const { keys } = queue.order.peek();
  const gone = positions.flatMap((position) => keys[position] ?? []);
  if (gone.length > 0) void remove(t("queue.removed", { count: gone.length }), gone);
}

export function clear() {
  const { keys } = queue.order.peek();
  void remove(t("queue.cleared", { count: keys.length }), keys);
}

/** Before the entry that is at `at` now; tells where the first one is then, if it moves. */
export function moveBefore(positions: readonly number[], at: number) {
  const first = at - positions.filter((position) => position < at).length;
  const isThere = positions.every((position, place) => position === first + place);
  if (positions.length === 0 || isThere) return undefined;
  edit(t("queue.moved", { count: positions.length }), () => queue.move(positions, at));
  announce(t("queue.moved_to", { position: first + 1 }));
  return first;
}

export function insertAt(items: readonly Item[], at: number) {
  edit(t("queue.added", { count: items.length }), () => queue.insert(items, at));
}
