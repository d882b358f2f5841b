// What other rooms ask of playlists.
import { signal } from "@preact/signals";
import type { Chosen } from "../list/items.ts";

/** The node id of the list in the editor, at the right; undefined when that is closed. */
export const openListId = signal<string | undefined>(undefined);

/** Opens a list in the editor, or in the middle where there is no room for it. */
export function openList(id: string) {
  openListId.value = id;
}

/** Adds to the list in the editor; asks for one when none is open. */
export async function addToOpenList(_chosen: Chosen) {}

/** Asks for a list, or a new one, and adds to it. */
export async function addToOtherList(_chosen: Chosen) {}

/** Asks for a name, and makes a list of these. */
export async function saveAsList(_chosen: Chosen, _name: string) {}
