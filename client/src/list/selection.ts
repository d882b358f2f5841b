// Which positions of a list are selected, as ranges: all of a million songs is one of them.
import { computed, signal } from "@preact/signals";

/** From `first` on, before `end`. */
export interface Range {
  first: number;
  end: number;
}

/** The same positions in ascending ranges that neither meet nor touch. */
export function normalized(ranges: readonly Range[]): Range[] {
  const sorted = ranges.filter(({ first, end }) => first < end).sort((a, b) => a.first - b.first);
  const merged: Range[] = [];
  for (const range of sorted) {
    const last = merged.at(-1);
    if (last && range.first <= last.end) last.end = Math.max(last.end, range.end);
    else merged.push({ ...range });
  }
  return merged;
}

export function without(ranges: readonly Range[], gone: Range): Range[] {
  return normalized(
    ranges.flatMap(({ first, end }) => [
      { first, end: Math.min(end, gone.first) },
      { first: Math.max(first, gone.end), end },
    ]),
  );
}

export function rangesOf(positions: readonly number[]): Range[] {
  return normalized(positions.map((position) => ({ first: position, end: position + 1 })));
}

export class Selection {
  readonly ranges = signal<readonly Range[]>([]);
  /** The position that keys act from. */
  readonly active = signal(0);
  readonly count = computed(() => this.ranges.value.reduce((sum, { first, end }) => sum + end - first, 0));
  private anchor = 0;
  /** What was selected when the anchor was set, which extending leaves alone. */
  private kept: readonly Range[] = [];

  has(position: number) {
    return this.ranges.value.some(({ first, end }) => first <= position && position < end);
  }

  /** All selected positions, in ascending order. */
  positions(): number[] {
    const all: number[] = [];
    for (const { first, end } of this.ranges.value) for (let at = first; at < end; at++) all.push(at);
    return all;
  }

  clear() {
    this.replace([]);
  }

  replace(ranges: readonly Range[]) {
    this.ranges.value = normalized(ranges);
    this.kept = [];
  }

  all(total: number) {
    this.replace([{ first: 0, end: total }]);
  }

  /** This one alone. */
  only(position: number) {
    this.replace([{ first: position, end: position + 1 }]);
    this.moveTo(position);
  }

  toggle(position: number) {
    const range = { first: position, end: position + 1 };
    this.replace(this.has(position) ? without(this.ranges.value, range) : [...this.ranges.value, range]);
    this.goOnFrom(position);
  }

  /** All from the position that was chosen last to this one, instead of what was so selected before. */
  extendTo(position: number) {
    const range = { first: Math.min(this.anchor, position), end: Math.max(this.anchor, position) + 1 };
    this.ranges.value = normalized([...this.kept, range]);
    this.active.value = position;
  }

  /** Makes it the active one of those that are selected; what is extended from there comes beside them. */
  goOnFrom(position: number) {
    this.moveTo(position);
    this.kept = this.ranges.peek();
  }

  /** Makes it the active one, without selecting it. */
  moveTo(position: number) {
    this.active.value = position;
    this.anchor = position;
  }
}
