// What stands above a queue: whose it is, how much is in it, and what can be done with all of it.
import type { ComponentChildren } from "preact";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { isNarrow } from "../ui/media.ts";
import { MenuButton, type MenuItem, openMenu } from "../ui/menu.tsx";

interface QueueHeadProps {
  title: string;
  /** Of what is in it. */
  facts: string;
  isEmpty: boolean;
  /** Keeps it as a playlist. */
  save: () => void;
  clear: () => void;
  /** What else is in its menu. */
  items?: () => MenuItem[];
  /** What else stands beside the title. */
  children?: ComponentChildren;
}

export function QueueHead({ title, facts, isEmpty, save, clear, items, children }: QueueHeadProps) {
  const menu = (): MenuItem[] => [
    ...(isNarrow.peek() ? [{ label: t("queue.save"), icon: "list" as const, run: save }] : []),
    ...(items?.() ?? []),
    { label: t("queue.clear"), icon: "trash", danger: true, divided: true, run: clear },
  ];
  return (
    <header class="view-head">
      <div class="queue-title">
        <h1 title={title}>{title}</h1>
        <p class="small">{!isEmpty && facts}</p>
      </div>
      <span class="spacer" />
      {children}
      {!isNarrow.value && (
        <button type="button" class="button" disabled={isEmpty} onClick={save}>
          <Icon name="list" />
          {t("queue.save")}
        </button>
      )}
      <MenuButton
        label={t("more")}
        tip
        disabled={isEmpty}
        open={(button) => openMenu(button, t("more"), menu())}
      />
    </header>
  );
}
