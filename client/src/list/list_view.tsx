// A list of any length: only the rows in view are in the page. For screen readers it is a grid, one row of which
// has the focus.
import { useSignal } from "@preact/signals";
import type { ComponentChildren, JSX } from "preact";
import { useLayoutEffect, useMemo, useRef } from "preact/hooks";
import { Icon } from "../ui/icon.tsx";
import { isCoarse } from "../ui/media.ts";
import { type Dragged, type DropTarget, useDropTarget, watchForDrag } from "./drag.tsx";
import { type FramedList, FrameShape, Framing, isOnContent } from "./frame.tsx";
import { useGlide } from "./glide.ts";
import { ListEnd } from "./list_end.tsx";
import { type Column, classOf, Row } from "./row.tsx";
import { Selection } from "./selection.ts";
import { Slots } from "./slots.ts";
import type { ListSource } from "./source.ts";
import { tellWhole } from "./tips.ts";
import { type Place, useViewport } from "./viewport.ts";
import { rowsBetween } from "./window.ts";

export type { Column } from "./row.tsx";

export interface Sort {
  key: string;
  down: boolean;
}

/** A heading before the row `at`. */
export interface Section {
  at: number;
  label: string;
}

export interface ListViewProps<T> {
  label: string;
  source: ListSource<T>;
  columns: Column<T>[];
  /** Kept by who needs it; a list without one cannot be selected in. */
  selection?: Selection;
  /** A head with the columns' names; pressing one sorts. */
  header?: boolean;
  sort?: Sort | undefined;
  onSort?: (sort: Sort) => void;
  /** By Enter or a double click; without a selection also by a click. */
  onOpen?: (item: T, index: number) => void;
  /** By the context menu's key, a right click, or a long touch. */
  onMenu?: (index: number, place: { x: number; y: number }) => void;
  /** Keys of the list's own; true when it was one. */
  onKey?: (event: KeyboardEvent, active: number) => boolean;
  rowClass?: (item: T, index: number) => string;
  rowLabel?: (item: T) => string;
  /** What is dragged when these positions are; a list without it cannot be dragged from. */
  lift?: (positions: number[]) => Dragged | undefined;
  /** Takes what is dropped before position `at`; a list without it takes nothing. */
  onDrop?: (dragged: Dragged, at: number) => void;
  accepts?: (dragged: Dragged) => boolean;
  empty?: ComponentChildren;
  /** Is scrolled away before the rows. */
  lead?: ComponentChildren;
  sections?: Section[];
  /** Where it is scrolled to, for who shows it again. */
  place?: Place | undefined;
}

/** Pixels, as --row-height says: more where fingers press. */
function rowHeightNow() {
  return isCoarse.value ? 48 : 36;
}

const HEADING = 32; // pixels, as --heading-height says
const SECTION = 40; // pixels, as --section-height says
const LONG_TOUCH = 500; // milliseconds

