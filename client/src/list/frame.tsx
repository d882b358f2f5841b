// Selecting by dragging a frame around rows. It begins beside what a row says; what is pressed there itself, or is
// selected, is dragged.
import { type Signal, signal } from "@preact/signals";
import { EdgeScroll, type Gesture, watchForGesture } from "./gesture.ts";
import type { Range, Selection } from "./selection.ts";

/** Pixels, of all rows, however much of them is in view. */
export interface Frame {
  left: number;
  top: number;
  width: number;
  height: number;
}

/** The list that is selected in, as it is now. */
export interface FramedList {
  selection: Selection;
  scroller: Element;
  /** Pixels in the window: where all rows begin. */
  origin: { left: number; top: number };
  /** Pixels: of all rows, or of the room that there is for them. */
  size: { width: number; height: number };
  /** Those that lie between two heights, at least in part. */
  rowsBetween: (top: number, bottom: number) => Range;
  /** Gives the focus to a row. */
  moveTo: (row: number) => void;
}

const SLACK = 4; // pixels beside a text that are meant for it

/** Whether the pointer is on something that a row says or shows, not in the room beside that. */
export function isOnContent({ target, clientX, clientY }: MouseEvent) {
  const at = target as Element;
  if (at.closest(".handle, svg, img, button, a")) return true;
  const texts = document.createTreeWalker(at.closest(".cell") ?? at, NodeFilter.SHOW_TEXT);
  const range = document.createRange();
  while (texts.nextNode()) {
    range.selectNodeContents(texts.currentNode);
    const { left, right, top, bottom } = range.getBoundingClientRect();
    const isBeside = clientX < left - SLACK || clientX > right + SLACK;
    if (!isBeside && clientY >= top && clientY <= bottom) return true;
  }
  return false;
}

/** The frames that are drawn in a list, one at a time at most. */
export class Framing {
  readonly frame: Signal<Frame | undefined> = signal(undefined);

  /** `list` gives the list as it is at each moment; undefined when it is not there any more. */
  watch(down: PointerEvent, list: () => FramedList | undefined) {
    const adds = down.shiftKey || down.ctrlKey || down.metaKey;
    watchForGesture(down, (event) => {
      const framed = list();
      if (!framed) return undefined;
      const gesture = new FrameGesture(this.frame, () => list() ?? framed, down, adds);
      gesture.move(event);
      return gesture;
    });
  }
}

class FrameGesture implements Gesture {
  private readonly selection: Selection;
  private readonly before: readonly Range[];
  private readonly kept: readonly Range[];
  private readonly start: Point;
  private readonly edges: EdgeScroll;
  private covered: Range = { first: 0, end: 0 };

  constructor(
    private readonly frame: Signal<Frame | undefined>,
    private readonly list: () => FramedList,
    private last: PointerEvent,
    adds: boolean,
  ) {
    const { selection } = list();
    this.selection = selection;
    this.before = selection.ranges.peek();
    this.kept = adds ? this.before : [];
    this.start = placeOf(last, list());
    selection.replace(this.kept);
    this.edges = new EdgeScroll(
      () => this.last,
      () => list().scroller,
      () => this.move(this.last),
    );
  }

  move(event: PointerEvent) {
    this.last = event;
    const list = this.list();
    const { x, y } = placeOf(event, list);
    const { start } = this;
    const top = Math.min(start.y, y);
    const height = Math.abs(start.y - y);
    this.frame.value = { left: Math.min(start.x, x), top, width: Math.abs(start.x - x), height };
    const covered = list.rowsBetween(top, top + height);
    if (covered.first === this.covered.first && covered.end === this.covered.end) return;
    this.covered = covered;
    this.selection.replace([...this.kept, covered]);
  }

  end(lands: boolean) {
    this.edges.stop();
    this.frame.value = undefined;
    if (!lands) return this.selection.replace(this.before);
    const { first, end } = this.covered;
    if (first === end) return;
    const list = this.list();
    const row = placeOf(this.last, list).y < this.start.y ? first : end - 1;
    this.selection.goOnFrom(row);
    list.moveTo(row);
  }
}

interface Point {
  x: number;
  y: number;
}

/** Where it is among all rows. */
function placeOf({ clientX, clientY }: PointerEvent, { origin, size }: FramedList): Point {
  const within = (at: number, most: number) => Math.max(0, Math.min(at, most));
  return { x: within(clientX - origin.left, size.width), y: within(clientY - origin.top, size.height) };
}

export function FrameShape({ frame, shift }: { frame: Signal<Frame | undefined>; shift: number }) {
  if (!frame.value) return null;
  const { left, top, width, height } = frame.value;
  return (
    <div
      class="selection-frame"
      style={{ left: `${left}px`, top: `${top + shift}px`, width: `${width}px`, height: `${height}px` }}
    />
  );
}
