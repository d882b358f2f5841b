// What this browser keeps for the user: the order of playlists, which were used last, which groups are folded. The
// server has no place for it.
import { effect, type Signal, signal } from "@preact/signals";
import { user } from "../ui/session.tsx";

/** A signal whose value is kept for each user. */
export function keptForUser<T>(name: string, initial: T, isRight: (value: unknown) => value is T): Signal<T> {
  const kept = signal(initial);
  let key: string | undefined;
  effect(() => {
    const now = user.value ? `${name}:${user.value.name}` : undefined;
    if (now === key) return;
    key = undefined; // what belongs to another user is not written
    kept.value = now === undefined ? initial : read(now, initial, isRight);
    key = now;
  });
  effect(() => {
    const text = JSON.stringify(kept.value);
    if (key !== undefined) localStorage.setItem(key, text);
  });
  return kept;
}

function read<T>(key: string, initial: T, isRight: (value: unknown) => value is T): T {
  try {
    const value: unknown = JSON.parse(localStorage.getItem(key) ?? "null");
    return isRight(value) ? value : initial;
  } catch {
    return initial;
  }
}

export function isTexts(value: unknown): value is string[] {
  return Array.isArray(value) && value.every((item) => typeof item === "string");
}
