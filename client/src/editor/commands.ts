// The list in the editor. What edits is loaded when something is edited.
import { effect } from "@preact/signals";
import type { Item } from "../list/items.ts";
import { idNow } from "../ui/history.ts";
import { keptForUser } from "../ui/kept.ts";
import { fetchPart } from "../ui/lazy.tsx";
import { user } from "../ui/session.tsx";
import { listsWithPending } from "./pending.ts";

/** The node id of the list in the editor, at the right; undefined when that is closed. */
export const openListId = keptForUser<string | undefined>(
  "open_list",
  undefined,
  (value) => typeof value === "string",
);

/** Opens a list in the editor. */
export function openList(id: string) {
  openListId.value = idNow(id);
}

export function closeList() {
  openListId.value = undefined;
}

/** Adds to the end of a list, whether it is open or not, and remembers that for undo. */
export async function appendTo(id: string, items: Item[]) {
  const [{ documentOf }, { addTo }] = await fetchPart(() =>
    Promise.all([import("./documents.ts"), import("./list_edits.ts")]),
  );
  const document = documentOf(id);
  await document.ready();
  await addTo(document, items);
}

// What an earlier page could not send goes on its way as soon as somebody is here.
effect(() => {
  if (user.value) void resumeEdits();
});

async function resumeEdits() {
  const lists = await listsWithPending();
  if (lists.length === 0) return;
  const { resumeEditsOf } = await fetchPart(() => import("./documents.ts"));
  for (const list of lists) resumeEditsOf(list);
}
