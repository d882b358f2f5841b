// A playlist that is being edited: what the server has, what is wanted, and what became of both. Edits are seen at once;
// the saver sends them. All views of a list share its document.
import { batch, computed, type Signal, signal } from "@preact/signals";
import { ask, RequestError } from "../api/http.ts";
import { type PlaylistPage, playlistPath, readWhole } from "../api/playlists.ts";
import type { LibraryName, Playlist } from "../api/types.ts";
import { type Chosen, type Item, identityOf } from "../list/items.ts";
import { t } from "../text/index.ts";
import { idNow, record } from "../ui/history.ts";
import { notify } from "../ui/notices.tsx";
import { Contents, OtherVersion, type ServerState } from "./contents.ts";
import { durationOfAll, factsOf } from "./facts.ts";
import { type Matched, match, movedBetween } from "./match.ts";
import { type Change, changeBetween, merge } from "./merge.ts";
import { Candidates } from "./missing.ts";
import {
  consecutive,
  EMPTY,
  inserted,
  largestOf,
  MOST_ENTRIES,
  moved,
  type Order,
  removed,
} from "./order.ts";
import { forgetPending, keepPending, newPendingKey, type Pending, takePending } from "./pending.ts";
import { type Saved, Saver } from "./saver.ts";
import type { TheirEdit } from "./their_edit.tsx";

/** A list that somebody has deleted, as it is known here. */
export interface Gone {
  id: string;
  name: string;
  library: LibraryName;
  content: { items: Item[] };
}

/** What a view shows of it, and will soon: positions from `first` on, before `end`. */
export interface InView {
  first: number;
  end: number;
}

export class ListDocument implements Saved {
  readonly total: Signal<number | undefined> = signal(undefined);
  readonly revision = signal(0);
  readonly error: Signal<RequestError | undefined> = signal(undefined);
  readonly order = signal<Order>(EMPTY);
  readonly playlist = signal<Playlist | undefined>(undefined);
  readonly theirEdit = signal<TheirEdit | undefined>(undefined);
  readonly contents: Contents;
  readonly canEdit = computed(() => this.playlist.value?.kind === "list");
  readonly views = new Set<InView>();
  readonly candidates = new Candidates(this);
  server: ServerState = { order: EMPTY, version: undefined };
  readonly saver = new Saver(this);
  private readonly firstId: string;
  /** When it was looked at last: the tag of its page, which also tells of its songs, and its version. */
  private seen: { tag: string | undefined; version: string | undefined } | undefined;
  private pendingKey: string;
  private nextId = 0;
  private replaces = new Map<number, number>();
  private opening: Promise<void> | undefined;

  constructor(id: string) {
    this.firstId = id;
    this.pendingKey = newPendingKey(id);
    this.contents = new Contents(
      () => this.listId,
      () => this.server,
    );
  }

  /** It changes when the list is deleted and brought back. */
  get listId() {
    return idNow(this.firstId);
  }

  get wanted() {
    return this.order.peek();
  }

  get saveState() {
    return this.saver.state;
  }

  at(index: number): Item | undefined {
    const id = this.order.peek()[index];
    return id === undefined ? undefined : this.contents.get(id);
  }

  idAt(index: number): number {
    return this.order.peek()[index] ?? -1;
  }

  // Loading

  /** Once it is there. Fails when it cannot be. */
  async ready(): Promise<void> {
    await this.open();
    if (this.error.peek()) throw this.error.peek();
  }

  open(): Promise<void> {
    this.opening ??= this.load();
    return this.opening;
  }

  private async load() {
    const pending = await takePending(this.listId, this.pendingKey);
    if (pending) this.restore(pending);
    try {
      await this.loadFirst(pending !== undefined);
    } catch (error) {
      if (!(error instanceof RequestError)) throw error;
      if (!pending) {
        this.error.value = error;
        this.opening = undefined;
      }
    }
    void this.saver.run();
  }

  /** As an earlier page of this browser left it. */
  private restore(pending: Pending) {
    this.server = { order: pending.server, version: pending.version };
    this.replaces = pending.replaces;
    for (const [id, item] of pending.items) this.contents.set(id, item);
    this.nextId = largestOf(pending.server, pending.wanted, ...pending.doubts) + 1;
    this.saver.resume([...pending.doubts, pending.wanted]);
    const { list: id, name } = pending;
    const library = id.startsWith("musiclib_music_shared") ? "shared" : "personal";
    this.playlist.value = { id, name, kind: "list", library };
    this.show(pending.wanted);
  }

