// The queue of this browser: what it plays, and in which order. It is kept at the server, and fetched from there
// in stretches; see queue_sync.ts.
import { computed, type Signal, signal } from "@preact/signals";
import { get, isAborted, RequestError } from "../api/http.ts";
import type { Queue as QueuePage } from "../api/types.ts";
import { type Item, itemOf } from "../list/items.ts";
import type { ListSource } from "../list/source.ts";
import { isBoolean, kept } from "./kept.ts";
import {
  anotherRound,
  EMPTY,
  inserted,
  insertedNext,
  isAtEnd,
  jumpedTo,
  type Key,
  moved,
  type Order,
  type Repeat,
  removed,
  restored,
  shuffled,
  shuffledAs,
  stepFrom,
  unshuffled,
  upNext,
} from "./order.ts";

/** So many entries the server keeps. */
export const MOST_ENTRIES = 100_000;
const STRETCH = 100;
const LARGEST_PAGE = 1000;

const REPEATS: readonly unknown[] = ["off", "all", "one"];
const isRepeat = (value: unknown): value is Repeat => REPEATS.includes(value);

/** What can be played at all. */
export function isPlayable(item: Item) {
  return item.song !== undefined || item.stream !== undefined;
}

/** As the server takes them; what is not in the library now stays an entry, which is passed over. */
export function entriesOf(items: readonly Item[]) {
  return items.map(({ song, stream, title }) => {
    if (song) return { song: song.id };
    const what = stream === undefined ? { missing: true } : { stream };
    return { ...what, ...(title !== undefined && { title }) };
  });
}

class Queue implements ListSource<Item> {
  readonly order = signal<Order>(EMPTY);
  readonly shuffles = kept("player.shuffles", false, isBoolean);
  readonly repeat = kept<Repeat>("player.repeat", "off", isRepeat);
  /** Whether what plays is the last, for this once. */
  readonly stopsAfter = signal(false);

  readonly revision = signal(0);
  readonly error: Signal<RequestError | undefined> = signal(undefined);
  private readonly isKnown = signal(false);
  readonly total = computed(() => (this.isKnown.value ? this.order.value.keys.length : undefined));
  readonly ids = computed(() => this.order.value.keys);
  readonly position = computed(() => {
    const { keys, current } = this.order.value;
    return current === undefined ? -1 : keys.indexOf(current);
  });
  readonly current = computed(() => {
    void this.revision.value;
    const { current } = this.order.value;
    return current === undefined ? undefined : this.items.get(current);
  });
  /** Seconds of what is played after the current entry; undefined while not all of it is known. */
  readonly secondsUpNext = computed(() => {
    void this.revision.value;
    let seconds = 0;
    for (const key of upNext(this.order.value)) {
      const item = this.items.get(key);
      if (!item) return undefined;
      seconds += item.song?.duration ?? item.duration ?? 0;
    }
    return seconds;
  });

  private readonly items = new Map<Key, Item>();
  /** Whether people have changed it since it began to play. */
  isHandmade = false;
  private nextKey = 0;
  /** The keys of entries that the server had when the queue was fetched; their positions there count from the first. */
  private fetchable = { first: 0, end: 0 };
  private readonly asked = new Map<string, Promise<void>>();
  private wanted = { first: 0, end: 1 };
  /** Told of each change of the entries, and of the current one. */
  onChange: (what: "items" | "place") => void = () => {};

  at(index: number): Item | undefined {
    const key = this.order.peek().keys[index];
    return key === undefined ? undefined : this.items.get(key);
  }

  itemOfKey(key: Key) {
    return this.items.get(key);
  }

  /** Of those that are there. */
  itemsOf(keys: readonly Key[]) {
    const items = new Map<Key, Item>();
    for (const key of keys) {
      const item = this.items.get(key);
      if (item) items.set(key, item);
    }
    return items;
  }

  want(first: number, end: number) {
    this.wanted = { first, end };
    if (this.error.peek()) return;
    for (const key of this.order.peek().keys.slice(first, end)) void this.fetchKey(key).catch(this.fail);
  }

  retry() {
    this.error.value = undefined;
    this.want(this.wanted.first, this.wanted.end);
  }

  private readonly fail = (error: unknown) => {
    if (isAborted(error)) return;
    if (!(error instanceof RequestError)) throw error;
    this.error.value = error;
  };

  private fetchKey(key: Key): Promise<void> {
    const { first, end } = this.fetchable;
    if (this.items.has(key) || key < first || key >= end) return Promise.resolve();
    return this.fetch(Math.floor((key - first) / STRETCH) * STRETCH, STRETCH);
  }

  private fetch(offset: number, limit: number): Promise<void> {
    const name = `${offset}+${limit}`;
    const asked = this.asked.get(name);
    if (asked) return asked;
    const request = get<QueuePage>("queue", { offset, limit })
      .then((page) => this.keep(page))
      .finally(() => this.asked.delete(name));
    this.asked.set(name, request);
    return request;
  }

  private keep(page: QueuePage) {
    const { first, end } = this.fetchable;
    for (const entry of page.items) {
      const key = first + entry.position;
      if (key < end && !this.items.has(key)) this.items.set(key, itemOf(entry));
    }
    this.revision.value++;
  }

