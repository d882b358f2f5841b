// The part of a scrolled list that is in view, as state of a component.
import { useCallback, useLayoutEffect, useRef, useState } from "preact/hooks";
import { extentOf, rowsInView, scrollFor, topAfter, topToShow } from "./window.ts";

const BEYOND = 6; // rows that are drawn though they are out of view, on either side
const SETTLES = 200; // milliseconds without scrolling

export interface Viewport {
  /** For the element that scrolls. */
  scroller: { current: HTMLDivElement | null };
  onScroll: () => void;
  first: number;
  end: number;
  /** Pixels: of the box inside the scroller, and where in it a row lies. */
  boxHeight: number;
  offsetOf: (row: number) => number;
  width: number;
  /** Whole rows that fit into the view. */
  pageRows: number;
  show: (row: number) => void;
}

/** `heading`: pixels at the top of the view that something sticky covers. */
export function useViewport(rows: number, rowHeight: number, heading = 0): Viewport {
  const scroller = useRef<HTMLDivElement>(null);
  const [size, setSize] = useState({ width: 0, height: 0 });
  const [top, setTop] = useState(0);
  const before = useRef(0);
  const settling = useRef(0);
  const view = Math.max(0, size.height - heading);
  const extent = extentOf(rows, rowHeight, view);
  const shownTop = Math.min(top, Math.max(0, extent.whole - view));

  useLayoutEffect(() => {
    const element = scroller.current;
    if (!element) return;
    const measure = () => setSize({ width: element.clientWidth, height: element.clientHeight });
    const observer = new ResizeObserver(measure);
    observer.observe(element);
    measure();
    return () => {
      observer.disconnect();
      clearTimeout(settling.current);
    };
  }, []);

  const scrollTo = (newTop: number) => {
    if (!scroller.current) return;
    const scroll = scrollFor(extent, newTop);
    before.current = scroll;
    setTop(newTop);
    scroller.current.scrollTop = scroll;
  };
  const onScroll = () => {
    const scroll = scroller.current?.scrollTop ?? 0;
    const newTop = topAfter(extent, top, before.current, scroll);
    before.current = scroll;
    if (newTop !== top) setTop(newTop);
    // In a shortened box, small steps lead away from the place that stands for the top.
    clearTimeout(settling.current);
    if (extent.whole !== extent.box) settling.current = window.setTimeout(() => scrollTo(newTop), SETTLES);
  };
  const show = useCallback(
    (row: number) => {
      const newTop = topToShow(row, rowHeight, shownTop, view);
      if (newTop !== shownTop) scrollTo(newTop);
    },
    [rowHeight, shownTop, view, extent.whole],
  );
  const { first, end } = rowsInView(shownTop, view, rowHeight, rows, BEYOND);
  const shift = extent.whole === extent.box ? 0 : (scroller.current?.scrollTop ?? 0) - shownTop;
  return {
    scroller,
    onScroll,
    first,
    end,
    boxHeight: extent.box,
    offsetOf: (row) => row * rowHeight + shift,
    width: size.width,
    pageRows: Math.max(1, Math.floor(view / rowHeight)),
    show,
  };
}