  private async loadFirst(isRestored: boolean) {
    const { body } = await ask<PlaylistPage>(playlistPath(this.listId), { limit: 100 });
    this.playlist.value = body.playlist;
    if (isRestored) return;
    const version = body.playlist.kind === "list" ? body.playlist.version : undefined;
    this.server = { order: this.fresh(body.total), version };
    body.items.forEach(({ position: _, ...item }, at) => {
      this.contents.set(at + this.nextId - body.total, item);
    });
    this.show(this.server.order);
  }

  private fresh(count: number): Order {
    this.nextId += count;
    return consecutive(this.nextId - count, count);
  }

  private show(order: Order) {
    batch(() => {
      this.order.value = order;
      this.total.value = order.length;
      this.revision.value++;
      this.error.value = undefined;
    });
    void this.fetchInView();
  }

  /** Fetches what views show and is not known. */
  async fetchInView() {
    await this.open();
    if (this.error.peek()) return;
    const order = this.order.peek();
    const ids = Int32Array.from([...this.views].flatMap(({ first, end }) => [...order.subarray(first, end)]));
    try {
      await this.contents.want(ids, () => this.revision.value++);
    } catch (error) {
      if (error instanceof OtherVersion) return this.refresh();
      if (!(error instanceof RequestError)) throw error;
      this.error.value = error;
    }
  }

  retry() {
    this.error.value = undefined;
    void this.fetchInView();
    void this.saver.run();
  }

  /** All its entries, as they stand now. */
  async loadAll(stop?: AbortSignal): Promise<Item[]> {
    await this.ready();
    await this.loadEntries(this.order.peek(), stop);
    this.revision.value++;
    return Array.from(this.order.peek(), (id) => this.contents.get(id) ?? {});
  }

  /** The entries at these positions. */
  async loadAt(positions: readonly number[], stop?: AbortSignal): Promise<Item[]> {
    const ids = Int32Array.from(positions, (at) => this.idAt(at));
    await this.loadEntries(ids, stop);
    return Array.from(ids, (id) => this.contents.get(id) ?? {});
  }

  private async loadEntries(ids: Order, stop?: AbortSignal) {
    try {
      await this.contents.load(ids, stop);
    } catch (error) {
      if (!(error instanceof OtherVersion)) throw error;
      await this.refresh();
      await this.contents.load(
        ids.filter((id) => this.contents.get(id) ?? this.contents.placeOf(id)),
        stop,
      );
    }
  }

  /** What it holds, or what is at these positions, to be played or added elsewhere. */
  chosen(positions?: readonly number[]): Chosen {
    const ids = positions?.map((at) => this.idAt(at));
    const load = (stop?: AbortSignal) =>
      ids ? this.loadAt(this.positionsOf(ids), stop) : this.loadAll(stop);
    return { count: positions?.length ?? this.total.peek(), name: this.playlist.peek()?.name ?? "", load };
  }

  /** Where these entries are now, in ascending order. */
  positionsOf(ids: readonly number[]): number[] {
    const wanted = new Set(ids);
    const positions: number[] = [];
    this.order.peek().forEach((id, at) => {
      if (wanted.has(id)) positions.push(at);
    });
    return positions;
  }

  isNamed(name: string) {
    const playlist = this.playlist.peek();
    if (playlist) this.playlist.value = { ...playlist, id: this.listId, name };
  }

  // Editing

  /** Makes an order the wanted one, and remembers how to undo that. */
  edit(label: string, order: Order, options: { silent?: boolean } = {}) {
    const before = this.order.peek();
    const change = changeBetween(before, order);
    if (
      change.before.length === change.after.length &&
      change.before.every((id, at) => id === change.after[at])
    ) {
      return;
    }
    if (order.length > MOST_ENTRIES) {
      notify({ text: t("editor.too_many", { count: MOST_ENTRIES }), kind: "error" });
      return;
    }
    this.wants(order);
    record({ label, playlist: this.listId, ...this.deedOf(change) }, options);
  }

