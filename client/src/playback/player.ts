// What a player can do, be it this browser or one of the house.
import type { ReadonlySignal } from "@preact/signals";
import type { Chosen, Item } from "../list/items.ts";
import type { Repeat } from "./order.ts";

export interface Player {
  /** What it is called; undefined: this browser. */
  readonly name: ReadonlySignal<string | undefined>;
  /** What plays, or would when it goes on. */
  readonly item: ReadonlySignal<Item | undefined>;
  /** Something is queued. */
  readonly canPlay: ReadonlySignal<boolean>;
  readonly isPlaying: ReadonlySignal<boolean>;
  /** It wants to play and has to wait: for sound, or for a connection. */
  readonly isWaiting: ReadonlySignal<boolean>;
  /** Why it does not play, as a sentence. */
  readonly trouble: ReadonlySignal<string | undefined>;
  readonly elapsed: ReadonlySignal<number>;
  /** Undefined for what has no end. */
  readonly duration: ReadonlySignal<number | undefined>;
  /** 0 to 100; undefined when it cannot be set. */
  readonly volume: ReadonlySignal<number | undefined>;
  readonly isMuted: ReadonlySignal<boolean>;
  /** Undefined when it cannot be changed from here. */
  readonly shuffles: ReadonlySignal<boolean | undefined>;
  readonly repeat: ReadonlySignal<Repeat | undefined>;
  /** What can be chosen, in turn. */
  readonly repeats: readonly Repeat[];

  play(): void;
  pause(): void;
  next(): void;
  previous(): void;
  seek(seconds: number): void;
  setVolume(percent: number): void;
  setMuted(on: boolean): void;
  setShuffles(on: boolean): void;
  setRepeat(repeat: Repeat): void;

  playItems(chosen: Chosen, options: { startAt?: number; shuffle?: boolean }): Promise<void>;
  insertNext(chosen: Chosen): Promise<void>;
  append(chosen: Chosen): Promise<void>;
}

/** A press on "previous" after so many seconds goes back to the beginning of the song. */
export const BACK_TO_BEGINNING = 3;
