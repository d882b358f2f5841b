// Who is here. Without a session there is only the page to log in.
import { effect, signal, useSignal } from "@preact/signals";
import { useRef } from "preact/hooks";
import { ask, onOtherLogin, RequestError, refusals, speakFor } from "../api/http.ts";
import type { Login, Overview } from "../api/types.ts";
import { t } from "../text/index.ts";
import { reasonOf } from "./notices.tsx";

/** Undefined until it is known; null: nobody is logged in. */
export const user = signal<Login | null | undefined>(undefined);
/** What the server has for this user. */
export const overview = signal<Overview | undefined>(undefined);
/** Why neither is known. */
export const failure = signal<unknown>(undefined);

let owner: string | undefined;

/**
 * Whose page this is, also when the session has ended: unsent edits, say, are theirs. The page of one user never becomes
 * that of another: it is loaded anew.
 */
export function ownerOfPage() {
  return owner;
}

const TRIES_EVERY = 5000; // milliseconds, as long as the server gives no answer
let nextTry = 0;

export async function loadSession() {
  clearTimeout(nextTry);
  try {
    const login = (await ask<Login>("session", {}, { asAnybody: true })).body;
    if (owner !== undefined && owner !== login.name) return leaveTo(login.name);
    owner = login.name;
    speakFor(owner);
    overview.value = (await ask<Overview>("")).body;
    user.value = login;
    failure.value = undefined;
  } catch (error) {
    failed(error);
  }
}

function failed(error: unknown) {
  const isRefused = error instanceof RequestError && error.status === 401;
  if (isRefused) user.value = null;
  if (user.peek()) return;
  failure.value = isRefused ? undefined : error;
  if (error instanceof RequestError && error.isPassing) {
    nextTry = window.setTimeout(() => void loadSession(), TRIES_EVERY);
  }
}

window.addEventListener("online", () => {
  if (failure.peek()) void loadSession();
});

function leaveTo(name: string) {
  user.value = null;
  speakFor(name);
  location.reload();
}

/** Asks anew what the server has, as after a scan. */
export async function loadOverview() {
  overview.value = (await ask<Overview>("")).body;
}

const LOOKS_EVERY = 60_000; // milliseconds
let looked = Date.now();

// What others have changed in the index is noticed by who comes back to the page.
document.addEventListener("visibilitychange", () => {
  if (document.hidden || !user.peek() || Date.now() - looked < LOOKS_EVERY) return;
  looked = Date.now();
  loadOverview().catch(() => {}); // the frame tells that there is no connection
});

export async function logIn(name: string, password: string) {
  speakFor(undefined); // nothing of who was here goes out with the new session
  await ask("session", {}, { method: "POST", body: { name, password }, asAnybody: true });
  await loadSession();
}

export async function logOut(everywhere = false) {
  await ask("session", { everywhere: everywhere || undefined }, { method: "DELETE" });
  user.value = null;
  speakFor(undefined);
}

onOtherLogin(() => void loadSession());

// A session that has ended is noticed by whichever request is refused first; the others wait for who is here next.
effect(() => {
  if (refusals.value === 0 || !user.peek()) return;
  user.value = null;
  speakFor(undefined);
});

/** `waits`: there are edits that the server does not have yet. */
export function LoginPage({ waits }: { waits: boolean }) {
  const name = useRef<HTMLInputElement>(null);
  const password = useRef<HTMLInputElement>(null);
  const wrong = useSignal("");
  const busy = useSignal(false);
  const submit = async (event: Event) => {
    event.preventDefault();
    busy.value = true;
    wrong.value = "";
    try {
      await logIn(name.current?.value ?? "", password.current?.value ?? "");
    } catch (error) {
      const isWrong = error instanceof RequestError && error.status === 401;
      wrong.value = isWrong ? t("login.wrong") : reasonOf(error);
      password.current?.select();
    }
    busy.value = false;
  };
  return (
    <main class="login">
      <form onSubmit={submit}>
        <img src="icon.svg" alt="" width="48" height="48" />
        <h1>{t("app.name")}</h1>
        {waits && <p role="status">{t("login.unsent", { name: owner ?? "" })}</p>}
        <label class="field">
          <span>{t("login.name")}</span>
          <input ref={name} type="text" autocomplete="username" autocapitalize="none" required />
        </label>
        <label class="field">
          <span>{t("login.password")}</span>
          <input ref={password} type="password" autocomplete="current-password" required />
        </label>
        <p class="field-error" role="alert">
          {wrong}
        </p>
        <button type="submit" class="button primary" disabled={busy}>
          {t("login.submit")}
        </button>
      </form>
    </main>
  );
}