  /** The queue is what the server has; `page` is a part of it. Shuffled it is played in the order of `places`. */
  open(page: QueuePage, places: readonly number[] = []) {
    this.items.clear();
    this.asked.clear();
    const first = this.nextKey;
    this.nextKey += page.total;
    this.fetchable = { first, end: this.nextKey };
    const keys = Array.from({ length: page.total }, (_, position) => first + position);
    const current = keys[Math.min(page.position, page.total - 1)];
    const order = { keys, shuffled: undefined, current };
    this.order.value = this.shuffles.peek() ? shuffledAs(order, places) : order;
    this.isKnown.value = true;
    this.keep(page);
  }

  /** Nobody is here. */
  close() {
    this.open({ total: 0, offset: 0, items: [], position: 0, elapsed: 0 });
    this.isKnown.value = false;
  }

  /** Fetches an entry, if it is not there yet. */
  async load(key: Key): Promise<Item | undefined> {
    await this.fetchKey(key);
    return this.items.get(key);
  }

  isWhole() {
    return this.order.peek().keys.every((key) => this.items.has(key));
  }

  /** Fetches all that is not there yet. */
  async loadAll() {
    const { first, end } = this.fetchable;
    for (let from = first; from < end; from += LARGEST_PAGE) {
      const to = Math.min(from + LARGEST_PAGE, end);
      let isWhole = true;
      for (let key = from; key < to && isWhole; key++) isWhole = this.items.has(key);
      if (!isWhole) await this.fetch(from - first, LARGEST_PAGE);
    }
  }

  /** All entries, once all are there. */
  entries(): Item[] {
    return this.order.peek().keys.map((key) => this.items.get(key) as Item);
  }

  /** The song is not in the library any more. */
  markMissing(key: Key) {
    const { song } = this.items.get(key) ?? {};
    if (!song) return;
    this.items.set(key, { title: song.title, ...(song.artist && { artist: song.artist }), missing: true });
    this.revision.value++;
  }

  private keysFor(items: readonly Item[]): Key[] {
    return items.map((item) => {
      this.items.set(this.nextKey, item);
      return this.nextKey++;
    });
  }

  private change(order: Order, what: "items" | "place" = "items") {
    this.order.value = order;
    if (what === "items") this.isHandmade = true;
    if (what === "items") this.revision.value++;
    this.onChange(what);
  }

  /** These instead of all that was there. */
  replace(items: readonly Item[], startAt: number) {
    this.items.clear();
    this.fetchable = { first: 0, end: 0 };
    const keys = this.keysFor(items);
    const order = { keys, shuffled: undefined, current: keys[startAt] };
    this.stopsAfter.value = false;
    this.isKnown.value = true;
    this.change(this.shuffles.peek() ? shuffled(order) : order);
    this.isHandmade = false;
  }

  /** What stands before and behind the entries that it was begun with, if they are still what is played. */
  complete(begun: readonly Key[], before: readonly Item[], behind: readonly Item[]) {
    const placeOf = (key: Key | undefined) => this.order.peek().keys.indexOf(key ?? -1);
    const wasHandmade = this.isHandmade;
    if (placeOf(begun[0]) < 0 || placeOf(begun.at(-1)) < 0) return;
    this.insert(behind.filter(isPlayable), placeOf(begun.at(-1)) + 1);
    this.insert(before.filter(isPlayable), placeOf(begun[0]));
    this.isHandmade = wasHandmade;
  }

  insert(items: readonly Item[], at: number): Key[] {
    const keys = this.keysFor(items);
    this.change(inserted(this.order.peek(), at, keys));
    return keys;
  }

  append(items: readonly Item[]) {
    return this.insert(items, this.order.peek().keys.length);
  }

  insertNext(items: readonly Item[]): Key[] {
    const keys = this.keysFor(items);
    this.change(insertedNext(this.order.peek(), keys));
    return keys;
  }

  remove(keys: Iterable<Key>) {
    this.change(removed(this.order.peek(), new Set(keys)));
  }

  move(positions: readonly number[], at: number) {
    this.change(moved(this.order.peek(), positions, at));
  }

  /** Takes an edit back that led from `from` to `to`; `items` are those of entries that return. */
  restore(from: Order, to: Order, items: ReadonlyMap<Key, Item>) {
    for (const [key, item] of items) this.items.set(key, item);
    this.change(restored(this.order.peek(), from, to));
  }

  setCurrent(key: Key) {
    this.change(jumpedTo(this.order.peek(), key), "place");
  }

  /** The next or previous entry becomes the current one; false when there is none. */
  step(by: 1 | -1): boolean {
    let order = this.order.peek();
    const wraps = this.repeat.peek() === "all";
    if (wraps && by === 1 && order.shuffled && isAtEnd(order)) order = anotherRound(order);
    const key = stepFrom(order, by, wraps);
    if (key === undefined) return false;
    this.change({ ...order, current: key }, "place");
    return true;
  }

  /** What is played when the current entry has ended. */
  keyAfterCurrent(): Key | undefined {
    if (this.stopsAfter.peek()) return undefined;
    if (this.repeat.peek() === "one") return this.order.peek().current;
    return stepFrom(this.order.peek(), 1, this.repeat.peek() === "all");
  }

  setShuffles(on: boolean) {
    this.shuffles.value = on;
    this.order.value = on ? shuffled(this.order.peek()) : unshuffled(this.order.peek());
  }
}

export const queue = new Queue();
