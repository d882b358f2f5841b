// At the foot of a list: how many of it are selected, and what can be done with these.
import type { ComponentChildren } from "preact";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import type { Selection } from "./selection.ts";

interface SelectionBarProps {
  selection: Selection;
  /** With fewer there is no bar. */
  least?: number;
  /** Buttons. */
  children: ComponentChildren;
}

export function SelectionBar({ selection, least = 1, children }: SelectionBarProps) {
  const count = selection.count.value;
  if (count < least) return null;
  const nothing = t("selection.clear");
  return (
    <div class="selection-bar" role="toolbar" aria-label={t("selection.label")}>
      <button
        type="button"
        class="icon-button"
        aria-label={nothing}
        title={nothing}
        onClick={() => selection.clear()}
      >
        <Icon name="close" />
      </button>
      <strong>{t("count.selected", { count })}</strong>
      {children}
    </div>
  );
}
