// The lists that views show, kept for those who come back: what was fetched, what was selected, how far it was
// scrolled.
import { computed, type ReadonlySignal, signal } from "@preact/signals";
import { useEffect, useRef } from "preact/hooks";
import { get, isAborted, type Query, RequestError } from "../api/http.ts";
import type { LibraryName, Page } from "../api/types.ts";
import { Selection } from "../list/selection.ts";
import { type FetchPage, PagedSource } from "../list/source.ts";
import type { Place } from "../list/viewport.ts";
import { overview, user } from "../ui/session.tsx";

const MOST_KEPT = 24;

/** Something that was asked for, and changes with the index. */
interface Kept {
  readonly settled: ReadonlySignal<boolean>;
  refresh(): void;
  cancel(): void;
  /** Goes on with what was cancelled before it was there. */
  resume(): void;
}

const kept = new Map<string, { thing: Kept; revision: number }>();

function keep<T extends Kept>(key: string, make: () => T): T {
  const revision = overview.peek()?.revision ?? 0;
  const entry = kept.get(key) ?? { thing: make(), revision };
  kept.delete(key); // behind all others, as the one that was used last
  kept.set(key, entry);
  for (const oldest of kept.keys()) {
    if (kept.size <= MOST_KEPT) break;
    kept.delete(oldest);
  }
  entry.thing.resume();
  return entry.thing as T;
}

/** Asks anew for what was kept since before the index changed. */
function useRevision(key: string) {
  const revision = overview.value?.revision ?? 0;
  useEffect(() => {
    const entry = kept.get(key);
    if (!entry || entry.revision === revision) return;
    entry.revision = revision;
    entry.thing.refresh();
  }, [key, revision]);
}

/** Forgets all, as another user has come. */
function forget() {
  for (const { thing } of kept.values()) thing.cancel();
  kept.clear();
}
let last = user.peek()?.id;
user.subscribe((now) => {
  if (now?.id !== last) forget();
  last = now?.id;
});

/** The stretches of a list at an address of the API. */
export function pagesOf<T>(path: string, query: Query): FetchPage<T> {
  return (offset, limit, stop) => get<Page<T>>(path, { ...query, offset, limit }, stop);
}

export class KeptList<T> implements Kept {
  readonly source: PagedSource<T>;
  readonly selection = new Selection();
  readonly place: Place = { top: 0 };
  readonly settled: ReadonlySignal<boolean>;

  constructor(fetchPage: FetchPage<T>) {
    this.source = new PagedSource<T>(fetchPage);
    this.settled = settledOf(this.source.total, this.source.error);
    this.source.want(0, 1);
  }

  resume() {
    if (!this.settled.peek()) this.source.want(0, 1);
  }

  refresh() {
    this.selection.clear();
    this.source.refresh();
  }

  cancel() {
    this.source.cancel();
  }
}

/** One answer. */
export class KeptAnswer<T> implements Kept {
  readonly body = signal<T | undefined>(undefined);
  readonly error = signal<RequestError | undefined>(undefined);
  readonly settled = settledOf(this.body, this.error);
  private request = new AbortController();

  constructor(private readonly ask: (stop: AbortSignal) => Promise<T>) {
    void this.fetch();
  }

  refresh() {
    this.cancel();
    void this.fetch();
  }

  cancel() {
    this.request.abort();
  }

  resume() {
    if (this.request.signal.aborted && !this.settled.peek()) void this.fetch();
  }

  private async fetch() {
    this.request = new AbortController();
    const { signal: stop } = this.request;
    this.error.value = undefined;
    try {
      this.body.value = await this.ask(stop);
    } catch (error) {
      if (isAborted(error) || stop.aborted) return;
      if (!(error instanceof RequestError)) throw error;
      this.error.value = error;
    }
  }
}

function settledOf(answer: ReadonlySignal<unknown>, error: ReadonlySignal<unknown>) {
  return computed(() => answer.value !== undefined || error.value !== undefined);
}

/** What was shown before, until what is to be shown instead is there. */
export function useSteady<T extends Kept>(next: T): T {
  const shown = useRef(next);
  useEffect(() => {
    next.resume(); // the view that goes may have cancelled what this one shows, too
    return () => next.cancel();
  }, [next]);
  if (next.settled.value) shown.current = next;
  return shown.current;
}

function keyOf(path: string, query: Query) {
  const given = Object.entries(query).filter(([, value]) => value !== undefined && value !== "");
  return `${path}?${given.sort().join("&")}`;
}

/** What `make` gives, or gave before for the same. */
export function useKept<T extends Kept>(path: string, query: Query, make: () => T): T {
  const key = keyOf(path, query);
  const thing = keep(key, make);
  useRevision(key);
  return thing;
}

/** The list at an address of the API. */
export function useList<T>(path: string, query: Query): KeptList<T> {
  return useKept(path, query, () => new KeptList<T>(pagesOf<T>(path, query)));
}

/** The answer at an address of the API, or of several requests that `ask` makes. */
export function useAnswer<T>(
  path: string,
  query: Query,
  ask: (stop: AbortSignal) => Promise<T> = (stop) => get<T>(path, query, stop),
): KeptAnswer<T> {
  return useKept(`answer of ${path}`, query, () => new KeptAnswer<T>(ask));
}

/** The library that a view is of. */
export function libraryOf(query: URLSearchParams): LibraryName {
  return query.get("library") === "personal" && user.value?.personal_library ? "personal" : "shared";
}
