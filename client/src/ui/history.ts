// Undo and redo, of everything that people do to playlists.
import { computed, signal } from "@preact/signals";
import { t } from "../text/index.ts";
import { notify, notifyFailure } from "./notices.tsx";

/** Something that was done. Undoing it is another edit, so it may fail, and survives what others did. */
export interface Deed {
  /** What was done: "Removed 3 songs". */
  label: string;
  /** The node id of the playlist that it was done to; changes when the list is made anew. */
  playlist?: string;
  undo: () => Promise<void>;
  redo: () => Promise<void>;
}

const MOST = 200;

const done = signal<readonly Deed[]>([]);
const undone = signal<readonly Deed[]>([]);

/** What can be undone and redone, the last one last. */
export const history = computed(() => ({ done: done.value, undone: undone.value }));

/** Remembers what was just done, and says so in a line with an "Undo". */
export function record(deed: Deed, options: { silent?: boolean } = {}) {
  done.value = [...done.value, deed].slice(-MOST);
  undone.value = [];
  if (options.silent) return;
  notify({ text: deed.label, action: { label: t("undo"), run: () => void undo(deed) } });
}

async function move(from: typeof done, to: typeof done, deed: Deed | undefined, work: "undo" | "redo") {
  if (!deed || !from.value.includes(deed)) return;
  from.value = from.value.filter((other) => other !== deed);
  try {
    await deed[work]();
    to.value = [...to.value, deed];
    notify({ text: t(work === "undo" ? "undone" : "redone", { what: deed.label }), lasts: 4 });
  } catch (error) {
    from.value = [...from.value, deed];
    notifyFailure(t("error.not_done", { what: deed.label }), error, () => void move(from, to, deed, work));
  }
}

/** Undoes the last deed, or this one. */
export function undo(deed: Deed | undefined = done.value.at(-1)) {
  return move(done, undone, deed, "undo");
}

export function redo(deed: Deed | undefined = undone.value.at(-1)) {
  return move(undone, done, deed, "redo");
}
