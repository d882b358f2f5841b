// Asks what a playlist is to be called, and where it is to lie. What the server says against it stands at the field.
import { useSignal } from "@preact/signals";
import { useEffect, useId, useRef } from "preact/hooks";
import type { LibraryName, Playlist } from "../api/types.ts";
import { t } from "../text/index.ts";
import { Buttons, Dialog, openDialog } from "../ui/dialog.tsx";
import { reasonOf } from "../ui/notices.tsx";
import { user } from "../ui/session.tsx";
import { isNameTaken } from "./edits.ts";

export const MOST_NAME_BYTES = 250;

/** Rules, and lists that are files alone, have their name as id; ids that are deleted stand between commas. */
function isNamedById(kind: Playlist["kind"], library: LibraryName) {
  return kind === "smart" || (library === "personal" && user.peek()?.personal_library === false);
}

/** Why a name cannot be taken; undefined when it can. */
export function wrongName(name: string, kind: Playlist["kind"], library: LibraryName): string | undefined {
  if (name === "") return t("error.name_empty");
  if (new TextEncoder().encode(name).length > MOST_NAME_BYTES) return t("error.name_too_long");
  if (name.includes(",") && isNamedById(kind, library)) return t("playlists.name_with_comma");
  return name.includes("/") ? t("playlists.name_with_slash") : undefined;
}

/** What stands at the field of a name. */
export function reasonAtName(error: unknown) {
  return isNameTaken(error) ? t("error.name_exists") : reasonOf(error);
}

interface Question<T> {
  title: string;
  name: string;
  /** Where it lies at first; without it there is no choice. */
  library?: LibraryName;
  submit: string;
  /** What is named, when it is no list. */
  kind?: Playlist["kind"];
  /** In which library it lies, when that is no choice. */
  within?: LibraryName;
  /** A sentence above the field. */
  hint?: string;
  /** What is done with the answer; the dialog stays when that fails. */
  take: (name: string, library: LibraryName) => Promise<T>;
}

/** The answer is what `take` gave; undefined when the dialog was left. */
export function askForName<T>(question: Question<T>) {
  return openDialog<T>((close) => <NameQuestion {...question} close={close} />);
}

export function NameField({
  name,
  wrong,
  input,
}: {
  name: string;
  wrong: string;
  input: { current: HTMLInputElement | null };
}) {
  const wrongId = useId();
  return (
    <>
      <label class="field">
        <span>{t("playlists.name")}</span>
        <input
          ref={input}
          type="text"
          defaultValue={name}
          autocomplete="off"
          aria-describedby={wrongId}
          aria-invalid={wrong !== ""}
        />
      </label>
      <p id={wrongId} class="field-error" role="alert">
        {wrong}
      </p>
    </>
  );
}

export function LibraryChoice({
  library,
  onChange,
}: {
  library: LibraryName;
  onChange: (library: LibraryName) => void;
}) {
  const name = useId();
  return (
    <fieldset class="choice">
      <legend>{t("playlists.library")}</legend>
      {(["personal", "shared"] as const).map((value) => (
        <label key={value}>
          <input type="radio" name={name} checked={library === value} onChange={() => onChange(value)} />
          <span>{t(value === "shared" ? "playlists.in_shared" : "playlists.in_mine")}</span>
        </label>
      ))}
    </fieldset>
  );
}

/** Before what cannot be undone. */
export function askToDeleteForGood(name: string) {
  return openDialog<true>((close) => (
    <Dialog
      title={t("playlists.delete_for_good", { name })}
      close={() => close()}
      onSubmit={() => close(true)}
      buttons={<Buttons submit={t("playlists.delete")} close={() => close()} danger />}
    >
      <p>{t("playlists.cannot_come_back")}</p>
    </Dialog>
  ));
}

function NameQuestion<T>({
  title,
  name,
  library: firstLibrary,
  submit,
  kind = "list",
  within,
  hint,
  take,
  close,
}: Question<T> & { close: (answer?: T) => void }) {
  const input = useRef<HTMLInputElement>(null);
  const library = useSignal<LibraryName>(firstLibrary ?? "personal");
  const wrong = useSignal("");
  const busy = useSignal(false);
  useEffect(() => {
    input.current?.focus();
    input.current?.select();
  }, []);
  const complain = (reason: string) => {
    wrong.value = reason;
    input.current?.focus();
  };
  const answer = async () => {
    const text = input.current?.value.trim() ?? "";
    const reason = wrongName(text, kind, within ?? library.value);
    if (reason !== undefined || busy.value) return complain(reason ?? "");
    busy.value = true;
    try {
      close(await take(text, library.value));
    } catch (error) {
      complain(reasonAtName(error));
    }
    busy.value = false;
  };
  return (
    <Dialog
      title={title}
      close={() => close()}
      onSubmit={() => void answer()}
      buttons={<Buttons submit={submit} close={close} />}
    >
      {hint !== undefined && <p class="soft">{hint}</p>}
      <div>
        <NameField name={name} wrong={wrong.value} input={input} />
      </div>
      {firstLibrary !== undefined && (
        <LibraryChoice
          library={library.value}
          onChange={(chosen) => {
            library.value = chosen;
          }}
        />
      )}
    </Dialog>
  );
}
