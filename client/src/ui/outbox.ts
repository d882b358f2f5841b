// Small changes that could not be sent for want of a connection or a session: they wait in this browser, survive a
// reload, and are sent when they can be.
import { computed, effect, signal } from "@preact/signals";
import { connected, RequestError } from "../api/http.ts";
import { t } from "../text/index.ts";
import { keptForUser } from "./kept.ts";
import { notifyFailure } from "./notices.tsx";
import { Pauses } from "./pauses.ts";
import { user } from "./session.tsx";

export interface Letter {
  /** Tells who sends it. */
  kind: string;
  /** Of two with the same key the later one holds. */
  key: string;
  /** What it does: "Renamed “A” to “B”". */
  label: string;
  content: unknown;
}

function isLetters(value: unknown): value is Letter[] {
  return Array.isArray(value) && value.every((item) => typeof item?.kind === "string" && "content" in item);
}

const letters = keptForUser<readonly Letter[]>("outbox", [], isLetters);
const carriers = new Map<string, (content: never) => Promise<unknown>>();
const hasFailed = signal(false);
/** Grows when something that had to wait is sent, or refused. */
export const settled = signal(0);
const pauses = new Pauses();
let isBusy = false;

/** What is not sent yet. */
export function outbox(): readonly Letter[] {
  return letters.value;
}

/** The same, once it has turned out that it has to wait. */
export const waiting = computed(() => (hasFailed.value ? letters.value : []));
/** Whether any waits, also while its user is not logged in. */
export const isWaiting = signal(false);

/** Says how changes of a kind are sent. */
export function carry<T>(kind: string, send: (content: T) => Promise<unknown>) {
  carriers.set(kind, send);
}

function drop(letter: Letter) {
  letters.value = letters.peek().filter((other) => other !== letter);
}

async function send({ kind, content }: Letter) {
  await carriers.get(kind)?.(content as never);
}

function canWait(error: unknown) {
  return error instanceof RequestError && (error.isPassing || error.status === 401);
}

/** Sends it, now or when it can be: false when it has to wait. Fails when it is refused. */
export async function post(letter: Letter): Promise<boolean> {
  letters.value = [...letters.peek().filter(({ key }) => key !== letter.key), letter];
  try {
    await send(letter);
    drop(letter);
    return true;
  } catch (error) {
    if (!canWait(error)) {
      drop(letter);
      throw error;
    }
    fail();
    return false;
  }
}

function fail() {
  hasFailed.value = true;
  pauses.after(() => void sendAll());
}

/** Tries again to send all that waits. */
async function sendAll() {
  if (isBusy || !user.peek()) return;
  isBusy = true;
  for (const letter of letters.peek()) if (!(await sendAgain(letter))) break;
  isBusy = false;
  if (letters.peek().length > 0) return;
  hasFailed.value = false;
  pauses.reset();
}

/** False when the others have to wait, too. */
async function sendAgain(letter: Letter) {
  try {
    await send(letter);
  } catch (error) {
    if (canWait(error)) {
      fail();
      return false;
    }
    notifyFailure(t("error.not_done", { what: letter.label }), error);
  }
  drop(letter);
  settled.value++;
  return true;
}

effect(() => {
  if (user.value) isWaiting.value = letters.value.length > 0;
});
// What an earlier page has left is sent, too.
effect(() => {
  if (user.value && connected.value) queueMicrotask(() => void sendAll());
});
window.addEventListener("online", () => void sendAll());
