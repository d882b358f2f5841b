// What people choose to play or to put into lists: songs, and what lists hold besides.
import type { SongReference } from "../api/actions.ts";
import type { Entry, QueueEntry, Song } from "../api/types.ts";

/** A song, a stream, or what a list says of something that is not there. */
export type Item = Omit<Entry, "position">;

/** Things that are chosen, wherever: a selection, an album, a folder, a search. */
export interface Chosen {
  /** How many, where that is known before they are loaded. */
  count: number | undefined;
  /** What they are called together: an album's name, for instance. */
  name?: string;
  /** The node id of the playlist whose entries they are, all of them. */
  playlist?: string;
  load(stop?: AbortSignal): Promise<Item[]>;
  /** Those from position `first` on, before `end`, where these need not wait for the others; some hundred at most. */
  loadSome?(first: number, end: number, stop?: AbortSignal): Promise<Item[]>;
}

export function chosenSongs(songs: readonly Song[], name?: string): Chosen {
  const chosen: Chosen = { count: songs.length, load: async () => songs.map((song) => ({ song })) };
  if (name !== undefined) chosen.name = name;
  return chosen;
}

export function itemOf({ position: _, ...item }: Entry | QueueEntry): Item {
  return item;
}

/** As an edit names it. */
export function referenceOf(item: Item): SongReference {
  if (item.song) return String(item.song.id);
  const { title, artist, duration } = item;
  return {
    res: item.path ?? item.stream ?? "",
    ...(title !== undefined && { title }),
    ...(artist !== undefined && { artist }),
    ...(duration !== undefined && { duration: Math.round(duration) }),
  };
}

export function titleOf(item: Item) {
  return item.song?.title ?? item.title ?? (item.path ?? item.stream ?? "").replace(/^.*[/\\](?=.)/, "");
}

export function artistOf(item: Item) {
  return item.song?.artist ?? item.artist ?? "";
}

export function durationOf(item: Item) {
  return item.song?.duration ?? item.duration;
}

/** The same for two entries that stand for the same song. */
export function identityOf(item: Item) {
  return item.song ? `#${item.song.id}` : (item.path ?? item.stream ?? "");
}