export function ListView<T>(props: ListViewProps<T>) {
  const { source, columns, label, header = false } = props;
  const rowHeight = rowHeightNow();
  const total = source.total.value ?? 0;
  void source.revision.value;
  const heading = header ? HEADING : 0;
  const sections = props.sections ?? [];
  const gaps = sections.length * SECTION;
  const viewport = useViewport(total, rowHeight, { heading, gaps, place: props.place });
  const gapsAbove = (index: number) => sections.filter(({ at }) => at <= index).length * SECTION;
  const offsetOf = (index: number) => viewport.offsetOf(index) + gapsAbove(index);
  const { first, end } = viewport;
  useLayoutEffect(() => source.want(first, end), [source, first, end]);

  const slots = useMemo(() => new Slots(), []);
  const ownSelection = useMemo(() => new Selection(), []);
  const selection = props.selection ?? ownSelection;
  const activeOf = (row: number) => Math.min(row, Math.max(0, total - 1));
  const active = activeOf(selection.active.value);
  const focusNow = useRef(false);
  const body = useRef<HTMLDivElement>(null);
  const dropAt = useSignal<number | undefined>(undefined);

  const moveTo = (index: number) => {
    focusNow.current = true;
    viewport.show(index);
  };
  const focused = document.activeElement as HTMLElement | null;
  useLayoutEffect(() => {
    const isLost = document.activeElement === document.body && body.current?.contains(focused);
    if (isLost) focused?.focus({ preventScroll: true }); // some browsers take it from what is put elsewhere
    const at = document.activeElement;
    const isLeftBehind =
      at instanceof HTMLElement && body.current?.contains(at) && at.dataset.index !== undefined
        ? Number(at.dataset.index) !== active
        : false;
    if (isLeftBehind) moveTo(active); // what had the focus is elsewhere now
    if (!focusNow.current) return;
    const row = body.current?.querySelector<HTMLElement>(
      `[aria-rowindex="${active + 1 + (header ? 1 : 0)}"]`,
    );
    if (!row && total > 0) return;
    focusNow.current = false;
    (row ?? body.current?.parentElement)?.focus({ preventScroll: true });
  });

  useGlide(body, rowHeight, { ids: source.ids?.value, first, end });

  const framing = useMemo(() => new Framing(), []);
  const framed = useRef<() => FramedList | undefined>(() => undefined);
  framed.current = () => {
    const [rows, view] = [body.current, viewport.scroller.current];
    if (!rows || !view) return undefined;
    const { left, top, width } = rows.getBoundingClientRect();
    const above = top - view.getBoundingClientRect().top + view.scrollTop;
    const starts = sections.map(({ at }) => at);
    return {
      selection,
      scroller: view,
      moveTo,
      origin: { left, top: top + viewport.offsetOf(0) },
      size: { width, height: Math.max(offsetOf(total), view.scrollHeight - above) },
      rowsBetween: (from, to) => rowsBetween(from, to, rowHeight, total, starts, SECTION),
    };
  };
  const frame = (down: PointerEvent) => framing.watch(down, () => framed.current());
  const act = listActions(props, selection, total, moveTo, frame);
  const rowOf = (event: Event) => {
    const row = (event.target as Element).closest<HTMLElement>("[data-index]");
    return row ? Number(row.dataset.index) : undefined;
  };
  const positionAt = (event: PointerEvent) => {
    const top = body.current?.getBoundingClientRect().top ?? 0;
    const shift = viewport.offsetOf(0);
    return Math.max(0, Math.min(total, Math.round((event.clientY - top - shift) / rowHeight)));
  };
  const target: DropTarget = {
    accepts: (dragged) => props.onDrop !== undefined && (props.accepts?.(dragged) ?? true),
    over: (_, event) => {
      dropAt.value = positionAt(event);
    },
    leave: () => {
      dropAt.value = undefined;
    },
    drop: (dragged, event) => props.onDrop?.(dragged, positionAt(event)),
  };
  useDropTarget(viewport.scroller, target);

  const inView = Array.from({ length: end - first }, (_, row) => first + row);
  if (total > 0 && active < first) inView.unshift(active);
  if (total > 0 && active >= end) inView.push(active);
  const rows: JSX.Element[] = [];
  for (const { key, index } of slots.arrange(inView, viewport.isScrolled)) {
    const item = source.at(index);
    const section = sections.find(({ at }) => at === index);
    if (section) {
      const top = offsetOf(index) - SECTION;
      rows.push(<SectionHead key={`section ${index}`} label={section.label} top={top} />);
    }
    rows.push(
      <Row
        key={key}
        index={index}
        item={item}
        columns={columns}
        top={offsetOf(index)}
        number={index + 1 + (header ? 1 : 0)}
        look={item && props.rowClass?.(item, index)}
        label={props.rowLabel}
        isSelected={props.selection && selection.has(index)}
        isActive={index === active}
      />,
    );
  }

  const gridColumns = columns.map(({ width }) => width).join(" ");
  return (
    <div
      ref={viewport.scroller}
      class="list"
      data-scroller
      style={{ "--columns": gridColumns }}
      onScroll={viewport.onScroll}
      onPointerDown={(event) => act.onPointerDown(event, rowOf(event))}
    >
      {props.lead && <div ref={viewport.lead}>{props.lead}</div>}
      <div
        class="list-grid"
        role="grid"
        aria-label={label}
        aria-rowcount={source.total.value === undefined ? -1 : total + (header ? 1 : 0)}
        aria-colcount={columns.length}
        aria-multiselectable={props.selection ? true : undefined}
        aria-busy={source.total.value === undefined && !source.error.value}
        tabIndex={total === 0 ? 0 : -1}
        onKeyDown={(event) => {
          // A second key may come before what the first one did is drawn.
          const now = activeOf(selection.active.peek());
          if (act.onKey(event, now, viewport.pageRows)) focusNow.current = true;
        }}
        onPointerOver={tellWhole}
        onFocusOut={(event) => {
          if (event.relatedTarget) focusNow.current = false;
        }}
        onFocusIn={(event) => {
          const row = rowOf(event);
          if (row !== undefined && row !== active) selection.active.value = row;
        }}
        onClick={(event) => act.onClick(event, rowOf(event))}
        onDblClick={(event) => act.onOpen(rowOf(event))}
        onContextMenu={(event) => act.onMenu(event, rowOf(event))}
      >
        {header && <Heading columns={columns} sort={props.sort} onSort={props.onSort} />}
        <div ref={body} role="presentation" class="list-body" style={{ height: `${viewport.boxHeight}px` }}>
          {rows}
          {dropAt.value !== undefined && (
            <div
              class="drop-line"
              style={{ transform: `translateY(${viewport.offsetOf(dropAt.value) - 1}px)` }}
            />
          )}
        </div>
        <FrameShape frame={framing.frame} shift={heading + viewport.offsetOf(0)} />
      </div>
      <ListEnd source={source} empty={props.empty} />
    </div>
  );
}

