// The documents of this page, for who only asks about them: what edits is loaded when something is edited.
import { computed, signal } from "@preact/signals";
import type { ListDocument } from "./document.ts";

/** One a list, however many views show it. */
export const documents = signal<ReadonlyMap<string, ListDocument>>(new Map());

/** How many lists have edits that the server does not have yet. */
export const unsaved = computed(
  () => [...documents.value.values()].filter(({ saveState }) => saveState.value.kind !== "saved").length,
);
