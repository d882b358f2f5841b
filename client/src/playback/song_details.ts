// What the library knows of the song that plays: queues and players tell less of it, as where it is in the library.
import { effect, type ReadonlySignal, type Signal, signal } from "@preact/signals";
import { get } from "../api/http.ts";
import type { Song, WholeSong } from "../api/types.ts";
import type { Item } from "../list/items.ts";

/** The entry, with all that is known of its song as soon as it is there. */
export function withDetails(item: ReadonlySignal<Item | undefined>): Signal<Item | undefined> {
  const whole = signal<Item | undefined>(undefined);
  let details: WholeSong | undefined;
  effect(() => {
    const { value } = item;
    const song = value?.song;
    if (!song || song.album_id !== undefined) {
      whole.value = value;
      return;
    }
    whole.value = details?.id === song.id ? { song: details } : value;
    if (details?.id === song.id) return;
    void fetchDetails(song).then((found) => {
      if (!found || item.peek()?.song?.id !== found.id) return;
      details = found;
      whole.value = { song: found };
    });
  });
  return whole;
}

async function fetchDetails({ id }: Song) {
  try {
    return await get<WholeSong>(`songs/${id}`);
  } catch {
    return undefined; // what is known of it has to do
  }
}
