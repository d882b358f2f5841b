// What people do with whole playlists, from the tree and the views alike.
import { downloadAddress } from "../api/actions.ts";
import { address, RequestError } from "../api/http.ts";
import { playlistPath } from "../api/playlists.ts";
import type { LibraryName, Playlist } from "../api/types.ts";
import { openList } from "../editor/commands.ts";
import { enqueue, play, playNext } from "../playback/commands.ts";
import { t } from "../text/index.ts";
import { type MenuItem, openMenu } from "../ui/menu.tsx";
import { notify, notifyFailure } from "../ui/notices.tsx";
import { goTo } from "../ui/router.ts";
import { addToOtherList, saveAsList } from "./commands.ts";
import {
  deleteForGood,
  deletePlaylists,
  duplicate,
  makeList,
  otherLibrary,
  renamePlaylist,
} from "./edits.ts";
import { askForName, askToDeleteForGood } from "./name_dialog.tsx";
import { chosenPlaylist, nameOf, openPlaylist } from "./opening.ts";

/** As the server writes them. */
const FORMATS = ["m3u8", "m3u", "pls", "xspf", "jspf"] as const;
/** Deleting more than these tells how far it is, and can be stopped. */
const QUICK_DELETES = 5;

type Place = HTMLElement | { x: number; y: number };

export async function newList(library: LibraryName = "personal", name = "") {
  const id = await askForName({
    title: t("playlists.new"),
    name,
    library,
    submit: t("playlists.make"),
    take: (itsName, itsLibrary) => makeList({ name: itsName, library: itsLibrary, items: [] }),
  });
  if (id !== undefined) openPlaylist({ id, name, library, kind: "list" });
}

export async function askForRename(playlist: Playlist) {
  await askForName({
    title: t("playlists.rename"),
    name: playlist.name,
    submit: t("playlists.rename"),
    kind: playlist.kind,
    within: playlist.library,
    take: async (name) => {
      if (name !== playlist.name) await renamePlaylist(playlist, name);
    },
  });
}

/** By the name that it has, if that is free in the other library; else it is asked for. */
export async function duplicatePlaylist(playlist: Playlist) {
  try {
    await duplicate(playlist, playlist.name);
  } catch (error) {
    const isTaken = error instanceof RequestError && error.key === "playlist/playlist_name_exist";
    if (!isTaken) {
      return notifyFailure(t("playlists.not_duplicated", { name: playlist.name }), error, () => {
        void duplicatePlaylist(playlist);
      });
    }
    await askForName({
      title: labelOfDuplicate(playlist),
      name: playlist.name,
      submit: t("playlists.make"),
      hint: t("playlists.duplicate_name_taken"),
      kind: playlist.kind,
      within: otherLibrary(playlist.library),
      take: (name) => duplicate(playlist, name),
    });
  }
}

function labelOfDuplicate({ library }: Playlist) {
  return t(otherLibrary(library) === "shared" ? "playlists.copy_to_shared" : "playlists.copy_to_mine");
}

/** What cannot be read cannot be brought back: that is asked first. */
async function deleteUnreadable(playlist: Playlist) {
  if (!(await askToDeleteForGood(playlist.name))) return;
  try {
    await deleteForGood(playlist);
  } catch (error) {
    const what = t("playlists.not_deleted", { name: playlist.name });
    notifyFailure(what, error, () => void deleteUnreadable(playlist));
  }
}

export async function deleteAll(all: readonly Playlist[]) {
  const isReadable = ({ unreadable, missing }: Playlist) => !unreadable && !missing;
  const lists = all.filter(isReadable);
  if (lists.length > 0) await deleteReadable(lists);
  for (const playlist of all) if (!isReadable(playlist)) await deleteUnreadable(playlist);
}

async function deleteReadable(lists: readonly Playlist[]) {
  const stop = new AbortController();
  const isLong = lists.length > QUICK_DELETES;
  const text = t("playlists.deleting", { count: lists.length });
  const done = isLong
    ? notify({ text, lasts: 0, action: { label: t("cancel"), run: () => stop.abort() } })
    : () => {};
  const { failed } = await deletePlaylists(lists, stop.signal);
  done();
  const [first] = failed;
  if (!first) return;
  const what =
    failed.length === 1
      ? t("playlists.not_deleted", { name: first.playlist.name })
      : t("playlists.not_deleted_several", { count: failed.length });
  const { error } = first;
  if (error instanceof RequestError && error.key === "playlist/name_with_comma") {
    return notifyFailure(what, error, () => void askForRename(first.playlist));
  }
  notifyFailure(what, error, () => void deleteAll(failed.map(({ playlist }) => playlist)));
}

