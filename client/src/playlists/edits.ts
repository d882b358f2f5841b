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
import { Refusal } from "../ui/notices.tsx";
import { canWait, carry, post, postLater, withdraw } from "../ui/outbox.ts";
import { goTo, linkTo, route } from "../ui/router.ts";
import { freeName } from "./order.ts";
import {
  deletionOf,
  type NewName,
  newNameOf,
  playlists,
  refreshPlaylists,
  showAtOnce,
  withWaiting,
} from "./store.ts";

/** Enough to make a playlist again. */
export interface Snapshot {
  /** What it had when it was taken. */
  id: string;
  name: string;
  library: LibraryName;
  content: { items: Item[] } | { rule: string };
}

/** A list as it is named to who sends something about it later. */
type Named = Pick<Playlist, "id" | "kind" | "library" | "name">;

/** One that is deleted later. Its `version` is what was seen of it; none where edits of one's own were to come. */
type Unwanted = Named & Pick<Playlist, "version">;

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

/** What was deleted, by the ids that it had. */
const taken = new Map<string, Snapshot>();

/**
 * Deletes it as it was read, so that nothing is lost that undoing would not bring back. With `seen`, a version, only if
 * it is that one.
 */
async function takeAway(playlist: Playlist, stop?: AbortSignal, seen?: string): Promise<Snapshot> {
  const { id, name, library, kind } = playlist;
  if (kind === "list") await sendEdits(id);
  for (let tries = 1; ; tries++) {
    const { content, version } = await contentOf(playlist, stop);
    if (seen !== undefined && version !== seen) throw new Refusal(t("playlists.changed_meanwhile"));
    const snapshot = { id, name, library, content };
    taken.set(id, snapshot); // the answer may be lost
    try {
      await removeOne({ id, kind }, version);
      return snapshot;
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

async function copy(playlist: Playlist, name: string) {
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

type Copy = Named & { as: string };

function sendCopy({ as, ...list }: Copy) {
  return copy({ ...list, id: idNow(list.id) }, as);
}

/** A copy in the other library, by the name that it has or another; waits for a connection, if it has to. */
export async function duplicate(playlist: Playlist, as: string) {
  const { id, kind, library, name } = playlist;
  try {
    await copy(playlist, as);
  } catch (error) {
    if (!canWait(error)) throw error;
    const content: Copy = { id, kind, library, name, as };
    const label = t("playlists.duplicated", { name });
    postLater({ kind: "duplicate", key: `duplicate ${id} ${as}`, label, content });
  }
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

async function giveName(playlist: Playlist, name: string) {
  const { id, kind, library } = playlist;
  const was = newNameOf(id)?.was ?? playlist.name;
  const label = t("playlists.renamed", { old: was, name });
  const isSent = await post({ kind: "rename", key: id, label, content: { id, kind, library, was, name } });
  if (isSent) await refreshPlaylists();
  else showAtOnce(withWaiting);
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
  gone: Playlist[];
  failed: { playlist: Playlist; error: unknown }[];
}

/** Those whose deletion has had to wait since this page was opened, which so knows how to undo it. */
const left = new Set<string>();

function leaveLater({ id, kind, library, name, version }: Playlist) {
  left.add(id);
  const content: Unwanted = { id, kind, library, name, ...(unsaved.peek() === 0 && { version }) };
  postLater({ kind: "delete", key: deletionOf(id), label: t("playlists.deleted", { name }), content });
}

/**
 * Of one that has gone meanwhile, all is done. One that others have changed stays: hours may have passed, and it may be
 * another list that somebody made by that name.
 */
async function sendDeletion({ version, ...list }: Unwanted) {
  try {
    await takeAway({ ...list, id: idNow(list.id) }, undefined, version);
  } catch (error) {
    if (!(error instanceof RequestError) || error.status !== 404) throw error;
  }
  if (!left.has(list.id)) recordDeleted([list]);
}

/** What is sent later, by the kinds of the outbox. */
export const senders = { rename: sendName, delete: sendDeletion, duplicate: sendCopy };
// Once they are here, they need no connection to be fetched.
carry("rename", sendName);
carry("delete", sendDeletion);
carry("duplicate", sendCopy);

/** One after the other, until `stop`; those that fail are told, the others go, now or when they can. */
async function takeAllAway(lists: readonly Playlist[], stop?: AbortSignal): Promise<Deleted> {
  const deleted: Deleted = { gone: [], failed: [] };
  const ids = new Set(lists.map(({ id }) => id));
  showAtOnce((all) => all.filter(({ id }) => !ids.has(id)));
  for (const playlist of lists) {
    if (stop?.aborted) break;
    try {
      await takeAway(playlist, stop);
      deleted.gone.push(playlist);
    } catch (error) {
      if (stop?.aborted) break;
      if (canWait(error)) {
        leaveLater(playlist);
        deleted.gone.push(playlist);
      } else deleted.failed.push({ playlist, error });
    }
  }
  await refreshPlaylists();
  return deleted;
}

/** Is not deleted after all, or made again. */
async function bringOneBack(list: Playlist) {
  const { id } = list;
  if (await withdraw(deletionOf(id)))
    return showAtOnce((all) => [...all.filter((other) => other.id !== id), list]);
  const snapshot = taken.get(id) ?? taken.get(idNow(id));
  if (snapshot) await bringBack(snapshot);
}

/** `goBack` is done when they are there again. */
function recordDeleted(lists: readonly Playlist[], goBack = () => {}) {
  const gone = [...lists];
  const [first] = lists;
  if (!first) return;
  const label =
    lists.length === 1
      ? t("playlists.deleted", { name: first.name })
      : t("playlists.deleted_several", { count: lists.length });
  const undo = async () => {
    for (let next = gone[0]; next; next = gone[0]) {
      await bringOneBack(next);
      gone.shift();
    }
    goBack();
    await refreshPlaylists();
  };
  const redo = async () => {
    const ids = lists.map(({ id }) => idNow(id));
    const again = await takeAllAway((playlists.peek() ?? []).filter(({ id }) => ids.includes(id)));
    gone.push(...again.gone);
    if (again.failed[0]) throw again.failed[0].error;
  };
  record({ label, undo, redo });
}

/** Deletes playlists, and brings them back by undo. */
export async function deletePlaylists(lists: readonly Playlist[], stop?: AbortSignal): Promise<Deleted> {
  const deleted = await takeAllAway(lists, stop);
  const ids = deleted.gone.map(({ id }) => id);
  const open = openListId.peek();
  const closed = open !== undefined && ids.includes(open) ? open : undefined;
  if (closed !== undefined) openListId.value = undefined;
  const { segments } = route.peek();
  const shown = ids.find((id) => id === segments[1]);
  if (shown !== undefined) goTo(["playlists"]);
  recordDeleted(deleted.gone, () => {
    if (closed !== undefined) openList(idNow(closed));
    const isWhereItLed = route.peek().segments.join("/") === "playlists";
    if (shown !== undefined && isWhereItLed) goTo([segments[0] ?? "playlists", idNow(shown)]);
  });
  return deleted;
}
