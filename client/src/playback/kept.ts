// What this browser remembers of how its user likes to play.
import { effect, type Signal, signal } from "@preact/signals";
import { readKept } from "../ui/kept.ts";

/** A signal whose value is there again when the page is loaded anew; `isRight` holds for what it may be. */
export function kept<T>(name: string, first: T, isRight: (value: unknown) => value is T): Signal<T> {
  const value = signal(readKept(name, first, isRight));
  effect(() => localStorage.setItem(name, JSON.stringify(value.value)));
  return value;
}

export const isBoolean = (value: unknown): value is boolean => typeof value === "boolean";