function SectionHead({ label, top }: { label: string; top: number }) {
  return (
    <div role="row" class="section" style={{ top: `${top}px` }}>
      <div role="gridcell">{label}</div>
    </div>
  );
}

interface HeadingProps<T> {
  columns: Column<T>[];
  sort: Sort | undefined;
  onSort: ((sort: Sort) => void) | undefined;
}

function Heading<T>({ columns, sort, onSort }: HeadingProps<T>) {
  return (
    <div role="row" class="heading" aria-rowindex={1}>
      {columns.map((column, place) => {
        const isSorted = sort?.key === column.key;
        const direction = isSorted ? (sort.down ? "descending" : "ascending") : undefined;
        return (
          <div
            key={column.key}
            role="columnheader"
            aria-colindex={place + 1}
            aria-sort={direction}
            class={classOf(column)}
          >
            {column.sortable && onSort ? (
              <button type="button" onClick={() => onSort({ key: column.key, down: isSorted && !sort.down })}>
                {column.label}
                {isSorted && <Icon name={sort.down ? "down" : "up"} />}
              </button>
            ) : (
              <span class={column.quiet ? "visually-hidden" : undefined}>{column.label}</span>
            )}
          </div>
        );
      })}
    </div>
  );
}

const STEPS = ["ArrowDown", "ArrowUp", "Home", "End", "PageDown", "PageUp"];

function stepFrom(active: number, key: string, page: number, total: number) {
  const steps: Record<string, number> = {
    ArrowDown: active + 1,
    ArrowUp: active - 1,
    Home: 0,
    End: total - 1,
    PageDown: active + page,
    PageUp: active - page,
  };
  return Math.max(0, Math.min(total - 1, steps[key] ?? active));
}

/** Whether something inside a row was meant, not the row. */
function isControl(event: Event) {
  return (event.target as Element).closest("button, a, input, select, label") !== null;
}

