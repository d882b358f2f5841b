// Dragging with mouse, pen or finger, by pointer events: what is dragged, where it may land, scrolling at edges.
import { signal } from "@preact/signals";
import { useEffect, useRef } from "preact/hooks";
import { t } from "../text/index.ts";
import { announce } from "../ui/notices.tsx";
import type { Chosen } from "./items.ts";

/** What is being dragged. `origin` lets a list know its own entries again. */
export interface Dragged {
  chosen: Chosen;
  label: string;
  origin?: { source: object; positions: number[] };
}

export interface DropTarget {
  /** Whether it can land here at all. */
  accepts(dragged: Dragged): boolean;
  /** It is over the target; shows where it would land. */
  over(dragged: Dragged, event: PointerEvent): void;
  /** It is not any more, or it has landed. */
  leave(): void;
  drop(dragged: Dragged, event: PointerEvent): void;
}

const BEGINS_AFTER = 4; // pixels, with a mouse
const EDGE = 48; // pixels at the edge of what can be scrolled
const FASTEST = 24; // pixels a frame

const targets = new Map<Element, DropTarget>();
const current = signal<{ dragged: Dragged; x: number; y: number } | undefined>(undefined);

/** Whether something is being dragged. */
export const dragging = current;

/** Lets things be dropped onto an element. */
export function useDropTarget(element: { readonly current: Element | null }, target: DropTarget) {
  const latest = useRef(target);
  latest.current = target;
  useEffect(() => {
    const at = element.current;
    if (!at) return;
    targets.set(at, {
      accepts: (dragged) => latest.current.accepts(dragged),
      over: (dragged, event) => latest.current.over(dragged, event),
      leave: () => latest.current.leave(),
      drop: (dragged, event) => latest.current.drop(dragged, event),
    });
    return () => {
      targets.get(at)?.leave();
      targets.delete(at);
    };
  }, [element]);
}

function targetAt(x: number, y: number, dragged: Dragged) {
  for (let at = document.elementFromPoint(x, y); at; at = at.parentElement) {
    const target = targets.get(at);
    if (target?.accepts(dragged)) return target;
  }
  return undefined;
}

function scrollerAt(x: number, y: number) {
  return document.elementFromPoint(x, y)?.closest<HTMLElement>("[data-scroller]") ?? undefined;
}

/** How many pixels to scroll in a frame, for a pointer at `at` between the edges. */
function scrollStep(at: number, start: number, end: number) {
  const into = at < start + EDGE ? at - start - EDGE : at > end - EDGE ? at - end + EDGE : 0;
  return Math.max(-FASTEST, Math.min(FASTEST, (into / EDGE) * FASTEST));
}

/** One drag, from its beginning to its end, whichever that is. */
class Drag {
  private target: DropTarget | undefined;
  private frame = 0;
  private last: PointerEvent;

  constructor(
    private readonly dragged: Dragged,
    event: PointerEvent,
    private readonly onEnd: () => void,
  ) {
    this.last = event;
    document.body.classList.add("dragging");
    this.move(event);
    this.frame = requestAnimationFrame(this.scroll);
    announce(t("drag.begins", { what: dragged.label }));
  }

  move(event: PointerEvent) {
    this.last = event;
    const { clientX: x, clientY: y } = event;
    const target = targetAt(x, y, this.dragged);
    if (target !== this.target) this.target?.leave();
    this.target = target;
    target?.over(this.dragged, event);
    current.value = { dragged: this.dragged, x, y };
  }

  /** `lands` is false when it was given up: everything is as it was before. */
  end(lands: boolean) {
    cancelAnimationFrame(this.frame);
    document.body.classList.remove("dragging");
    const { target } = this;
    target?.leave();
    current.value = undefined;
    if (lands) target?.drop(this.dragged, this.last);
    this.onEnd();
  }

  private readonly scroll = () => {
    const { clientX: x, clientY: y } = this.last;
    const scroller = scrollerAt(x, y);
    if (scroller) {
      const { top, bottom } = scroller.getBoundingClientRect();
      const step = scrollStep(y, top, bottom);
      if (step !== 0) {
        scroller.scrollTop += step;
        this.move(this.last);
      }
    }
    this.frame = requestAnimationFrame(this.scroll);
  };
}

/**
 * Begins a drag when the pointer that went down moves: with a mouse after some pixels, with a finger (which must be
 * on a handle that does not scroll) at once. `lift` tells what is dragged; undefined: nothing.
 */
export function watchForDrag(down: PointerEvent, lift: () => Dragged | undefined) {
  let drag: Drag | undefined;
  const stop = new AbortController();
  const listen = { signal: stop.signal, capture: true };
  const end = (lands: boolean) => {
    stop.abort();
    drag?.end(lands);
  };
  const onMove = (event: PointerEvent) => {
    if (event.pointerId !== down.pointerId) return;
    if (drag) return drag.move(event);
    if (Math.hypot(event.clientX - down.clientX, event.clientY - down.clientY) < BEGINS_AFTER) return;
    const dragged = lift();
    if (!dragged) return stop.abort();
    drag = new Drag(dragged, event, swallowClick);
  };
  document.addEventListener("pointermove", onMove, listen);
  document.addEventListener("pointerup", () => end(true), listen);
  document.addEventListener("pointercancel", () => end(false), listen);
  document.addEventListener("lostpointercapture", () => {}, listen);
  // A row that gets the focus takes it from another element, which tells the window too.
  const onBlur = (event: FocusEvent) => event.target === window && end(false);
  window.addEventListener("blur", onBlur, listen);
  document.addEventListener(
    "keydown",
    (event) => {
      if (event.key !== "Escape" || !drag) return;
      event.preventDefault();
      event.stopPropagation();
      end(false);
    },
    listen,
  );
}

/** The click that follows the end of a drag is none. */
function swallowClick() {
  const swallow = (event: Event) => {
    event.stopPropagation();
    event.preventDefault();
  };
  document.addEventListener("click", swallow, { capture: true, once: true });
  setTimeout(() => document.removeEventListener("click", swallow, { capture: true }), 0);
}

/** What is dragged, beside the pointer. */
export function DragGhost() {
  if (!current.value) return null;
  const { dragged, x, y } = current.value;
  return (
    <div class="drag-ghost" ref={(element) => place(element, x, y)} aria-hidden="true">
      {dragged.label}
    </div>
  );
}

function place(element: HTMLElement | null, x: number, y: number) {
  if (element) element.style.transform = `translate(${x + 14}px, ${y + 10}px)`;
}
