// Importing playlist files: what was found for their entries, and what is to become of the rest.
import { useSignal } from "@preact/signals";
import { useRef } from "preact/hooks";
import { formatSize, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { reasonOf } from "../ui/notices.tsx";
import { useTitle } from "../ui/title.ts";
import { takeFiles } from "./file_drop.tsx";
import { type ImportJob, jobs, LARGEST_FILE, removeJob, retryJob, shownJob } from "./import_jobs.ts";
import { ImportReport } from "./import_report.tsx";
import { reasonAtName, wrongName } from "./name_dialog.tsx";
import { linkToPlaylist } from "./opening.ts";

const ACCEPTED =
  ".m3u,.m3u8,.pls,.xspf,.jspf,.json,.xml,.txt,audio/x-mpegurl,audio/x-scpls,application/xspf+xml";

function ChooseButton({ primary }: { primary: boolean }) {
  const input = useRef<HTMLInputElement>(null);
  return (
    <>
      <button
        type="button"
        class={primary ? "button primary" : "button"}
        onClick={() => input.current?.click()}
      >
        <Icon name="import" />
        {t("import.choose")}
      </button>
      <input
        ref={input}
        class="visually-hidden"
        type="file"
        multiple
        accept={ACCEPTED}
        tabIndex={-1}
        aria-label={t("import.choose")}
        onChange={({ currentTarget }) => {
          takeFiles([...(currentTarget.files ?? [])]);
          currentTarget.value = ""; // so that the same file can be chosen again
        }}
      />
    </>
  );
}

/** What is wrong with the names, by the numbers of their jobs. */
type Wrong = Record<number, string>;

async function makeLists(ready: readonly ImportJob[], tell: (wrong: Wrong) => void) {
  const wrong: Wrong = {};
  for (const job of ready) {
    const reason = wrongName(job.name.peek().trim(), "list", job.library.peek());
    if (reason !== undefined) wrong[job.number] = reason;
    else await job.make().catch((error: unknown) => (wrong[job.number] = reasonAtName(error)));
  }
  tell(wrong);
  shownJob.value = ready.find(({ number }) => number in wrong) ?? shownJob.peek();
}

export function ImportView() {
  useTitle(t("import.title"));
  const wrong = useSignal<Wrong>({});
  const all = jobs.value;
  const shown = shownJob.value;
  const ready = all.filter(({ state }) => state.value.kind === "ready");
  const isMaking = all.some(({ state }) => state.value.kind === "making");
  const make = () =>
    void makeLists(ready, (reasons) => {
      wrong.value = reasons;
    });
  return (
    <>
      <header class="view-head">
        <h1>{t("import.title")}</h1>
        <span class="spacer" />
        {all.length > 0 && <ChooseButton primary={false} />}
        {ready.length > 0 && (
          <button type="button" class="button primary" disabled={isMaking} onClick={make}>
            {t("import.make", { count: ready.length })}
          </button>
        )}
      </header>
      {all.length === 0 && (
        <div class="empty">
          <Icon name="import" />
          <p>{t("import.empty", { size: formatSize(LARGEST_FILE) })}</p>
          <ChooseButton primary />
        </div>
      )}
      {all.length > 1 && <Files />}
      {shown && <Job key={shown.number} job={shown} wrong={wrong.value[shown.number] ?? ""} />}
    </>
  );
}

/** One line a file, when there are several. */
function Files() {
  const all = jobs.value;
  const done = all.filter(({ state }) => !/waiting|matching/.test(state.value.kind)).length;
  return (
    <nav class="import-files" aria-label={t("import.files")}>
      {done < all.length && (
        <p class="soft small" role="status">
          {t("import.progress", { done, count: all.length })}
        </p>
      )}
      <ul>
        {all.map((job) => (
          <li key={job.number}>
            <button
              type="button"
              class="import-file"
              aria-current={job === shownJob.value}
              title={job.file.name}
              onClick={() => {
                shownJob.value = job;
              }}
            >
              <span class="playlist-name">{job.file.name}</span>
              <span class="soft small">{stateOf(job)}</span>
            </button>
          </li>
        ))}
      </ul>
    </nav>
  );
}

function stateOf({ state, open }: ImportJob) {
  const { kind } = state.value;
  if (kind === "ready")
    return open.value > 0 ? t("import.open", { count: open.value }) : t("import.all_found");
  if (kind === "waiting" || kind === "matching") return t("import.matching");
  if (kind === "made") return t("import.made");
  return kind === "making" ? t("import.making") : t("import.failed");
}

function Job({ job, wrong }: { job: ImportJob; wrong: string }) {
  const state = job.state.value;
  switch (state.kind) {
    case "waiting":
    case "matching":
      return <Waiting job={job} />;
    case "too large":
      return <Refused job={job} reason={t("import.too_large", { size: formatSize(LARGEST_FILE) })} />;
    case "failed":
      return <Refused job={job} reason={reasonOf(state.error)} retry={() => retryJob(job)} />;
    case "made":
      return <Made job={job} id={state.id} />;
    default:
      return <ImportReport job={job} wrong={wrong} />;
  }
}

function Waiting({ job }: { job: ImportJob }) {
  return (
    <div class="empty">
      <p id="import-progress" role="status">
        {t("import.matching_file", { name: job.file.name })}
      </p>
      <progress aria-labelledby="import-progress" />
      <button type="button" class="button" onClick={() => removeJob(job)}>
        {t("cancel")}
      </button>
    </div>
  );
}

function Refused({ job, reason, retry }: { job: ImportJob; reason: string; retry?: () => void }) {
  return (
    <div class="empty" role="alert">
      <Icon name="missing" />
      <p>
        <b>{job.file.name}</b>
        <br />
        {reason}
      </p>
      <div class="import-buttons">
        {retry && (
          <button type="button" class="button" onClick={retry}>
            {t("retry")}
          </button>
        )}
        <button type="button" class="button" onClick={() => removeJob(job)}>
          {t("import.drop_file")}
        </button>
      </div>
    </div>
  );
}

function Made({ job, id }: { job: ImportJob; id: string }) {
  return (
    <div class="empty" role="status">
      <Icon name="check" />
      <p>{t("import.imported", { name: job.name.value })}</p>
      <a class="button primary" href={linkToPlaylist(id)}>
        {t("playlists.open")}
      </a>
    </div>
  );
}
