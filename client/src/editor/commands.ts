// The list in the editor.
import { signal } from "@preact/signals";
import type { Item } from "../list/items.ts";

/** The node id of the list in the editor, at the right; undefined when that is closed. */
export const openListId = signal<string | undefined>(undefined);

/** Opens a list in the editor. */
export function openList(id: string) {
  openListId.value = id;
}

/** Adds to the end of a list, whether it is open or not, and remembers that for undo. */
export async function appendTo(_id: string, _items: Item[]) {}
