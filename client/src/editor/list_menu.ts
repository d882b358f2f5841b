// What can be done with the whole list.
import type { Selection } from "../list/selection.ts";
import { enqueue, play } from "../playback/commands.ts";
import { t } from "../text/index.ts";
import type { MenuItem } from "../ui/menu.tsx";
import { notifyFailure } from "../ui/notices.tsx";
import { goTo } from "../ui/router.ts";
import { openList } from "./commands.ts";
import type { ListDocument } from "./document.ts";
import { showHistory } from "./history_dialog.tsx";
import { removeDuplicates, removeMissing, SORT_KEYS, shuffle, sortBy } from "./list_edits.ts";

/** Edits that have to load the list first may fail. */
function attempt(work: () => Promise<void>) {
  const run = () => void work().catch((error) => notifyFailure("", error, run));
  return run;
}

export function listMenu(
  document: ListDocument,
  selection: Selection,
  isPage: boolean,
  { rename, saveAs }: { rename: () => void; saveAs: () => void },
): MenuItem[] {
  const isEmpty = (document.total.peek() ?? 0) === 0;
  const playing: MenuItem[] = [
    { label: t("editor.play"), icon: "play", disabled: isEmpty, run: () => void play(document.chosen()) },
    {
      label: t("editor.enqueue"),
      icon: "queue",
      disabled: isEmpty,
      run: () => void enqueue(document.chosen()),
    },
    {
      label: t("keys.select_all"),
      icon: "check",
      key: "Ctrl+A",
      disabled: isEmpty,
      run: () => selection.all(document.total.peek() ?? 0),
    },
  ];
  const away: MenuItem[] = [
    { label: t("library.save_as"), icon: "list", divided: true, disabled: isEmpty, run: saveAs },
    {
      label: isPage ? t("editor.beside") : t("editor.full_width"),
      icon: "columns",
      run: () => (isPage ? openList(document.listId) : goTo(["playlists", document.listId])),
    },
  ];
  return document.canEdit.peek()
    ? [...playing, ...editing(document, isEmpty, rename), ...away]
    : [...playing, ...away];
}

function editing(document: ListDocument, isEmpty: boolean, askForName: () => void): MenuItem[] {
  const sorting = SORT_KEYS.map(
    (key, place): MenuItem => ({
      label: t(`editor.sort_by_${key}`),
      divided: place === 0,
      disabled: isEmpty,
      run: attempt(() => sortBy(document, key)),
    }),
  );
  return [
    { label: t("keys.rename"), icon: "edit", key: "F2", divided: true, run: askForName },
    { label: t("editor.history"), icon: "history", run: () => showHistory(document) },
    ...sorting,
    { label: t("editor.shuffle"), icon: "shuffle", disabled: isEmpty, run: () => shuffle(document) },
    {
      label: t("editor.remove_duplicates"),
      divided: true,
      disabled: isEmpty,
      run: attempt(() => removeDuplicates(document)),
    },
    { label: t("editor.remove_missing"), disabled: isEmpty, run: attempt(() => removeMissing(document)) },
  ];
}
