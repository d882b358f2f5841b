// Which part of a long list is in view. Browsers draw nothing beyond some ten million pixels, so a
// longer list is scrolled in a shorter box: small steps move it by as many pixels, large ones in proportion.

/** Pixels; the highest box that every browser draws right. */
export const HIGHEST = 8_000_000;

export interface Extent {
  /** Of all items, in pixels. */
  whole: number;
  /** Of the box that is scrolled. */
  box: number;
  /** Of what is in view. */
  view: number;
}

export function extentOf(rows: number, rowHeight: number, view: number, gaps = 0): Extent {
  const whole = rows * rowHeight + gaps;
  return { whole, box: Math.min(whole, HIGHEST), view };
}

function clamp(value: number, least: number, most: number) {
  return Math.max(least, Math.min(value, most));
}

function ratioOf({ whole, box, view }: Extent) {
  return box > view ? (whole - view) / (box - view) : 1;
}

/** The scroll position in the box for the top of the view in the whole list. */
export function scrollFor(extent: Extent, top: number) {
  return extent.whole === extent.box ? top : top / ratioOf(extent);
}

/**
 * The top of the view in the whole list, after the box was scrolled from `before` to `scroll` while the top
 * was `top`.
 */
export function topAfter(extent: Extent, top: number, before: number, scroll: number) {
  const most = Math.max(0, extent.whole - extent.view);
  if (extent.whole === extent.box) return clamp(scroll, 0, most);
  if (scroll <= 0) return 0;
  if (scroll >= extent.box - extent.view) return most;
  const isStep = Math.abs(scroll - before) <= 2 * extent.view;
  return clamp(isStep ? top + scroll - before : scroll * ratioOf(extent), 0, most);
}

/** The rows in view and `beyond` more on either side: from `first` on, before `end`. */
export function rowsInView(top: number, view: number, rowHeight: number, rows: number, beyond: number) {
  const first = clamp(Math.floor(top / rowHeight) - beyond, 0, rows);
  const end = clamp(Math.ceil((top + view) / rowHeight) + beyond, first, rows);
  return { first, end };
}

/** The rows that lie between two heights, at least in part; some have a gap before them, of `gap` pixels each. */
export function rowsBetween(
  top: number,
  bottom: number,
  rowHeight: number,
  rows: number,
  gaps: readonly number[],
  gap: number,
) {
  const gapsAbove = (row: number) => gaps.filter((at) => at <= row).length * gap;
  const topOf = (row: number) => row * rowHeight + gapsAbove(row);
  let first = clamp(Math.floor((top - gaps.length * gap) / rowHeight), 0, rows);
  while (first < rows && topOf(first) + rowHeight <= top) first++;
  let end = clamp(Math.ceil(bottom / rowHeight), first, rows);
  while (end > first && topOf(end - 1) >= bottom) end--;
  return { first, end };
}

/** Of so many steps like the last one. */
const STEPS_AHEAD = 4;

/**
 * The rows from `first` on, before `end`, and those that come into view when it is scrolled on as it just was, from
 * `before`. Who jumps goes nowhere in particular.
 */
export function withNext(first: number, end: number, before: number) {
  const step = first - before;
  const ahead = Math.abs(step) > end - first ? 0 : STEPS_AHEAD * step;
  return { first: Math.max(0, first + Math.min(0, ahead)), end: end + Math.max(0, ahead) };
}

/** The top that brings a row wholly into view, by the shortest way. */
export function topToShow(row: number, rowHeight: number, top: number, view: number) {
  const at = row * rowHeight;
  if (at < top) return at;
  return at + rowHeight > top + view ? at + rowHeight - view : top;
}
