// Rows glide to their new places when the order of a list has changed, so that one sees what went where.
import { useLayoutEffect, useRef } from "preact/hooks";
import { mediaMatches } from "../ui/media.ts";

const GLIDE: KeyframeAnimationOptions = { duration: 150, easing: "ease-out" };
const isStill = mediaMatches("(prefers-reduced-motion: reduce)");

/** Which rows are drawn, of what. */
export interface Drawn {
  /** What stands at each position, by names that stay the same wherever it goes; undefined: it never goes anywhere. */
  ids: ArrayLike<unknown> | undefined;
  first: number;
  end: number;
}

/** Where those that are there before and after a change of the order come from, by where they are now. */
export function movesBetween(before: Drawn, now: Drawn): Map<number, number> {
  const places = new Map<unknown, number>();
  for (let at = before.first; at < before.end; at++) places.set(before.ids?.[at], at);
  const moves = new Map<number, number>();
  for (let at = now.first; at < now.end; at++) {
    const from = places.get(now.ids?.[at]);
    if (from !== undefined && from !== at) moves.set(at, from);
  }
  return moves;
}

/** Of the rows in `body`, which has those that are drawn. */
export function useGlide(body: { readonly current: HTMLElement | null }, rowHeight: number, drawn: Drawn) {
  const before = useRef(drawn);
  const running = useRef<Animation[]>([]);
  useLayoutEffect(() => {
    const last = before.current;
    before.current = drawn;
    if (last.ids === drawn.ids || !last.ids || !drawn.ids || isStill.peek()) return;
    for (const animation of running.current) animation.cancel();
    running.current = [...movesBetween(last, drawn)].flatMap(([at, from]) => {
      const row = body.current?.querySelector(`[data-index="${at}"]`);
      const start = { transform: `translateY(${(from - at) * rowHeight}px)` };
      return row ? [row.animate([start, { transform: "none" }], GLIDE)] : [];
    });
  });
}
