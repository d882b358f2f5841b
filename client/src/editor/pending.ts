// Edits that the server does not have yet, kept in this browser: they survive a reload.

import type { Item } from "../list/items.ts";
import { ownerOfPage } from "../ui/session.tsx";
import type { Order } from "./order.ts";

export interface Pending {
  /** The list's node id. */
  list: string;
  name: string;
  /** What the server had, and by which version. */
  server: Order;
  version: string;
  wanted: Order;
  /** What the server may have by now, as edits were sent whose answers nobody saw. */
  doubts: Order[];
  /** The entries that are named by what is different, as far as they are known. */
  items: Map<number, Item>;
  replaces: Map<number, number>;
}

const DATABASE = "pending_edits";
const STORE = "lists";

function result<T>(request: IDBRequest<T>): Promise<T> {
  return new Promise((resolve, reject) => {
    request.onsuccess = () => resolve(request.result);
    request.onerror = () => reject(request.error);
  });
}

let database: Promise<IDBDatabase> | undefined;

function open(): Promise<IDBDatabase> {
  const request = indexedDB.open(DATABASE, 1);
  request.onupgradeneeded = () => request.result.createObjectStore(STORE);
  return result(request);
}

async function store(mode: IDBTransactionMode) {
  database ??= open();
  return (await database).transaction(STORE, mode).objectStore(STORE);
}

const PART = "\n";

function keyOf(list: string) {
  return `${ownerOfPage() ?? ""}${PART}${list}`;
}

/** A browser may have no room, or no database at all: then edits last as long as the page. */
async function orNothing<T>(work: () => Promise<T>): Promise<T | undefined> {
  try {
    return await work();
  } catch (error) {
    if (error instanceof DOMException || error instanceof ReferenceError) return undefined;
    throw error;
  }
}

export function keepPending(pending: Pending) {
  return orNothing(async () => result((await store("readwrite")).put(pending, keyOf(pending.list))));
}

export function forgetPending(list: string) {
  return orNothing(async () => result((await store("readwrite")).delete(keyOf(list))));
}

export function pendingOf(list: string) {
  return orNothing(async () => result<Pending | undefined>((await store("readonly")).get(keyOf(list))));
}

/** The lists that this user has unsent edits of. */
export async function listsWithPending(): Promise<string[]> {
  const keys = await orNothing(async () => result((await store("readonly")).getAllKeys()));
  const own = keyOf("");
  return (keys ?? [])
    .map(String)
    .filter((key) => key.startsWith(own))
    .map((key) => key.slice(own.length));
}
