// A player of the house, which the server speaks to.
import { computed, signal } from "@preact/signals";
import { ask, get, RequestError } from "../api/http.ts";
import type { Page, PlayerEntry, PlayerStatus } from "../api/types.ts";
import type { Chosen, Item } from "../list/items.ts";
import { t } from "../text/index.ts";
import { notify, notifyFailure } from "../ui/notices.tsx";
import { Pauses } from "../ui/pauses.ts";
import type { Repeat } from "./order.ts";
import { BACK_TO_BEGINNING, type Player } from "./player.ts";
import { entriesOf, MOST_ENTRIES } from "./queue.ts";
import { withDetails } from "./song_details.ts";

const EVERY = 1000; // milliseconds between two looks at what it does
const LARGEST_PAGE = 1000;

export class House implements Player {
  readonly status = signal<PlayerStatus | undefined>(undefined);
  readonly name = signal<string | undefined>(undefined);
  readonly trouble = signal<string | undefined>(undefined);
  readonly isPlaying = computed(() => this.status.value?.state === "play");
  readonly isWaiting = computed(() => this.status.value === undefined && this.trouble.value === undefined);
  readonly canPlay = computed(() => (this.status.value?.queue_length ?? 0) > 0);
  readonly elapsed = computed(() => this.status.value?.elapsed ?? 0);
  readonly duration = computed(() => this.status.value?.duration || this.status.value?.song?.duration);
  readonly volume = computed(() => this.status.value?.volume);
  readonly isMuted = signal(false);
  readonly shuffles = computed(() => this.status.value?.random);
  readonly repeat = computed((): Repeat | undefined => {
    const repeats = this.status.value?.repeat;
    return repeats === undefined ? undefined : repeats ? "all" : "off";
  });
  readonly repeats: readonly Repeat[] = ["off", "all"];
  readonly item = withDetails(computed(() => itemOfEntry(this.status.value?.song)));
  /** Grows when its queue is changed from here. */
  readonly edits = signal(0);

  private readonly pauses = new Pauses();
  private timer = 0;
  private asking: AbortController | undefined;
  private isWatched = false;

  constructor(
    readonly id: number,
    name: string,
  ) {
    this.name.value = name;
  }

  /** Looks at what it does, until that is not wanted any more. */
  watch(on: boolean) {
    if (on === this.isWatched) return;
    this.isWatched = on;
    clearTimeout(this.timer);
    this.pauses.reset();
    this.asking?.abort();
    if (on) void this.look();
  }

  private async look() {
    const asking = new AbortController();
    this.asking = asking;
    try {
      this.show(await get<PlayerStatus>(this.path(), {}, asking.signal));
      this.pauses.reset();
    } catch (error) {
      if (asking.signal.aborted) return;
      this.fail(error);
    }
    if (!this.isWatched) return;
    if (this.trouble.peek()) this.pauses.after(() => void this.look());
    else this.timer = window.setTimeout(() => void this.look(), EVERY);
  }

  private show(status: PlayerStatus) {
    this.name.value = status.name;
    this.status.value = status;
    this.trouble.value = status.state === "unreachable" ? this.unreachable() : undefined;
  }

  private fail(error: unknown) {
    if (!(error instanceof RequestError)) throw error;
    this.status.value = undefined;
    this.trouble.value = error.status === 0 ? t("playing.no_connection") : this.unreachable();
  }

  private unreachable() {
    return t("players.unreachable", { name: this.name.peek() ?? "" });
  }

  private path(command = "") {
    return command === "" ? `players/${this.id}` : `players/${this.id}/${command}`;
  }

  /** Has it do something; fails when it does not. */
  async run(command: string, body?: object) {
    this.show((await ask<PlayerStatus>(this.path(command), {}, { method: "POST", body })).body);
  }

  private async command(command: string, body?: object) {
    try {
      await this.run(command, body);
    } catch (error) {
      notifyFailure(t("players.refused", { name: this.name.peek() ?? "" }), error, () =>
        this.command(command, body),
      );
    }
  }

  play() {
    void this.command("play");
  }

  playAt(position: number) {
    void this.command("play", { position });
  }

  pause() {
    void this.command("pause");
  }

  next() {
    void this.command("next");
  }

  previous() {
    if (this.elapsed.peek() > BACK_TO_BEGINNING) this.seek(0);
    else void this.command("previous");
  }

  seek(seconds: number) {
    void this.command("seek", { seconds });
  }

  setVolume(percent: number) {
    void this.command("volume", { percent: Math.round(percent) });
  }

  setMuted() {}

  setShuffles(on: boolean) {
    void this.command("mode", { random: on });
  }

  setRepeat(repeat: Repeat) {
    void this.command("mode", { repeat: repeat !== "off" });
  }

  async playItems(chosen: Chosen, { startAt = 0, shuffle = false }) {
    if (shuffle) await this.run("mode", { random: true });
    await this.give(chosen, { mode: "replace", position: startAt });
  }

  insertNext(chosen: Chosen) {
    return this.give(chosen, { mode: "next" });
  }

  append(chosen: Chosen) {
    return this.give(chosen, { mode: "append" });
  }

  /** Plays these from a place on, as another player has left them. */
  async takeOver(items: Item[], position: number, elapsed: number, plays: boolean) {
    await this.playItems({ count: items.length, load: async () => items }, { startAt: position });
    if (elapsed >= 1) await this.run("seek", { seconds: elapsed });
    if (!plays) await this.run("pause");
  }

  /** A whole playlist goes there by its name, so that nothing of it passes through this page. */
  private async give(chosen: Chosen, how: { mode: "replace" | "append" | "next"; position?: number }) {
    const { playlist } = chosen;
    const what = playlist === undefined ? { items: entriesOf(await chosen.load()) } : { playlist };
    if (what.items?.length === 0) return void notify({ text: t("queue.nothing_to_play") });
    const { added, refused } = await this.queue({ ...what, ...how });
    const name = this.name.peek() ?? "";
    if (refused === 0 && how.mode !== "replace")
      notify({ text: t("players.added", { name, count: added }), lasts: 4 });
    this.edits.value++;
  }

  private async queue(body: object): Promise<Given> {
    const { added, refused } = (await ask<Given>(this.path("queue"), {}, { method: "POST", body })).body;
    const name = this.name.peek() ?? "";
    if (refused > 0) notify({ text: t("players.some_refused", { name, count: refused }), kind: "error" });
    if (this.isWatched) this.show(await get<PlayerStatus>(this.path()));
    return { added, refused };
  }

  /** Puts these to its end; tells how many it has taken. */
  async take(items: readonly Item[]) {
    return (await this.queue({ items: entriesOf(items), mode: "append" })).added;
  }

  /** All that it has queued. */
  async loadQueue(): Promise<Item[]> {
    const items: Item[] = [];
    while (items.length < MOST_ENTRIES) {
      const page = await get<Page<PlayerEntry>>(this.path("queue"), {
        offset: items.length,
        limit: LARGEST_PAGE,
      });
      items.push(...page.items.map((entry) => itemOfEntry(entry) ?? {}));
      if (page.items.length === 0 || items.length >= page.total) break;
    }
    return items;
  }
}

/** How many entries a player has taken, and how many it does not know. */
interface Given {
  added: number;
  refused: number;
}

/** What a player tells, as the library would. */
export function itemOfEntry(entry: PlayerEntry | undefined): Item | undefined {
  if (!entry) return undefined;
  const { song: id, stream, title = "", ...rest } = entry;
  if (id === undefined) return { title, ...rest, ...(stream !== undefined && { stream }) };
  return { song: { id, library: "shared", title, ...rest } };
}
