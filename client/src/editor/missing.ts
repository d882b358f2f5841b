// Entries of a list that nothing plays, and the songs that they may mean.
import { signal } from "@preact/signals";
import { get } from "../api/http.ts";
import { playlistPath } from "../api/playlists.ts";
import type { Candidate, MissingEntry, Page, Playlist } from "../api/types.ts";
import type { Item } from "../list/items.ts";
import { t } from "../text/index.ts";
import type { ListDocument } from "./document.ts";

/** From this score on a candidate is taken unasked. */
const CERTAIN = 0.6;
const LARGEST_PAGE = 1000;

type MissingPage = Page<MissingEntry> & { playlist: Playlist };

export class Candidates {
  /** By the ids of entries. */
  private readonly found = signal<ReadonlyMap<number, readonly Candidate[]>>(new Map());
  private loading: Promise<void> | undefined;

  constructor(private readonly document: ListDocument) {}

  /** Undefined as long as nobody has looked. */
  of(id: number): readonly Candidate[] | undefined {
    return this.found.value.get(id);
  }

  /** The best ones that are certain, by the ids of their entries. */
  certain(): Map<number, Item> {
    const best = new Map<number, Item>();
    for (const id of this.document.facts.value.missing) {
      const candidate = this.of(id)?.[0];
      if (candidate && candidate.score >= CERTAIN) best.set(id, { song: candidate.song });
    }
    return best;
  }

  /** Looks for those of entries that nobody has looked for yet. */
  load(): Promise<void> {
    this.loading ??= this.fetch().finally(() => {
      this.loading = undefined;
    });
    return this.loading;
  }

  private async fetch() {
    const { server, listId } = this.document;
    const found = new Map(this.found.peek());
    for (let offset = 0; ; offset += LARGEST_PAGE) {
      const query = { offset, limit: LARGEST_PAGE };
      const page = await get<MissingPage>(`${playlistPath(listId)}/missing`, query);
      if (page.playlist.version !== server.version) return; // another look follows, at what the list is then
      for (const { position, candidates } of page.items) found.set(server.order[position] ?? -1, candidates);
      if (offset + page.items.length >= page.total) break;
    }
    this.found.value = found;
  }

  repair(songs: ReadonlyMap<number, Item>) {
    this.document.replace(songs, t("editor.repaired", { count: songs.size }));
  }
}
