// What the user thinks of songs: stars, ratings, and how often they were played.
import { ask, get, isAborted } from "../api/http.ts";
import type { Mark, Page } from "../api/types.ts";
import { t } from "../text/index.ts";
import { notifyFailure } from "../ui/notices.tsx";
import { carry, post } from "../ui/outbox.ts";

const NONE: Mark = { star: false, rating: 0, play_count: 0 };
const GATHER = 40; // milliseconds, in which what is drawn together is asked for together
const PAUSE = 200; // milliseconds between requests, while rows are scrolled by
const AT_ONCE = 200; // songs in a request
const KEPT = 5000; // far more than are drawn at once: one that is drawn is not forgotten

/** Those that were drawn last come last. */
const marks = new Map<number, Mark>();
const asked = new Set<number>();
const known = new Set<number>();
const followers = new Set<(song: number) => void>();
let gathering = 0;
let lastAsked = 0;

/** As it is known by now; one that is not is asked for. Who shows it has to `followMarks()`. */
export function markOf(song: number): Mark {
  if (!known.has(song)) want(song);
  const mark = marks.get(song) ?? NONE;
  keep(song, mark);
  return mark;
}

/** Calls `follower` with the song of each mark that changes, until what is given back is called. */
export function followMarks(follower: (song: number) => void): () => void {
  followers.add(follower);
  return () => followers.delete(follower);
}

/** Behind all others, as the one that was used last. */
function keep(song: number, mark: Mark) {
  marks.delete(song);
  marks.set(song, mark);
}

function show(song: number, mark: Mark) {
  keep(song, mark);
  for (const follower of followers) follower(song);
}

function want(song: number) {
  asked.add(song);
  const pause = lastAsked + PAUSE - performance.now();
  if (gathering === 0) gathering = window.setTimeout(fetchAsked, Math.max(GATHER, pause));
}

async function fetchAsked() {
  gathering = 0;
  lastAsked = performance.now();
  const songs = [...asked].slice(0, AT_ONCE);
  for (const song of songs) asked.delete(song);
  if (asked.size > 0) gathering = window.setTimeout(fetchAsked);
  for (const song of songs) known.add(song);
  try {
    const page = await get<Page<Mark & { song: number }>>("marks", {
      songs: songs.join(","),
      limit: AT_ONCE,
    });
    for (const { song, ...mark } of page.items) know(song, mark);
  } catch (error) {
    // The frame tells that there is no connection; what is drawn later asks again.
    if (isAborted(error)) return;
    for (const song of songs) known.delete(song);
  }
  forgetOldest();
}

/** Most are what was shown until they were known, and those need not be drawn anew. */
function know(song: number, mark: Mark) {
  const { star, rating, play_count } = marks.get(song) ?? NONE;
  const isSame = mark.star === star && mark.rating === rating && mark.play_count === play_count;
  if (!isSame) show(song, mark);
}

function forgetOldest() {
  for (const song of marks.keys()) {
    if (marks.size <= KEPT) return;
    marks.delete(song);
    known.delete(song);
  }
}

type Wish = Partial<Pick<Mark, "star" | "rating">>;

carry("mark", async ({ song, wish }: { song: number; wish: Wish }) => {
  show(song, (await ask<Mark>(`songs/${song}/mark`, {}, { method: "PUT", body: wish })).body);
});

async function change(song: number, wish: Wish) {
  const before = marks.get(song) ?? NONE;
  show(song, { ...before, ...wish });
  known.add(song);
  try {
    const key = `mark ${song} ${Object.keys(wish)}`;
    await post({ kind: "mark", key, label: t("playing.mark"), content: { song, wish } });
  } catch (error) {
    show(song, before);
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
    show(song, (await ask<Mark>(`songs/${song}/mark`, {}, options)).body);
    known.add(song);
  } catch {}
}
