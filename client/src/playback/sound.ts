// Two audio elements: one is heard, the other one loads what comes next, so that it goes on at once.
import type { Source } from "./source.ts";

interface Deck {
  readonly audio: HTMLAudioElement;
  source: Source | undefined;
  /** Where it is going to begin, in seconds of the song, while it is loading. */
  beginsAt: number | undefined;
}

export interface Listener {
  onTime(): void;
  onEnded(): void;
  onFailed(code: number): void;
  /** Nothing is heard though it should be; false: it is heard again. */
  onWaiting(waits: boolean): void;
  /** The browser plays only after somebody has pressed something. */
  onRefused(): void;
}

const NEAR_END = 30; // seconds before the end, from which the next song is loaded

export class Sound {
  private heard: Deck;
  private next: Deck;

  constructor(private readonly listener: Listener) {
    this.heard = this.makeDeck();
    this.next = this.makeDeck();
  }

  private makeDeck(): Deck {
    const audio = new Audio();
    const deck: Deck = { audio, source: undefined, beginsAt: undefined };
    const listen = (name: keyof HTMLMediaElementEventMap, run: () => void) =>
      audio.addEventListener(name, () => {
        if (deck === this.heard && deck.source) run();
      });
    listen("timeupdate", () => this.listener.onTime());
    listen("ended", () => this.listener.onEnded());
    listen("error", () => this.listener.onFailed(audio.error?.code ?? 0));
    listen("waiting", () => this.listener.onWaiting(true));
    listen("playing", () => this.listener.onWaiting(false));
    audio.addEventListener("error", () => {
      if (deck === this.next) deck.source = undefined; // it is tried again when its turn comes
    });
    return deck;
  }

  get source() {
    return this.heard.source;
  }

  /** Seconds of the song. */
  get elapsed() {
    const { audio, source, beginsAt } = this.heard;
    return beginsAt ?? (source?.base ?? 0) + audio.currentTime;
  }

  /** Of the song, as the browser finds it; undefined for what is transcoded or has no end. */
  get duration() {
    const { duration } = this.heard.audio;
    return Number.isFinite(duration) && this.heard.source?.format === "as_it_is" ? duration : undefined;
  }

  /** Whether it is time to load what comes next. */
  get isNearEnd() {
    const { audio } = this.heard;
    const loaded = audio.buffered.length > 0 ? audio.buffered.end(audio.buffered.length - 1) : 0;
    const isLoaded = Number.isFinite(audio.duration) && loaded >= audio.duration - 1;
    return isLoaded || audio.duration - audio.currentTime < NEAR_END;
  }

  set volume(value: number) {
    this.heard.audio.volume = value;
    this.next.audio.volume = value;
  }

  set isMuted(on: boolean) {
    this.heard.audio.muted = on;
    this.next.audio.muted = on;
  }

  /** Plays it from second `at` of the song on. */
  start(source: Source, at: number) {
    if (at === 0 && this.next.source?.url === source.url && !this.next.audio.error) this.swap();
    else this.load(this.heard, source, at);
    this.play();
  }

  private swap() {
    const { heard, next } = this;
    this.heard = next;
    this.next = heard;
    this.unload(heard);
  }

  private load(deck: Deck, source: Source, at: number) {
    deck.source = source;
    deck.audio.preload = "auto";
    deck.audio.src = source.url;
    deck.beginsAt = source.format === "as_it_is" && at > 0 ? at : undefined;
    if (deck.beginsAt === undefined) return;
    const seek = () => {
      if (deck.source !== source || deck.beginsAt === undefined) return;
      deck.audio.currentTime = deck.beginsAt;
      deck.beginsAt = undefined;
    };
    deck.audio.addEventListener("loadedmetadata", seek, { once: true });
  }

  private unload(deck: Deck) {
    deck.source = undefined;
    deck.audio.removeAttribute("src");
    deck.audio.load();
  }

  play() {
    const { heard } = this;
    heard.audio.play().catch((error: unknown) => {
      if (heard !== this.heard || !(error instanceof DOMException)) return;
      if (error.name === "NotAllowedError") this.listener.onRefused();
    });
  }

  pause() {
    this.heard.audio.pause();
  }

  /** Nothing is heard, nothing loads. */
  stop() {
    this.heard.audio.pause();
    this.unload(this.heard);
    this.unload(this.next);
  }

  /** Whether the browser can go there by itself; else the song has to be asked for anew. */
  seek(seconds: number) {
    const { audio, source } = this.heard;
    if (!source || source.format === "stream") return true;
    const at = seconds - source.base;
    if (source.format !== "as_it_is" && !isIn(audio.buffered, at)) return false;
    if (this.heard.beginsAt !== undefined) this.heard.beginsAt = at;
    else audio.currentTime = at;
    return true;
  }

  /** What comes after this; undefined: nothing. */
  prepare(source: Source | undefined) {
    if (source?.url === this.next.source?.url) return;
    if (source) this.load(this.next, source, 0);
    else this.unload(this.next);
  }
}

function isIn(ranges: TimeRanges, at: number) {
  for (let place = 0; place < ranges.length; place++) {
    if (ranges.start(place) <= at && at <= ranges.end(place)) return true;
  }
  return false;
}
