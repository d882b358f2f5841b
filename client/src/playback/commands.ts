// What other rooms ask of the player: this browser, or the player of the house that is chosen.
import { computed } from "@preact/signals";
import { isAborted } from "../api/http.ts";
import type { Chosen } from "../list/items.ts";
import { t } from "../text/index.ts";
import { notifyFailure } from "../ui/notices.tsx";
import { player } from "./players.ts";

/** The id of the song that plays, or is held. */
export const currentSongId = computed(() => player.value.item.value?.song?.id);

/** Whether it plays. */
export const isPlaying = computed(() => player.value.isPlaying.value);

async function attempt(work: () => Promise<void>) {
  try {
    await work();
  } catch (error) {
    if (!isAborted(error)) notifyFailure(t("playing.failed"), error, () => void attempt(work));
  }
}

/** Plays these instead of what is queued, from `startAt` on. */
export function play(chosen: Chosen, options: { startAt?: number; shuffle?: boolean } = {}) {
  return attempt(() => player.peek().playItems(chosen, options));
}

/** Puts them behind the song that plays. */
export function playNext(chosen: Chosen) {
  return attempt(() => player.peek().insertNext(chosen));
}

/** Puts them behind all that is queued. */
export function enqueue(chosen: Chosen) {
  return attempt(() => player.peek().append(chosen));
}
