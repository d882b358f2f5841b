// The order in which a shuffled queue is played, kept in this browser for its user, so that a reload goes on with it: the
// server keeps a queue as it is shown.
import { readKept } from "../ui/kept.ts";
import { ownerOfPage } from "../ui/session.tsx";
import { type Order, placesPlayed } from "./order.ts";

interface Left {
  /** Of the queue that was shuffled, at that time. */
  version: string | undefined;
  /** The places in the queue, in the order in which they are played. */
  places: number[];
}

function isLeft(value: unknown): value is Left {
  return Array.isArray((value as Left | null)?.places);
}

let keptOrder: Order["shuffled"];

function keyOfUser() {
  return `player.shuffled:${ownerOfPage()}`;
}

/** A long queue is not gone through as long as its order is the one that is kept. */
export function keepShuffled(order: Order, version: string | undefined) {
  if (order.shuffled === keptOrder) return;
  keptOrder = order.shuffled;
  const places = placesPlayed(order);
  try {
    if (places) localStorage.setItem(keyOfUser(), JSON.stringify({ version, places }));
    else localStorage.removeItem(keyOfUser());
  } catch {
    localStorage.removeItem(keyOfUser()); // there is no room, so another order is drawn after a reload
  }
}

/** The places of the queue of this version; `isOwn`: of that which this browser has left, whichever its version is now. */
export function shuffledLeft(version: string | undefined, isOwn: boolean) {
  const left = readKept<Left | undefined>(keyOfUser(), undefined, isLeft);
  return isOwn || left?.version === version ? left?.places : undefined;
}
