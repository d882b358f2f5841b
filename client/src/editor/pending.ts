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
const PAGE = `${Date.now()}-${Math.random()}`;
let lastNumber = 0;

/** What the edits of one document are kept as: several pages may have such of one list. */
export type PendingKey = string;

export function newPendingKey(list: string): PendingKey {
  return [ownerOfPage() ?? "", list, PAGE, ++lastNumber].join(PART);
}

function pageOf(key: PendingKey) {
  return key.split(PART)[2] ?? "";
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

export function keepPending(key: PendingKey, pending: Pending) {
  return orNothing(async () => result((await store("readwrite")).put(pending, key)));
}

export function forgetPending(key: PendingKey) {
  return orNothing(async () => result((await store("readwrite")).delete(key)));
}

// Which pages are open is asked of them.

const ANSWERS_WITHIN = 300; // milliseconds
const channel = new BroadcastChannel(DATABASE);
const heard = new Set<string>();
channel.addEventListener("message", ({ data }: MessageEvent<string>) => {
  if (data === "") channel.postMessage(PAGE);
  else heard.add(data);
});

async function openPages() {
  channel.postMessage("");
  await new Promise((resolve) => setTimeout(resolve, ANSWERS_WITHIN));
  return heard;
}

/** What this user's pages have left that are open no more: of these lists, of some several times. */
async function leftKeys(): Promise<PendingKey[]> {
  const keys = (await orNothing(async () => result((await store("readonly")).getAllKeys()))) ?? [];
  const own = `${ownerOfPage() ?? ""}${PART}`;
  const others = keys.map(String).filter((key) => key.startsWith(own) && pageOf(key) !== PAGE);
  if (others.length === 0) return [];
  const open = await openPages();
  return others.filter((key) => !open.has(pageOf(key)));
}

export async function listsWithPending(): Promise<string[]> {
  return (await leftKeys()).map((key) => key.split(PART)[1] ?? "");
}

/** Takes over what an earlier page has left of a list; undefined when there is none, or another page was quicker. */
export async function takePending(list: string, as: PendingKey): Promise<Pending | undefined> {
  for (const key of await leftKeys()) {
    if (key.split(PART)[1] !== list) continue;
    const pending = await orNothing(() => moved(key, as));
    if (pending) return pending;
  }
  return undefined;
}

async function moved(key: PendingKey, as: PendingKey) {
  const all = await store("readwrite");
  const pending = await result<Pending | undefined>(all.get(key));
  if (pending) await Promise.all([result(all.put(pending, as)), result(all.delete(key))]);
  return pending;
}
