// A list of pictures with lines under them, as many beside each other as there is room for. Only those in view
// are in the page.
import { useSignal } from "@preact/signals";
import type { ComponentChildren, JSX } from "preact";
import { useEffect, useLayoutEffect, useRef } from "preact/hooks";
import { type Dragged, watchForDrag } from "./drag.tsx";
import { ListEnd } from "./list_end.tsx";
import type { ListSource } from "./source.ts";
import { type Place, useViewport } from "./viewport.ts";

interface TileViewProps<T> {
  label: string;
  source: ListSource<T>;
  tile: (item: T) => ComponentChildren;
  onOpen: (item: T) => void;
  onMenu?: (item: T, place: { x: number; y: number }) => void;
  onKey?: (event: KeyboardEvent, item: T) => boolean;
  lift?: (item: T) => Dragged | undefined;
  empty?: ComponentChildren;
  /** Where it is scrolled to, for who shows it again. */
  place?: Place | undefined;
}

const NARROWEST = 152; // pixels of a tile and the room beside it
const LINES = 60; // pixels of what stands under a picture, and the room below
const EDGES = 16; // pixels of room left and right of all tiles

export function TileView<T>(props: TileViewProps<T>) {
  const { source, label } = props;
  const total = source.total.value ?? 0;
  void source.revision.value;
  const lanes = useSignal(0); // until the width is known, so that no place is looked for among other rows
  const tileWidth = useSignal(0);
  const rowHeight = tileWidth.value + LINES;
  const rowCount = lanes.value === 0 ? 0 : Math.ceil(total / lanes.value);
  const viewport = useViewport(rowCount, rowHeight, { place: props.place });
  const { width } = viewport;
  useLayoutEffect(() => {
    if (width === 0) return;
    lanes.value = Math.max(2, Math.floor((width - EDGES) / (NARROWEST + 24)));
    tileWidth.value = Math.floor((width - EDGES) / lanes.value);
  }, [width, lanes, tileWidth]);
  const first = viewport.first * lanes.value;
  const end = Math.min(total, viewport.end * lanes.value);
  useEffect(() => source.want(first, Math.max(end, 1)), [source, first, end]);

  const active = useSignal(0);
  const focusNow = useRef(false);
  const body = useRef<HTMLDivElement>(null);
  useLayoutEffect(() => {
    if (!focusNow.current) return;
    const tile = body.current?.querySelector<HTMLElement>(`[data-index="${active.value}"]`);
    if (!tile) return;
    focusNow.current = false;
    tile.focus({ preventScroll: true });
  });

  const moveTo = (index: number) => {
    active.value = index;
    focusNow.current = true;
    viewport.show(Math.floor(index / lanes.value));
  };
  const onKeyDown = (event: KeyboardEvent) => {
    const item = source.at(active.value);
    if (item === undefined) return;
    if (event.key === "Enter") props.onOpen(item);
    else if (!props.onKey?.(event, item)) {
      const next = stepFrom(active.value, event, lanes.value, viewport.pageRows, total);
      if (next === undefined) return;
      moveTo(next);
    }
    event.preventDefault();
    event.stopPropagation();
  };
  const itemOf = (event: Event) => {
    const tile = (event.target as Element).closest<HTMLElement>("[data-index]");
    if (!tile) return undefined;
    active.value = Number(tile.dataset.index);
    return source.at(active.value);
  };
  const onMenu = (event: MouseEvent) => {
    const item = itemOf(event);
    if (!item || !props.onMenu) return;
    event.preventDefault();
    props.onMenu(item, { x: event.clientX, y: event.clientY });
  };

  const tileOf = (index: number) => {
    const item = source.at(index);
    return (
      <div
        key={index}
        role="gridcell"
        class="tile"
        data-index={index}
        tabIndex={index === active.value ? 0 : -1}
        aria-colindex={(index % lanes.value) + 1}
        style={{ width: `${tileWidth.value}px` }}
      >
        {item === undefined ? <span class="tile-skeleton" /> : props.tile(item)}
      </div>
    );
  };
  const rows: JSX.Element[] = [];
  for (let row = viewport.first; row < viewport.end; row++) {
    const from = row * lanes.value;
    const tiles = Array.from({ length: Math.min(lanes.value, total - from) }, (_, lane) =>
      tileOf(from + lane),
    );
    rows.push(
      <div
        key={row}
        role="row"
        aria-rowindex={row + 1}
        class="tile-row"
        style={{ top: `${viewport.offsetOf(row)}px`, height: `${rowHeight}px` }}
      >
        {tiles}
      </div>,
    );
  }
  return (
    <div ref={viewport.scroller} class="tiles" data-scroller onScroll={viewport.onScroll}>
      <div
        role="grid"
        aria-label={label}
        aria-rowcount={source.total.value === undefined ? -1 : rowCount}
        aria-colcount={lanes.value}
        aria-busy={source.total.value === undefined && !source.error.value}
        tabIndex={total === 0 ? 0 : -1}
        onKeyDown={onKeyDown}
        onFocusIn={(event) => void itemOf(event)}
        onClick={(event) => {
          const item = itemOf(event);
          if (item && !(event.target as Element).closest("button, a")) props.onOpen(item);
        }}
        onContextMenu={onMenu}
        onPointerDown={(event) => {
          const item = itemOf(event);
          if (!item || !props.lift || event.button !== 0 || event.pointerType === "touch") return;
          watchForDrag(event, () => props.lift?.(item));
        }}
      >
        <div ref={body} role="presentation" class="tiles-body" style={{ height: `${viewport.boxHeight}px` }}>
          {rows}
        </div>
      </div>
      <ListEnd source={source} empty={props.empty} />
    </div>
  );
}

function stepFrom(active: number, event: KeyboardEvent, lanes: number, page: number, total: number) {
  if (event.altKey || event.metaKey || event.ctrlKey) return undefined;
  const step = {
    ArrowRight: 1,
    ArrowLeft: -1,
    ArrowDown: lanes,
    ArrowUp: -lanes,
    PageDown: lanes * page,
    PageUp: -lanes * page,
    Home: -active,
    End: total - 1 - active,
  }[event.key];
  if (step === undefined) return undefined;
  return Math.max(0, Math.min(total - 1, active + step));
}
