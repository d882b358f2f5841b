// Where the sound of what is queued comes from.
import { address } from "../api/http.ts";
import type { Song } from "../api/types.ts";
import type { Item } from "../list/items.ts";
import { type Abilities, type Format, formatFor } from "./formats.ts";

const BITRATE = { opus: 128, mp3: 192 }; // kbit/s

/** Where the sound of an entry comes from. */
export interface Source {
  url: string;
  format: Format | "stream";
  /** The second of the song that the sound begins with. */
  base: number;
}

/** A transcoded song begins where it is asked to; another one is sought in. */
export function sourceOfSong(song: Pick<Song, "id">, format: Format, at: number): Source {
  const path = `api/songs/${song.id}/stream`;
  if (format === "as_it_is") return { url: address(path), format, base: 0 };
  const base = Math.floor(at);
  const query = { format, bitrate: BITRATE[format], offset_seconds: base || undefined };
  return { url: address(path, query), format, base };
}

export function sourceOf(item: Item, at: number, can: Abilities, failed: boolean): Source | undefined {
  if (item.song) return sourceOfSong(item.song, formatFor(item.song.type, can, failed), at);
  const isWeb = /^https?:/i.test(item.stream ?? ""); // lists may name any address
  return item.stream !== undefined && isWeb ? { url: item.stream, format: "stream", base: 0 } : undefined;
}
