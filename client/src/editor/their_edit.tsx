// That somebody else has changed the list, what, and what became of one's own edits.
import type { Item } from "../list/items.ts";
import { artistOf, titleOf } from "../list/items.ts";
import { t } from "../text/index.ts";
import { Dialog, openDialog } from "../ui/dialog.tsx";
import { Icon } from "../ui/icon.tsx";
import type { ListDocument } from "./document.ts";

/** What somebody else did, and what became of the edits that were not sent yet. */
export interface TheirEdit {
  added: Item[];
  removed: Item[];
  movedCount: number;
  /** What of ours was applied to the new list. */
  applied: { added: Item[]; removed: Item[]; movedCount: number };
  /** What of ours was not, as its entry is there no longer. */
  lost: Item[];
}

const MOST_SHOWN = 200;

function summaryOf({ added, removed, movedCount }: { added: Item[]; removed: Item[]; movedCount: number }) {
  const parts = [
    added.length > 0 && t("editor.count_added", { count: added.length }),
    removed.length > 0 && t("editor.count_removed", { count: removed.length }),
    movedCount > 0 && t("editor.count_moved", { count: movedCount }),
  ];
  return parts.filter(Boolean).join(", ");
}

export function TheirEditLine({ document }: { document: ListDocument }) {
  const edit = document.theirEdit.value;
  const close = () => {
    document.theirEdit.value = undefined;
  };
  return (
    <div role="status">
      {edit && (
        <div class="list-line">
          <Icon name="person" />
          <span>
            {t("editor.their_edit", { what: summaryOf(edit) })}
            {edit.lost.length > 0 && ` ${t("editor.not_all_fit", { count: edit.lost.length })}`}
          </span>
          <button type="button" class="link" onClick={() => show(edit)}>
            {t("editor.show")}
          </button>
          <button type="button" class="icon-button" aria-label={t("close")} onClick={close}>
            <Icon name="close" />
          </button>
        </div>
      )}
    </div>
  );
}

function show(edit: TheirEdit) {
  void openDialog((close) => (
    <Dialog title={t("editor.both_edits")} close={() => close()} wide>
      <div class="both-edits">
        <section>
          <h3>{t("editor.theirs")}</h3>
          <Part label={t("editor.part_added")} items={edit.added} />
          <Part label={t("editor.part_removed")} items={edit.removed} />
          {edit.movedCount > 0 && <p>{t("editor.moved", { count: edit.movedCount })}</p>}
        </section>
        <section>
          <h3>{t("editor.ours")}</h3>
          <Part label={t("editor.part_added")} items={edit.applied.added} />
          <Part label={t("editor.part_removed")} items={edit.applied.removed} />
          {edit.applied.movedCount > 0 && <p>{t("editor.moved", { count: edit.applied.movedCount })}</p>}
          <Part label={t("editor.part_lost")} items={edit.lost} />
          {summaryOf(edit.applied) === "" && edit.lost.length === 0 && <p>{t("editor.nothing_unsent")}</p>}
        </section>
      </div>
    </Dialog>
  ));
}

function Part({ label, items }: { label: string; items: Item[] }) {
  if (items.length === 0) return null;
  return (
    <>
      <h4>{label}</h4>
      <ul>
        {items.slice(0, MOST_SHOWN).map((item, at) => (
          <li key={at}>{[titleOf(item), artistOf(item)].filter(Boolean).join(" – ")}</li>
        ))}
        {items.length > MOST_SHOWN && <li>{t("editor.and_more", { count: items.length - MOST_SHOWN })}</li>}
      </ul>
    </>
  );
}
