// Parts of long lists.
import { normalized, type Range } from "../list/selection.ts";

const PARTS = 20;

/** The ranges without what lies outside of positions `first` to `end` among all that they hold. */
export function cut(ranges: readonly Range[], first: number, end: number): Range[] {
  let before = 0;
  return ranges.flatMap((range) => {
    const start = range.first - before;
    before += range.end - range.first;
    const part = { first: Math.max(range.first, start + first), end: Math.min(range.end, start + end) };
    return part.first < part.end ? [part] : [];
  });
}

/**
 * Stretches of a list of `total` that hold `most` or a few less, from everywhere in it; one of all where
 * those are not more. `random` gives 0 to 1.
 */
export function sampleParts(total: number, most: number, random: () => number): Range[] {
  if (total <= most) return [{ first: 0, end: total }];
  const length = Math.floor(most / PARTS);
  const room = Math.floor(total / PARTS);
  return normalized(
    Array.from({ length: PARTS }, (_, part) => {
      const first = part * room + Math.floor(random() * (room - length));
      return { first, end: first + length };
    }),
  );
}