/** The browser saves what is at the address. */
function save(href: string, name: string) {
  const link = document.createElement("a");
  link.href = href;
  link.download = name;
  link.click();
}

export function downloadZip(playlist: Playlist) {
  const name = nameOf(playlist);
  save(downloadAddress(playlist.id, name), `${name}.zip`);
}

export function showExports(playlist: Playlist, place: Place) {
  const items = FORMATS.map((format) => ({
    label: t(`playlists.as_${format}`),
    run: () => save(address(`api/${playlistPath(playlist.id)}`, { format }), `${nameOf(playlist)}.${format}`),
  }));
  openMenu(place, t("playlists.export"), items);
}

function playItems(playlist: Playlist): MenuItem[] {
  const chosen = chosenPlaylist(playlist);
  return [
    { label: t("playlists.play"), icon: "play", run: () => void play(chosen) },
    { label: t("playlists.play_next"), icon: "queue", run: () => void playNext(chosen) },
    { label: t("playlists.enqueue"), icon: "queue", run: () => void enqueue(chosen) },
    { label: t("playlists.add_to"), icon: "add", key: "L", run: () => void addToOtherList(chosen) },
  ];
}

function editItems(playlist: Playlist): MenuItem[] {
  const { kind, id } = playlist;
  if (kind === "random") return [];
  const rule: MenuItem = {
    label: t("playlists.edit_rule"),
    icon: "smart",
    divided: true,
    run: () => goTo(["smart", id]),
  };
  return [
    ...(kind === "smart" ? [rule] : []),
    {
      label: t("playlists.rename"),
      icon: "edit",
      key: "F2",
      divided: kind === "list",
      run: () => void askForRename(playlist),
    },
  ];
}

/** What makes something else of it, or nothing. */
function awayItems(playlist: Playlist, place: Place): MenuItem[] {
  const copy: MenuItem = {
    label: labelOfDuplicate(playlist),
    icon: "list",
    run: () => void duplicatePlaylist(playlist),
  };
  const remove: MenuItem = {
    label: t("playlists.delete"),
    icon: "trash",
    key: "Del",
    danger: true,
    divided: true,
    run: () => void deleteAll([playlist]),
  };
  const isRandom = playlist.kind === "random";
  return [
    ...(isRandom ? [] : [copy]),
    {
      label: t("playlists.download"),
      icon: "download",
      divided: true,
      run: () => downloadZip(playlist),
    },
    { label: t("playlists.export"), icon: "download", run: () => showExports(playlist, place) },
    ...(isRandom ? [] : [remove]),
  ];
}

/** The menu of a list that is open: what its editor offers, and what can be done with any list. */
export function showMenuOfOpen(playlist: Playlist, place: Place, own: MenuItem[]) {
  openMenu(place, t("menu"), [...own, ...awayItems(playlist, place)]);
}

/** All that can be done with a playlist. */
export function menuOf(playlist: Playlist, place: Place): MenuItem[] {
  const isList = playlist.kind === "list";
  const saveAs: MenuItem = {
    label: t("playlists.save_as"),
    icon: "list",
    run: () => void saveAsList(chosenPlaylist(playlist), nameOf(playlist), playlist.library),
  };
  return [
    { label: t("playlists.open"), icon: "list", run: () => goTo(["playlists", playlist.id]) },
    ...(isList
      ? [{ label: t("playlists.open_beside"), icon: "columns" as const, run: () => openList(playlist.id) }]
      : []),
    ...playItems(playlist),
    saveAs,
    ...editItems(playlist),
    ...awayItems(playlist, place),
  ];
}

/** The same behind what is offered only where the menu opens. */
export function showMenu(playlist: Playlist, place: Place, own: MenuItem[] = []) {
  const items = menuOf(playlist, place);
  if (items[0]) items[0].divided = own.length > 0;
  openMenu(place, nameOf(playlist), [...own, ...items]);
}

/** What can be made anew. */
export function showNewMenu(place: Place) {
  openMenu(place, t("playlists.new"), [
    { label: t("playlists.new"), icon: "list", run: () => void newList() },
    { label: t("playlists.new_smart"), icon: "smart", run: () => goTo(["smart", "new"]) },
    { label: t("playlists.import"), icon: "import", run: () => goTo(["import"]) },
  ]);
}
