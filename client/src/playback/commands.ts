// What other rooms ask of the player: this browser, or the player of the house that is chosen.
import type { Chosen } from "../list/items.ts";

/** Plays these instead of what is queued, from `startAt` on. */
export async function play(_chosen: Chosen, _options: { startAt?: number; shuffle?: boolean } = {}) {}

/** Puts them behind the song that plays. */
export async function playNext(_chosen: Chosen) {}

/** Puts them behind all that is queued. */
export async function enqueue(_chosen: Chosen) {}
