// The queue of a player of the house, as a list that is edited. What is done is seen at once, and asked of the player
// step by step; then the list is read anew, as others may have changed it, too.
import { type Signal, signal } from "@preact/signals";
import { get, type RequestError } from "../api/http.ts";
import type { Page, PlayerEntry, PlayerStatus } from "../api/types.ts";
import type { Chosen, Item } from "../list/items.ts";
import { rangesOf } from "../list/selection.ts";
import { type FetchPage, type ListSource, PagedSource } from "../list/source.ts";
import { type House, itemOfEntry } from "../playback/house.ts";
import { isPlayable } from "../playback/queue.ts";
import { t } from "../text/index.ts";
import { record } from "../ui/history.ts";
import { announce, notifyFailure, Refusal } from "../ui/notices.tsx";
import type { EditableQueue } from "./queue_list.tsx";
import { applied, inverse, movesBefore, movesFromEnd, removals, type Step } from "./steps.ts";

export class HouseQueue implements ListSource<Item>, EditableQueue {
  readonly source = this;
  readonly total: Signal<number | undefined> = signal(undefined);
  readonly revision = signal(0);
  readonly error: Signal<RequestError | undefined> = signal(undefined);
  private shown: PagedSource<Item>;
  /** What was asked for last. */
  private reading: PagedSource<Item> | undefined;
  /** Where the entries stand in what was read; undefined: as they were read. */
  private places: (number | undefined)[] | undefined;
  private view = { first: 0, end: 1 };
  /** Edits that are not done yet, and the last one of them. */
  private editing = 0;
  private last: Promise<void> = Promise.resolve();

  constructor(private readonly house: House) {
    this.shown = this.read();
  }

  private readonly fetchPage: FetchPage<Item> = async (offset, limit, stop) => {
    const path = `players/${this.house.id}/queue`;
    const page = await get<Page<PlayerEntry>>(path, { offset, limit }, stop);
    return { ...page, items: page.items.map((entry) => itemOfEntry(entry) ?? {}) };
  };

  at(index: number) {
    const place = this.places ? this.places[index] : index;
    return place === undefined ? undefined : this.shown.at(place);
  }

  want(first: number, end: number) {
    this.view = { first, end };
    if (!this.places) this.shown.want(first, end);
  }

  retry() {
    this.error.value = undefined;
    this.read();
  }

  /** Reads it anew. What is there stays to be seen until then. */
  refresh() {
    if (this.editing === 0) this.read();
  }

  /** What is read becomes what is shown as soon as it is there. */
  private read() {
    const source = new PagedSource<Item>(this.fetchPage);
    this.reading = source;
    source.revision.subscribe(() => this.show(source));
    source.error.subscribe((error) => {
      if (error && source === this.reading) this.error.value = error;
    });
    source.want(this.view.first, this.view.end);
    return source;
  }

  private show(source: PagedSource<Item>) {
    if (source !== this.reading || this.editing > 0 || !this.isInView(source)) return;
    if (source !== this.shown) this.shown.cancel();
    this.shown = source;
    this.places = undefined;
    this.error.value = undefined;
    this.total.value = source.total.peek();
    this.revision.value++;
  }

  /** Whether it has all that is in view; it is asked for what it has not. */
  private isInView(source: PagedSource<Item>) {
    const { first } = this.view;
    const end = Math.min(this.view.end, source.total.peek() ?? 0);
    source.want(first, Math.max(end, first + 1));
    for (let at = first; at < end; at++) if (!source.at(at)) return false;
    return source.total.peek() !== undefined;
  }

  /** No more is asked. */
  leave() {
    this.shown.cancel();
  }

  playAt(position: number) {
    this.house.playAt(position);
  }

  chosenAt(positions: readonly number[]): Chosen {
    return {
      count: positions.length,
      load: async (stop) => (await this.load(positions, stop)).filter(isPlayable),
    };
  }

