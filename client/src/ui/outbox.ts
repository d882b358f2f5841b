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
/** The one that is being sent again. */
let sending: Promise<boolean> | undefined;

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

/** Whether it may be done later, without anybody doing anything else than logging in. */
export function canWait(error: unknown) {
  return error instanceof RequestError && (error.isPassing || error.status === 401);
}

function put(letter: Letter) {
  letters.value = [...letters.peek().filter(({ key }) => key !== letter.key), letter];
}

/** Sends it, now or when it can be: false when it has to wait. Fails when it is refused. */
export async function post(letter: Letter): Promise<boolean> {
  put(letter);
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

/** Sends it when it can be, as it has turned out that it cannot be now. */
export function postLater(letter: Letter) {
  put(letter);
  fail();
}

/** It is not to be sent any more; false when it is not there, as it has been sent. */
export async function withdraw(key: string): Promise<boolean> {
  await sending;
  const letter = letters.peek().find((other) => other.key === key);
  if (letter) drop(letter);
  if (letters.peek().length === 0) hasFailed.value = false;
  return letter !== undefined;
}

function fail() {
  hasFailed.value = true;
  pauses.after(() => void sendAll());
}

/** Tries again to send all that waits. */
async function sendAll() {
  if (isBusy || !user.peek()) return;
  isBusy = true;
  for (const letter of letters.peek()) {
    if (!letters.peek().includes(letter)) continue; // it was withdrawn meanwhile
    sending = sendAgain(letter);
    if (!(await sending)) break;
  }
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
