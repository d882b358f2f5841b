// How playlists are called, opened and taken as a whole.
import { get } from "../api/http.ts";
import { type PlaylistPage, playlistPath, readWhole } from "../api/playlists.ts";
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
  const { id, count, kind } = playlist;
  const path = playlistPath(id);
  const chosen: Chosen = {
    count,
    name: nameOf(playlist),
    playlist: id,
    load: async (stop) => (await readWhole(id, stop)).entries.map(itemOf),
  };
  if (kind === "random") return chosen; // it has others each time
  return {
    ...chosen,
    loadSome: async (offset, end, stop) =>
      (await get<PlaylistPage>(path, { offset, limit: end - offset }, stop)).items.map(itemOf),
  };
}

/** In the editor where there is room beside the view, else as the view. */
export function openPlaylist(playlist: Playlist) {
  if (playlist.kind === "list" && isWide.peek()) openList(playlist.id);
  else goTo(["playlists", playlist.id]);
}