  private async load(positions: readonly number[], stop?: AbortSignal): Promise<Item[]> {
    const known = positions.flatMap((position) => this.at(position) ?? []);
    if (known.length === positions.length) return known;
    await this.last; // then the player has them where they are seen here
    const source = new PagedSource<Item>(this.fetchPage);
    const items: Item[] = [];
    for (const { first, end } of rangesOf(positions)) items.push(...(await source.load(first, end, stop)));
    return items;
  }

  moveBefore(positions: readonly number[], at: number) {
    const steps = movesBefore(positions, at);
    if (steps.length === 0) return undefined;
    void this.edit(t("queue.moved", { count: positions.length }), steps);
    const first = at - positions.filter((position) => position < at).length;
    announce(t("queue.moved_to", { position: first + 1 }));
    return first;
  }

  removeAt(positions: readonly number[]) {
    void this.remove([...positions], t("queue.removed", { count: positions.length }));
  }

  private async remove(positions: number[], label: string) {
    try {
      const items = await this.load(positions);
      const byPosition = new Map(positions.map((position, place) => [position, items[place] ?? {}]));
      await this.edit(
        label,
        removals(positions, (position) => byPosition.get(position) ?? {}),
      );
    } catch (error) {
      notifyFailure(t("queue.not_loaded"), error, () => void this.remove(positions, label));
    }
  }

  clear() {
    const count = this.total.peek() ?? 0;
    void this.remove(
      Array.from({ length: count }, (_, position) => position),
      t("queue.cleared", { count }),
    );
  }

  insertAt(items: readonly Item[], position: number) {
    const playable = items.filter(isPlayable);
    const count = playable.length;
    if (count === 0) return;
    void this.edit(t("queue.added", { count }), [{ kind: "insert", position, items: playable }]);
  }

  /** `left` is what is not done yet of the steps, `before` how many entries there were. */
  private async edit(label: string, steps: readonly Step[], left = [...steps], before = this.total.peek()) {
    try {
      await this.take(left);
    } catch (error) {
      const what = t("players.refused", { name: this.name });
      return notifyFailure(what, error, () => void this.edit(label, steps, left, before));
    }
    const after = this.house.status.peek()?.queue_length;
    record({
      label,
      undo: () => this.takeFrom(after, inverse(steps)),
      redo: () => this.takeFrom(before, [...steps]),
    });
  }

  private get name() {
    return this.house.name.peek() ?? "";
  }

  /** Steps name positions, so they lead elsewhere when somebody has added or removed entries meanwhile. */
  private async takeFrom(length: number | undefined, steps: Step[]) {
    if ((await this.length()) !== length) throw new Refusal(t("queue.is_another", { name: this.name }));
    await this.take(steps);
  }

  private async length() {
    return (await get<PlayerStatus>(`players/${this.house.id}`)).queue_length ?? 0;
  }

  /** One edit after another, as each goes by positions. When one fails, those that wait for it do so, too. */
  private async take(steps: Step[]) {
    this.editing++;
    this.showDone(steps);
    this.last = this.askAll(steps, this.last);
    try {
      await this.last;
    } finally {
      if (--this.editing === 0) {
        this.last = Promise.resolve();
        this.read();
      }
    }
  }

  /** Takes away what is done. */
  private async askAll(steps: Step[], after: Promise<void>) {
    await after;
    for (let step = steps[0]; step; step = steps[0]) {
      await this.ask(step);
      steps.shift();
    }
  }

  private showDone(steps: readonly Step[]) {
    const places = this.places ?? Array.from({ length: this.total.peek() ?? 0 }, (_, place) => place);
    this.places = applied(places, steps);
    this.total.value = this.places.length;
    this.revision.value++;
  }

  private async ask(step: Step) {
    if (step.kind === "move") return this.house.run("move", { from: step.from, to: step.to });
    const { position, items } = step;
    if (step.kind === "remove") return this.house.run("remove", { position, count: items.length });
    await this.insert(items, position);
  }

  private async insert(items: readonly Item[], position: number) {
    const total = await this.length();
    const added = await this.house.take(items);
    for (const move of movesFromEnd(added, total, position)) await this.house.run("move", move);
  }
}
