// What the entries of a list are, by their ids, as far as that was needed: fetched from the server by their positions
// there, or added here.
import { ask, isAborted } from "../api/http.ts";
import { type PlaylistPage, playlistPath } from "../api/playlists.ts";
import { type Item, identityOf, itemOf } from "../list/items.ts";
import { EMPTY, type Order } from "./order.ts";

const STRETCH = 100;
const LARGEST_PAGE = 1000;
/** Positions so near to each other are fetched together, with what is between. */
const NEAR = 50;
/** Of more than these, those are forgotten that the server can tell again. */
const MOST_KEPT = 150_000;

/** What the server has: which entries, by which version. */
export interface ServerState {
  order: Order;
  /** Undefined of what cannot be edited. */
  version: string | undefined;
}

/** Somebody else, or an edit whose answer was lost, has changed the list. */
export class OtherVersion extends Error {}

export class Contents {
  private readonly items = new Map<number, Item>();
  private readonly keys = new Map<number, string>();
  private places: Map<number, number> | undefined;
  private placesAreOf: Order = EMPTY;
  private asked = new Map<number, AbortController>();

  constructor(
    private readonly listId: () => string,
    private readonly server: () => ServerState,
  ) {}

  get(id: number): Item | undefined {
    return this.items.get(id);
  }

  /** The same for entries that stand for the same song. */
  keyOf(id: number): string | undefined {
    return this.keys.get(id);
  }

  set(id: number, item: Item) {
    this.items.set(id, item);
    this.keys.set(id, identityOf(item));
  }

  hasAll(ids: Order): boolean {
    return ids.every((id) => this.items.has(id));
  }

  /** Where the server has an entry. */
  placeOf(id: number): number | undefined {
    const { order } = this.server();
    if (!this.places || this.placesAreOf !== order) {
      this.places = new Map();
      this.placesAreOf = order;
      for (let at = 0; at < order.length; at++) this.places.set(order[at] as number, at);
    }
    return this.places.get(id);
  }

  /** Loads what is not known of these. Throws OtherVersion when the server has another list by now. */
  async load(ids: Order, stop?: AbortSignal): Promise<void> {
    for (const { first, end } of this.pagesFor(ids)) await this.fetch(first, end - first, stop);
    if (!this.hasAll(ids)) throw new Error("an entry is neither known nor on the server");
  }

  /** The same for what is in view, each time telling that there is more; what is no longer is not waited for. */
  async want(ids: Order, tell: () => void): Promise<void> {
    const stretches = new Set(this.unknown(ids).map((place) => Math.floor(place / STRETCH)));
    for (const [stretch, request] of this.asked) if (!stretches.has(stretch)) request.abort();
    const fresh = [...stretches].filter((stretch) => !this.asked.has(stretch));
    await Promise.all(fresh.map((stretch) => this.fetchStretch(stretch).then(tell)));
  }

  private async fetchStretch(stretch: number) {
    const request = new AbortController();
    this.asked.set(stretch, request);
    try {
      await this.fetch(stretch * STRETCH, STRETCH, request.signal);
    } catch (error) {
      if (!isAborted(error)) throw error;
    } finally {
      if (this.asked.get(stretch) === request) this.asked.delete(stretch);
    }
  }

  /** Where the server has those of these that are not known, in ascending order. */
  private unknown(ids: Order): number[] {
    const places: number[] = [];
    for (const id of ids) {
      const place = this.items.has(id) ? undefined : this.placeOf(id);
      if (place !== undefined) places.push(place);
    }
    return places.sort((a, b) => a - b);
  }

  /** Ranges of the server's positions that hold those of these ids that are not known. */
  private pagesFor(ids: Order): { first: number; end: number }[] {
    const pages: { first: number; end: number }[] = [];
    for (const place of this.unknown(ids)) {
      const last = pages.at(-1);
      if (last && place < last.end + NEAR && place < last.first + LARGEST_PAGE) last.end = place + 1;
      else pages.push({ first: place, end: place + 1 });
    }
    return pages;
  }

  private async fetch(offset: number, limit: number, stop?: AbortSignal) {
    const { order, version } = this.server();
    const path = playlistPath(this.listId());
    const { body } = await ask<PlaylistPage>(path, { offset, limit }, { signal: stop });
    if (version !== undefined && body.playlist.version !== version) throw new OtherVersion();
    body.items.forEach((entry, at) => {
      const id = order[offset + at];
      if (id !== undefined) this.set(id, itemOf(entry));
    });
    this.forgetMany();
  }

  private forgetMany() {
    if (this.items.size <= MOST_KEPT) return;
    for (const id of this.items.keys()) {
      if (this.items.size <= MOST_KEPT / 2) break;
      if (this.placeOf(id) === undefined) continue;
      this.items.delete(id);
      this.keys.delete(id);
    }
  }
}
