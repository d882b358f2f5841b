// What the user thinks of songs: stars, ratings, and how often they were played.
import { batch, type Signal, signal } from "@preact/signals";
import { ask, get, isAborted } from "../api/http.ts";
import type { Mark, Page } from "../api/types.ts";
import { t } from "../text/index.ts";
import { notifyFailure } from "../ui/notices.tsx";
import { carry, post } from "../ui/outbox.ts";

const NONE: Mark = { star: false, rating: 0, play_count: 0 };
const GATHER = 40; // milliseconds, in which what is drawn together is asked for together
const AT_ONCE = 200; // songs in a request
const KEPT = 5000;

const marks = new Map<number, Signal<Mark>>();
const asked = new Set<number>();
const known = new Set<number>();
let gathering = 0;

/** Read while drawing, it draws anew when the mark is known or changes. */
export function markOf(song: number): Mark {
  if (!known.has(song)) want(song);
  return signalOf(song).value;
}

function signalOf(song: number) {
  const mark = marks.get(song) ?? signal(NONE);
  marks.delete(song); // behind all others, as the one that was used last
  marks.set(song, mark);
  return mark;
}

function want(song: number) {
  asked.add(song);
  if (gathering === 0) gathering = window.setTimeout(fetchAsked, GATHER);
}

async function fetchAsked() {
  gathering = 0;
  const songs = [...asked].slice(0, AT_ONCE);
  for (const song of songs) asked.delete(song);
  if (asked.size > 0) gathering = window.setTimeout(fetchAsked);
  for (const song of songs) known.add(song);
  try {
    const page = await get<Page<Mark & { song: number }>>("marks", {
      songs: songs.join(","),
      limit: AT_ONCE,
    });
    batch(() => {
      for (const { song, ...mark } of page.items) know(song, mark);
    });
  } catch (error) {
    // The frame tells that there is no connection; what is drawn later asks again.
    if (isAborted(error)) return;
    for (const song of songs) known.delete(song);
  }
  forgetOldest();
}

/** Most are what was shown until they were known, and those need not be drawn anew. */
function know(song: number, mark: Mark) {
  const shown = signalOf(song);
  const { star, rating, play_count } = shown.peek();
  const isSame = mark.star === star && mark.rating === rating && mark.play_count === play_count;
  if (!isSame) shown.value = mark;
}

function forgetOldest() {
  for (const song of marks.keys()) {
    if (marks.size <= KEPT) return;
    marks.delete(song);
    known.delete(song);
  }
}

/** Forgets all, as another user has come. */
export function forgetMarks() {
  for (const mark of marks.values()) mark.value = NONE;
  marks.clear();
  known.clear();
}

type Wish = Partial<Pick<Mark, "star" | "rating">>;

carry("mark", async ({ song, wish }: { song: number; wish: Wish }) => {
  signalOf(song).value = (await ask<Mark>(`songs/${song}/mark`, {}, { method: "PUT", body: wish })).body;
});

async function change(song: number, wish: Wish) {
  const mark = signalOf(song);
  const before = mark.peek();
  mark.value = { ...before, ...wish };
  known.add(song);
  try {
    const key = `mark ${song} ${Object.keys(wish)}`;
    await post({ kind: "mark", key, label: t("playing.mark"), content: { song, wish } });
  } catch (error) {
    mark.value = before;
    notifyFailure(t("playing.mark_failed"), error, () => void change(song, wish));
  }
}

export function setStar(song: number, star: boolean) {
  return change(song, { star });
}

/** 1 to 5; 0: none. */
export function setRating(song: number, rating: number) {
  return change(song, { rating });
}

/** The song was heard. A count that is lost with the connection is no loss that people are told of. */
export async function countPlay(song: number) {
  try {
    const options = { method: "POST", body: { played: true }, keepalive: true } as const;
    signalOf(song).value = (await ask<Mark>(`songs/${song}/mark`, {}, options)).body;
    known.add(song);
  } catch {}
}
