// What the screen is like, as state.
import { type ReadonlySignal, signal } from "@preact/signals";

export function mediaMatches(query: string): ReadonlySignal<boolean> {
  const media = matchMedia(query);
  const matches = signal(media.matches);
  media.addEventListener("change", () => {
    matches.value = media.matches;
  });
  return matches;
}

/** A phone. */
export const isNarrow = mediaMatches("(max-width: 699px)");
/** There is room for the editor beside the view. */
export const isWide = mediaMatches("(min-width: 1100px)");
/** Fingers press here. */
export const isCoarse = mediaMatches("(pointer: coarse)");
