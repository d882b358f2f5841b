// Undo and redo, of everything that people do to playlists.
import { computed, signal } from "@preact/signals";
import { t } from "../text/index.ts";
import { notify, notifyFailure } from "./notices.tsx";

/**
 * Something that was done. Undoing it is another edit, so it may fail, and survives what others did. It names lists
 * by `idNow()`, as one that was deleted meanwhile, and brought back, has another id.
 */
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

/** The ids that lists have now which were made anew or renamed, by those that they had. */
const newIds = new Map<string, string>();

/** The id that a list has now, for those who knew it by an older one. */
export function idNow(id: string) {
  return newIds.get(id) ?? id;
}

/** A list has another id from now on: a deleted one was made again, say. */
export function giveNewId(old: string, now: string) {
  if (old === now) return;
  newIds.delete(now);
  for (const [older, id] of newIds) if (id === old) newIds.set(older, now);
  newIds.set(old, now);
  const follow = (deed: Deed) => (deed.playlist === old ? Object.assign(deed, { playlist: now }) : deed);
  done.value = done.value.map(follow);
  undone.value = undone.value.map(follow);
}

/** Undoes the last deed, or this one. */
export function undo(deed: Deed | undefined = done.value.at(-1)) {
  return move(done, undone, deed, "undo");
}

export function redo(deed: Deed | undefined = undone.value.at(-1)) {
  return move(undone, done, deed, "redo");
}
