// What is done to whole playlists: made, renamed, copied, deleted. All of it can be undone.
import { effect } from "@preact/signals";
import * as actions from "../api/actions.ts";
import { ask, get, RequestError } from "../api/http.ts";
import { readWhole, smartPath } from "../api/playlists.ts";
import type { LibraryName, Page, Playlist, Rule } from "../api/types.ts";
import { openList, openListId } from "../editor/commands.ts";
import { documentOf } from "../editor/documents.ts";
import { unsaved } from "../editor/open_documents.ts";
import { type Item, itemOf, referenceOf } from "../list/items.ts";
import { t } from "../text/index.ts";
import { giveNewId, idNow, record } from "../ui/history.ts";
import { carry, post } from "../ui/outbox.ts";
import { goTo, linkTo, route } from "../ui/router.ts";
import { freeName } from "./order.ts";
import { type NewName, named, newNameOf, playlists, refreshPlaylists, showAtOnce } from "./store.ts";

/** Enough to make a playlist again. */
export interface Snapshot {
  /** What it had when it was taken. */
  id: string;
  name: string;
  library: LibraryName;
  content: { items: Item[] } | { rule: string };
}

const MOST_NAMES_TRIED = 20;
/** How often something is deleted that others edit meanwhile. */
const MOST_TRIES = 5;

export function isNameTaken(error: unknown) {
  if (!(error instanceof RequestError)) return false;
  const isSmart = error.status === 409 && error.problem?.parameter === "name";
  return isSmart || error.key === "playlist/playlist_name_exist";
}

function isStale(error: unknown) {
  return error instanceof RequestError && error.status === 412;
}

/** Links, the view and the editor go on with the list under its new id. */
export function follow(old: string, now: string) {
  giveNewId(old, now);
  const { segments, query } = route.peek();
  const at = segments.indexOf(old);
  if (at > 0) {
    const path = segments.map((segment) => (segment === old ? now : segment));
    location.replace(linkTo(path, Object.fromEntries(query)));
  }
  if (openListId.peek() === old) openList(now);
}

async function makeOnce({ name, library, content }: Omit<Snapshot, "id">): Promise<string> {
  if ("items" in content) {
    const { id } = await actions.add({ name, library, songs: content.items.map(referenceOf) });
    return id ?? "";
  }
  const body = { name, library, rule: content.rule };
  return (await ask<Rule>("smart", {}, { method: "POST", body })).body.playlist.id;
}

/** Makes it again, under another name when somebody has taken its own meanwhile. */
export async function bringBack(snapshot: Snapshot): Promise<void> {
  const tried = new Set<string>();
  for (;;) {
    const name = freeName(snapshot.name, (candidate) => tried.has(candidate));
    try {
      return follow(idNow(snapshot.id), await makeOnce({ ...snapshot, name }));
    } catch (error) {
      if (!isNameTaken(error) || tried.size === MOST_NAMES_TRIED) throw error;
      tried.add(name);
    }
  }
}

export async function contentOf(playlist: Playlist, stop?: AbortSignal) {
  if (playlist.kind === "smart") {
    const { body, version } = await ask<Rule>(smartPath(playlist.id), {}, { signal: stop });
    return { content: { rule: body.rule }, version };
  }
  const { entries, version } = await readWhole(playlist.id, stop);
  return { content: { items: entries.map(itemOf) }, version };
}

/** What the editor has not sent yet is part of a list. */
async function sendEdits(id: string) {
  if (unsaved.peek() === 0) return;
  const { saver, saveState } = documentOf(id);
  void saver.run();
  await new Promise<void>((resolve) => {
    const stop = effect(() => {
      if (saveState.value.kind === "saving") return;
      queueMicrotask(() => stop());
      resolve();
    });
  });
  if (!saver.isDone) throw new RequestError(0, undefined);
}

async function removeOne({ id, kind }: Pick<Playlist, "id" | "kind">, version?: string) {
  if (kind === "smart") await ask(smartPath(id), {}, { method: "DELETE", ifMatch: version });
  else await actions.remove([id], version);
}

