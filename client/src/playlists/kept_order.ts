// In which order this user wants the playlists to stand.
import { isTexts, keptForUser } from "../ui/kept.ts";
import type { Order } from "./order.ts";

export const ORDERS: readonly Order[] = ["name", "changed", "own"];

export const order = keptForUser<Order>("order_of_playlists", "name", (value): value is Order =>
  ORDERS.includes(value as Order),
);

/** Ids in the order that is the user's own. */
export const ownOrder = keptForUser<string[]>("playlist_order", [], isTexts);
