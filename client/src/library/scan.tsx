// Bringing the index up to date with the folder of music, and how far that is.
import { signal } from "@preact/signals";
import { useEffect } from "preact/hooks";
import { ask, get } from "../api/http.ts";
import type { Scan } from "../api/types.ts";
import { formatTime, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { announce, notifyFailure } from "../ui/notices.tsx";
import { loadOverview, user } from "../ui/session.tsx";
import { useTitle } from "../ui/title.ts";
import { ViewHead } from "./head.tsx";

const ASKS_EVERY = 1000; // milliseconds

const scan = signal<Scan | undefined>(undefined);
let timer = 0;

/** Keeps asking as long as it runs; what views show is fetched anew afterwards. */
async function follow() {
  clearTimeout(timer);
  const wasRunning = scan.peek()?.running;
  try {
    scan.value = await get<Scan>("scan");
    if (scan.value.running) timer = window.setTimeout(() => void follow(), ASKS_EVERY);
    else if (wasRunning) {
      announce(t("scan.done"));
      await loadOverview();
    }
  } catch (error) {
    notifyFailure(t("scan.failed"), error, () => void follow());
  }
}

async function start() {
  try {
    scan.value = (await ask<Scan>("scan", {}, { method: "POST" })).body;
    scan.value = { ...scan.value, running: true };
    timer = window.setTimeout(() => void follow(), ASKS_EVERY / 4);
  } catch (error) {
    notifyFailure(t("scan.failed"), error, () => void start());
  }
}

export function ScanButton() {
  const isRunning = scan.value?.running ?? false;
  return (
    <>
      <button type="button" class="button primary" disabled={isRunning} onClick={() => void start()}>
        <Icon name="search" />
        {t("scan.start")}
      </button>
      {isRunning && <Progress scan={scan.value} />}
    </>
  );
}

function Progress({ scan: state }: { scan: Scan | undefined }) {
  const { files_read: read = 0, files_to_read: all = 0 } = state ?? {};
  return (
    <p class="scan-progress">
      {all > 0 ? (
        <progress value={read} max={all} aria-label={t("scan.title")} />
      ) : (
        <progress aria-label={t("scan.title")} />
      )}
      <span>{all > 0 ? t("scan.reading", { read, all }) : t("scan.looking")}</span>
    </p>
  );
}

const COUNTS = ["added", "changed", "moved", "gone", "unchanged", "unreadable"] as const;

export function ScanView() {
  useTitle(t("scan.title"));
  useEffect(() => {
    void follow();
    return () => clearTimeout(timer);
  }, []);
  const state = scan.value;
  return (
    <>
      <ViewHead title={t("scan.title")} />
      <div class="page">
        <p class="soft">{t("scan.what")}</p>
        {user.value?.admin ? <ScanButton /> : <p>{t("scan.admins")}</p>}
        {state && !state.running && state.finished !== undefined && (
          <p>
            {t(state.complete ? "scan.ended" : "scan.ended_incomplete", { when: formatTime(state.finished) })}
          </p>
        )}
        {state?.songs && (
          <dl class="facts">
            {COUNTS.map((name) => (
              <div key={name}>
                <dt>{t(`scan.${name}`)}</dt>
                <dd>{t("count.songs", { count: state.songs?.[name] ?? 0 })}</dd>
              </div>
            ))}
          </dl>
        )}
      </div>
    </>
  );
}
