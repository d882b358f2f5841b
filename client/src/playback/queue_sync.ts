// Keeps the queue at the server, for the user's next device, and takes over what another one has left there.
import { effect, signal } from "@preact/signals";
import { ask, RequestError } from "../api/http.ts";
import type { Queue as QueuePage } from "../api/types.ts";
import { artistOf, type Item, titleOf } from "../list/items.ts";
import { formatDuration, t } from "../text/index.ts";
import { readKept } from "../ui/kept.ts";
import { notify, notifyFailure } from "../ui/notices.tsx";
import { Pauses } from "../ui/pauses.ts";
import { ownerOfPage, user } from "../ui/session.tsx";
import { entriesOf, queue } from "./queue.ts";
import { keepShuffled, shuffledLeft } from "./shuffle_kept.ts";

const SETTLES = 300; // milliseconds, in which several changes become one request
const LARGEST_KEEPALIVE = 60_000; // bytes that browsers send when the page is left
const LARGEST_KEPT = 2_000_000; // characters, of the five millions that a browser keeps for a server
const LEFT = "player.left";

interface Place {
  position: number;
  elapsed: number;
}

interface Content extends Place {
  items?: object[];
}

/** Where this browser has left the queue of a user, so that it knows it again. */
interface Left extends Place {
  total: number;
  /** What was to be written to which version when the page was left, or the session ended: whether it was, nobody knows. */
  unsure?: { content: Content; ifMatch: string };
}

const isLeft = (value: unknown): value is Left => typeof value === "object" && value !== null;

let lastPlace: Place = { position: 0, elapsed: 0 };
/** Entries that the server does not know yet, or only the place in them. */
let unsent: "items" | "place" | undefined;
/** The same, of what it was sent and has not answered yet. */
let unanswered: "items" | "place" | undefined;
let version: string | undefined;
let sending = false;
let settling = 0;
const pauses = new Pauses();
/** Another device has written the queue; until the user decides, this one writes nothing. */
const isContested = signal(false);
/** Edits wait for the server, or for their user to log in again. */
export const isWaiting = signal(false);

/** What the player tells: where it is in the current entry, in seconds. */
let elapsedNow: () => number = () => 0;

function nameOf(item: Item | undefined) {
  if (!item) return "";
  const artist = artistOf(item);
  return artist === "" ? titleOf(item) : `${titleOf(item)} – ${artist}`;
}

function placeNow(): Place {
  const elapsed = Math.max(0, Math.round(elapsedNow() * 1000) / 1000);
  return { position: Math.max(0, queue.position.peek()), elapsed };
}

function contentOf(what: "items" | "place"): Content {
  return what === "place" ? placeNow() : { items: entriesOf(queue.entries()), ...placeNow() };
}

function remember({ position, elapsed }: Place, unsure?: Left["unsure"]) {
  lastPlace = { position, elapsed };
  const total = queue.total.peek() ?? 0;
  keepShuffled(queue.order.peek(), version);
  keepLeft({ position, elapsed, total, ...(unsure && { unsure }) });
}

function keyOfLeft() {
  return `${LEFT}:${ownerOfPage()}`;
}

function keepLeft(left: Left) {
  localStorage.setItem(keyOfLeft(), JSON.stringify(left));
}

/** What this user has left in this browser. */
function leftHere() {
  return readKept<Left | undefined>(keyOfLeft(), undefined, isLeft);
}

function isLeftHere({ position, elapsed, total }: QueuePage) {
  const left = leftHere();
  return left?.position === position && Math.abs(left.elapsed - elapsed) < 0.01 && left.total === total;
}

async function put(content: Place, keepalive = false) {
  const answer = await ask<QueuePage>(
    "queue",
    {},
    { method: "PUT", body: content, ifMatch: version, keepalive },
  );
  version = answer.version;
  remember(content);
}

/** What has changed goes to the server soon. */
export function changed(what: "items" | "place") {
  closeOffer();
  if (unsent !== "items") unsent = what;
  clearTimeout(settling);
  settling = window.setTimeout(send, SETTLES);
}

async function send() {
  if (sending || isContested.peek() || unsent === undefined || !user.peek()) return;
  sending = true;
  const isSent = await attempt(unsent);
  sending = false;
  if (isSent && unsent !== undefined) changed(unsent);
}

async function attempt(what: "items" | "place") {
  try {
    if (what === "items") await queue.loadAll();
    unsent = undefined;
    unanswered = what;
    await put(contentOf(what));
    pauses.reset();
    isWaiting.value = false;
    return true;
  } catch (error) {
    if (!user.peek()) return false; // it is kept for who comes back
    if (unsent !== "items") unsent = what;
    failed(error);
    return false;
  } finally {
    unanswered = undefined;
  }
}

function failed(error: unknown) {
  if (!(error instanceof RequestError)) throw error;
  if (error.status === 412) contest(keepMine);
  else if (error.isPassing) {
    isWaiting.value = unsent === "items";
    pauses.after(send);
  } else {
    unsent = undefined;
    notifyFailure(t("queue.not_saved"), error, () => changed("items"));
  }
}

async function fetchQueue() {
  const first = await ask<QueuePage>("queue", { limit: 100 });
  version = first.version;
  return first.body;
}

