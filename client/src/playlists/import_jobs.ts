// Files that are being imported: each is held against the songs that are here, and made a list of.
import { computed, type Signal, signal } from "@preact/signals";
import { ask, isAborted } from "../api/http.ts";
import type { ImportedEntry, LibraryName, Page } from "../api/types.ts";
import { t } from "../text/index.ts";
import { makeList } from "./edits.ts";
import { type Choice, type Choices, isOpen, itemsOf, nameOfFile } from "./imported.ts";

/** The server takes no larger file. */
export const LARGEST_FILE = 8 * 1024 * 1024;

export type JobState =
  | { kind: "waiting" }
  | { kind: "matching" }
  | { kind: "too large" }
  | { kind: "failed"; error: unknown }
  | { kind: "ready" }
  | { kind: "making" }
  | { kind: "made"; id: string };

let lastNumber = 0;

export class ImportJob {
  readonly number = ++lastNumber;
  readonly state: Signal<JobState> = signal({ kind: "waiting" });
  readonly entries: Signal<readonly ImportedEntry[]> = signal([]);
  readonly choices: Signal<Choices> = signal(new Map());
  readonly name: Signal<string>;
  readonly library: Signal<LibraryName> = signal("personal");
  readonly open = computed(
    () => this.entries.value.filter((entry) => isOpen(entry, this.choices.value)).length,
  );
  private readonly stop = new AbortController();

  constructor(readonly file: File) {
    this.name = signal(nameOfFile(file.name));
    if (file.size > LARGEST_FILE) this.state.value = { kind: "too large" };
  }

  /** Asks for what its entries are. */
  async match() {
    this.state.value = { kind: "matching" };
    // Whatever the browser takes it for: the server tells by the content.
    const body = this.file.slice(0, this.file.size, "application/octet-stream");
    try {
      const options = { method: "POST", body, signal: this.stop.signal } as const;
      const answer = await ask<Page<ImportedEntry>>("import", {}, options);
      this.entries.value = answer.body.items;
      this.state.value = { kind: "ready" };
    } catch (error) {
      if (!isAborted(error)) this.state.value = { kind: "failed", error };
    }
  }

  choose(position: number, choice: Choice) {
    this.choices.value = new Map(this.choices.value).set(position, choice);
  }

  items() {
    return itemsOf(this.entries.value, this.choices.value);
  }

  /** Throws why it could not be made. */
  async make() {
    const name = this.name.peek().trim();
    this.state.value = { kind: "making" };
    try {
      const list = { name, library: this.library.peek(), items: this.items() };
      const id = await makeList(list, t("import.imported", { name }));
      this.state.value = { kind: "made", id };
    } catch (error) {
      this.state.value = { kind: "ready" };
      throw error;
    }
  }

  cancel() {
    this.stop.abort();
  }
}

export const jobs: Signal<readonly ImportJob[]> = signal([]);
/** The one whose report is shown. */
export const shownJob: Signal<ImportJob | undefined> = signal(undefined);
let isMatching = false;

/** One after the other: each keeps the server busy. */
async function matchAll() {
  if (isMatching) return;
  isMatching = true;
  for (;;) {
    const next = jobs.value.find(({ state }) => state.value.kind === "waiting");
    if (!next) break;
    await next.match();
  }
  isMatching = false;
}

export function importFiles(files: readonly File[]) {
  const added = files.map((file) => new ImportJob(file));
  const others = jobs.value.filter(({ state }) => state.value.kind !== "made");
  jobs.value = [...others, ...added];
  shownJob.value = added[0] ?? shownJob.value;
  void matchAll();
}

export function removeJob(job: ImportJob) {
  job.cancel();
  jobs.value = jobs.value.filter((other) => other !== job);
  if (shownJob.value === job) shownJob.value = jobs.value[0];
}

export function retryJob(job: ImportJob) {
  job.state.value = { kind: "waiting" };
  void matchAll();
}
