// The documents of this page, for who only asks about them: what edits is loaded when something is edited.
import { computed, signal } from "@preact/signals";
import type { ListDocument } from "./document.ts";

/** One a list, however many views show it. */
export const documents = signal<ReadonlyMap<string, ListDocument>>(new Map());

function listsThat(kind: "waiting" | "refused") {
  return [...documents.value.values()].filter(({ saveState }) => saveState.value.kind === kind);
}

/** Lists with edits that are sent again when they can be. */
export const waitingLists = computed(() => listsThat("waiting"));
/** Lists with edits that the server does not take. */
export const refusedLists = computed(() => listsThat("refused"));

/** How many lists have edits that the server does not have yet. */
export const unsaved = computed(
  () => [...documents.value.values()].filter(({ saveState }) => saveState.value.kind !== "saved").length,
);
