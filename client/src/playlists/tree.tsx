// The playlists that the user sees, at the left: a tree, only the rows of which that are in view are in the page.
import { useComputed, useSignal } from "@preact/signals";
import { useLayoutEffect, useRef } from "preact/hooks";
import type { Playlist } from "../api/types.ts";
import { openListId } from "../editor/commands.ts";
import { type Dragged, type DropTarget, useDropTarget, watchForDrag } from "../list/drag.tsx";
import { useViewport } from "../list/viewport.ts";
import { compareNames, formatNumber, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { isTexts, keptForUser } from "../ui/kept.ts";
import { withPart } from "../ui/lazy.tsx";
import { isCoarse } from "../ui/media.ts";
import { MenuButton } from "../ui/menu.tsx";
import { reasonOf } from "../ui/notices.tsx";
import { linkTo, route } from "../ui/router.ts";
import { addTo, addToOpenList, addToOtherList, saveAsList } from "./commands.ts";
import { order, ownOrder, place, showOrders, step } from "./kept_order.ts";
import { chosenPlaylist, linkToPlaylist, nameOf, openPlaylist } from "./opening.ts";
import { matcher, sorted } from "./order.ts";
import { playlists, refreshPlaylists, storeError } from "./store.ts";
import { groupOf, rowsOf, type TreeRow } from "./tree_rows.ts";

const folded = keptForUser<string[]>("folded_groups", [], isTexts);

/** What the menus do; the first page does without it. */
function act(use: (actions: typeof import("./playlist_actions.ts")) => unknown) {
  void withPart(() => import("./playlist_actions.ts"), use);
}

/** What is dragged when it is a row of the tree: its playlist. */
const carried: { playlist: Playlist | undefined } = { playlist: undefined };

function fold(name: string, closed: boolean) {
  const others = folded.value.filter((other) => other !== name);
  folded.value = closed ? [...others, name] : others;
}

export function PlaylistTree() {
  const filter = useSignal("");
  const rows = useComputed(() => {
    const matches = matcher(filter.value);
    const lists = (playlists.value ?? []).filter((playlist) => matches(nameOf(playlist)));
    return rowsOf(
      sorted(lists, order.value, ownOrder.value, compareNames),
      filter.value === "" ? folded.value : [],
    );
  });
  const error = playlists.value ? undefined : storeError.value;
  return (
    <section class="lists" aria-labelledby="lists-title">
      <header class="lists-head">
        <h2 id="lists-title">
          <a href={linkTo(["playlists"])}>{t("frame.lists")}</a>
        </h2>
        <MenuButton label={t("playlists.order")} icon="sort" tip open={(button) => showOrders(button)} />
        <MenuButton
          label={t("playlists.new")}
          icon="add"
          tip
          open={(button) => act(({ showNewMenu }) => showNewMenu(button))}
        />
      </header>
      <input
        class="lists-filter"
        type="search"
        aria-label={t("playlists.filter")}
        placeholder={t("playlists.filter")}
        value={filter.value}
        onInput={(event) => {
          filter.value = event.currentTarget.value;
        }}
      />
      {error ? (
        <div class="lists-error" role="alert">
          <p>{reasonOf(error)}</p>
          <button type="button" class="button" onClick={() => void refreshPlaylists()}>
            {t("retry")}
          </button>
        </div>
      ) : (
        <Tree rows={rows.value} />
      )}
    </section>
  );
}

function keyOf(row: TreeRow) {
  return row.kind === "group" ? row.name : row.playlist.id;
}

function Tree({ rows }: { rows: TreeRow[] }) {
  const height = isCoarse.value ? 44 : 32; // pixels, as --control says
  const viewport = useViewport(rows.length, height);
  const activeKey = useSignal("");
  const focusNow = useRef(false);
  const found = rows.findIndex((row) => keyOf(row) === activeKey.value);
  const lastActive = useRef(0);
  // When its row has gone, the one that is in its place now.
  const active = found >= 0 ? found : Math.min(lastActive.current, rows.length - 1);
  lastActive.current = active;
  useLayoutEffect(() => {
    if (!focusNow.current) return;
    const row = viewport.scroller.current?.querySelector<HTMLElement>('[role="treeitem"][tabindex="0"]');
    if (!row) return;
    focusNow.current = false;
    row.focus({ preventScroll: true });
  });
  const moveTo = (index: number) => {
    const row = rows[Math.max(0, Math.min(rows.length - 1, index))];
    if (!row) return;
    activeKey.value = keyOf(row);
    focusNow.current = true;
    viewport.show(rows.indexOf(row));
  };
  const onKeyDown = (event: KeyboardEvent) => {
    const row = rows[active];
    if (!row || !onTreeKey(event, row, active, rows, moveTo)) return;
    if (event.key === "Delete") focusNow.current = true;
    event.preventDefault();
    event.stopPropagation();
  };
  const shown = [];
  for (let index = viewport.first; index < viewport.end; index++) shown.push(index);
  if (rows.length > 0 && (active < viewport.first || active >= viewport.end)) shown.push(active);
  return (
    <div
      ref={viewport.scroller}
      class="tree"
      data-scroller
      role="tree"
      aria-label={t("frame.lists")}
      aria-busy={playlists.value === undefined}
      onScroll={viewport.onScroll}
      onKeyDown={onKeyDown}
    >
      <div role="presentation" class="tree-body" style={{ height: `${viewport.boxHeight}px` }}>
        {shown.map((index) => {
          const row = rows[index];
          if (!row) return null;
          const style = { transform: `translateY(${viewport.offsetOf(index)}px)` };
          const common = {
            style,
            tabIndex: index === active ? 0 : -1,
            onFocus: () => {
              activeKey.value = keyOf(row);
            },
          };
          return row.kind === "group" ? (
            <GroupRow key={row.name} row={row} common={common} />
          ) : (
            <ListRow key={row.playlist.id} row={row} common={common} />
          );
        })}
      </div>
    </div>
  );
}

function onTreeKey(
  event: KeyboardEvent,
  row: TreeRow,
  at: number,
  rows: TreeRow[],
  moveTo: (index: number) => void,
): boolean {
  if (event.ctrlKey || event.metaKey || event.shiftKey) return false;
  if (event.altKey) return row.kind === "list" && stepInOrder(event.key, row.playlist, rows);
  const steps: Record<string, number> = {
    ArrowDown: at + 1,
    ArrowUp: at - 1,
    Home: 0,
    End: rows.length - 1,
  };
  const to = steps[event.key];
  if (to !== undefined) moveTo(to);
  else if (row.kind === "group") return onGroupKey(event.key, row, () => moveTo(at + 1));
  else return onListKey(event.key, row, () => moveTo(rows.findIndex((other) => keyOf(other) === row.group)));
  return true;
}

/** Enter and Space press it, as any button. */
function onGroupKey(key: string, { name, open }: TreeRow & { kind: "group" }, goIn: () => void) {
  if (key === "ArrowRight" && open) goIn();
  else if (key === "ArrowRight") fold(name, false);
  else if (key === "ArrowLeft") fold(name, true);
  else return false;
  return true;
}

function onListKey(key: string, { playlist, group }: TreeRow & { kind: "list" }, goOut: () => void) {
  if (key === "ArrowLeft" && group) goOut();
  else if (key === "Enter") openPlaylist(playlist);
  else if (key.toLowerCase() === "l") void addToOtherList(chosenPlaylist(playlist));
  else if (key.toLowerCase() === "a") void addToOpenList(chosenPlaylist(playlist));
  else if (key === "F2" && group) act(({ askForRename }) => askForRename(playlist));
  else if (key === "Delete" && group) act(({ deleteAll }) => deleteAll([playlist]));
  else return false;
  return true;
}

/** By Alt and an arrow, where the order is the user's own. */
function stepInOrder(key: string, playlist: Playlist, rows: TreeRow[]) {
  if (order.peek() !== "own" || (key !== "ArrowUp" && key !== "ArrowDown")) return false;
  const group = groupOf(playlist);
  const members = rows.flatMap((row) => (row.kind === "list" && row.group === group ? [row.playlist] : []));
  step(playlist, key === "ArrowUp" ? -1 : 1, members);
  return true;
}

interface Common {
  style: { transform: string };
  tabIndex: number;
  onFocus: () => void;
}

function GroupRow({ row, common }: { row: TreeRow & { kind: "group" }; common: Common }) {
  const element = useRef<HTMLButtonElement>(null);
  const lit = useSignal(false);
  useDropTarget(element, {
    accepts: () => row.name !== "smart",
    over: () => {
      lit.value = true;
    },
    leave: () => {
      lit.value = false;
    },
    drop: ({ chosen }) => {
      void saveAsList(chosen, chosen.name ?? "", row.name === "shared" ? "shared" : "personal");
    },
  });
  return (
    <button
      ref={element}
      {...common}
      type="button"
      class={lit.value ? "tree-row tree-group lit" : "tree-row tree-group"}
      role="treeitem"
      aria-level={1}
      aria-expanded={row.open}
      onClick={() => fold(row.name, row.open)}
    >
      <span class={row.open ? "fold open" : "fold"}>
        <Icon name="right" />
      </span>
      <span class="tree-name">{t(`playlists.${row.name}`)}</span>
      <span class="soft small">{formatNumber(row.lists)}</span>
    </button>
  );
}

type Landing = "into" | "before" | "after";

/** Lists of one group change places among each other, where the order is the user's own. */
function isReordering({ origin }: Dragged, playlist: Playlist) {
  if (order.peek() !== "own" || origin?.source !== carried || !carried.playlist) return false;
  return groupOf(carried.playlist) === groupOf(playlist);
}

function landingOf(element: HTMLElement | null, dragged: Dragged, playlist: Playlist, y: number): Landing {
  if (!element || !isReordering(dragged, playlist)) return "into";
  const { top, height } = element.getBoundingClientRect();
  return y < top + height / 2 ? "before" : "after";
}

function listTarget(
  element: { current: HTMLElement | null },
  playlist: Playlist,
  show: (landing: Landing | undefined) => void,
): DropTarget {
  const isItself = ({ origin }: Dragged) =>
    origin?.source === carried && carried.playlist?.id === playlist.id;
  return {
    accepts: (dragged) => !isItself(dragged) && (playlist.kind === "list" || isReordering(dragged, playlist)),
    over: (dragged, event) => show(landingOf(element.current, dragged, playlist, event.clientY)),
    leave: () => show(undefined),
    drop: (dragged, event) => {
      const landing = landingOf(element.current, dragged, playlist, event.clientY);
      if (landing === "into") void addTo(playlist.id, dragged.chosen);
      else if (carried.playlist) reorder(carried.playlist, playlist, landing);
    },
  };
}

function reorder(moved: Playlist, at: Playlist, landing: Landing) {
  const group = groupOf(at);
  const members = sorted(playlists.peek() ?? [], "own", ownOrder.peek(), compareNames).filter(
    (list) => groupOf(list) === group && list.id !== moved.id,
  );
  const index = members.findIndex(({ id }) => id === at.id);
  place(moved.id, members[landing === "before" ? index : index + 1]?.id);
}

function ListRow({ row, common }: { row: TreeRow & { kind: "list" }; common: Common }) {
  const { playlist, group } = row;
  const element = useRef<HTMLAnchorElement>(null);
  const landing = useSignal<Landing | undefined>(undefined);
  useDropTarget(
    element,
    listTarget(element, playlist, (now) => {
      landing.value = now;
    }),
  );
  const lift = (): Dragged => {
    carried.playlist = playlist;
    return {
      chosen: chosenPlaylist(playlist),
      label: nameOf(playlist),
      origin: { source: carried, positions: [] },
    };
  };
  const { segments } = route.value;
  const isShown = segments[1] === playlist.id && (segments[0] === "playlists" || segments[0] === "smart");
  const isOpen = openListId.value === playlist.id;
  const isMixed = group === "smart" && playlist.library === "shared";
  const onClick = (event: MouseEvent) => {
    if (event.ctrlKey || event.metaKey || event.shiftKey || playlist.kind !== "list") return;
    event.preventDefault();
    openPlaylist(playlist);
  };
  return (
    <a
      ref={element}
      {...common}
      class={`tree-row ${group ? "tree-list" : "tree-leaf"} ${isOpen ? "open" : ""} ${landing.value ?? ""}`}
      href={linkToPlaylist(playlist.id)}
      draggable={false}
      role="treeitem"
      aria-level={group ? 2 : 1}
      aria-posinset={row.place + 1}
      aria-setsize={row.of}
      aria-selected={isOpen || isShown}
      aria-current={isShown ? "page" : undefined}
      title={nameOf(playlist)}
      onClick={onClick}
      onPointerDown={(event) => {
        if (event.button === 0 && event.pointerType !== "touch") watchForDrag(event, lift);
      }}
      onContextMenu={(event) => {
        event.preventDefault();
        const at = placeOf(event);
        act(({ showMenu }) => showMenu(playlist, at));
      }}
    >
      <Icon name={playlist.kind === "smart" ? "smart" : playlist.kind === "random" ? "shuffle" : "list"} />
      <span class="tree-name">{nameOf(playlist)}</span>
      {isMixed && <span class="soft small">{t("playlists.shared")}</span>}
      {playlist.kind === "list" && playlist.count !== undefined && (
        <span class="soft small">{formatNumber(playlist.count)}</span>
      )}
    </a>
  );
}

/** Where a menu opens: at the pointer, or below what the key was pressed on. */
function placeOf(event: MouseEvent) {
  if (event.clientX !== 0 || event.clientY !== 0) return { x: event.clientX, y: event.clientY };
  const { left, bottom } = (event.currentTarget as Element).getBoundingClientRect();
  return { x: left, y: bottom };
}
