// What other rooms ask of playlists.
import { computed } from "@preact/signals";
import { RequestError } from "../api/http.ts";
import type { LibraryName } from "../api/types.ts";
import { appendTo, openListId } from "../editor/commands.ts";
import type { Chosen, Item } from "../list/items.ts";
import { t } from "../text/index.ts";
import { fetchPart, withPart } from "../ui/lazy.tsx";
import { isWide } from "../ui/media.ts";
import { notifyFailure } from "../ui/notices.tsx";
import { carry } from "../ui/outbox.ts";
import { recentLists, rememberUse } from "./recent.ts";
import { playlistOf } from "./store.ts";

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

/** What "add" adds to: the list in the editor; where there is no room for that beside the view, the one used last. */
export const listToAddTo = computed(() => {
  if (openListId.value !== undefined || isWide.value) return openListId.value;
  return recentLists.value.find((id) => playlistOf(id)?.kind === "list");
});

/** Adds to that list; asks for one when there is none. */
export async function addToOpenList(chosen: Chosen) {
  const id = listToAddTo.peek();
  if (id === undefined) await addToOtherList(chosen);
  else await addTo(id, chosen);
}

/** Asks for lists, or a new one, and adds to them. */
export function addToOtherList(chosen: Chosen) {
  return withPart(
    () => import("./add_dialog.tsx"),
    async ({ chooseLists }) => {
      const answer = await chooseLists(chosen);
      if (!answer) return;
      if ("name" in answer) await saveAsList(chosen, answer.name || (chosen.name ?? ""));
      else await addToEach(answer.ids, chosen);
    },
  );
}

function addToEach(ids: string[], chosen: Chosen) {
  return withItems(chosen, async (items) => {
    while (ids[0] !== undefined) {
      await appendTo(ids[0], items);
      rememberUse(ids[0]);
      ids.shift(); // so that trying again adds to the others only
    }
  });
}

/** Asks for a name and a library, and makes a list of these. */
export function saveAsList(chosen: Chosen, name: string, library: LibraryName = "personal") {
  return withPart(
    () => import("./save_dialog.ts"),
    ({ askToSave }) => askToSave(chosen, name, library),
  );
}

// Of an earlier page; what sends it is fetched, which may have to wait as well.
for (const kind of ["rename", "delete", "duplicate"] as const) {
  carry(kind, async (content: never) => {
    const { senders } = await fetchPart(() => import("./edits.ts")).catch(() => {
      throw new RequestError(0, undefined);
    });
    await senders[kind](content);
  });
}
