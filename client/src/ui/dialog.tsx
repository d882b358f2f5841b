// Questions that have to be answered first, and menus.
import { signal } from "@preact/signals";
import type { ComponentChildren, JSX } from "preact";
import { useEffect, useId, useRef } from "preact/hooks";
import { t } from "../text/index.ts";
import { Icon } from "./icon.tsx";

interface Open {
  id: number;
  render: () => JSX.Element;
  /** It is gone, and the focus is where it was before. */
  onGone: () => void;
}

const dialogs = signal<Open[]>([]);
let lastId = 0;

/**
 * Shows what `render` gives until it calls `close` with an answer; the promise is that answer, undefined
 * when the dialog was left.
 */
export function openDialog<T>(render: (close: (answer?: T) => void) => JSX.Element): Promise<T | undefined> {
  return new Promise((resolve) => {
    const id = ++lastId;
    let given: T | undefined;
    const close = (answer?: T) => {
      given = answer;
      dialogs.value = dialogs.value.filter((other) => other.id !== id);
    };
    const onGone = () => resolve(given);
    dialogs.value = [...dialogs.value, { id, render: () => render(close), onGone }];
  });
}

/** Leaves all that are open. */
export function leaveDialogs() {
  dialogs.value = [];
}

export function Dialogs() {
  return (
    <>
      {dialogs.value.map((open) => (
        <Shown key={open.id} open={open} />
      ))}
    </>
  );
}

function Shown({ open }: { open: Open }) {
  useEffect(() => open.onGone, [open]);
  return open.render();
}

/** What one begins with: the first field, or else the button that the dialog is for. */
const FIRST =
  ".dialog-body :is(input, select, textarea):not(:disabled), footer button:last-child, .dialog-body button";

interface DialogProps {
  title: string;
  close: () => void;
  children: ComponentChildren;
  /** Buttons at its foot; the last one is what the dialog is for. */
  buttons?: ComponentChildren;
  /** By Enter, or the button of type "submit". */
  onSubmit?: () => void;
  wide?: boolean;
}

export function Dialog({ title, close, children, buttons, onSubmit, wide }: DialogProps) {
  const dialog = useRef<HTMLDialogElement>(null);
  const titleId = useId();
  useEffect(() => {
    const before = document.activeElement;
    dialog.current?.showModal();
    dialog.current?.querySelector<HTMLElement>(FIRST)?.focus();
    return () => {
      if (before instanceof HTMLElement) before.focus();
    };
  }, []);
  const submit = (event: Event) => {
    event.preventDefault();
    onSubmit?.();
  };
  return (
    <dialog
      ref={dialog}
      class={wide ? "dialog wide" : "dialog"}
      aria-labelledby={titleId}
      onCancel={(event) => {
        event.preventDefault();
        close();
      }}
    >
      <form onSubmit={submit}>
        <header>
          <h2 id={titleId}>{title}</h2>
          <button type="button" class="icon-button" aria-label={t("close")} onClick={close}>
            <Icon name="close" />
          </button>
        </header>
        <div class="dialog-body">{children}</div>
        {buttons && <footer>{buttons}</footer>}
      </form>
    </dialog>
  );
}

/** Asks for a line of text; undefined when the dialog was left. */
export function askForText(options: {
  title: string;
  label: string;
  value?: string;
  submit: string;
  /** Why a text cannot be taken; undefined when it can. */
  check?: (text: string) => string | undefined;
}) {
  return openDialog<string>((close) => <TextQuestion {...options} close={close} />);
}

function TextQuestion({
  title,
  label,
  value = "",
  submit,
  check,
  close,
}: Parameters<typeof askForText>[0] & { close: (text?: string) => void }) {
  const input = useRef<HTMLInputElement>(null);
  const wrong = useRef<HTMLParagraphElement>(null);
  const wrongId = useId();
  useEffect(() => input.current?.select(), []);
  const take = () => {
    const text = input.current?.value.trim() ?? "";
    const reason = text === "" ? t("error.name_empty") : check?.(text);
    if (reason === undefined) return close(text);
    if (wrong.current) wrong.current.textContent = reason;
    input.current?.focus();
  };
  return (
    <Dialog
      title={title}
      close={() => close()}
      onSubmit={take}
      buttons={<Buttons submit={submit} close={close} />}
    >
      <label class="field">
        <span>{label}</span>
        <input ref={input} type="text" defaultValue={value} aria-describedby={wrongId} />
      </label>
      <p ref={wrong} id={wrongId} class="field-error" role="alert" />
    </Dialog>
  );
}

/** "Cancel", and the one that the dialog is for. */
export function Buttons({ submit, close, danger }: { submit: string; close: () => void; danger?: boolean }) {
  return (
    <>
      <button type="button" class="button" onClick={() => close()}>
        {t("cancel")}
      </button>
      <button type="submit" class={danger ? "button danger" : "button primary"}>
        {submit}
      </button>
    </>
  );
}
