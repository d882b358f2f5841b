// The part of a scrolled list that is in view, as state of a component.
import { useCallback, useLayoutEffect, useRef, useState } from "preact/hooks";
import { extentOf, rowsInView, scrollFor, topAfter, topToShow } from "./window.ts";

const BEYOND = 6; // rows that are drawn though they are out of view, on either side
const SETTLES = 200; // milliseconds without scrolling

/** Where a list was scrolled to: kept by who shows it again. */
export interface Place {
  top: number;
}

interface Options {
  /** Pixels at the top of the view that something sticky covers. */
  heading?: number;
  /** Pixels between rows, all together. */
  gaps?: number;
  place?: Place | undefined;
}

export interface Viewport {
  /** For the element that scrolls. */
  scroller: { current: HTMLDivElement | null };
  /** For what is scrolled before the rows, if there is such a thing. */
  lead: { current: HTMLDivElement | null };
  onScroll: () => void;
  first: number;
  end: number;
  /** It was scrolled a moment ago, and will be again. */
  isScrolled: boolean;
  /** Pixels: of the box inside the scroller, and where in it a row lies. */
  boxHeight: number;
  offsetOf: (row: number) => number;
  width: number;
  /** Whole rows that fit into the view. */
  pageRows: number;
  show: (row: number) => void;
}

export function useViewport(rows: number, rowHeight: number, options: Options = {}): Viewport {
  const { heading = 0, gaps = 0, place } = options;
  const scroller = useRef<HTMLDivElement>(null);
  const lead = useRef<HTMLDivElement>(null);
  const [size, setSize] = useState({ width: 0, height: 0, lead: 0 });
  const [top, setTop] = useState(0);
  const [isScrolled, setScrolled] = useState(false);
  const before = useRef(0);
  const settling = useRef(0);
  const view = Math.max(0, size.height - heading);
  const extent = extentOf(rows, rowHeight, view, gaps);
  const shownTop = Math.min(top, Math.max(0, extent.whole - view));

  useLayoutEffect(() => {
    const element = scroller.current;
    if (!element) return;
    const measure = () =>
      setSize({
        width: element.clientWidth,
        height: element.clientHeight,
        lead: lead.current?.offsetHeight ?? 0,
      });
    const observer = new ResizeObserver(measure);
    observer.observe(element);
    if (lead.current) observer.observe(lead.current);
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
    if (place) place.top = newTop;
    scroller.current.scrollTop = scroll + size.lead;
  };
  const onScroll = () => {
    const scroll = Math.max(0, (scroller.current?.scrollTop ?? 0) - size.lead);
    const newTop = topAfter(extent, top, before.current, scroll);
    before.current = scroll;
    if (place) place.top = newTop;
    if (newTop !== top) {
      setTop(newTop);
      setScrolled(true);
    }
    // In a shortened box, small steps lead away from the place that stands for the top.
    clearTimeout(settling.current);
    const isShortened = extent.whole !== extent.box;
    settling.current = window.setTimeout(() => {
      if (isShortened && newTop > 0) scrollTo(newTop);
      setScrolled(false);
    }, SETTLES);
  };
  // Where it was, as soon as there is so much to scroll.
  const isThere = size.height > 0 && rows > 0;
  useLayoutEffect(() => {
    if (place && isThere && place.top !== shownTop) scrollTo(Math.min(place.top, extent.whole - view));
  }, [place, isThere, extent.whole]);
  // What is above the rows may become higher, and they stay where they are.
  useLayoutEffect(() => {
    if (scroller.current && shownTop > 0)
      scroller.current.scrollTop = scrollFor(extent, shownTop) + size.lead;
  }, [size.lead]);
  const show = useCallback(
    (row: number) => {
      const newTop = topToShow(row, rowHeight, shownTop, view);
      if (newTop !== shownTop) scrollTo(newTop);
    },
    [rowHeight, shownTop, view, extent.whole],
  );
  const { first } = rowsInView(Math.max(0, shownTop - gaps), view, rowHeight, rows, BEYOND);
  const { end } = rowsInView(shownTop, view, rowHeight, rows, BEYOND);
  const shift = extent.whole === extent.box ? 0 : before.current - shownTop;
  return {
    scroller,
    lead,
    onScroll,
    first,
    end,
    isScrolled,
    boxHeight: extent.box,
    offsetOf: (row) => row * rowHeight + shift,
    width: size.width,
    pageRows: Math.max(1, Math.floor(view / rowHeight)),
    show,
  };
}
