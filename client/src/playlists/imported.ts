// What a foreign playlist's entries become: the songs that were found for them, or what people choose instead.
import type { Candidate, ImportedEntry, Song } from "../api/types.ts";
import type { Item } from "../list/items.ts";

/** The song, or the entry as its file tells it, or nothing. */
export type Choice = { kind: "song"; song: Song } | { kind: "keep" } | { kind: "leave" };
/** By position, where people have chosen. */
export type Choices = ReadonlyMap<number, Choice>;

export type Match = ImportedEntry["match"];

export function choiceOf(entry: ImportedEntry, choices: Choices): Choice {
  return choices.get(entry.position) ?? (entry.song ? { kind: "song", song: entry.song } : { kind: "keep" });
}

/** Whether somebody may still want to choose for it. */
export function isOpen(entry: ImportedEntry, choices: Choices) {
  return entry.match === "none" && choiceOf(entry, choices).kind === "keep";
}

export function bestOf({ candidates }: ImportedEntry): Candidate | undefined {
  return candidates?.[0];
}

/** What the list is made of. */
export function itemsOf(entries: readonly ImportedEntry[], choices: Choices): Item[] {
  return entries.flatMap((entry): Item[] => {
    const choice = choiceOf(entry, choices);
    if (choice.kind === "song") return [{ song: choice.song }];
    return choice.kind === "leave" ? [] : [asItIs(entry)];
  });
}

function asItIs({ path, title, artist, duration }: ImportedEntry): Item {
  return {
    path,
    ...(title !== undefined && { title }),
    ...(artist !== undefined && { artist }),
    ...(duration !== undefined && { duration }),
  };
}

/** How many were found in which way. */
export function countMatches(entries: readonly ImportedEntry[]): Record<Match, number> {
  const counts: Record<Match, number> = { path: 0, tail: 0, file_name: 0, tags: 0, stream: 0, none: 0 };
  for (const { match } of entries) counts[match]++;
  return counts;
}

/** The best candidate for each that nobody has chosen for. */
export function withBest(entries: readonly ImportedEntry[], choices: Choices): Choices {
  const all = new Map(choices);
  for (const entry of entries) {
    const best = bestOf(entry);
    if (best && isOpen(entry, choices)) all.set(entry.position, { kind: "song", song: best.song });
  }
  return all;
}

/** Without those that were not found and that nobody has chosen for. */
export function withoutOpen(entries: readonly ImportedEntry[], choices: Choices): Choices {
  const all = new Map(choices);
  for (const entry of entries) if (isOpen(entry, choices)) all.set(entry.position, { kind: "leave" });
  return all;
}

/** What a list is called that came in this file. */
export function nameOfFile(file: string) {
  return file.replace(/\.(m3u8?|pls|xspf|jspf|json|xml|txt)$/i, "").trim() || file;
}
