// What plays, for the keys of keyboards and headphones, lock screens and the title of the page.
import { computed, effect } from "@preact/signals";
import { artistOf, titleOf } from "../list/items.ts";
import { coverAddress } from "./controls.tsx";
import { player } from "./players.ts";

const ARTWORK = [96, 320, 640] as const;

function describe() {
  const item = player.value.item.value;
  if (!item) return null;
  const artwork = ARTWORK.flatMap((size) => {
    const src = coverAddress(item, size);
    return src === undefined ? [] : [{ src, sizes: `${size}x${size}` }];
  });
  return new MediaMetadata({
    title: titleOf(item),
    artist: artistOf(item),
    album: item.song?.album ?? "",
    artwork,
  });
}

function tellPosition(session: MediaSession) {
  const { duration, elapsed } = player.value;
  const end = duration.value;
  if (end === undefined || end <= 0) session.setPositionState();
  else session.setPositionState({ duration: end, position: Math.max(0, Math.min(end, elapsed.value)) });
}

if ("mediaSession" in navigator) {
  const session = navigator.mediaSession;
  effect(() => {
    session.metadata = describe();
  });
  effect(() => {
    session.playbackState = player.value.isPlaying.value ? "playing" : "paused";
  });
  effect(() => tellPosition(session));
  session.setActionHandler("play", () => player.peek().play());
  session.setActionHandler("pause", () => player.peek().pause());
  session.setActionHandler("previoustrack", () => player.peek().previous());
  session.setActionHandler("nexttrack", () => player.peek().next());
  session.setActionHandler("seekto", ({ seekTime }) => player.peek().seek(seekTime ?? 0));
}

// Views have titles of their own; who looks at another page sees in the title what plays.
const playing = computed(() => {
  const { item, isPlaying } = player.value;
  if (!item.value || !isPlaying.value) return undefined;
  return [titleOf(item.value), artistOf(item.value)].filter((part) => part !== "").join(" – ");
});
let titleOfView: string | undefined;

function updateTitle() {
  if (document.hidden && playing.peek() !== undefined) {
    titleOfView ??= document.title;
    document.title = playing.peek() ?? "";
  } else if (titleOfView !== undefined) {
    document.title = titleOfView;
    titleOfView = undefined;
  }
}

playing.subscribe(updateTitle);
document.addEventListener("visibilitychange", updateTitle);