/** What keys and pointers do to the list and its selection. */
function listActions<T>(
  props: ListViewProps<T>,
  selection: Selection,
  total: number,
  moveTo: (index: number) => void,
  frame: (down: PointerEvent) => void,
) {
  const canSelect = props.selection !== undefined;
  const onOpen = (index: number | undefined) => {
    const item = index === undefined ? undefined : props.source.at(index);
    if (index !== undefined && item !== undefined) props.onOpen?.(item, index);
  };
  const select = (index: number, event: MouseEvent | KeyboardEvent | PointerEvent) => {
    if (!canSelect) selection.moveTo(index);
    else if (event.shiftKey) selection.extendTo(index);
    else if (event.ctrlKey || event.metaKey) selection.toggle(index);
    else selection.only(index);
  };
  const step = (event: KeyboardEvent, active: number, page: number) => {
    const index = stepFrom(active, event.key, page, total);
    if (canSelect && event.shiftKey) selection.extendTo(index);
    else if (event.ctrlKey || event.metaKey || !canSelect) selection.moveTo(index);
    else selection.only(index);
    moveTo(index);
  };
  const onOwnKey = (event: KeyboardEvent, active: number, page: number): boolean => {
    const isPlain = !event.altKey && !event.metaKey;
    if (isPlain && STEPS.includes(event.key)) step(event, active, page);
    else if (event.key === "Enter" && isPlain && !event.ctrlKey) onOpen(active);
    else if (canSelect && event.key.toLowerCase() === "a" && (event.ctrlKey || event.metaKey)) {
      selection.all(total);
    } else if (canSelect && event.key === " " && event.ctrlKey) selection.toggle(active);
    else if (canSelect && event.key === "Escape" && selection.count.value > 0) selection.clear();
    else return false;
    return true;
  };
  return {
    onOpen: (index: number | undefined) => {
      if (canSelect) onOpen(index);
    },
    onKey: (event: KeyboardEvent, active: number, page: number) => {
      if (total === 0 || (isControl(event) && event.key === "Enter")) return false;
      if ((event.target as Element).matches("input, select, textarea")) return false;
      const isOwn = props.onKey?.(event, active) ?? false;
      if (!isOwn && !onOwnKey(event, active, page)) return false;
      event.preventDefault();
      event.stopPropagation();
      return isOwn;
    },
    onClick: (event: MouseEvent, index: number | undefined) => {
      if (index === undefined || isControl(event)) return;
      const isTouch = (event as PointerEvent).pointerType === "touch";
      if (canSelect && isTouch && selection.count.value > 0) return selection.toggle(index);
      if (canSelect && isTouch) return onOpen(index);
      select(index, event);
      if (!canSelect) onOpen(index);
    },
    onMenu: (event: MouseEvent, index: number | undefined) => {
      if (index === undefined || (!props.onMenu && !canSelect)) return;
      event.preventDefault();
      if (canSelect && !selection.has(index)) {
        if ((event as PointerEvent).pointerType === "touch") return selection.toggle(index);
        selection.only(index);
      }
      props.onMenu?.(index, { x: event.clientX, y: event.clientY });
    },
    onPointerDown: (event: PointerEvent, index: number | undefined) => {
      if (event.button !== 0) return;
      const onHandle = (event.target as Element).closest(".handle") !== null;
      if (event.pointerType === "touch" && !onHandle) {
        if (index !== undefined) watchForLongTouch(event, index, selection, canSelect);
        return;
      }
      if (isControl(event) && !onHandle) return;
      if (index === undefined ? isBesideRows(event) : !selection.has(index) && !isOnContent(event)) {
        if (canSelect) return frame(event);
      }
      if (index === undefined || !props.lift) return;
      watchForDrag(event, () => props.lift?.(selection.has(index) ? selection.positions() : [index]));
    },
  };
}

/** Whether it is in the room of a list that rows leave. */
function isBesideRows({ target, currentTarget, clientX }: MouseEvent) {
  const list = currentTarget as Element;
  const onBar = clientX >= list.getBoundingClientRect().left + list.clientWidth;
  return !onBar && (target === list || (target as Element).matches(".list-grid, .list-body"));
}

/** A finger that stays on a row begins to select. */
function watchForLongTouch(down: PointerEvent, index: number, selection: Selection, canSelect: boolean) {
  if (!canSelect || selection.count.value > 0) return;
  const stop = new AbortController();
  const timer = setTimeout(() => {
    stop.abort();
    selection.toggle(index);
    const swallow = (event: Event) => event.stopPropagation();
    document.addEventListener("click", swallow, { capture: true, once: true });
    setTimeout(() => document.removeEventListener("click", swallow, { capture: true }), LONG_TOUCH);
  }, LONG_TOUCH);
  const giveUp = () => {
    clearTimeout(timer);
    stop.abort();
  };
  const onMove = (event: PointerEvent) => {
    if (Math.hypot(event.clientX - down.clientX, event.clientY - down.clientY) > 8) giveUp();
  };
  document.addEventListener("pointermove", onMove, { signal: stop.signal });
  document.addEventListener("pointerup", giveUp, { signal: stop.signal });
  document.addEventListener("pointercancel", giveUp, { signal: stop.signal });
}