/**
 * The queue, with what the last page wrote while it was left. That may come later than this page asks, or never, so it is
 * written again: whichever comes first is done, the other one finds another version than its own.
 */
async function fetchLeft() {
  const page = await fetchQueue();
  const { unsure, ...left } = leftHere() ?? { ...page, unsure: undefined };
  if (!unsure) return page;
  const { content, ifMatch } = unsure;
  const isPending = ifMatch === version;
  const isWritten = isPending && (await writeAgain(content));
  keepLeft(left);
  const now = isPending ? await fetchQueue() : page; // what was written came after this page had asked
  if (!isWritten && content.items && !isSame(content, now)) contest(() => writeLeft(content));
  return now;
}

/** False when that is refused. */
async function writeAgain(content: Content) {
  try {
    await ask("queue", {}, { method: "PUT", body: content, ifMatch: version });
    return true;
  } catch (error) {
    if (!(error instanceof RequestError) || error.isPassing || error.status === 401) throw error;
    return false;
  }
}

function isSame({ items, position, elapsed }: Content, page: QueuePage) {
  return items?.length === page.total && position === page.position && elapsed === page.elapsed;
}

/** Another device went on with the queue: which of the two holds? */
function contest(keepMine: () => Promise<void>) {
  isContested.value = true;
  notify({
    text: t("queue.changed_elsewhere"),
    action: { label: t("queue.keep_mine"), run: () => void keepMine() },
    other: { label: t("queue.take_theirs"), run: () => void takeTheirs() },
    lasts: 0,
  });
}

async function keepMine() {
  version = undefined;
  isContested.value = false;
  unsent = "items";
  await send();
}

/** The same of what an earlier page has left. */
async function writeLeft(content: Content) {
  try {
    await ask("queue", {}, { method: "PUT", body: content });
    await takeTheirs();
  } catch (error) {
    notifyFailure(t("queue.not_saved"), error, () => void writeLeft(content));
  }
}

async function takeTheirs() {
  try {
    const page = await fetchQueue();
    unsent = undefined;
    isContested.value = false;
    await show(page);
  } catch (error) {
    notifyFailure(t("queue.not_loaded"), error, () => void takeTheirs());
  }
}

let onOpened: (elapsed: number) => void = () => {};

async function show(page: QueuePage, places?: readonly number[]) {
  queue.open(page, places);
  lastPlace = { position: page.position, elapsed: page.elapsed };
  onOpened(page.elapsed);
  const { current } = queue.order.peek();
  if (current !== undefined) await queue.load(current);
}

/** Shows what was played last, here or on another device. */
async function restore() {
  try {
    const page = await fetchLeft();
    const isOwn = isLeftHere(page);
    await show(page, shuffledLeft(version, isOwn));
    if (isOwn || page.total === 0 || isContested.peek()) return;
    closeOffer = notify({
      text: t("queue.played_elsewhere", {
        what: nameOf(queue.current.peek()),
        elapsed: formatDuration(page.elapsed),
      }),
      action: { label: t("queue.go_on_here"), run: () => goOn() },
      lasts: 20,
    });
  } catch (error) {
    notifyFailure(t("queue.not_loaded"), error, () => void restore());
  }
}

/** Takes the offer away to go on with what another device has played. */
let closeOffer = () => {};
let goOn: () => void = () => {};

/** What the server does not know yet; undefined when that is nothing, or more than can be kept. */
function unwritten(): Content | undefined {
  if (isContested.peek() || queue.total.peek() === undefined) return undefined;
  const { position, elapsed } = placeNow();
  const isSame = position === lastPlace.position && elapsed === lastPlace.elapsed;
  const what = unsent === "items" || unanswered === "items" ? "items" : (unsent ?? unanswered);
  if (isSame && what === undefined) return undefined;
  const content = contentOf(what === "items" && queue.isWhole() ? "items" : "place");
  return JSON.stringify(content).length <= LARGEST_KEPT ? content : undefined;
}

function keep(content: Content) {
  clearTimeout(settling);
  unsent = undefined;
  remember(content, version === undefined ? undefined : { content, ifMatch: version });
}

/** The page goes, perhaps for good: what the server does not know yet is sent while it can be, and kept here. */
function leave() {
  if (user.peek()) keepShuffled(queue.order.peek(), version);
  const content = user.peek() && unwritten();
  if (!content) return;
  keep(content);
  if (JSON.stringify(content).length <= LARGEST_KEEPALIVE) void put(content, true).catch(() => {});
}

/** Nobody is logged in any more: what the server does not know yet waits here. */
function end() {
  const content = unwritten();
  if (content) keep(content);
  isWaiting.value = content?.items !== undefined;
  queue.close();
}

/** Begins: `player` is what plays the queue. */
export function keepQueue(player: {
  elapsed: () => number;
  opened: (elapsed: number) => void;
  play: () => void;
}) {
  elapsedNow = player.elapsed;
  onOpened = player.opened;
  goOn = player.play;
  queue.onChange = changed;
  window.addEventListener("pagehide", leave);
  window.addEventListener("online", () => void send());
  let name: string | undefined;
  effect(() => {
    const now = user.value?.name;
    if (now === name) return;
    name = now;
    if (now === undefined) end();
    version = undefined;
    unsent = undefined;
    isContested.value = false;
    if (now === undefined) return;
    isWaiting.value = false;
    void restore();
  });
}
