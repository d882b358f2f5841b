// What the editor asks of playlists as a whole, which are fetched when they are asked.
import type { Playlists } from "../editor/editor_panel.tsx";
import { fetchPart, withPart } from "../ui/lazy.tsx";
import { addToOtherList } from "./commands.ts";

export const forEditor: Playlists = {
  addToOther: addToOtherList,
  rename: (playlist) =>
    void withPart(
      () => import("./playlist_actions.ts"),
      ({ askForRename }) => askForRename(playlist),
    ),
  makeAgain: async (gone) => (await fetchPart(() => import("./edits.ts"))).makeAgain(gone),
};
