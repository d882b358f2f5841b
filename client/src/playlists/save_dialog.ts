// Asks for a name, and makes a list of what was chosen.
import type { LibraryName } from "../api/types.ts";
import type { Chosen } from "../list/items.ts";
import { t } from "../text/index.ts";
import { makeList } from "./edits.ts";
import { askForName } from "./name_dialog.tsx";
import { rememberUse } from "./recent.ts";

export function askToSave(chosen: Chosen, name: string, library: LibraryName) {
  return askForName({
    title: t("playlists.save_as"),
    name,
    library,
    submit: t("playlists.save"),
    take: async (itsName, itsLibrary) => {
      rememberUse(await makeList({ name: itsName, library: itsLibrary, items: await chosen.load() }));
    },
  });
}
