// This browser as a player: it plays the queue, song after song, whatever happens to the connection.
import { computed, signal } from "@preact/signals";
import { RequestError, refusals, send } from "../api/http.ts";
import { type Chosen, durationOf, type Item, titleOf } from "../list/items.ts";
import { t } from "../text/index.ts";
import { record } from "../ui/history.ts";
import { notify, Refusal } from "../ui/notices.tsx";
import { Pauses } from "../ui/pauses.ts";
import { overview, user } from "../ui/session.tsx";
import { isHeard } from "./formats.ts";
import { isBoolean, kept } from "./kept.ts";
import { countPlay } from "./marks.ts";
import type { Key, Order, Repeat } from "./order.ts";
import { BACK_TO_BEGINNING, type Player } from "./player.ts";
import { isPlayable, MOST_ENTRIES, queue } from "./queue.ts";
import { changed, keepQueue } from "./queue_sync.ts";
import { withDetails } from "./song_details.ts";
import { Sound } from "./sound.ts";
import { type Source, sourceOf } from "./source.ts";

const isPercent = (value: unknown): value is number =>
  typeof value === "number" && value >= 0 && value <= 100;
const LONGEST_TICK = 2; // seconds between two reports of the time, when nobody has sought
const STALLS = 15_000; // milliseconds without sound, after which it is asked for anew
const TOO_EARLY = 10; // seconds before the end that the tags tell of, which may be wrong by less
const MOST_FAILURES = 5; // songs one after the other, after which playing ends
const BEGINS_WITH = 200; // songs of a long list
const STREAM_ATTEMPTS = 5;

class Here implements Player {
  readonly name = signal(undefined);
  private loading = new AbortController();
  readonly item = withDetails(queue.current);
  readonly canPlay = computed(() => queue.order.value.keys.length > 0);
  readonly isPlaying = signal(false);
  readonly isWaiting = signal(false);
  readonly trouble = signal<string | undefined>(undefined);
  readonly elapsed = signal(0);
  readonly duration = computed(() => {
    const item = queue.current.value;
    return (item && durationOf(item)) ?? this.foundDuration.value;
  });
  readonly volume = kept("player.volume", 100, isPercent);
  readonly isMuted = kept("player.muted", false, isBoolean);
  readonly shuffles = queue.shuffles;
  readonly repeat = queue.repeat;
  readonly repeats: readonly Repeat[] = ["off", "all", "one"];

  /** Told when it is to play, whichever player is chosen. */
  onWanted = () => {};
  private readonly foundDuration = signal<number | undefined>(undefined);
  private readonly pauses = new Pauses();
  private stalling = 0;
  /** The entry that `elapsed` is of. */
  private shown: Key | undefined;
  /** The one that the sound is of; undefined while there is none. */
  private loaded: Key | undefined;
  /** Entries that the browser could not decode as they are. */
  private readonly undecodable = new Set<Key>();
  /** When the sound has begun, or gone on at another place (as `performance.now()`), and which. */
  private begun = { at: 0, elapsed: 0 };
  private failures = 0;
  private attempts = 0;
  /** Seconds of the current song that were heard; undefined once it counts as played. */
  private heard: number | undefined = 0;
  private readonly sound = new Sound({
    onTime: () => this.onTime(),
    onEnded: () => this.onEnded(),
    onFailed: () => void this.onFailed(),
    onWaiting: (waits) => this.onWaiting(waits),
    onRefused: () => this.pause(),
  });

  constructor() {
    keepQueue({
      elapsed: () => this.elapsed.peek(),
      opened: (elapsed) => this.opened(elapsed),
      play: () => {
        this.onWanted();
        this.play();
      },
    });
    this.volume.subscribe((percent) => {
      this.sound.volume = (percent / 100) ** 2; // ears hear in proportion
    });
    this.isMuted.subscribe((on) => {
      this.sound.isMuted = on;
    });
    window.addEventListener("online", () => {
      if (this.trouble.peek() && this.isPlaying.peek()) void this.begin(this.elapsed.peek());
    });
  }

  // What is pressed.

  play() {
    const { current, keys } = queue.order.peek();
    if (keys.length === 0) return;
    changed("place");
    this.isPlaying.value = true;
    this.failures = 0;
    if (current !== undefined && this.loaded === current && !this.trouble.peek()) this.sound.play();
    else void this.begin(this.elapsed.peek());
  }