  private deedOf({ before, after }: Change) {
    return {
      undo: async () => this.apply(after, before),
      redo: async () => this.apply(before, after),
    };
  }

  private apply(from: Order, to: Order) {
    const { order, lost } = merge(from, to, this.order.peek(), this.replaces);
    if (lost.length > 0) notify({ text: t("editor.not_all_fit", { count: lost.length }) });
    this.wants(order);
  }

  private wants(order: Order) {
    this.show(order);
    this.saver.runOrKeep();
  }

  /** Entries for items that are not in the list yet. */
  private idsFor(items: readonly Item[]): Order {
    const ids = this.fresh(items.length);
    ids.forEach((id, at) => {
      this.contents.set(id, items[at] as Item);
    });
    return ids;
  }

  insert(items: readonly Item[], at = this.order.peek().length) {
    const label = t("editor.added", { count: items.length, name: this.playlist.peek()?.name ?? "" });
    this.edit(label, inserted(this.order.peek(), at, this.idsFor(items)));
  }

  remove(positions: readonly number[], label = t("editor.removed", { count: positions.length })) {
    const order = this.order.peek();
    this.edit(label, removed(order, new Set(positions.map((at) => order[at] as number))));
  }

  move(positions: readonly number[], at: number) {
    const label = t("editor.moved", { count: positions.length });
    this.edit(label, moved(this.order.peek(), positions, at), { silent: true });
  }

  /** Puts songs into the places of entries, which are told by their ids. */
  replace(songs: ReadonlyMap<number, Item>, label: string) {
    const order = this.order.peek().slice();
    for (let at = 0; at < order.length; at++) {
      const old = order[at] as number;
      const item = songs.get(old);
      if (!item) continue;
      const id = this.idsFor([item])[0] as number;
      this.replaces.set(id, old).set(old, id);
      order[at] = id;
    }
    this.edit(label, order);
  }

  // What the saver asks

  accept(server: ServerState) {
    const playlist = this.playlist.peek();
    const duration = this.durationWith(server.order);
    this.server = server;
    if (playlist && server.version !== undefined) {
      this.playlist.value = {
        ...playlist,
        version: server.version,
        ...(duration !== undefined && { duration }),
      };
    }
    void this.fetchInView();
  }

  keep(doubts: readonly Order[]) {
    const { order, version } = this.server;
    if (version === undefined) return Promise.resolve(undefined);
    const items = new Map<number, Item>();
    for (const other of [this.wanted, ...doubts]) {
      const { before, after } = changeBetween(order, other);
      for (const id of [...before, ...after]) {
        const item = this.contents.get(id);
        if (item) items.set(id, item);
      }
    }
    return keepPending(this.pendingKey, {
      list: this.listId,
      name: this.playlist.peek()?.name ?? "",
      server: order,
      version,
      wanted: this.wanted,
      doubts: [...doubts],
      items,
      replaces: this.replaces,
    });
  }

  forget() {
    return forgetPending(this.pendingKey);
  }

  /** Gives up what was not sent. */
  async discard() {
    this.saver.resume([]);
    this.show(this.server.order);
    await this.saver.run();
    await this.refresh();
  }

  /** Somebody has deleted it. */
  readonly isGone = computed(() => {
    const state = this.saveState.value;
    const error = this.error.value ?? ("error" in state ? state.error : undefined);
    return error?.status === 404 && this.canEdit.value;
  });

  /** Has a deleted list made again with all that is known of it, and goes on with that. */
  async makeAgain(make: (gone: Gone) => Promise<void>) {
    const playlist = this.playlist.peek();
    if (!playlist) return;
    const order = this.order.peek().filter((id) => this.contents.get(id));
    const items = Array.from(order, (id) => this.contents.get(id) ?? {});
    await make({ id: this.listId, name: playlist.name, library: playlist.library, content: { items } });
    await this.forget();
    this.pendingKey = newPendingKey(this.listId);
    this.seen = undefined;
    this.server = { order, version: undefined };
    this.saver.resume([]);
    this.show(order);
    await this.reload([]);
    await this.saver.run();
  }

