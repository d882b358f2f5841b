// What was found for the entries of one file.
import { useSignal } from "@preact/signals";
import { useEffect, useMemo, useRef } from "preact/hooks";
import type { Candidate, ImportedEntry } from "../api/types.ts";
import { titleOf } from "../list/items.ts";
import { type Column, ListView } from "../list/list_view.tsx";
import { ArraySource } from "../list/source.ts";
import { formatDuration, formatNumber, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { isNarrow } from "../ui/media.ts";
import { type MenuItem, openMenu } from "../ui/menu.tsx";
import { type ImportJob, removeJob } from "./import_jobs.ts";
import { choiceOf, countMatches, isOpen, withBest, withoutOpen } from "./imported.ts";
import { LibraryChoice, NameField } from "./name_dialog.tsx";

const WAYS = ["path", "tail", "file_name", "tags", "stream"] as const;

type Shown = "all" | "open" | "unmatched";

function nameOf({ title, artist }: { title?: string; artist?: string }) {
  return [title, artist].filter(Boolean).join(" – ");
}

/** What the file says. */
function toldBy(entry: ImportedEntry) {
  return nameOf(entry) || titleOf({ path: entry.path });
}

function chosenText(entry: ImportedEntry, job: ImportJob) {
  const choice = choiceOf(entry, job.choices.value);
  if (choice.kind === "song") return nameOf(choice.song);
  if (choice.kind === "leave") return t("import.left_out");
  return entry.match === "stream" ? t("import.match_stream") : t("import.not_found");
}

function labelOf({ song, score, why }: Candidate) {
  const reasons = why.map((reason) => t(`import.why_${reason}`)).join(", ");
  return `${nameOf(song)} · ${formatDuration(song.duration)} · ${Math.round(score * 100)} % (${reasons})`;
}

/** The song that was found, or candidates, the best first; as it is; not at all. */
function menuItems(entry: ImportedEntry, job: ImportJob): MenuItem[] {
  const now = choiceOf(entry, job.choices.peek());
  const songs = [
    ...(entry.song ? [{ song: entry.song, label: nameOf(entry.song) }] : []),
    ...(entry.candidates ?? []).map((candidate) => ({ song: candidate.song, label: labelOf(candidate) })),
  ];
  return [
    ...songs.map(({ song, label }) => ({
      label,
      checked: now.kind === "song" && now.song.id === song.id,
      run: () => job.choose(entry.position, { kind: "song", song }),
    })),
    {
      label: t("import.keep"),
      checked: now.kind === "keep",
      divided: songs.length > 0,
      run: () => job.choose(entry.position, { kind: "keep" }),
    },
    {
      label: t("import.leave"),
      checked: now.kind === "leave",
      run: () => job.choose(entry.position, { kind: "leave" }),
    },
  ];
}

function showChoices(entry: ImportedEntry, job: ImportJob, place: HTMLElement | { x: number; y: number }) {
  openMenu(place, t("import.choices", { name: toldBy(entry) }), menuItems(entry, job));
}

function ChoiceCell({ entry, job }: { entry: ImportedEntry; job: ImportJob }) {
  const text = chosenText(entry, job);
  const open = isOpen(entry, job.choices.value);
  const candidates = entry.candidates?.length ?? 0;
  return (
    <button
      type="button"
      class={open ? "import-choice open" : "import-choice"}
      aria-haspopup="menu"
      tabIndex={-1}
      title={text}
      onClick={({ currentTarget }) => showChoices(entry, job, currentTarget)}
    >
      {open && <Icon name="missing" />}
      <span class="playlist-name">
        {text}
        {open && candidates > 0 && ` · ${t("import.candidates", { count: candidates })}`}
      </span>
      <Icon name="down" />
    </button>
  );
}

function columns(job: ImportJob): Column<ImportedEntry>[] {
  const all: (Column<ImportedEntry> & { always?: boolean })[] = [
    {
      key: "position",
      label: t("import.position"),
      quiet: true,
      width: "3rem",
      align: "end",
      cell: ({ position }) => formatNumber(position + 1),
    },
    {
      key: "told",
      label: t("import.told"),
      width: "minmax(6rem, 1fr)",
      always: true,
      cell: (entry) => <span title={`${toldBy(entry)}\n${entry.path}`}>{toldBy(entry)}</span>,
    },
    {
      key: "choice",
      label: t("import.becomes"),
      width: "minmax(8rem, 1.2fr)",
      always: true,
      cell: (entry) => <ChoiceCell entry={entry} job={job} />,
    },
    {
      key: "match",
      label: t("import.how"),
      width: "9rem",
      cell: (entry) => <span class="soft">{t(`import.match_${entry.match}`)}</span>,
    },
  ];
  return isNarrow.value ? all.filter(({ always }) => always) : all;
}

function isShown(entry: ImportedEntry, shown: Shown, job: ImportJob) {
  if (shown === "open") return isOpen(entry, job.choices.value);
  return shown === "all" || entry.match === "none";
}

export function ImportReport({ job, wrong }: { job: ImportJob; wrong: string }) {
  const entries = job.entries.value;
  const unmatched = countMatches(entries).none;
  const shown = useSignal<Shown>(unmatched > 0 ? "unmatched" : "all");
  const source = useMemo(() => new ArraySource<ImportedEntry>([]), []);
  const input = useRef<HTMLInputElement>(null);
  const list = entries.filter((entry) => isShown(entry, shown.value, job));
  useEffect(() => source.replace(list), [shown.value, entries, job.choices.value]);
  useEffect(() => {
    if (wrong !== "") input.current?.focus();
  }, [wrong]);
  const head = (
    <>
      <div class="import-head">
        <div
          class="import-name"
          onInput={() => {
            job.name.value = input.current?.value ?? "";
          }}
        >
          <NameField name={job.name.peek()} wrong={wrong} input={input} />
        </div>
        <LibraryChoice
          library={job.library.value}
          onChange={(library) => {
            job.library.value = library;
          }}
        />
      </div>
      <Summary job={job} />
      <div class="import-bar">
        {unmatched > 0 && (
          <select
            class="input"
            aria-label={t("import.shown")}
            value={shown.value}
            onChange={(event) => {
              shown.value = event.currentTarget.value as Shown;
            }}
          >
            <option value="unmatched">{t("import.show_unmatched", { count: unmatched })}</option>
            <option value="open">{t("import.show_open", { count: job.open.value })}</option>
            <option value="all">{t("import.show_all", { count: entries.length })}</option>
          </select>
        )}
        <BulkButtons job={job} />
        <span class="spacer" />
        <button type="button" class="button" onClick={() => removeJob(job)}>
          {t("import.drop_file")}
        </button>
      </div>
    </>
  );
  return (
    <ListView
      lead={head}
      label={t("import.entries", { name: job.file.name })}
      source={source}
      columns={columns(job)}
      header={!isNarrow.value}
      rowClass={(entry) => (choiceOf(entry, job.choices.value).kind === "leave" ? "left-out" : "")}
      onOpen={(entry) => {
        const { left, bottom } = document.activeElement?.getBoundingClientRect() ?? new DOMRect();
        showChoices(entry, job, { x: left, y: bottom });
      }}
      empty={<p>{t(entries.length === 0 ? "import.no_entries" : "import.none_left")}</p>}
    />
  );
}

function Summary({ job }: { job: ImportJob }) {
  const entries = job.entries.value;
  const counts = countMatches(entries);
  const ways = WAYS.filter((match) => counts[match] > 0).map((match) =>
    t(`import.by_${match}`, { count: counts[match] }),
  );
  const found = entries.length - counts.none;
  return (
    <p class="import-summary" role="status">
      <b>{t("import.found", { found, count: entries.length })}</b> <span class="soft">{ways.join(", ")}</span>
    </p>
  );
}

function BulkButtons({ job }: { job: ImportJob }) {
  const entries = job.entries.value;
  if (job.open.value === 0) return null;
  const hasCandidates = entries.some((entry) => isOpen(entry, job.choices.value) && entry.candidates?.length);
  return (
    <>
      {hasCandidates && (
        <button
          type="button"
          class="button"
          onClick={() => {
            job.choices.value = withBest(entries, job.choices.value);
          }}
        >
          {t("import.take_best")}
        </button>
      )}
      <button
        type="button"
        class="button"
        onClick={() => {
          job.choices.value = withoutOpen(entries, job.choices.value);
        }}
      >
        {t("import.leave_open")}
      </button>
    </>
  );
}
