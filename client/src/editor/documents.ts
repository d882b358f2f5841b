// The documents of this page, one a list, however many views show it.
import { computed, effect, signal } from "@preact/signals";
import { connected } from "../api/http.ts";
import { idNow } from "../ui/history.ts";
import { user } from "../ui/session.tsx";
import { ListDocument } from "./document.ts";
import { listsWithPending } from "./pending.ts";

const documents = signal<ReadonlyMap<string, ListDocument>>(new Map());

export function documentOf(id: string): ListDocument {
  const now = idNow(id);
  for (const document of documents.peek().values()) if (document.listId === now) return document;
  const document = new ListDocument(now);
  documents.value = new Map(documents.peek()).set(now, document);
  void document.open();
  return document;
}

/** How many lists have edits that the server does not have yet. */
export const unsaved = computed(
  () => [...documents.value.values()].filter(({ saveState }) => saveState.value.kind !== "saved").length,
);

window.addEventListener("beforeunload", (event) => {
  if (unsaved.peek() > 0) event.preventDefault();
});

function saveAll() {
  for (const document of documents.peek().values()) {
    if (document.error.peek()) document.retry();
    else if (!document.saver.isDone) void document.saver.run();
  }
}

window.addEventListener("online", saveAll);
effect(() => {
  if (connected.value) saveAll();
});

// What an earlier page could not send goes on its way as soon as somebody is here.
effect(() => {
  if (!user.value) return;
  void listsWithPending().then((lists) => lists.forEach(documentOf));
  saveAll();
});
