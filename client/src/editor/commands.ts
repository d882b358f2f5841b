// The list in the editor.
import { effect, signal } from "@preact/signals";
import type { Item } from "../list/items.ts";
import { idNow } from "../ui/history.ts";
import { documentOf } from "./documents.ts";
import { addTo } from "./list_edits.ts";

const KEPT = "open_list";

/** The node id of the list in the editor, at the right; undefined when that is closed. */
export const openListId = signal<string | undefined>(localStorage.getItem(KEPT) ?? undefined);

effect(() => {
  if (openListId.value === undefined) localStorage.removeItem(KEPT);
  else localStorage.setItem(KEPT, openListId.value);
});

/** Opens a list in the editor. */
export function openList(id: string) {
  openListId.value = idNow(id);
}

export function closeList() {
  openListId.value = undefined;
}

/** Adds to the end of a list, whether it is open or not, and remembers that for undo. */
export async function appendTo(id: string, items: Item[]) {
  const document = documentOf(id);
  await document.ready();
  await addTo(document, items);
}
