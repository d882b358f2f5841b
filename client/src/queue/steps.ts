// What the queue of a player is changed by: one request after another, each by positions. Every step can be taken back.
import type { Item } from "../list/items.ts";

export type Step =
  | { kind: "move"; from: number; to: number }
  /** `items` are those that stand there. */
  | { kind: "remove"; position: number; items: readonly Item[] }
  | { kind: "insert"; position: number; items: readonly Item[] };

export function inverse(steps: readonly Step[]): Step[] {
  return [...steps].reverse().map((step) => {
    if (step.kind === "move") return { kind: "move", from: step.to, to: step.from };
    return { ...step, kind: step.kind === "remove" ? "insert" : "remove" };
  });
}

/** So that the entries at these positions, in ascending order, stand before the one that is at `at`. */
export function movesBefore(positions: readonly number[], at: number): Step[] {
  const above = positions.filter((position) => position < at).reverse();
  const below = positions.filter((position) => position >= at);
  const moves = [
    ...above.map((from, done) => ({ from, to: at - 1 - done })),
    ...below.map((from, done) => ({ from, to: at + done })),
  ];
  return moves.filter(({ from, to }) => from !== to).map((move) => ({ kind: "move", ...move }));
}

/** So that these positions, in ascending order, are gone: the last ones first, what is together at once. */
export function removals(positions: readonly number[], itemAt: (position: number) => Item): Step[] {
  const runs: { position: number; items: Item[] }[] = [];
  for (const position of positions) {
    const last = runs.at(-1);
    if (last && last.position + last.items.length === position) last.items.push(itemAt(position));
    else runs.push({ position, items: [itemAt(position)] });
  }
  return runs.reverse().map((run) => ({ kind: "remove", ...run }));
}

/**
 * What is appended to a queue of `total` entries comes to `position` by these moves of one entry each: of itself, or of
 * those that stand behind it, whichever are fewer.
 */
export function movesFromEnd(count: number, total: number, position: number): { from: number; to: number }[] {
  const behind = total - position;
  if (behind < count)
    return Array.from({ length: behind }, () => ({ from: position, to: total + count - 1 }));
  return Array.from({ length: count }, (_, at) => ({ from: total + at, to: position + at }));
}

/** The places that the entries had before, by those that they have then; undefined: it was not there. */
export function applied(places: readonly (number | undefined)[], steps: readonly Step[]) {
  const now = [...places];
  for (const step of steps) {
    if (step.kind === "move") now.splice(step.to, 0, ...now.splice(step.from, 1));
    else if (step.kind === "remove") now.splice(step.position, step.items.length);
    else now.splice(step.position, 0, ...step.items.map(() => undefined));
  }
  return now;
}
