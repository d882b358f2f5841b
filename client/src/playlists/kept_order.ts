// In which order this user wants the playlists to stand.
import type { Playlist } from "../api/types.ts";
import { compareNames, t } from "../text/index.ts";
import { isTexts, keptForUser } from "../ui/kept.ts";
import { isCoarse } from "../ui/media.ts";
import { openMenu } from "../ui/menu.tsx";
import { announce } from "../ui/notices.tsx";
import { type Order, placedBefore, sorted } from "./order.ts";
import { playlists } from "./store.ts";

const ORDERS: readonly Order[] = ["name", "changed", "own"];

export const order = keptForUser<Order>("order_of_playlists", "name", (value): value is Order =>
  ORDERS.includes(value as Order),
);

/** Ids in the order that is the user's own. */
export const ownOrder = keptForUser<string[]>("playlist_order", [], isTexts);

/** Puts a list before another one, or behind all, in the order that is the user's own. */
export function place(id: string, before: string | undefined) {
  const all = sorted(playlists.peek() ?? [], "own", ownOrder.peek(), compareNames).map((list) => list.id);
  ownOrder.value = placedBefore(all, id, before);
}

/** Puts a list one place up (-1) or down (1) among those that stand there with it; false when there is none. */
export function step({ id, name }: Playlist, by: -1 | 1, members: readonly Playlist[]) {
  const at = members.findIndex((list) => list.id === id) + by;
  if (at < 0 || at >= members.length) return false;
  place(id, members[by < 0 ? at : at + 1]?.id);
  announce(t("playlists.moved", { name, place: at + 1, count: members.length }));
  return true;
}

/** Lets people choose an order. */
export function showOrders(button: HTMLElement, chosen?: () => void) {
  const own = isCoarse.peek() ? "playlists.by_own_touch" : "playlists.by_own";
  const items = ORDERS.map((name) => ({
    label: t(name === "own" ? own : `playlists.by_${name}`),
    checked: order.peek() === name,
    run: () => {
      order.value = name;
      chosen?.();
    },
  }));
  openMenu(button, t("playlists.order"), items);
}
