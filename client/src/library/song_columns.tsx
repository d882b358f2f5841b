// The columns of songs: which there are, which a person wants, and which of those there is room for.
import type { ComponentChildren } from "preact";
import type { Mark, Song } from "../api/types.ts";
import type { Column } from "../list/list_view.tsx";
import { OfMark, StarButton } from "../playback/star_button.tsx";
import { formatDate, formatDuration, type TextKey, t } from "../text/index.ts";
import { isTexts, keptForUser } from "../ui/kept.ts";
import { openMenu } from "../ui/menu.tsx";
import { fitting } from "./fitting.ts";

export interface SongColumn {
  key: string;
  label: TextKey;
  /** Pixels below which it says nothing. */
  least: number;
  /** Its share of what room is left; 0: it is always as narrow as that. */
  share: number;
  cell: (song: Song) => ComponentChildren;
  align?: "end";
  quiet?: true;
}

function Stars({ rating }: Mark) {
  if (rating === 0) return null;
  return (
    <span class="stars">
      <span aria-hidden="true">{"★".repeat(rating)}</span>
      <span class="visually-hidden">{t("playing.stars", { count: rating })}</span>
    </span>
  );
}

const number = (value: number | undefined) => value || "";

/** The later ones make room first. */
export const SONG_COLUMNS: SongColumn[] = [
  { key: "title", label: "library.title", least: 160, share: 3, cell: ({ title }) => title },
  {
    key: "duration",
    label: "library.duration",
    least: 64,
    share: 0,
    align: "end",
    cell: ({ duration }) => formatDuration(duration),
  },
  {
    key: "artist",
    label: "library.artist",
    least: 112,
    share: 2,
    cell: ({ artist }) => artist,
  },
  { key: "album", label: "library.album", least: 112, share: 2, cell: ({ album }) => album },
  {
    key: "track",
    label: "library.track",
    least: 40,
    share: 0,
    align: "end",
    cell: ({ track }) => number(track),
  },
  {
    key: "star",
    label: "library.star",
    least: 32,
    share: 0,
    quiet: true,
    cell: (song) => <StarButton song={song} tabIndex={-1} />,
  },
  { key: "year", label: "library.year", least: 48, share: 0, align: "end", cell: ({ year }) => number(year) },
  { key: "genre", label: "library.genre", least: 96, share: 1, cell: ({ genre }) => genre },
  {
    key: "album_artist",
    label: "library.album_artist",
    least: 112,
    share: 2,
    cell: (song) => song.album_artist,
  },
  { key: "disc", label: "library.disc", least: 40, share: 0, align: "end", cell: ({ disc }) => number(disc) },
  {
    key: "added",
    label: "library.added",
    least: 104,
    share: 0,
    cell: ({ added }) => (added === undefined ? "" : formatDate(added)),
  },
  {
    key: "rating",
    label: "library.rating",
    least: 80,
    share: 0,
    cell: ({ id }) => <OfMark song={id} show={Stars} />,
  },
  { key: "type", label: "library.type", least: 56, share: 0, cell: ({ type }) => type },
];

/** The order in which they stand. */
const ORDER = [
  "track",
  "title",
  "artist",
  "album",
  "album_artist",
  "year",
  "genre",
  "disc",
  "added",
  "type",
  "rating",
  "duration",
  "star",
];

/** What the index does not know, and cannot sort by. */
const OF_PERSON = ["star", "rating"];

/** Below so many pixels all of a song stands in one column, in two lines. */
const COMPACT = 520;
const GAP = 12;
const EDGES = 32;
const USUAL = ["title", "duration", "artist", "album", "star", "year"];

export const wanted = keptForUser("columns.songs", USUAL, isTexts);

function want(key: string, isWanted: boolean) {
  const others = wanted.value.filter((other) => other !== key);
  wanted.value = isWanted ? [...others, key] : others;
}

/** Those of the keys that fit beside each other into `width` pixels, in the order in which they stand. */
export function fittingColumns(keys: readonly string[], width: number): SongColumn[] {
  const asked = SONG_COLUMNS.filter(({ key }) => key === "title" || keys.includes(key));
  return fitting(asked, width - EDGES, GAP).sort((a, b) => ORDER.indexOf(a.key) - ORDER.indexOf(b.key));
}

export function isCompact(width: number) {
  return width < COMPACT;
}

/** For a list of rows of which some are songs. */
export function listColumn<T>(column: SongColumn, songOf: (row: T) => Song | undefined): Column<T> {
  const { key, label, least, share, align, quiet } = column;
  return {
    key,
    label: t(label),
    width: share === 0 ? `${least}px` : `minmax(${least}px, ${share}fr)`,
    sortable: !OF_PERSON.includes(key),
    ...(align && { align }),
    ...(quiet && { quiet }),
    cell: (row) => {
      const song = songOf(row);
      return song && column.cell(song);
    },
  };
}

/** Lets people choose columns. */
export function openColumnsMenu(button: HTMLElement) {
  const columns = ORDER.filter((key) => key !== "title").flatMap(
    (key) => SONG_COLUMNS.find((column) => column.key === key) ?? [],
  );
  openMenu(
    button,
    t("library.columns"),
    columns.map(({ key, label }) => ({
      label: t(label),
      checked: wanted.value.includes(key),
      run: () => want(key, !wanted.value.includes(key)),
    })),
  );
}
