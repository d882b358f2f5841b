// In which order playlists stand, and which of them are looked for.
import type { Playlist } from "../api/types.ts";

export type Order = "name" | "changed" | "own";
type Compare = (a: string, b: string) => number;

/** `own` are ids in the order that the user gave them; lists that are not among them come behind, by name. */
export function sorted(
  lists: readonly Playlist[],
  order: Order,
  own: readonly string[],
  compareNames: Compare,
): Playlist[] {
  const byName = (a: Playlist, b: Playlist) => compareNames(a.name, b.name) || (a.id < b.id ? -1 : 1);
  if (order === "name") return [...lists].sort(byName);
  if (order === "changed")
    return [...lists].sort((a, b) => (b.changed ?? 0) - (a.changed ?? 0) || byName(a, b));
  const places = new Map(own.map((id, place) => [id, place]));
  const placeOf = ({ id }: Playlist) => places.get(id) ?? own.length;
  return [...lists].sort((a, b) => placeOf(a) - placeOf(b) || byName(a, b));
}

/** Whether a name holds all words, in any letter case and with any accents. */
export function matcher(words: string): (name: string) => boolean {
  const wanted = folded(words).split(/\s+/).filter(Boolean);
  if (wanted.length === 0) return () => true;
  return (name) => {
    const text = folded(name);
    return wanted.every((word) => text.includes(word));
  };
}

function folded(text: string) {
  return text.normalize("NFKD").replace(/\p{M}/gu, "").toLowerCase();
}

/** The ids with one of them before another, or at the end. */
export function placedBefore(ids: readonly string[], id: string, before: string | undefined): string[] {
  const others = ids.filter((other) => other !== id);
  const at = before === undefined ? -1 : others.indexOf(before);
  return at < 0 ? [...others, id] : [...others.slice(0, at), id, ...others.slice(at)];
}

/** A name that is none of `taken`: with a number behind it, if it has to be. */
export function freeName(name: string, taken: (name: string) => boolean): string {
  if (!taken(name)) return name;
  for (let number = 2; ; number++) if (!taken(`${name} (${number})`)) return `${name} (${number})`;
}