  pause() {
    this.halt();
    changed("place");
  }

  private halt() {
    this.isPlaying.value = false;
    this.isWaiting.value = false;
    this.trouble.value = undefined;
    this.pauses.reset();
    clearTimeout(this.stalling);
    this.sound.pause();
  }

  next() {
    if (queue.step(1)) this.turn();
  }

  previous() {
    if (this.elapsed.peek() > BACK_TO_BEGINNING || !queue.step(-1)) this.seek(0);
    else this.turn();
  }

  /** Another entry has become the current one. */
  private turn(at = 0) {
    this.shown = queue.order.peek().current;
    this.elapsed.value = at;
    this.heard = 0;
    this.attempts = 0;
    this.foundDuration.value = undefined;
    if (this.isPlaying.peek()) void this.begin(at);
    else this.unload();
  }

  private unload() {
    this.loaded = undefined;
    this.sound.stop();
  }

  playAt(key: Key) {
    queue.setCurrent(key);
    this.isPlaying.value = true;
    this.turn();
  }

  seek(seconds: number) {
    const at = Math.max(0, Math.min(seconds, this.duration.peek() ?? seconds));
    if (this.loaded !== undefined && this.loaded === queue.order.peek().current && !this.sound.seek(at)) {
      if (this.isPlaying.peek()) void this.begin(at);
      else this.unload();
    }
    this.elapsed.value = at;
    this.begun = { at: performance.now(), elapsed: at };
    changed("place");
  }

  setVolume(percent: number) {
    this.volume.value = percent;
    this.isMuted.value = false;
  }

  setMuted(on: boolean) {
    this.isMuted.value = on;
  }

  setShuffles(on: boolean) {
    queue.setShuffles(on);
  }

  setRepeat(repeat: Repeat) {
    queue.repeat.value = repeat;
  }

  // What is chosen elsewhere.

  async playItems(chosen: Chosen, { startAt, shuffle }: { startAt?: number; shuffle?: boolean }) {
    if (shuffle) queue.shuffles.value = true;
    const random = (count: number) => (queue.shuffles.peek() ? Math.floor(Math.random() * count) : 0);
    const first = startAt ?? random(chosen.count ?? 0);
    this.failures = 0;
    const before = queue.order.peek();
    const gone = queue.isHandmade ? queue.itemsOf(before.keys) : new Map<Key, Item>();
    const stop = this.loadAnother();
    const begun = await this.beginWithSome(chosen, first, stop);
    if (begun && gone.size > 1) this.offerBack(before, gone);
    const items = await this.load(chosen, stop).catch((error) => this.goOnWith(begun, error));
    if (!items || stop.aborted) return;
    if (begun) return queue.complete(begun, items.slice(0, first), items.slice(first + BEGINS_WITH));
    this.takeOver(items, startAt ?? random(items.length), 0, true);
    if (gone.size > 1) this.offerBack(before, gone);
  }

  /** What is chosen now is loaded instead of what was chosen before. */
  private loadAnother() {
    this.loading.abort();
    this.loading = new AbortController();
    return this.loading.signal;
  }

  /** Who does not wait for all of many has what has begun. */
  private goOnWith(begun: readonly Key[] | undefined, error: unknown) {
    if (!begun || !(error instanceof Refusal)) throw error;
    notify({ text: t("queue.only_begun", { count: begun.length }) });
    return undefined;
  }

  /** Of many, the first ones are heard while the others are still fetched; tells which these are. */
  private async beginWithSome(chosen: Chosen, first: number, stop: AbortSignal) {
    const mayBeMany = chosen.count === undefined ? !queue.shuffles.peek() : chosen.count > BEGINS_WITH;
    if (!mayBeMany) return undefined;
    const some = await chosen.loadSome?.(first, first + BEGINS_WITH, stop);
    const items = some?.filter(isPlayable) ?? [];
    if (items.length === 0 || stop.aborted) return undefined;
    this.takeOver(items, 0, 0, true);
    return queue.order.peek().keys;
  }