  /** Looks whether somebody else has changed the list. */
  async refresh(): Promise<void> {
    await this.open();
    const { version } = this.server;
    if (this.error.peek()) return this.retry();
    if (version === undefined || this.saver.isBusy) return;
    if (!this.saver.isDone) return this.saver.run();
    try {
      const now = await this.versionNow();
      if (now === version || this.saver.isBusy || this.server.version !== version) return;
      await this.reload([]);
    } catch (error) {
      if (!(error instanceof RequestError)) throw error;
      if (!error.isPassing) this.error.value = error;
    }
    void this.saver.run();
  }

  async versionNow() {
    const options = { ifNoneMatch: this.seen?.tag };
    const path = playlistPath(this.listId);
    const { body, version: tag } = await ask<PlaylistPage | undefined>(path, { limit: 1 }, options);
    if (body) this.seen = { tag, version: body.playlist.version };
    return this.seen?.version;
  }

  async reload(doubts: readonly Order[]) {
    const { saver, server } = this;
    const isSaving = saver.isBusy;
    const { playlist, entries, version } = await readWhole(this.listId);
    if (this.server !== server || saver.isBusy !== isSaving) return; // what was read is old by now
    const items = entries.map(({ position: _, ...item }): Item => item);
    const keys = items.map(identityOf);
    const { base, found } = this.nearest([...doubts].reverse(), keys);
    found.order.forEach((id, at) => {
      this.contents.set(id, items[at] as Item);
    });
    const ours = this.order.peek();
    const merged = merge(base, ours, found.order, this.replaces);
    // The server refuses what is too long, and ours stays to be seen, unsaved.
    if (merged.order.length > MOST_ENTRIES) {
      notify({ text: t("editor.too_many", { count: MOST_ENTRIES }), kind: "error" });
    }
    this.tell(base, ours, found, merged.lost);
    batch(() => {
      this.playlist.value = playlist;
      this.server = { order: found.order, version };
      this.show(merged.order);
    });
  }

  /** What the server had, and the list's new entries found in it: of all that it may have had, by the nearest. */
  private nearest(doubts: readonly Order[], keys: readonly string[]): { base: Order; found: Matched } {
    const keyOf = (id: number) => this.contents.keyOf(id);
    const tries = [...doubts, this.server.order].map((base) => ({
      base,
      found: match(base, keyOf, keys, () => this.nextId++),
    }));
    const distance = ({ found }: { found: Matched }) =>
      found.added.length + found.removed.length + found.movedCount;
    return tries.reduce((best, other) => (distance(other) < distance(best) ? other : best));
  }

  private tell(base: Order, ours: Order, found: Matched, lost: number[]) {
    const { added, removed: gone, movedCount } = found;
    if (added.length + gone.length + movedCount === 0) return;
    const inBase = new Set(base);
    const inOurs = new Set(ours);
    const isLost = new Set(lost);
    const itemsOf = (ids: Iterable<number>) => Array.from(ids, (id) => this.contents.get(id) ?? {});
    this.theirEdit.value = {
      added: itemsOf(added),
      removed: itemsOf(gone),
      movedCount,
      applied: {
        added: itemsOf(ours.filter((id) => !inBase.has(id) && !isLost.has(id))),
        removed: itemsOf(base.filter((id) => !inOurs.has(id))),
        movedCount: movedBetween(base, ours) - lost.filter((id) => inBase.has(id)).length,
      },
      lost: itemsOf(lost),
    };
  }

  readonly facts = computed(() => {
    void this.revision.value;
    return factsOf(this.order.value, this.contents);
  });

  /** Rows need not be drawn anew for more entries that are known. */
  private shownDuplicates: ReadonlySet<number> = new Set();
  readonly duplicates = computed(() => {
    const { duplicates } = this.facts.value;
    const before = this.shownDuplicates;
    const isSame = duplicates.size === before.size && [...duplicates].every((id) => before.has(id));
    if (!isSame) this.shownDuplicates = duplicates;
    return this.shownDuplicates;
  });

  /** Of all entries, in seconds. */
  readonly duration = computed(() => {
    const { known, duration } = this.facts.value;
    return known === this.order.value.length ? duration : this.durationWith(this.order.value);
  });

  /** The length that the server told, and what another order makes it more or less. */
  private durationWith(order: Order): number | undefined {
    const told = this.playlist.value?.duration;
    if (told === undefined) return undefined;
    const { before, after } = changeBetween(this.server.order, order);
    return told + durationOfAll(after, this.contents) - durationOfAll(before, this.contents);
  }
}
