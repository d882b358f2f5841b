// Songs that are chosen by what they are of, or by their places in a list. They are loaded in stretches, when
// something is done with them.
import { get, isAborted, type Query } from "../api/http.ts";
import { playlistPath } from "../api/playlists.ts";
import type { Album, Entry, Folder, FolderItem, Name, Page, Playlist, Song } from "../api/types.ts";
import { type Chosen, type Item, itemOf } from "../list/items.ts";
import type { Range } from "../list/selection.ts";
import type { PagedSource } from "../list/source.ts";
import { t } from "../text/index.ts";
import { notify, Refusal } from "../ui/notices.tsx";
import { cut } from "./parts.ts";

/** As many entries as a list takes. */
export const MOST_CHOSEN = 100_000;
const LARGEST_PAGE = 1000;
const TOLD_AFTER = 600; // milliseconds

type LoadPart = (first: number, end: number, stop: AbortSignal) => Promise<Item[]>;

export class Songs implements Chosen {
  constructor(
    readonly name: string,
    readonly count: number | undefined,
    private readonly loadPart: LoadPart,
  ) {}

  /** From position `first` on, before `end`. */
  part(first: number, end: number): Songs {
    const most = this.count === undefined ? undefined : Math.max(0, Math.min(end, this.count) - first);
    return new Songs(this.name, most, (from, to, stop) =>
      this.loadPart(first + from, Math.min(first + to, end), stop),
    );
  }

  /** Without telling that it takes a while. */
  loadSome(first: number, end: number, stop = new AbortController().signal) {
    return this.loadPart(first, Math.min(end, this.count ?? end), stop);
  }

  async load(stop?: AbortSignal): Promise<Item[]> {
    if ((this.count ?? 0) > MOST_CHOSEN) throw tooMany();
    const items = await tellLoading(this.count, stop, (signal) =>
      this.loadPart(0, this.count ?? MOST_CHOSEN + 1, signal),
    );
    if (items.length > MOST_CHOSEN) throw tooMany();
    return items;
  }
}

function tooMany() {
  return new Refusal(t("library.too_many", { count: MOST_CHOSEN }));
}

/** Says that it takes a while, and lets it be cancelled. */
async function tellLoading<T>(
  count: number | undefined,
  stop: AbortSignal | undefined,
  load: (stop: AbortSignal) => Promise<T>,
) {
  const own = new AbortController();
  stop?.addEventListener("abort", () => own.abort(), { signal: own.signal });
  let close = () => {};
  const timer = setTimeout(() => {
    const text = count === undefined ? t("library.loading_some") : t("library.loading", { count });
    close = notify({ text, lasts: 0, action: { label: t("cancel"), run: () => own.abort() } });
  }, TOLD_AFTER);
  try {
    return await load(own.signal);
  } catch (error) {
    throw isAborted(error) && !stop?.aborted ? new Refusal(t("library.cancelled")) : error;
  } finally {
    clearTimeout(timer);
    close();
  }
}

async function loadPages<T>(path: string, query: Query, first: number, end: number, stop: AbortSignal) {
  const rows: T[] = [];
  while (first + rows.length < end) {
    const offset = first + rows.length;
    const limit = Math.min(LARGEST_PAGE, end - offset);
    const page = await get<Page<T>>(path, { ...query, offset, limit }, stop);
    rows.push(...page.items);
    if (page.items.length === 0 || offset + page.items.length >= page.total) break;
  }
  return rows;
}

/** Those that /api/songs gives for a query. */
export function songsBy(query: Query, name: string, count?: number) {
  return new Songs(name, count, async (first, end, stop) =>
    (await loadPages<Song>("songs", query, first, end, stop)).map((song) => ({ song })),
  );
}

export function songsOfAlbum({ id, name, songs }: Album) {
  return songsBy({ album: id, sort: "disc,track" }, name, songs);
}

/** Those of all albums of a list, album by album. */
export function songsOfAlbums(source: PagedSource<Album>, name: string) {
  return new Songs(name, undefined, async (first, end, stop) => {
    const items: Item[] = [];
    const albums = Math.min(source.total.peek() ?? 0, end); // each has a song at least
    for (const album of await source.load(0, albums, stop)) {
      items.push(...(await songsOfAlbum(album).loadSome(0, end, stop)));
      if (items.length >= end) break;
    }
    return items.slice(first, end);
  });
}

export type NameKind = "artists" | "genres" | "composers" | "years";

/** What chooses the songs and the albums of an artist, a genre, a composer or a year. */
export function queryOf(kind: NameKind, { id, name, library, songs }: Name): Query {
  if (kind === "years") return { library, year_from: name, year_to: name };
  // Who is the artist of albums only, "Various" say, has the songs of these.
  if (kind === "artists" && songs === 0) return { album_artist: id };
  return { [singular(kind)]: id };
}

/** As parameters and answers call it. */
export function singular(kind: NameKind) {
  return kind.slice(0, -1);
}

export function songsOfName(kind: NameKind, name: Name) {
  return songsBy(queryOf(kind, name), name.name, name.songs || undefined);
}

export function songsOfFolder({ id, name, songs }: Folder) {
  return songsBy({ below: id, sort: "path" }, name, songs);
}

export function songsOfPlaylist({ id, name, count }: Playlist) {
  return new Songs(name, count, async (first, end, stop) =>
    (await loadPages<Entry>(playlistPath(id), {}, first, end, stop)).map(itemOf),
  );
}

/** What stands at these positions of a list of songs. */
export function songsAt(source: PagedSource<Song>, ranges: readonly Range[], name: string) {
  const count = ranges.reduce((sum, range) => sum + range.end - range.first, 0);
  return new Songs(name, count, async (first, end, stop) => {
    const items: Item[] = [];
    for (const range of cut(ranges, first, end)) {
      for (const song of await source.load(range.first, range.end, stop)) items.push({ song });
    }
    return items;
  });
}

/** The same of a folder's list; the folders in it stand for all songs below them. */
export function songsAtOfFolder(source: PagedSource<FolderItem>, ranges: readonly Range[], name: string) {
  return new Songs(nameAt(source, ranges) ?? name, countAt(source, ranges), async (first, end, stop) => {
    const items: Item[] = [];
    for (const range of ranges) {
      for (const row of await source.load(range.first, range.end, stop)) {
        if (row.song) items.push({ song: row.song });
        if (row.folder) items.push(...(await songsOfFolder(row.folder).load(stop)));
        if (items.length >= end) return items.slice(first, end);
      }
    }
    return items.slice(first, end);
  });
}

/** Of the folder, where it is one alone. */
function nameAt(source: PagedSource<FolderItem>, [range, ...others]: readonly Range[]) {
  const isOne = range && others.length === 0 && range.end - range.first === 1;
  return isOne ? source.at(range.first)?.folder?.name : undefined;
}

/** Undefined where not all of the rows are there to be counted. */
function countAt(source: PagedSource<FolderItem>, ranges: readonly Range[]) {
  let count = 0;
  for (const { first, end } of ranges) {
    for (let at = first; at < end; at++) {
      const row = source.at(at);
      if (!row) return undefined;
      count += row.folder?.songs ?? 1;
    }
  }
  return count;
}