  /** A queue that was put together by hand is not lost by a press on a song. */
  private offerBack(before: Order, gone: Map<Key, Item>) {
    const bringBack = () => {
      queue.restore(queue.order.peek(), before, gone);
      this.follow();
    };
    notify({
      text: t("queue.replaced", { count: gone.size }),
      action: { label: t("queue.bring_back"), run: bringBack },
    });
  }

  /** Plays these from a place on, as another player has left them. */
  takeOver(items: Item[], position: number, elapsed: number, plays: boolean) {
    const skipped = items.slice(0, position).filter((item) => !isPlayable(item)).length;
    const playable = items.filter(isPlayable);
    queue.replace(playable, Math.max(0, Math.min(position - skipped, playable.length - 1)));
    this.isPlaying.value = plays && playable.length > 0;
    this.turn(elapsed);
  }

  async insertNext(chosen: Chosen) {
    const items = await this.load(chosen);
    if (items) this.add(items.filter(isPlayable), (playable) => queue.insertNext(playable));
  }

  async append(chosen: Chosen) {
    const items = await this.load(chosen);
    if (items) this.add(items.filter(isPlayable), (playable) => queue.append(playable));
  }

  private async load(chosen: Chosen, stop?: AbortSignal) {
    const items = await chosen.load(stop);
    if (!items.some(isPlayable)) {
      notify({ text: t("queue.nothing_to_play") });
      return undefined;
    }
    if (items.length > MOST_ENTRIES) notify({ text: t("queue.too_many", { count: MOST_ENTRIES }) });
    return items.slice(0, MOST_ENTRIES);
  }

  private add(items: Item[], insert: (items: Item[]) => Key[]) {
    const before = queue.order.peek();
    const gone = new Map(insert(items).map((key, place) => [key, items[place] as Item]));
    const after = queue.order.peek();
    const go = (from: Order, to: Order) => async () => {
      queue.restore(from, to, gone);
      this.follow();
    };
    record({
      label: t("queue.added", { count: items.length }),
      undo: go(after, before),
      redo: go(before, after),
    });
    this.follow();
  }

  /** The queue was fetched from the server. */
  private opened(elapsed: number) {
    this.halt();
    this.unload();
    this.undecodable.clear();
    this.shown = queue.order.peek().current;
    this.heard = 0;
    this.elapsed.value = elapsed;
  }

  /** After an edit of the queue, perhaps without the entry that was played. */
  follow() {
    const { current } = queue.order.peek();
    if (current === undefined) {
      this.shown = undefined;
      this.halt();
      this.unload();
      this.elapsed.value = 0;
    } else if (this.shown !== current) this.turn();
    else this.prepareNext();
  }

  // What the sound tells.

  private sourceFor(key: Key, item: Item, at: number): Source | undefined {
    const can = { canPlay, transcoding: overview.peek()?.transcoding ?? false };
    return sourceOf(item, at, can, this.undecodable.has(key));
  }

  private async begin(at: number) {
    const key = queue.order.peek().current;
    if (key === undefined) return;
    this.isWaiting.value = true;
    let item: Item | undefined;
    try {
      item = await queue.load(key);
    } catch (error) {
      if (!(error instanceof RequestError)) throw error;
      return this.tryAgain(t("playing.no_connection"));
    }
    if (key !== queue.order.peek().current || !this.isPlaying.peek()) return;
    const source = item && this.sourceFor(key, item, at);
    if (!source) return this.skip(item);
    this.loaded = key;
    this.elapsed.value = at;
    this.begun = { at: performance.now(), elapsed: at };
    this.sound.start(source, at);
    this.watchForStall();
  }

  private onTime() {
    const now = this.sound.elapsed;
    const step = now - this.elapsed.peek();
    if (this.heard !== undefined && step > 0 && step < LONGEST_TICK) this.heard += step;
    this.elapsed.value = now;
    this.foundDuration.value = this.sound.duration;
    this.countWhenHeard();
    if (this.sound.isNearEnd) this.prepareNext();
  }

  private countWhenHeard() {
    const song = queue.current.peek()?.song;
    if (!song || this.heard === undefined || !isHeard(this.heard, this.duration.peek())) return;
    this.heard = undefined;
    void countPlay(song.id);
  }

