// Sends the edits of a list, one after another. What waits meanwhile becomes one edit. When an answer is lost, the edit may
// have been done: the next one names the version that was seen before, so it is refused then, and what the list
// has become tells which it was.
import { signal } from "@preact/signals";
import { addSongs, removeSongs, update } from "../api/actions.ts";
import { RequestError } from "../api/http.ts";
import { referenceOf } from "../list/items.ts";
import { type Contents, OtherVersion, type ServerState } from "./contents.ts";
import { type Edit, namedBy, nextEdit } from "./edits.ts";
import type { Order } from "./order.ts";

export type SaveState =
  | { kind: "saved" | "saving" }
  /** Will be tried again without anybody doing anything. */
  | { kind: "waiting"; error: RequestError }
  | { kind: "refused"; error: RequestError };

/** What the saver works for. */
export interface Saved {
  readonly listId: string;
  readonly server: ServerState;
  readonly wanted: Order;
  readonly contents: Contents;
  /** The server has this now. */
  accept(server: ServerState): void;
  /** The version that the server has now. */
  versionNow(): Promise<string | undefined>;
  /** Looks what the list has become; the server may have done what `doubts` tells. */
  reload(doubts: readonly Order[]): Promise<void>;
  /** Keeps what is unsent where it survives a reload. */
  keep(doubts: readonly Order[]): Promise<unknown>;
  forget(): Promise<unknown>;
}

const FIRST_PAUSE = 1000; // milliseconds
const LONGEST_PAUSE = 60_000;

export class Saver {
  readonly state = signal<SaveState>({ kind: "saved" });
  private running = false;
  private pause = FIRST_PAUSE;
  private timer = 0;

  private doubts: readonly Order[] = [];

  constructor(private readonly list: Saved) {}

  /** Goes on as if nothing had been sent but these, of which nobody knows whether they were done. */
  resume(doubts: readonly Order[]) {
    this.doubts = doubts;
    this.state.value = { kind: "saving" };
  }

  /** Whether an edit is on its way. */
  get isBusy() {
    return this.running;
  }

  get isDone() {
    return this.state.peek().kind === "saved";
  }

  /** Sends what is to be sent, now. */
  async run() {
    if (this.running || this.list.server.version === undefined) return;
    this.running = true;
    clearTimeout(this.timer);
    try {
      while (await this.step()) this.pause = FIRST_PAUSE;
    } catch (error) {
      if (!(error instanceof RequestError)) throw error;
      this.fail(error);
    } finally {
      this.running = false;
    }
  }

  /** The same, when there is a new edit. One that has to wait is kept meanwhile. */
  runOrKeep() {
    if (this.running) void this.list.keep(this.doubts);
    void this.run();
  }

  /** The next edit. False when there is none. */
  private async step(): Promise<boolean> {
    const { server, wanted, contents } = this.list;
    const edit = nextEdit(server.order, wanted);
    if (!edit && this.doubts.length === 0) {
      await this.list.forget();
      this.state.value = { kind: "saved" };
      return nextEdit(this.list.server.order, this.list.wanted) !== undefined;
    }
    this.state.value = { kind: "saving" };
    if (!edit || !(await this.isAsSeen())) return this.reload();
    const named = namedBy(edit, server.order);
    if (contents.hasAll(named)) return this.send(edit);
    try {
      await contents.load(named);
    } catch (error) {
      if (error instanceof OtherVersion) return this.reload();
      throw error;
    }
    return true; // by now more may be wanted
  }

  /** Before something is sent again: so there are not many answers to doubt, however long nobody answers. */
  private async isAsSeen() {
    return this.doubts.length === 0 || (await this.list.versionNow()) === this.list.server.version;
  }

  private async send(edit: Edit): Promise<boolean> {
    const before = this.doubts;
    this.doubts = before.includes(edit.result) ? before : [...before, edit.result];
    await this.list.keep(this.doubts);
    try {
      const { version } = await this.request(edit);
      this.doubts = [];
      if (version === undefined) await this.list.reload([edit.result]);
      else this.list.accept({ order: edit.result, version });
      return true;
    } catch (error) {
      if (!(error instanceof RequestError)) throw error;
      // A refusal tells that it was not done.
      if (error.status >= 400 && error.status < 500) this.doubts = before;
      if (error.status === 412) return this.reload();
      throw error;
    }
  }

  private async reload(): Promise<boolean> {
    await this.list.reload(this.doubts);
    this.doubts = [];
    return true;
  }

  private request(edit: Edit) {
    const { listId, server, contents } = this.list;
    const references = () =>
      Array.from(edit.ids, (id) => {
        const item = contents.get(id);
        if (!item) throw new Error(`entry ${id} is not known`);
        return referenceOf(item);
      });
    switch (edit.kind) {
      case "append":
        return addSongs(listId, references(), server.version);
      case "remove":
        return removeSongs(listId, edit.positions, server.version);
      case "replace":
        return update(listId, edit.start, edit.limit, references(), server.version);
    }
  }

  private fail(error: RequestError) {
    const again = error.isPassing || error.status === 401;
    this.state.value = { kind: again ? "waiting" : "refused", error };
    void this.list.keep(this.doubts);
    if (!again) return;
    this.timer = window.setTimeout(() => void this.run(), this.pause);
    this.pause = Math.min(2 * this.pause, LONGEST_PAUSE);
  }
}