/** Deletes it as it was read, so that nothing is lost that undoing would not bring back. */
async function takeAway(playlist: Playlist, stop?: AbortSignal): Promise<Snapshot> {
  const { id, name, library, kind } = playlist;
  if (kind === "list") await sendEdits(id);
  for (let tries = 1; ; tries++) {
    const { content, version } = await contentOf(playlist, stop);
    try {
      await removeOne({ id, kind }, version);
      return { id, name, library, content };
    } catch (error) {
      if (!isStale(error) || tries === MOST_TRIES) throw error;
    }
  }
}

/** The playlist as it is called now, though others may have renamed it. */
function asItIsNow(playlist: Playlist): Playlist {
  const id = idNow(playlist.id);
  return playlists.peek()?.find((other) => other.id === id) ?? { ...playlist, id };
}

/** What was made is deleted by undo, and made again as it was then by redo. */
function recordMade(label: string, made: Playlist) {
  let snapshot: Snapshot | undefined;
  record({
    label,
    playlist: made.id,
    undo: async () => {
      snapshot = await takeAway(asItIsNow(made));
      await refreshPlaylists();
    },
    redo: async () => {
      if (snapshot) await bringBack(snapshot);
      await refreshPlaylists();
    },
  });
}

/** What somebody else has deleted. */
export async function makeAgain(snapshot: Snapshot) {
  await bringBack(snapshot);
  await refreshPlaylists();
  const { id, name, library } = snapshot;
  recordMade(t("playlists.made_again", { name }), asItIsNow({ id, name, library, kind: "list" }));
}

export interface NewList {
  name: string;
  library: LibraryName;
  items: Item[];
}

/** Makes a list, and answers its id. */
export async function makeList(list: NewList, label = t("playlists.made", { name: list.name })) {
  const id = await makeOnce({ name: list.name, library: list.library, content: { items: list.items } });
  recordMade(label, { id, name: list.name, library: list.library, kind: "list" });
  await refreshPlaylists();
  return id;
}

/** Makes a smart playlist, and answers its id. */
export async function makeSmart(name: string, library: LibraryName, rule: string) {
  const id = await makeOnce({ name, library, content: { rule } });
  recordMade(t("playlists.made", { name }), { id, name, library, kind: "smart" });
  await refreshPlaylists();
  return id;
}

export function otherLibrary(library: LibraryName): LibraryName {
  return library === "shared" ? "personal" : "shared";
}

/** A copy in the other library, by the name that it has or another. */
export async function duplicate(playlist: Playlist, name: string) {
  const library = otherLibrary(playlist.library);
  const label = t("playlists.duplicated", { name: playlist.name });
  if (name === playlist.name) {
    const { id } = await actions.duplicate(playlist.id);
    recordMade(label, { id: id ?? "", name, library, kind: playlist.kind });
  } else {
    const { content } = await contentOf(playlist);
    const id = await makeOnce({ name, library, content });
    recordMade(label, { id, name, library, kind: playlist.kind });
  }
  await refreshPlaylists();
}

/** The name is the id of a rule, so it has another one then. */
async function renameSmart(playlist: Playlist, name: string) {
  const { content, version } = await contentOf(playlist);
  const options = { method: "PUT", body: { name, ...content }, ifMatch: version } as const;
  return (await ask<Rule>(smartPath(playlist.id), {}, options)).body.playlist.id;
}

/** Where lists are files without rows, their names are their ids. */
function idWithName({ id, name: old }: Playlist, name: string) {
  return id.endsWith(`/playlist/${old}`) ? `${id.slice(0, id.length - old.length)}${name}` : id;
}

async function rename(playlist: Playlist, name: string) {
  if (playlist.kind === "smart") return renameSmart(playlist, name);
  await actions.rename(playlist.id, name);
  return idWithName(playlist, name);
}

/** When an answer was lost, it may have that name already: then this is the id of what has it. */
async function idOfRenamed({ id, kind, library }: Playlist, name: string) {
  const page = await get<Page<Playlist>>("playlists", { kind, library, q: name, limit: 100 });
  const own = page.items.find(
    (list) => list.name === name && (list.id === id || list.id.endsWith(`/${name}`)),
  );
  return own && !(await exists(id, own.id)) ? own.id : undefined;
}

