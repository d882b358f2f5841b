// What can be done with songs, wherever they were chosen: the items of menus, and the same by buttons and keys.
import { songsDownload } from "../api/actions.ts";
import { openListId } from "../editor/commands.ts";
import type { Item } from "../list/items.ts";
import { enqueue, play, playNext } from "../playback/commands.ts";
import { addToOpenList, addToOtherList, saveAsList } from "../playlists/commands.ts";
import { t } from "../text/index.ts";
import type { MenuItem } from "../ui/menu.tsx";
import { notify, notifyFailure, Refusal } from "../ui/notices.tsx";
import { sampleParts } from "./sample.ts";
import { Songs } from "./songs.ts";

/** As many songs as are queued at once: enough for days, and there within a second. */
export const MOST_QUEUED = 2000;

/** Tells a failure, and offers to do it again. */
async function attempt(work: () => Promise<unknown>): Promise<void> {
  try {
    await work();
  } catch (error) {
    notifyFailure("", error, error instanceof Refusal ? undefined : () => void attempt(work));
  }
}

/** As many as are queued at once; says so if that is not all. */
function queued(songs: Songs) {
  if ((songs.count ?? 0) <= MOST_QUEUED) return songs;
  notify({ text: t("library.queued_first", { count: MOST_QUEUED }) });
  return songs.part(0, MOST_QUEUED);
}

/** Of more songs than are queued, some from everywhere. */
function shuffled(songs: Songs) {
  const parts = sampleParts(songs.count ?? 0, MOST_QUEUED, Math.random);
  if (parts.length <= 1) return songs;
  return new Songs(songs.name, MOST_QUEUED, async (_, __, stop) => {
    const items: Item[] = [];
    for (const { first, end } of parts) items.push(...(await songs.part(first, end).load(stop)));
    return items;
  });
}

export const playSongs = (songs: Songs, startAt = 0) => attempt(() => play(queued(songs), { startAt }));
export const shuffleSongs = (songs: Songs) => attempt(() => play(shuffled(songs), { shuffle: true }));
export const playSongsNext = (songs: Songs) => attempt(() => playNext(queued(songs)));
export const queueSongs = (songs: Songs) => attempt(() => enqueue(queued(songs)));
export const addToOpen = (songs: Songs) => attempt(() => addToOpenList(songs));
export const addToOther = (songs: Songs) => attempt(() => addToOtherList(songs));
export const saveAs = (songs: Songs) => attempt(() => saveAsList(songs, songs.name));

/** The files: one as it is, several in an archive. */
export function downloadSongs(songs: Songs) {
  return attempt(async () => {
    const ids = (await songs.load()).flatMap(({ song }) => (song ? [song.id] : []));
    songsDownload(ids, ids.length === 1 ? "" : `${songs.name}.zip`);
  });
}

/** "Add to Rainy Sunday", as long as that is open. */
export function addLabel() {
  return openListId.value === undefined ? t("library.add_to_open") : t("library.add_to_open");
}

/** All of them, for a menu. */
export function songsMenu(songs: Songs): MenuItem[] {
  return [
    { label: t("library.play"), icon: "play", run: () => void playSongs(songs) },
    { label: t("library.shuffle"), icon: "shuffle", run: () => void shuffleSongs(songs) },
    { label: t("library.play_next"), icon: "next", run: () => void playSongsNext(songs) },
    { label: t("library.enqueue"), icon: "queue", run: () => void queueSongs(songs) },
    { label: addLabel(), icon: "add", key: "A", divided: true, run: () => void addToOpen(songs) },
    { label: t("library.add_to"), icon: "list", key: "L", run: () => void addToOther(songs) },
    { label: t("library.save_as"), icon: "edit", run: () => void saveAs(songs) },
    { label: t("library.download"), icon: "download", divided: true, run: () => void downloadSongs(songs) },
  ];
}

/** The keys of a list for what is chosen in it; true when it was one of them. */
export function onSongsKey(event: KeyboardEvent, songs: () => Songs | undefined) {
  if (event.ctrlKey || event.metaKey || event.altKey) return false;
  const deed = { a: addToOpen, l: addToOther }[event.key.toLowerCase()];
  const chosen = deed && songs();
  if (!deed || !chosen) return false;
  void deed(chosen);
  return true;
}
