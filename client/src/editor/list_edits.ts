// Edits of a list as a whole, each of them one edit.
import type { Song } from "../api/types.ts";
import { artistOf, durationOf, type Item, identityOf, titleOf } from "../list/items.ts";
import { compareNames, t } from "../text/index.ts";
import { announce, notify } from "../ui/notices.tsx";
import { type AddAnswer, askAboutDuplicates } from "./add_question.tsx";
import type { ListDocument } from "./document.ts";

export const SORT_KEYS = ["title", "artist", "album", "year", "duration"] as const;
export type SortKey = (typeof SORT_KEYS)[number];

type Compare = (a: Item, b: Item) => number;

function by(value: (song: Song) => number | undefined): Compare {
  const of = ({ song }: Item) => (song && value(song)) ?? Number.MAX_SAFE_INTEGER;
  return (a, b) => of(a) - of(b);
}

const byTitle: Compare = (a, b) => compareNames(titleOf(a), titleOf(b));
const byArtist: Compare = (a, b) => compareNames(artistOf(a), artistOf(b));
const byAlbum: Compare = (a, b) => compareNames(a.song?.album ?? "", b.song?.album ?? "");
const byYear = by(({ year }) => year);
const byTrack: Compare = (a, b) => by(({ disc }) => disc)(a, b) || by(({ track }) => track)(a, b);

const COMPARES: Record<SortKey, Compare[]> = {
  title: [byTitle, byArtist],
  artist: [byArtist, byAlbum, byTrack],
  album: [byAlbum, byTrack],
  year: [byYear, byAlbum, byTrack],
  duration: [(a, b) => (durationOf(a) ?? 0) - (durationOf(b) ?? 0)],
};

export async function sortBy(document: ListDocument, key: SortKey) {
  const items = await document.loadAll();
  const order = document.order.peek();
  const places = items.map((_, at) => at);
  const compares = COMPARES[key];
  places.sort((a, b) => {
    for (const compare of compares) {
      const difference = compare(items[a] as Item, items[b] as Item);
      if (difference !== 0) return difference;
    }
    return a - b;
  });
  document.edit(
    t(`editor.sorted_by_${key}`),
    Int32Array.from(places, (at) => order[at] as number),
  );
}

export function shuffle(document: ListDocument) {
  const order = document.order.peek().slice();
  for (let at = order.length - 1; at > 0; at--) {
    const other = Math.floor(Math.random() * (at + 1));
    const id = order[at] as number;
    order[at] = order[other] as number;
    order[other] = id;
  }
  document.edit(t("editor.shuffled"), order);
}

function removeIds(document: ListDocument, gone: ReadonlySet<number>, label: string, none: string) {
  if (gone.size === 0) return notify({ text: none });
  const positions = [...document.order.peek().keys()].filter((at) => gone.has(document.idAt(at)));
  document.remove(positions, label);
}

export async function removeDuplicates(document: ListDocument) {
  await document.loadAll();
  const { duplicates } = document.facts.peek();
  const label = t("editor.removed_duplicates", { count: duplicates.size });
  removeIds(document, duplicates, label, t("editor.no_duplicates"));
}

export async function removeMissing(document: ListDocument) {
  await document.loadAll();
  const missing = new Set(document.facts.peek().missing);
  removeIds(document, missing, t("editor.removed_missing", { count: missing.size }), t("editor.no_missing"));
}

/** Of longer lists only the entries that are known are looked at for what is there already. */
const LONGEST_TO_LOAD = 5000;

async function keysIn(document: ListDocument): Promise<Set<string>> {
  if ((document.total.peek() ?? 0) <= LONGEST_TO_LOAD) await document.loadAll().catch(() => {});
  const keys = new Set<string>();
  for (const id of document.order.peek()) {
    const key = document.contents.keyOf(id);
    if (key !== undefined) keys.add(key);
  }
  return keys;
}

/** Adds before a position, or at the end; asks what to do about what is there already. */
export async function addTo(document: ListDocument, items: readonly Item[], at?: number) {
  if (items.length === 0) return;
  const before = at === undefined ? undefined : document.idAt(at);
  const keys = await keysIn(document);
  const fresh = items.filter((item) => !keys.has(identityOf(item)));
  let answer: AddAnswer | undefined = "all";
  if (fresh.length < items.length) answer = await askAboutDuplicates(items.length, fresh.length);
  if (answer === undefined) return;
  const added = answer === "all" ? items : fresh;
  const place = before === undefined ? -1 : document.order.peek().indexOf(before);
  document.insert(added, place === -1 ? undefined : place);
}

/** Moves entries before the one at `at`, and tells where they are now. */
export function moveTo(document: ListDocument, positions: readonly number[], at: number) {
  const first = document.idAt(positions[0] ?? 0);
  document.move(positions, at);
  const place = document.order.peek().indexOf(first) + 1;
  announce(t("editor.moved_to", { place, total: document.total.peek() ?? 0 }));
}
