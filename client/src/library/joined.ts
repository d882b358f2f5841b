// Several lists as one: all of the first, then all of the next.
import type { FetchPage } from "../list/source.ts";

export class Joined<T> {
  /** Of the lists, as they were told last. */
  totals: readonly number[] = [];

  constructor(private readonly parts: readonly FetchPage<T>[]) {}

  readonly fetch: FetchPage<T> = async (offset, limit, stop) => {
    // What is at the beginning tells how much there is, also when that has changed.
    if (offset === 0 || this.totals.length === 0) {
      const pages = await Promise.all(this.parts.map((part) => part(0, offset === 0 ? limit : 0, stop)));
      this.totals = pages.map(({ total }) => total);
      if (offset === 0) return this.page(0, pages.flatMap(({ items }) => items).slice(0, limit));
    }
    const stretches = stretchesOf(this.totals, offset, limit);
    const pages = stretches.map(({ part, first, count }) => this.parts[part]?.(first, count, stop));
    return this.page(
      offset,
      (await Promise.all(pages)).flatMap((page) => page?.items ?? []),
    );
  };

  private page(offset: number, items: T[]) {
    return { total: this.totals.reduce((sum, total) => sum + total, 0), offset, items };
  }
}

/** What a stretch of the whole has of each part. */
function stretchesOf(totals: readonly number[], offset: number, limit: number) {
  let begin = 0;
  return totals.flatMap((total, part) => {
    const first = Math.max(offset - begin, 0);
    const count = Math.min(offset + limit - begin, total) - first;
    begin += total;
    return count > 0 ? [{ part, first, count }] : [];
  });
}
