// What other rooms ask of playlists.
import type { LibraryName } from "../api/types.ts";
import { appendTo, openListId } from "../editor/commands.ts";
import type { Chosen, Item } from "../list/items.ts";
import { t } from "../text/index.ts";
import { notifyFailure } from "../ui/notices.tsx";
import { chooseLists } from "./add_dialog.tsx";
import { makeList } from "./edits.ts";
import { askForName } from "./name_dialog.tsx";
import { rememberUse } from "./recent.ts";

/** Loads what was chosen; a failure is told, with a way to try again. */
async function withItems(chosen: Chosen, use: (items: Item[]) => Promise<unknown>) {
  try {
    await use(await chosen.load());
  } catch (error) {
    notifyFailure(t("playlists.not_added"), error, () => void withItems(chosen, use));
  }
}

/** Adds to a list. */
export function addTo(id: string, chosen: Chosen) {
  rememberUse(id);
  return withItems(chosen, (items) => appendTo(id, items));
}

/** Adds to the list in the editor; asks for one when none is open. */
export async function addToOpenList(chosen: Chosen) {
  const id = openListId.peek();
  if (id === undefined) await addToOtherList(chosen);
  else await addTo(id, chosen);
}

/** Asks for lists, or a new one, and adds to them. */
export async function addToOtherList(chosen: Chosen) {
  const answer = await chooseLists(chosen);
  if (!answer) return;
  if ("name" in answer) return void (await saveAsList(chosen, answer.name || (chosen.name ?? "")));
  await withItems(chosen, async (items) => {
    for (const id of answer.ids) {
      rememberUse(id);
      await appendTo(id, items);
    }
  });
}

/** Asks for a name and a library, and makes a list of these; the answer is its id. */
export function saveAsList(chosen: Chosen, name: string, library: LibraryName = "personal") {
  return askForName({
    title: t("playlists.save_as"),
    name,
    library,
    submit: t("playlists.save"),
    take: async (newName, itsLibrary) => {
      const id = await makeList({ name: newName, library: itsLibrary, items: await chosen.load() });
      rememberUse(id);
      return id;
    },
  });
}
