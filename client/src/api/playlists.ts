// Playlists as resources: their addresses, and all that one holds.
import { ask, type Query, RequestError } from "./http.ts";
import { encodeNode } from "./node_path.ts";
import type { Entry, Page, Playlist } from "./types.ts";

const LARGEST_PAGE = 1000;
/** How often a list that is edited meanwhile is read from its beginning. */
const MOST_TRIES = 5;

export type PlaylistPage = Page<Entry> & { playlist: Playlist };

/** The path of a playlist below api/. */
export function playlistPath(id: string) {
  return `playlists/${encodeNode(id)}`;
}

/** The path of a smart playlist's rule below api/. */
export function smartPath(id: string) {
  return `smart/${encodeNode(id)}`;
}

export interface WholePlaylist {
  playlist: Playlist;
  entries: Entry[];
  /** Of the list; the tag of a page of it follows its songs, too. */
  version: string | undefined;
}

/** Undefined when it changed while it was read. */
async function readOnce(id: string, query: Query, stop?: AbortSignal): Promise<WholePlaylist | undefined> {
  const page = (offset: number) =>
    ask<PlaylistPage>(playlistPath(id), { ...query, offset, limit: LARGEST_PAGE }, { signal: stop });
  const { body: first, version } = await page(0);
  const entries = first.items;
  while (entries.length < first.total) {
    const next = await page(entries.length);
    if (next.version !== version || next.body.items.length === 0) return undefined;
    for (const entry of next.body.items) entries.push(entry);
  }
  return { playlist: first.playlist, entries, version: first.playlist.version ?? version };
}

/** A list with all its entries, as they were at one moment. */
export async function readWhole(id: string, stop?: AbortSignal, query: Query = {}): Promise<WholePlaylist> {
  for (let tries = 0; tries < MOST_TRIES; tries++) {
    const whole = await readOnce(id, query, stop);
    if (whole) return whole;
  }
  throw new RequestError(503, undefined);
}
