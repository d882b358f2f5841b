// The table of songs that all views share: selecting, playing, adding, dragging, and what is selected at its foot.
import type { ComponentChildren } from "preact";
import { useRef } from "preact/hooks";
import type { Song } from "../api/types.ts";
import type { Dragged } from "../list/drag.tsx";
import { type Column, ListView, type Section, type Sort } from "../list/list_view.tsx";
import { type Range, rangesOf } from "../list/selection.ts";
import { useWidth } from "../list/width.ts";
import { currentSongId } from "../playback/commands.ts";
import { MOST_ENTRIES } from "../playback/queue.ts";
import { formatDuration, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { useKeys } from "../ui/keys.tsx";
import { openMenu } from "../ui/menu.tsx";
import { addToOpen, addToOther, onSongsKey, playSongs, songsMenu } from "./deeds.ts";
import type { KeptList } from "./lists.ts";
import { SelectionBar } from "./selection_bar.tsx";
import { fittingColumns, isCompact, listColumn, wanted } from "./song_columns.tsx";
import { songMenu } from "./song_menu.tsx";
import type { Songs } from "./songs.ts";

export interface SongTableProps<T> {
  label: string;
  list: KeptList<T>;
  /** What all of them are called. */
  name: string;
  songOf: (row: T) => Song | undefined;
  songsAt: (ranges: readonly Range[]) => Songs;
  /** Keys of columns, where they are not those that people have chosen. */
  columns?: string[];
  /** What stands in the first column for a row that is no song, and what opens it. */
  otherCell?: (row: T) => ComponentChildren;
  onOpenOther?: (row: T) => void;
  sort?: Sort | undefined;
  onSort?: (sort: Sort) => void;
  lead?: ComponentChildren;
  sections?: Section[];
  empty?: ComponentChildren;
  /** The row above the first one is wanted; true when there is such a thing. */
  onUp?: () => boolean;
}

export function SongTable<T>(props: SongTableProps<T>) {
  const { list, songOf, songsAt } = props;
  const { source, selection } = list;
  const box = useRef<HTMLDivElement>(null);
  const width = useWidth(box);
  const compact = isCompact(width);

  const chosen = (): Songs | undefined => {
    if (selection.count.value > 0) return songsAt(selection.ranges.value);
    return source.at(selection.active.value) ? songsAt(rangesOf([selection.active.value])) : undefined;
  };
  const withChosen = (deed: (songs: Songs) => void) => () => {
    const songs = selection.count.value > 0 ? chosen() : undefined;
    if (songs) deed(songs);
  };
  useKeys({ A: withChosen(addToOpen), L: withChosen(addToOther) });

  const playFrom = (row: T, index: number) => {
    if (!songOf(row)) return props.onOpenOther?.(row);
    const total = source.total.peek() ?? 0;
    const first = total <= MOST_ENTRIES ? firstOf(props, index) : index;
    playSongs(songsAt([{ first, end: total }]), index - first);
  };
  const menuOf = (index: number) => {
    const row = source.at(index);
    const song = row && songOf(row);
    const isOne = selection.count.value <= 1 || !selection.has(index);
    const songs = isOne ? songsAt(rangesOf([index])) : chosen();
    if (!songs) return [];
    return song && isOne ? songMenu(song, songs) : songsMenu(songs);
  };
  const lift = (positions: number[]): Dragged | undefined => {
    const isSelection = positions.length > 1;
    const songs = songsAt(isSelection ? selection.ranges.value : rangesOf(positions));
    const only = source.at(positions[0] ?? 0);
    const title = only && (songOf(only)?.title ?? songs.name);
    return {
      chosen: songs,
      label: isSelection ? t("count.songs", { count: positions.length }) : (title ?? ""),
    };
  };
  const more = (index: number, button: HTMLElement) => openMenu(button, t("library.menu"), menuOf(index));
  return (
    <div ref={box} class="song-table">
      <ListView
        label={props.label}
        source={source}
        selection={selection}
        place={list.place}
        columns={columnsOf(props, width, more)}
        header={!compact}
        sort={props.sort}
        {...(props.onSort && { onSort: props.onSort })}
        onOpen={playFrom}
        onKey={(event, active) =>
          (event.key === "ArrowUp" && active === 0 && props.onUp?.()) || onSongsKey(event, chosen)
        }
        onMenu={(index, place) => openMenu(place, t("library.menu"), menuOf(index))}
        lift={lift}
        rowClass={(row) => {
          const song = songOf(row);
          if (!song) return "other";
          return song.id === currentSongId.value ? "current" : "";
        }}
        lead={props.lead}
        {...(props.sections && { sections: props.sections })}
        empty={props.empty}
      />
      <SelectionBar list={list} chosen={chosen} />
    </div>
  );
}

/** Where the songs begin of which `index` is one: behind what else is listed. */
function firstOf<T>({ list, songOf, otherCell }: SongTableProps<T>, index: number) {
  if (!otherCell) return 0;
  let first = index;
  for (let row = list.source.at(first - 1); row && songOf(row); row = list.source.at(first - 1)) first--;
  return first;
}

const MORE = 32; // pixels of the button at the end of a row

function columnsOf<T>(
  props: SongTableProps<T>,
  width: number,
  more: (index: number, button: HTMLElement) => void,
): Column<T>[] {
  const columns = isCompact(width)
    ? compactColumns(props.songOf, props.columns)
    : fittingColumns(props.columns ?? wanted.value, width - MORE).map((column) =>
        listColumn(column, props.songOf),
      );
  const name = columns.find(({ key }) => key === "title");
  if (name && props.otherCell) name.cell = withOther(name.cell, props);
  return [...columns, moreColumn(props.songOf, more)];
}

/** In its place, what a row says that is no song. */
function withOther<T>(cell: Column<T>["cell"], { songOf, otherCell }: SongTableProps<T>): Column<T>["cell"] {
  return (row, index) => (songOf(row) ? cell(row, index) : otherCell?.(row));
}

/** `keys` are those of the columns that there would be in more room, where not all are wanted. */
function compactColumns<T>(songOf: (row: T) => Song | undefined, keys?: string[]): Column<T>[] {
  const has = (key: string) => keys?.includes(key) ?? true;
  const cellOf = (show: (song: Song) => ComponentChildren) => (row: T) => {
    const song = songOf(row);
    return song && show(song);
  };
  const linesOf = ({ title, artist, album }: Song) => {
    const below = [has("artist") && artist, has("album") && album].filter(Boolean).join(" – ");
    return below === "" ? title : <Lines above={title} below={below} />;
  };
  const track: Column<T> = {
    key: "track",
    label: t("library.track"),
    width: "1.25rem",
    align: "end",
    cell: cellOf((song) => <span class="soft small">{song.track || ""}</span>),
  };
  return [
    ...(keys?.includes("track") ? [track] : []),
    {
      key: "title",
      label: t("library.title"),
      width: "minmax(0, 1fr)",
      cell: cellOf(linesOf),
    },
    {
      key: "duration",
      label: t("library.duration"),
      width: "auto",
      align: "end",
      cell: cellOf(({ duration }) => <span class="soft small">{formatDuration(duration)}</span>),
    },
  ];
}

function Lines({ above, below }: { above: string; below: string }) {
  return (
    <span class="lines">
      <span>{above}</span>
      <span>{below}</span>
    </span>
  );
}

function moreColumn<T>(
  songOf: (row: T) => Song | undefined,
  more: (index: number, button: HTMLElement) => void,
): Column<T> {
  return {
    key: "more",
    label: t("library.menu"),
    quiet: true,
    width: "var(--control)",
    cell: (row, index) => (
      <button
        type="button"
        class="icon-button row-more"
        tabIndex={-1}
        aria-haspopup="menu"
        aria-label={t("library.more_of", { name: songOf(row)?.title ?? "" })}
        onClick={(event) => more(index, event.currentTarget)}
      >
        <Icon name="more" />
      </button>
    ),
  };
}
