// What can be done with songs, wherever they were chosen: the items of menus, and the same by buttons and keys.
import { songsDownload } from "../api/actions.ts";
import type { Item } from "../list/items.ts";
import { enqueue, play, playNext } from "../playback/commands.ts";
import { MOST_ENTRIES } from "../playback/queue.ts";
import { addToOpenList, addToOtherList, listToAddTo, saveAsList } from "../playlists/commands.ts";
import { playlistOf } from "../playlists/store.ts";
import { t } from "../text/index.ts";
import type { MenuItem } from "../ui/menu.tsx";
import { notify, notifyFailure } from "../ui/notices.tsx";
import { cut, sampleParts } from "./parts.ts";
import { Songs } from "./songs.ts";

/** As many as are queued; says so if that is not all. */
function queued(songs: Songs) {
  if ((songs.count ?? 0) <= MOST_ENTRIES) return songs;
  notify({ text: t("library.queued_first", { count: MOST_ENTRIES }) });
  return songs.part(0, MOST_ENTRIES);
}

/** Of more songs than are queued, some from everywhere. */
function shuffled(songs: Songs) {
  const parts = sampleParts(songs.count ?? 0, MOST_ENTRIES, Math.random);
  if (parts.length <= 1) return songs;
  return new Songs(songs.name, MOST_ENTRIES, async (from, to, stop) => {
    const items: Item[] = [];
    for (const { first, end } of cut(parts, from, to))
      items.push(...(await songs.loadSome(first, end, stop)));
    return items;
  });
}

export const playSongs = (songs: Songs, startAt = 0) => void play(queued(songs), { startAt });
export const shuffleSongs = (songs: Songs) => void play(shuffled(songs), { shuffle: true });
export const playSongsNext = (songs: Songs) => void playNext(queued(songs));
export const queueSongs = (songs: Songs) => void enqueue(queued(songs));
export const addToOpen = (songs: Songs) => void addToOpenList(songs);
export const addToOther = (songs: Songs) => void addToOtherList(songs);
export const saveAs = (songs: Songs) => void saveAsList(songs, songs.name);

/** The files: one as it is, several in an archive. */
export async function downloadSongs(songs: Songs) {
  try {
    const ids = (await songs.load()).flatMap(({ song }) => (song ? [song.id] : []));
    songsDownload(ids, `${songs.name}.zip`);
  } catch (error) {
    notifyFailure(t("library.not_downloaded"), error, () => void downloadSongs(songs));
  }
}

/** "Add to Rainy Sunday", as long as that is open. */
export function addLabel() {
  const id = listToAddTo.value;
  const name = id === undefined ? undefined : playlistOf(id)?.name;
  return name === undefined ? t("library.add_to") : t("library.add_to_named", { name });
}

function addItems(songs: Songs): MenuItem[] {
  const other = { label: t("library.add_to"), icon: "list", key: "L", run: () => addToOther(songs) } as const;
  if (listToAddTo.value === undefined) return [{ ...other, divided: true }];
  return [{ label: addLabel(), icon: "add", key: "A", divided: true, run: () => addToOpen(songs) }, other];
}

/** All of them, for a menu. */
export function songsMenu(songs: Songs): MenuItem[] {
  return [
    { label: t("library.play"), icon: "play", run: () => playSongs(songs) },
    { label: t("library.shuffle"), icon: "shuffle", run: () => shuffleSongs(songs) },
    { label: t("library.play_next"), icon: "next", run: () => playSongsNext(songs) },
    { label: t("library.enqueue"), icon: "queue", run: () => queueSongs(songs) },
    ...addItems(songs),
    { label: t("library.save_as"), icon: "edit", run: () => saveAs(songs) },
    { label: t("library.download"), icon: "download", divided: true, run: () => void downloadSongs(songs) },
  ];
}

/** The keys of a list for what is chosen in it; true when it was one of them. */
export function onSongsKey(event: KeyboardEvent, songs: () => Songs | undefined) {
  if (event.ctrlKey || event.metaKey || event.altKey) return false;
  const deed = { a: addToOpen, l: addToOther }[event.key.toLowerCase()];
  const chosen = deed && songs();
  if (!deed || !chosen) return false;
  deed(chosen);
  return true;
}
