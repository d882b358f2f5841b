// Lists that are fetched in stretches as they come into view.
import { type ReadonlySignal, type Signal, signal } from "@preact/signals";
import { isAborted, RequestError } from "../api/http.ts";
import type { Page } from "../api/types.ts";
import { withNext } from "./window.ts";

/** What a virtual list shows. `at` and `total` may change whenever `revision` does. */
export interface ListSource<T> {
  /** Undefined until it is known. */
  readonly total: ReadonlySignal<number | undefined>;
  readonly revision: ReadonlySignal<number>;
  /** Why what is in view cannot be shown; `retry` asks again. */
  readonly error: ReadonlySignal<RequestError | undefined>;
  /** Undefined while it is not there yet. */
  at(index: number): T | undefined;
  /** The positions from `first` on, before `end`, are in view; nothing else is. */
  want(first: number, end: number): void;
  retry(): void;
  /** What stands at each position, by names that stay the same wherever it is moved to; another array each time. */
  readonly ids?: ReadonlySignal<ArrayLike<unknown>>;
}

export type FetchPage<T> = (offset: number, limit: number, signal: AbortSignal) => Promise<Page<T>>;

const STRETCH = 100;
/** Beyond so many stretches those that were in view the longest time ago are forgotten. */
const KEPT = 100;
const LARGEST_PAGE = 1000;

export class PagedSource<T> implements ListSource<T> {
  readonly total: Signal<number | undefined> = signal(undefined);
  readonly revision = signal(0);
  readonly error: Signal<RequestError | undefined> = signal(undefined);
  private readonly stretches = new Map<number, T[]>();
  private readonly asked = new Map<number, AbortController>();
  private first = 0;
  private end = 1;
  /** With what comes into view next. */
  private next = { first: 0, end: 1 };

  constructor(private readonly fetchPage: FetchPage<T>) {}

  at(index: number): T | undefined {
    return this.stretches.get(Math.floor(index / STRETCH))?.[index % STRETCH];
  }

  want(first: number, end: number) {
    const before = this.first;
    this.first = first;
    this.end = Math.max(end, first + 1);
    this.next = withNext(first, this.end, before);
    if (this.error.peek()) return;
    const wanted = this.wanted();
    for (const [stretch, request] of this.asked) {
      if (wanted.includes(stretch)) continue;
      request.abort();
      this.asked.delete(stretch); // so that it is asked for again by who scrolls back at once
    }
    for (const stretch of wanted) this.ask(stretch);
  }

  retry() {
    this.error.value = undefined;
    this.want(this.first, this.end);
  }

  /** Forgets all items, and asks for those in view. */
  refresh() {
    this.cancel();
    this.stretches.clear();
    this.retry();
  }

  /** Asks for nothing more until something is wanted. */
  cancel() {
    for (const request of this.asked.values()) request.abort();
    this.asked.clear();
  }

  /** The items from `first` on, before `end`, of however many; those that are kept are not fetched again. */
  async load(first: number, end: number, stop?: AbortSignal): Promise<T[]> {
    const items: T[] = [];
    while (first + items.length < end) {
      const offset = first + items.length;
      const kept = this.at(offset);
      if (kept !== undefined) items.push(kept);
      else {
        const limit = Math.min(LARGEST_PAGE, end - offset);
        const page = await this.fetchPage(offset, limit, stop ?? new AbortController().signal);
        if (page.items.length === 0) break;
        items.push(...page.items);
      }
    }
    return items;
  }

  private wanted() {
    const { first, end } = this.next;
    const last = Math.floor((Math.min(end, Math.max(this.end, this.total.peek() ?? 0)) - 1) / STRETCH);
    const stretches: number[] = [];
    for (let stretch = Math.floor(first / STRETCH); stretch <= last; stretch++) stretches.push(stretch);
    return stretches;
  }

  private ask(stretch: number) {
    const kept = this.stretches.get(stretch);
    if (kept) {
      this.stretches.delete(stretch); // behind all others, as the one that was in view last
      this.stretches.set(stretch, kept);
    } else if (!this.asked.has(stretch)) void this.fetch(stretch);
  }

  private async fetch(stretch: number) {
    const request = new AbortController();
    this.asked.set(stretch, request);
    try {
      this.keep(stretch, await this.fetchPage(stretch * STRETCH, STRETCH, request.signal));
    } catch (error) {
      if (isAborted(error) || request.signal.aborted) return;
      if (!(error instanceof RequestError)) throw error;
      this.error.value = error;
    } finally {
      if (this.asked.get(stretch) === request) this.asked.delete(stretch);
    }
  }

  private keep(stretch: number, page: Page<T>) {
    this.stretches.set(stretch, page.items);
    const wanted = this.wanted();
    for (const old of this.stretches.keys()) {
      if (this.stretches.size <= KEPT) break;
      if (!wanted.includes(old)) this.stretches.delete(old);
    }
    this.total.value = page.total;
    this.revision.value++;
  }
}

/** Items that are all there. */
export class ArraySource<T> implements ListSource<T> {
  readonly total: Signal<number | undefined>;
  readonly revision = signal(0);
  readonly error: Signal<RequestError | undefined> = signal(undefined);

  constructor(private items: readonly T[]) {
    this.total = signal(items.length);
  }

  replace(items: readonly T[]) {
    this.items = items;
    this.total.value = items.length;
    this.revision.value++;
  }

  at(index: number) {
    return this.items[index];
  }

  want() {}

  retry() {}
}
