// How playlists are called, opened and taken as a whole.
import { readWhole } from "../api/playlists.ts";
import type { Playlist } from "../api/types.ts";
import { openList } from "../editor/commands.ts";
import { type Chosen, itemOf } from "../list/items.ts";
import { t } from "../text/index.ts";
import { isWide } from "../ui/media.ts";
import { goTo, linkTo } from "../ui/router.ts";

export function linkToPlaylist(id: string) {
  return linkTo(["playlists", id]);
}

export function nameOf(playlist: Playlist) {
  return playlist.kind === "random" ? t("playlists.random") : playlist.name;
}

/** All that a playlist holds; a smart or random one is asked for what it has now. */
export function chosenPlaylist(playlist: Playlist): Chosen {
  return {
    count: playlist.count,
    name: nameOf(playlist),
    playlist: playlist.id,
    load: async (stop) => (await readWhole(playlist.id, stop)).entries.map(itemOf),
  };
}

/** In the editor where there is room beside the view, else as the view. */
export function openPlaylist(playlist: Playlist) {
  if (playlist.kind === "list" && isWide.peek()) openList(playlist.id);
  else goTo(["playlists", playlist.id]);
}
