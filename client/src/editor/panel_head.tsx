// The head of a list: what it is, whether it is saved, and what can be done with all of it.
import { formatDuration, t } from "../text/index.ts";
import { redo, undo } from "../ui/history.ts";
import { Icon, type IconName } from "../ui/icon.tsx";
import { MenuButton } from "../ui/menu.tsx";
import { reasonOf } from "../ui/notices.tsx";
import { closeList } from "./commands.ts";
import type { ListDocument } from "./document.ts";
import { deedsOf } from "./history_dialog.tsx";
import { TheirEditLine } from "./their_edit.tsx";

interface HeadProps {
  document: ListDocument;
  isPage: boolean;
  showMenu: (place: HTMLElement) => void;
}

export function PanelHead({ makeAgain, ...props }: HeadProps & { makeAgain: () => void }) {
  const { document, isPage } = props;
  const name = document.playlist.value?.name ?? "";
  const Name = isPage ? "h1" : "h2";
  return (
    <header class="list-head">
      <div class="list-head-line">
        <Name title={name}>{name || " "}</Name>
        <Tools {...props} />
      </div>
      <p class="list-facts">
        <Totals document={document} />
        <SaveLine document={document} />
        {document.isGone.value && (
          <button type="button" class="link" onClick={makeAgain}>
            {t("editor.make_again")}
          </button>
        )}
      </p>
      <TheirEditLine document={document} />
      <MissingLine document={document} />
    </header>
  );
}

function Tool({
  icon,
  label,
  run,
  disabled,
}: {
  icon: IconName;
  label: string;
  run: () => void;
  disabled?: boolean;
}) {
  return (
    <button
      type="button"
      class="icon-button"
      aria-label={label}
      title={label}
      disabled={disabled}
      onClick={run}
    >
      <Icon name={icon} />
    </button>
  );
}

function Tools({ document, isPage, showMenu }: HeadProps) {
  const { done, undone } = deedsOf(document);
  return (
    <div class="list-tools">
      {document.canEdit.value && (
        <>
          <Tool
            icon="undo"
            label={t("undo")}
            disabled={done.length === 0}
            run={() => void undo(done.at(-1))}
          />
          <Tool
            icon="redo"
            label={t("keys.redo")}
            disabled={undone.length === 0}
            run={() => void redo(undone.at(-1))}
          />
        </>
      )}
      <MenuButton label={t("menu")} open={showMenu} />
      {!isPage && <Tool icon="close" label={t("editor.close")} run={closeList} />}
    </div>
  );
}

function Totals({ document }: { document: ListDocument }) {
  const { total, duration } = document;
  if (total.value === undefined) return <span>&nbsp;</span>;
  return (
    <span>
      {t("count.songs", { count: total.value })}
      {duration.value !== undefined && duration.value > 0 && ` · ${formatDuration(duration.value)}`}
    </span>
  );
}

function SaveLine({ document }: { document: ListDocument }) {
  if (!document.canEdit.value)
    return document.total.value === undefined ? null : <span>{t("editor.read_only")}</span>;
  const state = document.saveState.value;
  const isGone = document.isGone.value;
  const isFailed = state.kind === "waiting" || state.kind === "refused";
  return (
    <>
      <span role="status" class={isFailed || isGone ? "save-state failed" : "save-state"}>
        {isFailed || !isGone ? textOf(state) : t("editor.gone")}
      </span>
      {isFailed && (
        <button type="button" class="link" onClick={() => void document.saver.run()}>
          {t("retry")}
        </button>
      )}
      {state.kind === "refused" && (
        <button type="button" class="link" onClick={() => void document.discard()}>
          {t("editor.discard")}
        </button>
      )}
    </>
  );
}

function textOf(state: ListDocument["saveState"]["value"]) {
  if (state.kind === "saved") return t("editor.saved");
  if (!("error" in state)) return t("editor.saving");
  if (state.kind === "waiting" && state.error.status === 0) return t("editor.not_saved_offline");
  const reason = reasonOf(state.error);
  return t(state.kind === "waiting" ? "editor.not_saved_yet" : "editor.not_saved", { reason });
}

function MissingLine({ document }: { document: ListDocument }) {
  const { missing } = document.facts.value;
  if (missing.length === 0 || !document.canEdit.value) return null;
  const certain = document.candidates.certain();
  return (
    <div class="list-line">
      <Icon name="missing" />
      <span>{t("editor.count_missing", { count: missing.length })}</span>
      {certain.size > 0 && (
        <button type="button" class="link" onClick={() => document.candidates.repair(certain)}>
          {t("editor.repair_certain", { count: certain.size })}
        </button>
      )}
    </div>
  );
}
