// What a pointer does from going down to going up, once it has moved: a drag, or a frame. Escape gives it up.

export interface Gesture {
  move(event: PointerEvent): void;
  /** `lands` is false when it was given up: everything is to be as it was before. */
  end(lands: boolean): void;
}

const BEGINS_AFTER = 4; // pixels, with a mouse
const EDGE = 48; // pixels at the edge of what can be scrolled
const FASTEST = 24; // pixels a frame

/** How many pixels to scroll in a frame, for a pointer at `at` between the edges. */
function scrollStep(at: number, start: number, end: number) {
  const into = at < start + EDGE ? at - start - EDGE : at > end - EDGE ? at - end + EDGE : 0;
  return Math.max(-FASTEST, Math.min(FASTEST, (into / EDGE) * FASTEST));
}

/** Scrolls, until it is stopped, whatever `scrollerAt` gives while the pointer is at its upper or lower edge. */
export class EdgeScroll {
  private frame = requestAnimationFrame(() => this.scroll());

  constructor(
    private readonly pointer: () => PointerEvent,
    private readonly scrollerAt: (pointer: PointerEvent) => Element | null | undefined,
    private readonly onScroll: () => void,
  ) {}

  stop() {
    cancelAnimationFrame(this.frame);
  }

  private scroll() {
    const pointer = this.pointer();
    const scroller = this.scrollerAt(pointer);
    const edges = scroller?.getBoundingClientRect();
    const step = edges ? scrollStep(pointer.clientY, edges.top, edges.bottom) : 0;
    if (scroller && step !== 0) {
      scroller.scrollTop += step;
      this.onScroll();
    }
    this.frame = requestAnimationFrame(() => this.scroll());
  }
}

/**
 * Begins a gesture when the pointer that went down moves: with a mouse after some pixels, with a finger (which must
 * be on something that does not scroll) at once. `begin` may give none.
 */
export function watchForGesture(down: PointerEvent, begin: (event: PointerEvent) => Gesture | undefined) {
  let gesture: Gesture | undefined;
  const stop = new AbortController();
  const listen = { signal: stop.signal, capture: true };
  const end = (lands: boolean) => {
    stop.abort();
    if (!gesture) return;
    gesture.end(lands);
    swallowClick(lands);
  };
  const onMove = (event: PointerEvent) => {
    if (event.pointerId !== down.pointerId) return;
    if (gesture) return gesture.move(event);
    if (Math.hypot(event.clientX - down.clientX, event.clientY - down.clientY) < BEGINS_AFTER) return;
    gesture = begin(event);
    if (!gesture) stop.abort();
  };
  document.addEventListener("pointermove", onMove, listen);
  document.addEventListener("pointerup", () => end(true), listen);
  document.addEventListener("pointercancel", () => end(false), listen);
  // A row that gets the focus takes it from another element, which tells the window too.
  const onBlur = (event: FocusEvent) => event.target === window && end(false);
  window.addEventListener("blur", onBlur, listen);
  document.addEventListener(
    "keydown",
    (event) => {
      if (event.key !== "Escape" || !gesture) return;
      event.preventDefault();
      event.stopPropagation();
      end(false);
    },
    listen,
  );
}

/** The click that follows a gesture is none. Who has given it up may hold the button for long. */
function swallowClick(isUp: boolean) {
  const stop = new AbortController();
  const listen = { signal: stop.signal, capture: true };
  const stopSoon = () => setTimeout(() => stop.abort());
  const swallow = (event: Event) => {
    event.stopPropagation();
    event.preventDefault();
  };
  document.addEventListener("click", swallow, listen);
  document.addEventListener("pointerdown", () => stop.abort(), listen);
  if (isUp) stopSoon();
  else document.addEventListener("pointerup", stopSoon, listen);
}
