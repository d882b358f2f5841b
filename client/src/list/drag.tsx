// Dragging with mouse, pen or finger, by pointer events: what is dragged, and where it may land.
import { signal } from "@preact/signals";
import { useEffect, useRef } from "preact/hooks";
import { t } from "../text/index.ts";
import { announce } from "../ui/notices.tsx";
import { EdgeScroll, type Gesture, watchForGesture } from "./gesture.ts";
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
  return document.elementFromPoint(x, y)?.closest("[data-scroller]");
}

/** One drag, from its beginning to its end, whichever that is. */
class Drag implements Gesture {
  private target: DropTarget | undefined;
  private last: PointerEvent;
  private readonly edges: EdgeScroll;

  constructor(
    private readonly dragged: Dragged,
    event: PointerEvent,
  ) {
    this.last = event;
    document.body.classList.add("dragging");
    this.move(event);
    this.edges = new EdgeScroll(
      () => this.last,
      ({ clientX: x, clientY: y }) => scrollerAt(x, y),
      () => this.move(this.last),
    );
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

  end(lands: boolean) {
    this.edges.stop();
    document.body.classList.remove("dragging");
    const { target } = this;
    target?.leave();
    current.value = undefined;
    if (lands) target?.drop(this.dragged, this.last);
  }
}

/** Begins a drag when the pointer that went down moves. `lift` tells what is dragged; undefined: nothing. */
export function watchForDrag(down: PointerEvent, lift: () => Dragged | undefined) {
  watchForGesture(down, (event) => {
    const dragged = lift();
    return dragged && new Drag(dragged, event);
  });
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