  private prepareNext() {
    if (this.loaded === undefined || !this.isPlaying.peek()) return;
    const key = queue.keyAfterCurrent();
    const item = key === undefined ? undefined : queue.itemOfKey(key);
    const isSong = key !== undefined && item?.song !== undefined;
    this.sound.prepare(isSong ? this.sourceFor(key, item, 0) : undefined);
    if (key !== undefined && !item) void queue.load(key).catch(() => {}); // it is tried again in its turn
  }

  /**
   * Browsers take what they cannot decode, or what breaks off, for the end, and say that it was reached: less time has
   * passed then than the rest of the song lasts.
   */
  private endsTooEarly() {
    const { source } = this.sound;
    const end = this.duration.peek();
    if (source?.format === "stream" || end === undefined) return false;
    const rest = end - this.begun.elapsed;
    const passed = (performance.now() - this.begun.at) / 1000;
    if (passed >= Math.min(rest / 2, rest - TOO_EARLY)) return false;
    this.elapsed.value = this.begun.elapsed + passed;
    return true;
  }

  private onEnded() {
    if (this.endsTooEarly()) return void this.onFailed();
    const isOnce = queue.stopsAfter.peek();
    queue.stopsAfter.value = false;
    if (!isOnce && queue.repeat.peek() === "one") return this.turn();
    const goesOn = queue.step(1);
    if (!goesOn || isOnce) this.halt();
    if (goesOn) return this.turn();
    this.elapsed.value = 0;
    this.unload();
    changed("place");
  }

  private onWaiting(waits: boolean) {
    this.isWaiting.value = waits && this.isPlaying.peek();
    if (waits) return this.watchForStall();
    clearTimeout(this.stalling);
    this.trouble.value = undefined;
    this.failures = 0;
    this.attempts = 0;
    this.pauses.reset();
  }

  /** A connection may break so that nobody tells. */
  private watchForStall() {
    clearTimeout(this.stalling);
    this.stalling = window.setTimeout(() => {
      if (this.isPlaying.peek() && this.isWaiting.peek()) void this.onFailed();
    }, STALLS);
  }

  private tryAgain(trouble: string) {
    this.isWaiting.value = true;
    this.trouble.value = trouble;
    this.loaded = undefined;
    this.pauses.after(() => {
      if (this.isPlaying.peek()) void this.begin(this.elapsed.peek());
    });
  }

  /** Elements do not tell why, so the server is asked. */
  private async onFailed() {
    const { source } = this.sound;
    const key = this.loaded;
    if (!source || key === undefined || !this.isPlaying.peek()) return this.unload();
    if (source.format === "stream") return this.failedStream();
    const status = await statusOf(source.url);
    if (key !== queue.order.peek().current || !this.isPlaying.peek()) return;
    if (status === 0 || status === 502 || status === 504) this.tryAgain(t("playing.no_connection"));
    else if (status === 503) this.tryAgain(t("playing.server_is_busy"));
    else if (status === 401) refusals.value++;
    else if (status < 400 && this.canTranscode(source)) {
      this.undecodable.add(key);
      void this.begin(this.elapsed.peek());
    } else {
      if (status === 404) queue.markMissing(key);
      this.skip(queue.itemOfKey(key));
    }
  }

  private canTranscode(source: Source) {
    return source.format === "as_it_is" && overview.peek()?.transcoding === true;
  }

  private failedStream() {
    if (++this.attempts < STREAM_ATTEMPTS) this.tryAgain(t("playing.no_stream"));
    else this.skip(queue.current.peek());
  }

  /** The entry cannot be played: says so, and goes on. */
  private skip(item: Item | undefined) {
    notify({ text: t("playing.skipped", { title: item ? titleOf(item) : "" }), kind: "error" });
    if (++this.failures >= MOST_FAILURES || !queue.step(1)) {
      this.halt();
      this.unload();
    } else this.turn();
  }
}

function canPlay(mediaType: string) {
  return document.createElement("audio").canPlayType(mediaType) !== "";
}

/** What the server answers to a request for it; 0: nothing. */
async function statusOf(url: string) {
  const stop = new AbortController();
  try {
    return (await send(url, { signal: stop.signal })).status;
  } catch {
    return 0;
  } finally {
    stop.abort();
  }
}

export const here = new Here();

// Another user has nothing of what this one played.
user.subscribe((now) => {
  if (now === null) here.pause();
});
