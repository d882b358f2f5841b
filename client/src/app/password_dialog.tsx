// Changes one's own password. All other sessions of the user end by that.
import { useSignal } from "@preact/signals";
import { useRef } from "preact/hooks";
import { ask, RequestError } from "../api/http.ts";
import { t } from "../text/index.ts";
import { Buttons, Dialog, openDialog } from "../ui/dialog.tsx";
import { notify, reasonOf } from "../ui/notices.tsx";

const LONGEST = 512;

export function changePassword() {
  return openDialog((close) => <PasswordDialog close={() => close()} />);
}

function reason(error: unknown) {
  const isWrong = error instanceof RequestError && error.status === 403;
  return isWrong ? t("password.wrong") : reasonOf(error);
}

function PasswordDialog({ close }: { close: () => void }) {
  const old = useRef<HTMLInputElement>(null);
  const first = useRef<HTMLInputElement>(null);
  const second = useRef<HTMLInputElement>(null);
  const wrong = useSignal("");
  const submit = async () => {
    if (first.current?.value !== second.current?.value) {
      wrong.value = t("password.differ");
      return second.current?.select();
    }
    try {
      const body = { old: old.current?.value ?? "", new: first.current?.value ?? "" };
      await ask("password", {}, { method: "POST", body });
      close();
      notify({ text: t("password.changed") });
    } catch (error) {
      wrong.value = reason(error);
      old.current?.select();
    }
  };
  return (
    <Dialog
      title={t("password.title")}
      close={close}
      onSubmit={() => void submit()}
      buttons={<Buttons submit={t("password.submit")} close={close} />}
    >
      <label class="field">
        <span>{t("password.old")}</span>
        <input ref={old} type="password" autocomplete="current-password" required />
      </label>
      <label class="field">
        <span>{t("password.new")}</span>
        <input ref={first} type="password" autocomplete="new-password" maxLength={LONGEST} required />
      </label>
      <label class="field">
        <span>{t("password.again")}</span>
        <input ref={second} type="password" autocomplete="new-password" maxLength={LONGEST} required />
      </label>
      <p class="field-error" role="alert">
        {wrong}
      </p>
    </Dialog>
  );
}
