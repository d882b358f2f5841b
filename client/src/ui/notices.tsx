// Lines that tell what has happened, for some seconds, and what screen readers are told.
import { signal } from "@preact/signals";
import { NOT_UNDERSTOOD, RequestError } from "../api/http.ts";
import { type TextKey, t } from "../text/index.ts";
import { Icon } from "./icon.tsx";

export interface NoticeAction {
  label: string;
  run: () => void;
}

export interface Notice {
  text: string;
  kind?: "info" | "error";
  /** A button, and what it does. */
  action?: NoticeAction;
  /** The other one of two ways to go on. */
  other?: NoticeAction;
  /** Seconds until it goes; 0: only when it is closed. */
  lasts?: number;
}

const LASTS = 8;
const MOST = 3;

const notices = signal<(Notice & { id: number })[]>([]);
const announced = signal("");
let lastId = 0;

/** Shows a line; the answer takes it away again. */
export function notify(notice: Notice): () => void {
  const id = ++lastId;
  const close = () => {
    notices.value = notices.value.filter((other) => other.id !== id);
  };
  notices.value = [...notices.value, { ...notice, id }].slice(-MOST);
  const lasts = notice.lasts ?? LASTS;
  if (lasts > 0) setTimeout(close, lasts * 1000);
  return close;
}

/** Takes all lines away. */
export function closeNotices() {
  notices.value = [];
}

/** Tells those who hear the page. */
export function announce(text: string) {
  announced.value = text;
}

/** Thrown for what cannot be done; its message is a sentence for people. */
export class Refusal extends Error {}

/** Why something failed, as a sentence for people. */
export function reasonOf(error: unknown): string {
  if (error instanceof Refusal) return error.message;
  if (!(error instanceof RequestError)) return t("error.unexpected");
  if (error.status === 0) return t("error.no_connection");
  const known: Record<string, TextKey> = {
    [NOT_UNDERSTOOD]: "error.not_understood",
    "playlist/playlist_name_exist": "error.name_exists",
    "playlist/playlist_name_too_long": "error.name_too_long",
    "playlist/name_with_comma": "error.name_with_comma",
  };
  const key = known[error.key];
  if (key) return t(key);
  return error.problem?.detail ?? t("error.server", { status: error.status });
}

/** Tells that something failed, and offers to try again. */
export function notifyFailure(what: string, error: unknown, retry?: () => void) {
  notify({
    text: `${what} ${reasonOf(error)}`,
    kind: "error",
    ...(retry && { action: { label: t("retry"), run: retry } }),
    lasts: 20,
  });
}

export function Notices() {
  return (
    <>
      <div class="notices" role="status">
        {notices.value.map((notice) => (
          <Line key={notice.id} notice={notice} />
        ))}
      </div>
      <div class="visually-hidden" role="log" aria-live="polite">
        {announced.value}
      </div>
    </>
  );
}

function Line({ notice }: { notice: Notice & { id: number } }) {
  const close = () => {
    notices.value = notices.value.filter((other) => other.id !== notice.id);
  };
  const { action, other } = notice;
  return (
    <div class={`notice ${notice.kind ?? "info"}`}>
      <span>{notice.text}</span>
      {[action, other].map(
        (choice) =>
          choice && (
            <button
              key={choice.label}
              type="button"
              class="link"
              onClick={() => {
                close();
                choice.run();
              }}
            >
              {choice.label}
            </button>
          ),
      )}
      <button type="button" class="icon-button" aria-label={t("close")} onClick={close}>
        <Icon name="close" />
      </button>
    </div>
  );
}
