// The playlists that the user sees, of every kind. They are all here, as thousands of them are small; what they
// hold is not.
import { computed, effect, type Signal, signal } from "@preact/signals";
import { ask, RequestError } from "../api/http.ts";
import type { Page, Playlist } from "../api/types.ts";
import { documents, unsaved } from "../editor/open_documents.ts";
import { history } from "../ui/history.ts";
import { outbox, settled } from "../ui/outbox.ts";
import { user } from "../ui/session.tsx";

const LARGEST_PAGE = 1000;
const EVERY_MS = 30_000;
/** How often they are read from the beginning when they change meanwhile; then what was read is taken. */
const MOST_TRIES = 3;

/** Undefined until they are known. */
export const playlists: Signal<readonly Playlist[] | undefined> = signal(undefined);
/** Why they are not known. */
export const storeError: Signal<RequestError | undefined> = signal(undefined);

const byId = computed(() => new Map(playlists.value?.map((playlist) => [playlist.id, playlist])));

export function playlistOf(id: string) {
  return byId.value.get(id);
}

export const RANDOM = "musiclib_random";

/** Of the lists as they are here; undefined when something here is not from the server. */
let version: string | undefined;
let running: Promise<void> | undefined;
let again = false;

type Whole = { items: Playlist[]; version: string | undefined; settled: boolean };

async function readOnce(): Promise<Whole | undefined> {
  const page = (offset: number) => ask<Page<Playlist>>("playlists", { offset, limit: LARGEST_PAGE });
  const first = await page(0);
  if (first.version !== undefined && first.version === version) return undefined;
  const { items, total } = first.body;
  let settled = true;
  while (items.length < total) {
    const next = await page(items.length);
    if (next.body.items.length === 0) break;
    settled &&= next.version === first.version;
    items.push(...next.body.items);
  }
  return { items, version: first.version, settled };
}

async function read() {
  try {
    let whole = await readOnce();
    for (let tries = 1; whole && !whole.settled && tries < MOST_TRIES; tries++) whole = await readOnce();
    storeError.value = undefined;
    if (!whole || again) return;
    playlists.value = withWaiting(whole.items);
    version = whole.settled && outbox().length === 0 ? whole.version : undefined;
  } catch (error) {
    if (!(error instanceof RequestError)) throw error;
    storeError.value = error;
  }
}

/** A new name that was not sent yet. `was` is the one that the server has. */
export interface NewName extends Pick<Playlist, "id" | "kind" | "library" | "name"> {
  was: string;
}

export function newNameOf(id: string) {
  const letter = outbox().find(({ kind, key }) => kind === "rename" && key === id);
  return letter?.content as NewName | undefined;
}

/** What names the deletion of a list that waits to be sent. */
export const deletionOf = (id: string) => `delete ${id}`;

/** With the names that wait to be sent, and without what waits to be deleted. */
export function withWaiting(lists: readonly Playlist[]) {
  const keys = new Set(outbox().map(({ key }) => key));
  return lists
    .filter(({ id }) => !keys.has(deletionOf(id)))
    .map((list) => ({ ...list, name: newNameOf(list.id)?.name ?? list.name }));
}

async function readUntilQuiet() {
  do {
    again = false;
    await read();
  } while (again);
}

/** Asks whether anything has changed; the promise ends when it is here. */
export function refreshPlaylists(): Promise<void> {
  again = running !== undefined;
  running ??= readUntilQuiet().finally(() => {
    running = undefined;
  });
  return running;
}

/** Shows a change before the server has made it. What is read after it replaces it. */
export function showAtOnce(change: (lists: readonly Playlist[]) => readonly Playlist[]) {
  if (!playlists.peek()) return;
  version = undefined;
  again = running !== undefined;
  playlists.value = change(playlists.peek() ?? []);
}

function refreshIfSeen() {
  if (user.peek() && document.visibilityState === "visible") void refreshPlaylists();
}

setInterval(refreshIfSeen, EVERY_MS);
window.addEventListener("focus", refreshIfSeen);
document.addEventListener("visibilitychange", refreshIfSeen);

let lastUser: string | undefined;
effect(() => {
  if (user.value?.name !== lastUser) {
    playlists.value = undefined;
    version = undefined;
  }
  lastUser = user.value?.name;
  void history.value; // whatever was done or undone has changed some of them
  void unsaved.value; // and so has an edit that the server has by now
  void settled.value; // or has refused
  refreshIfSeen();
});

// The editor shows the names that lists have by now.
effect(() => {
  for (const document of documents.value.values()) {
    const name = playlistOf(document.listId)?.name;
    if (name !== undefined && document.playlist.peek()?.name !== name) document.isNamed(name);
  }
});
