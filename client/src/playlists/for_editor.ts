// What the editor asks of playlists as a whole, which are fetched when they are asked.
import type { Playlists } from "../editor/editor_panel.tsx";
import { fetchPart, withPart } from "../ui/lazy.tsx";
import { addToOtherList, saveAsList } from "./commands.ts";

function act(use: (actions: typeof import("./playlist_actions.ts")) => unknown) {
  return withPart(() => import("./playlist_actions.ts"), use);
}

export const forEditor: Playlists = {
  addToOther: addToOtherList,
  saveAs: saveAsList,
  openMenu: (playlist, place, own) => act(({ showMenuOfOpen }) => showMenuOfOpen(playlist, place, own)),
  rename: (playlist) => act(({ askForRename }) => askForRename(playlist)),
  makeAgain: async (gone) => (await fetchPart(() => import("./edits.ts"))).makeAgain(gone),
};