/** Another one that still has the old id shows that the new one is somebody else's. */
async function exists(old: string, now: string) {
  if (old === now) return false;
  const known = await get<Page<Playlist>>("playlists", { limit: 1000 });
  return known.items.some(({ id }) => id === old);
}

/** Gives a list the name that waits for it. */
export async function sendName({ was, name, ...list }: NewName) {
  const playlist = { ...list, id: idNow(list.id), name: was };
  let id: string | undefined;
  try {
    id = await rename(playlist, name);
  } catch (error) {
    if (!(error instanceof RequestError) || error.isPassing || error.status === 401) throw error;
    id = await idOfRenamed(playlist, name);
    if (id === undefined) throw error;
  }
  follow(playlist.id, id);
}

carry("rename", sendName); // once it is here, it needs no connection to be fetched

async function giveName(playlist: Playlist, name: string) {
  const { id, kind, library } = playlist;
  const was = newNameOf(id)?.was ?? playlist.name;
  const label = t("playlists.renamed", { old: was, name });
  const isSent = await post({ kind: "rename", key: id, label, content: { id, kind, library, was, name } });
  if (isSent) await refreshPlaylists();
  else showAtOnce(named);
}

export async function renamePlaylist(playlist: Playlist, name: string) {
  await giveName(playlist, name);
  record({
    label: t("playlists.renamed", { old: playlist.name, name }),
    playlist: idNow(playlist.id),
    undo: () => giveName(asItIsNow({ ...playlist, name }), playlist.name),
    redo: () => giveName(asItIsNow(playlist), name),
  });
}

/** Deletes one that cannot be read, so that nothing could bring it back. */
export async function deleteForGood({ id, kind }: Playlist) {
  await removeOne({ id, kind });
  await refreshPlaylists();
}

export interface Deleted {
  snapshots: Snapshot[];
  failed: { playlist: Playlist; error: unknown }[];
}

/** One after the other, until `stop`; those that fail are told, the others go. */
async function takeAllAway(lists: readonly Playlist[], stop?: AbortSignal): Promise<Deleted> {
  const deleted: Deleted = { snapshots: [], failed: [] };
  const ids = new Set(lists.map(({ id }) => id));
  showAtOnce((all) => all.filter(({ id }) => !ids.has(id)));
  for (const playlist of lists) {
    if (stop?.aborted) break;
    try {
      deleted.snapshots.push(await takeAway(playlist, stop));
    } catch (error) {
      if (!stop?.aborted) deleted.failed.push({ playlist, error });
    }
  }
  await refreshPlaylists();
  return deleted;
}

/** Deletes playlists, and brings them back by undo. */
export async function deletePlaylists(lists: readonly Playlist[], stop?: AbortSignal): Promise<Deleted> {
  const deleted = await takeAllAway(lists, stop);
  const { snapshots } = deleted;
  const gone = [...snapshots];
  const [first] = snapshots;
  if (!first) return deleted;
  const open = openListId.peek();
  const closed = snapshots.some(({ id }) => id === open) ? open : undefined;
  if (closed !== undefined) openListId.value = undefined;
  const { segments } = route.peek();
  const left = snapshots.find(({ id }) => segments[1] === id);
  if (left) goTo(["playlists"]);
  const label =
    snapshots.length === 1
      ? t("playlists.deleted", { name: first.name })
      : t("playlists.deleted_several", { count: snapshots.length });
  const bringAllBack = async () => {
    for (let next = gone[0]; next; next = gone[0]) {
      await bringBack(next);
      gone.shift();
    }
    if (closed !== undefined) openList(idNow(closed));
    const isWhereItLed = route.peek().segments.join("/") === "playlists";
    if (left && isWhereItLed) goTo([segments[0] ?? "playlists", idNow(left.id)]);
    await refreshPlaylists();
  };
  const again = async () => {
    const ids = snapshots.map(({ id }) => idNow(id));
    const { snapshots: taken, failed } = await takeAllAway(
      (playlists.peek() ?? []).filter(({ id }) => ids.includes(id)),
    );
    gone.push(...taken);
    if (failed[0]) throw failed[0].error;
  };
  record({ label, undo: bringAllBack, redo: again });
  return deleted;
}
