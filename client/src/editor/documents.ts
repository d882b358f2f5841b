// Makes the documents of this page, and keeps them up to date.
import { effect } from "@preact/signals";
import { connected } from "../api/http.ts";
import { idNow } from "../ui/history.ts";
import { user } from "../ui/session.tsx";
import { ListDocument } from "./document.ts";
import { documents, unsaved } from "./open_documents.ts";

const LOOKS_EVERY = 30_000; // milliseconds

export function documentOf(id: string): ListDocument {
  const now = idNow(id);
  const all = documents.peek();
  for (const document of all.values()) if (document.listId === now) return document;
  const document = new ListDocument(now);
  documents.value = new Map(all).set(now, document);
  void document.open();
  return document;
}

/** Several pages may have left edits of one list: each has a document that sends them, and the first one is shown. */
export function resumeEditsOf(id: string) {
  const document = new ListDocument(id);
  documents.value = new Map(documents.peek()).set(`${id} ${documents.peek().size}`, document);
  void document.open();
}

// Who is logged out has nothing to wait for: the edits are kept until they come back.
window.addEventListener("beforeunload", (event) => {
  if (user.peek() && unsaved.peek() > 0) event.preventDefault();
});

function resume() {
  for (const document of documents.peek().values()) {
    if (document.error.peek()) document.retry();
    else if (!document.saver.isDone) void document.saver.run();
  }
}

window.addEventListener("online", resume);
effect(() => {
  if (connected.value && user.value) resume();
});

/** Looks what others did to the lists that are shown. */
function look() {
  if (window.document.hidden) return;
  for (const document of documents.peek().values()) if (document.views.size > 0) void document.refresh();
}

window.addEventListener("focus", look);
window.document.addEventListener("visibilitychange", look);
setInterval(look, LOOKS_EVERY);
