// What this browser keeps for each of its users: the order of playlists, which were used last, which one is open. The
// server has no place for it.
import { effect, type Signal, signal } from "@preact/signals";
import { user } from "./session.tsx";

/** A signal whose value is kept for each user. */
export function keptForUser<T>(name: string, initial: T, isRight: (value: unknown) => value is T): Signal<T> {
  const kept = signal(initial);
  let key: string | undefined;
  effect(() => {
    const now = user.value ? `${name}:${user.value.name}` : undefined;
    if (now === key) return;
    key = undefined; // what belongs to another user is not written
    kept.value = now === undefined ? initial : readKept(now, initial, isRight);
    key = now;
  });
  effect(() => {
    const { value } = kept;
    if (key === undefined) return;
    if (value === undefined) localStorage.removeItem(key);
    else localStorage.setItem(key, JSON.stringify(value));
  });
  return kept;
}

/** What the browser keeps under this key, or `initial` where that is nothing, or not what it may be. */
export function readKept<T>(key: string, initial: T, isRight: (value: unknown) => value is T): T {
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
