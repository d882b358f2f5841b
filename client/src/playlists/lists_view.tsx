// All playlists: the way to them on a phone, and a table of them where there is room.
import { useComputed, useSignal, useSignalEffect } from "@preact/signals";
import { useEffect, useMemo, useRef } from "preact/hooks";
import type { Playlist } from "../api/types.ts";
import { type Column, ListView, type Sort } from "../list/list_view.tsx";
import { rangesOf, Selection } from "../list/selection.ts";
import { SelectionBar } from "../list/selection_bar.tsx";
import { ArraySource } from "../list/source.ts";
import { useWidth } from "../list/width.ts";
import { compareNames, formatDate, formatDuration, formatNumber, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { keyOf } from "../ui/keys.tsx";
import { isNarrow } from "../ui/media.ts";
import { MenuButton, type MenuItem } from "../ui/menu.tsx";
import { type Route, replaceQuery } from "../ui/router.ts";
import { useTitle } from "../ui/title.ts";
import { addToOpenList, addToOtherList } from "./commands.ts";
import { order, ownOrder, showOrders, step } from "./kept_order.ts";
import { chosenPlaylist, linkToPlaylist, nameOf, openPlaylist } from "./opening.ts";
import { matcher, sorted } from "./order.ts";
import { askForRename, deleteAll, showMenu, showNewMenu } from "./playlist_actions.ts";
import { playlists, refreshPlaylists, storeError } from "./store.ts";

const COMPARISONS: Record<string, (a: Playlist, b: Playlist) => number> = {
  name: () => 0,
  count: (a, b) => (a.count ?? -1) - (b.count ?? -1),
  duration: (a, b) => (a.duration ?? -1) - (b.duration ?? -1),
  changed: (a, b) => (a.changed ?? 0) - (b.changed ?? 0),
  library: (a, b) => a.library.localeCompare(b.library),
  kind: (a, b) => a.kind.localeCompare(b.kind),
};

function sortedBy(lists: readonly Playlist[], { key, down }: Sort) {
  const compare = COMPARISONS[key] ?? (() => 0);
  const byName = (a: Playlist, b: Playlist) => compareNames(nameOf(a), nameOf(b)) || (a.id < b.id ? -1 : 1);
  const direction = down ? -1 : 1;
  return [...lists].sort(
    (a, b) => direction * (compare(a, b) || (key === "name" ? byName(a, b) : 0)) || byName(a, b),
  );
}

const ICONS = { list: "list", smart: "smart", random: "shuffle" } as const;

function NameCell({ playlist }: { playlist: Playlist }) {
  const name = nameOf(playlist);
  return (
    <a class="playlist-link" href={linkToPlaylist(playlist.id)} title={name} tabIndex={-1}>
      <Icon name={ICONS[playlist.kind]} />
      <span class="playlist-name">{name}</span>
      {(playlist.missing ?? playlist.unreadable) && (
        <span class="flag" title={t(playlist.missing ? "playlists.file_missing" : "playlists.unreadable")}>
          <Icon name="missing" />
        </span>
      )}
    </a>
  );
}

type ShowMenu = (playlist: Playlist, place: HTMLElement | { x: number; y: number }) => void;

function MoreButton({ playlist, show }: { playlist: Playlist; show: ShowMenu }) {
  const label = t("playlists.more", { name: nameOf(playlist) });
  return <MenuButton label={label} tabIndex={-1} open={(button) => show(playlist, button)} />;
}

function libraryOf({ kind, library }: Playlist) {
  if (kind === "random") return "";
  return t(library === "shared" ? "playlists.shared" : "playlists.mine");
}

/** Those for which there is room in a view of so many pixels. */
function columns(show: ShowMenu, room: number): Column<Playlist>[] {
  const all: (Column<Playlist> & { from?: number })[] = [
    {
      key: "name",
      label: t("playlists.name"),
      width: "minmax(8rem, 1fr)",
      sortable: true,
      cell: (playlist) => <NameCell playlist={playlist} />,
    },
    {
      key: "library",
      label: t("playlists.library"),
      width: "6rem",
      from: 740,
      sortable: true,
      cell: libraryOf,
    },
    {
      key: "kind",
      label: t("playlists.kind"),
      width: "6rem",
      from: 860,
      sortable: true,
      cell: ({ kind }) => t(`playlists.kind_${kind}`),
    },
    {
      key: "count",
      label: t("library.songs"),
      width: isNarrow.value ? "3rem" : "5rem",
      align: "end",
      sortable: true,
      cell: ({ count }) => count !== undefined && formatNumber(count),
    },
    {
      key: "duration",
      label: t("playlists.duration"),
      width: "6rem",
      from: 440,
      align: "end",
      sortable: true,
      cell: ({ kind, duration }) => kind === "list" && formatDuration(duration),
    },
    {
      key: "changed",
      label: t("playlists.changed"),
      width: "8rem",
      from: 560,
      align: "end",
      sortable: true,
      cell: ({ changed }) => changed !== undefined && formatDate(changed),
    },
    {
      key: "more",
      label: t("more"),
      quiet: true,
      width: "var(--control)",
      cell: (playlist) => <MoreButton playlist={playlist} show={show} />,
    },
  ];
  return all.filter(({ from = 0 }) => from <= room);
}

/** What is selected stays so when the list changes below it. */
function follow(selection: Selection, before: readonly Playlist[], now: readonly Playlist[]) {
  if (selection.count.peek() === 0) return;
  const ids = new Set(selection.positions().map((position) => before[position]?.id));
  selection.replace(rangesOf(now.flatMap(({ id }, position) => (ids.has(id) ? [position] : []))));
}

/** By a column, or else as the tree. */
function sortOf(query: URLSearchParams): Sort | undefined {
  const key = query.get("sort") ?? (order.value === "name" ? "name" : undefined);
  return key === undefined ? undefined : { key, down: query.get("dir") === "desc" };
}

function useLists(filter: { readonly value: string }, sort: Sort | undefined) {
  const source = useMemo(() => new ArraySource<Playlist>([]), []);
  const selection = useMemo(() => new Selection(), []);
  const shown = useRef<readonly Playlist[]>([]);
  const sorting = useSignal(sort);
  if (sorting.peek()?.key !== sort?.key || sorting.peek()?.down !== sort?.down) sorting.value = sort;
  const lists = useComputed(() => {
    const matches = matcher(filter.value);
    const found = (playlists.value ?? []).filter((playlist) => matches(nameOf(playlist)));
    if (sorting.value) return sortedBy(found, sorting.value);
    return sorted(found, order.value, ownOrder.value, compareNames);
  });
  useSignalEffect(() => {
    const now = lists.value;
    follow(selection, shown.current, now);
    shown.current = now;
    source.replace(now);
    source.total.value = playlists.value ? now.length : undefined;
    source.error.value = playlists.value ? undefined : storeError.value;
  });
  source.retry = () => void refreshPlaylists();
  const selected = () => selection.positions().flatMap((position) => shown.current[position] ?? []);
  return { source, selection, selected, shown: () => shown.current };
}

/** For a list among those that stand in the user's own order. */
function orderItems(playlist: Playlist, members: readonly Playlist[]): MenuItem[] {
  const at = members.indexOf(playlist);
  const item = (label: string, icon: "up" | "down", by: -1 | 1): MenuItem => ({
    label,
    icon,
    disabled: members[at + by] === undefined,
    run: () => step(playlist, by, members),
  });
  return [item(t("playlists.move_up"), "up", -1), item(t("playlists.move_down"), "down", 1)];
}

export function ListsView({ route: { query } }: { route: Route }) {
  const sort = sortOf(query);
  const filter = useSignal("");
  const { source, selection, selected, shown } = useLists(filter, sort);
  const head = useRef<HTMLElement>(null);
  const width = useWidth(head);
  const isOwn = !sort && order.value === "own";
  const show: ShowMenu = (playlist, place) =>
    showMenu(playlist, place, isOwn ? orderItems(playlist, shown()) : []);
  useTitle(t("frame.lists"));
  useEffect(() => void refreshPlaylists(), []);
  const onKey = (event: KeyboardEvent, active: number) => {
    const playlist = source.at(active);
    const by = keyOf(event) === "Alt+ArrowUp" ? -1 : keyOf(event) === "Alt+ArrowDown" ? 1 : undefined;
    if (playlist && isOwn && by) {
      if (step(playlist, by, shown())) selection.moveTo(active + by);
      return true;
    }
    if (!playlist || event.ctrlKey || event.metaKey || event.altKey) return false;
    if (event.key.toLowerCase() === "l") void addToOtherList(chosenPlaylist(playlist));
    else if (event.key.toLowerCase() === "a") void addToOpenList(chosenPlaylist(playlist));
    else if (playlist.kind === "random") return false;
    else if (event.key === "F2") void askForRename(playlist);
    else if (event.key === "Delete") removeSelected(selection.count.peek() > 0 ? selected() : [playlist]);
    else return false;
    return true;
  };
  const removeSelected = (lists: Playlist[]) => {
    selection.clear();
    void deleteAll(lists.filter(({ kind }) => kind !== "random"));
  };
  return (
    <>
      <header ref={head} class="view-head">
        <h1>{t("frame.lists")}</h1>
        <span class="soft">{playlists.value && formatNumber(source.total.value ?? 0)}</span>
        <span class="spacer" />
        <input
          class="input lists-search"
          type="search"
          aria-label={t("playlists.filter")}
          placeholder={t("playlists.filter")}
          value={filter.value}
          onInput={(event) => {
            filter.value = event.currentTarget.value;
          }}
        />
        <MenuButton
          label={t("playlists.order")}
          icon="sort"
          tip
          open={(button) => showOrders(button, () => replaceQuery({ sort: undefined, dir: undefined }))}
        />
        <button
          type="button"
          class="button"
          aria-haspopup="menu"
          onClick={(event) => showNewMenu(event.currentTarget)}
        >
          <Icon name="add" />
          {t("playlists.make_new")}
        </button>
      </header>
      <ListView
        label={t("frame.lists")}
        source={source}
        columns={columns(show, width)}
        selection={selection}
        header={!isNarrow.value}
        sort={sort}
        onSort={({ key, down }) => replaceQuery({ sort: key, dir: down ? "desc" : undefined })}
        onOpen={openPlaylist}
        onKey={onKey}
        onMenu={(index, place) => {
          const playlist = source.at(index);
          if (playlist && selection.count.peek() <= 1) show(playlist, place);
        }}
        empty={<Nothing filtered={filter.value !== ""} />}
      />
      {selection.count.value > 0 && (
        <ListsBar selection={selection} selected={selected} remove={removeSelected} show={show} />
      )}
    </>
  );
}

function Nothing({ filtered }: { filtered: boolean }) {
  return (
    <>
      <Icon name="list" />
      <p>{t(filtered ? "playlists.none_found" : "playlists.none")}</p>
    </>
  );
}

interface BarProps {
  selection: Selection;
  selected: () => Playlist[];
  remove: (lists: Playlist[]) => void;
  show: ShowMenu;
}

function ListsBar({ selection, selected, remove, show }: BarProps) {
  const [first] = selected();
  return (
    <SelectionBar selection={selection}>
      {selection.count.value === 1 && first && (
        <button
          type="button"
          class="button"
          aria-haspopup="menu"
          onClick={(event) => show(first, event.currentTarget)}
        >
          {t("more")}
        </button>
      )}
      <button type="button" class="button" onClick={() => remove(selected())}>
        <Icon name="trash" />
        {t("playlists.delete")}
      </button>
    </SelectionBar>
  );
}
