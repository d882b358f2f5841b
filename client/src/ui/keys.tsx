// The keys of the whole page, and the list of all keys.
import { useEffect, useRef } from "preact/hooks";
import { type TextKey, t } from "../text/index.ts";
import { Dialog, openDialog } from "./dialog.tsx";

/** As "/", "A", "Ctrl+Z", "Ctrl+Shift+Z", "Alt+ArrowUp", "Space". Letters are capitals. */
export type Key = string;

const bound = new Map<Key, () => void>();

export function keyOf(event: KeyboardEvent): Key {
  const name = event.key === " " ? "Space" : event.key.length === 1 ? event.key.toUpperCase() : event.key;
  const isSign = event.key.length === 1 && !/[a-z0-9 ]/i.test(event.key);
  return [
    (event.ctrlKey || event.metaKey) && "Ctrl",
    event.altKey && "Alt",
    event.shiftKey && !isSign && "Shift",
    name,
  ]
    .filter(Boolean)
    .join("+");
}

/** Whether the keyboard writes there. */
export function isWriting(target: EventTarget | null) {
  if (!(target instanceof HTMLElement)) return false;
  const isField = target instanceof HTMLTextAreaElement || target instanceof HTMLSelectElement;
  const isInput = target instanceof HTMLInputElement && !/^(range|checkbox|radio|button)$/.test(target.type);
  return isField || isInput || target.isContentEditable;
}

/** Binds keys as long as the component is there; what a list or a field takes for itself is not among them. */
export function useKeys(keys: Record<Key, () => void>) {
  const latest = useRef(keys);
  latest.current = keys;
  const names = Object.keys(keys).join(" ");
  useEffect(() => {
    const own = names.split(" ").map((name) => [name, () => latest.current[name]?.()] as const);
    for (const [name, run] of own) bound.set(name, run);
    return () => {
      for (const [name, run] of own) if (bound.get(name) === run) bound.delete(name);
    };
  }, [names]);
}

document.addEventListener("keydown", (event) => {
  if (event.defaultPrevented || isWriting(event.target) || document.querySelector("dialog[open]")) return;
  const isButton = event.target instanceof HTMLButtonElement || event.target instanceof HTMLAnchorElement;
  if (isButton && (event.key === " " || event.key === "Enter")) return;
  const run = bound.get(keyOf(event));
  if (!run) return;
  event.preventDefault();
  run();
});

const HELP: [TextKey, string][] = [
  ["keys.search", "/"],
  ["keys.move", "↑ ↓ Home End PgUp PgDn"],
  ["keys.select", "Shift, Ctrl"],
  ["keys.select_all", "Ctrl+A"],
  ["keys.open", "Enter"],
  ["keys.pause", "Space"],
  ["keys.add", "A"],
  ["keys.add_to", "L"],
  ["keys.remove", "Delete"],
  ["keys.reorder", "Alt+↑ Alt+↓"],
  ["keys.move_to", "M"],
  ["keys.rename", "F2"],
  ["keys.undo", "Ctrl+Z"],
  ["keys.redo", "Ctrl+Shift+Z"],
  ["keys.queue", "Q"],
  ["keys.help", "?"],
];

export function showKeys() {
  void openDialog((close) => (
    <Dialog title={t("keys.title")} close={() => close()}>
      <dl class="keys">
        {HELP.map(([text, keys]) => (
          <div key={text}>
            <dt>
              {keys.split(" ").map((key) => (
                <kbd key={key}>{key}</kbd>
              ))}
            </dt>
            <dd>{t(text)}</dd>
          </div>
        ))}
      </dl>
    </Dialog>
  ));
}
