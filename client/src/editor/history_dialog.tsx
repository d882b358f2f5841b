// What was done to a list since the page was opened, each of it to be undone by itself.
import { t } from "../text/index.ts";
import { Dialog, openDialog } from "../ui/dialog.tsx";
import { type Deed, history, redo, undo } from "../ui/history.ts";
import type { ListDocument } from "./document.ts";

export function deedsOf(document: ListDocument) {
  const own = (deed: Deed) => deed.playlist === document.listId;
  return { done: history.value.done.filter(own), undone: history.value.undone.filter(own) };
}

export function showHistory(document: ListDocument) {
  void openDialog((close) => <History document={document} close={close} />);
}

function History({ document, close }: { document: ListDocument; close: () => void }) {
  const { done, undone } = deedsOf(document);
  return (
    <Dialog title={t("editor.history")} close={() => close()}>
      {done.length + undone.length === 0 && <p>{t("editor.no_history")}</p>}
      <ol class="deeds">
        {undone.map((deed) => (
          <Line key={deed} deed={deed} label={t("keys.redo")} run={() => void redo(deed)} isUndone />
        ))}
        {[...done].reverse().map((deed) => (
          <Line key={deed} deed={deed} label={t("undo")} run={() => void undo(deed)} />
        ))}
      </ol>
    </Dialog>
  );
}

function Line({
  deed,
  label,
  run,
  isUndone,
}: {
  deed: Deed;
  label: string;
  run: () => void;
  isUndone?: boolean;
}) {
  return (
    <li>
      <span class={isUndone ? "soft" : undefined}>{deed.label}</span>
      <button type="button" class="button" aria-label={`${label}: ${deed.label}`} onClick={run}>
        {label}
      </button>
    </li>
  );
}
