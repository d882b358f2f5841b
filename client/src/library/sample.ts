// Songs by chance, out of more than can be loaded.
import { normalized, type Range } from "../list/selection.ts";

const PARTS = 20;

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
