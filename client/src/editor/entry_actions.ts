// What is done to entries of a list: by keys, by their menu, by the bar of the selection.
import type { Chosen } from "../list/items.ts";
import type { Selection } from "../list/selection.ts";
import { enqueue, play, playNext } from "../playback/commands.ts";
import { t } from "../text/index.ts";
import { askForText } from "../ui/dialog.tsx";
import { keyOf } from "../ui/keys.tsx";
import { type MenuItem, openMenu } from "../ui/menu.tsx";
import type { ListDocument } from "./document.ts";
import { moveTo } from "./list_edits.ts";
import { chooseCandidate } from "./repair_dialog.tsx";

export class EntryActions {
  constructor(
    readonly document: ListDocument,
    readonly selection: Selection,
    private readonly askWhichLists: (chosen: Chosen) => unknown,
  ) {}

  /** What is selected, else the active entry. */
  private positions(): number[] {
    const { selection, document } = this;
    if (selection.count.peek() > 0) return selection.positions();
    return (document.total.peek() ?? 0) > 0 ? [selection.active.peek()] : [];
  }

  play() {
    void play(this.document.chosen(this.positions()));
  }

  addToOther() {
    const positions = this.positions();
    const { name: _, ...chosen } = this.document.chosen(positions);
    if (positions.length > 0) void this.askWhichLists(chosen);
  }

  remove() {
    const positions = this.positions();
    if (positions.length > 0) this.document.remove(positions);
  }

  /** Up or down by one, all together. */
  step(down: boolean) {
    const positions = this.positions();
    const [first = 0, last = 0] = [positions[0], positions.at(-1)];
    const at = down ? last + 2 : first - 1;
    if (at < 0 || at > (this.document.total.peek() ?? 0)) return;
    moveTo(this.document, positions, at);
  }

  async askWhereTo() {
    const total = this.document.total.peek() ?? 0;
    const ids = this.positions().map((at) => this.document.idAt(at));
    if (ids.length === 0) return;
    const last = total - ids.length + 1;
    const isPosition = (text: string) => /^\d+$/.test(text) && Number(text) >= 1 && Number(text) <= last;
    const answer = await askForText({
      title: t("editor.move_to"),
      label: t("editor.position", { last }),
      value: String((this.positions()[0] ?? 0) + 1),
      submit: t("editor.move"),
      check: (text) => (isPosition(text) ? undefined : t("editor.no_position", { last })),
    });
    if (answer === undefined) return;
    this.moveToPlace(this.document.positionsOf(ids), Number(answer) - 1);
  }

  /** So that the first of them stands at this place afterwards. */
  private moveToPlace(positions: readonly number[], place: number) {
    const chosen = new Set(positions);
    let at = 0;
    for (let others = 0; others < place || chosen.has(at); at++) if (!chosen.has(at)) others++;
    moveTo(this.document, positions, at);
  }

  onKey(event: KeyboardEvent, active: number): boolean {
    const run = this.keys(active)[keyOf(event)];
    if (!run) return false;
    run();
    return true;
  }

  private keys(active: number): Record<string, () => void> {
    const reading = { L: () => this.addToOther() };
    if (!this.document.canEdit.peek()) return reading;
    return {
      ...reading,
      Delete: () => this.remove(),
      Backspace: () => this.remove(),
      "Alt+ArrowUp": () => this.step(false),
      "Alt+ArrowDown": () => this.step(true),
      M: () => void this.askWhereTo(),
      R: () => this.repair(active),
    };
  }

  private repair(index: number) {
    if (this.document.at(index)?.missing) void chooseCandidate(this.document, this.document.idAt(index));
  }

  openMenu(index: number, place: { x: number; y: number }) {
    const count = this.positions().length;
    openMenu(place, t("count.selected", { count }), this.menuItems(index));
  }

  private menuItems(index: number): MenuItem[] {
    const playing: MenuItem[] = [
      {
        label: t("editor.play_from_here"),
        icon: "play",
        key: "Enter",
        run: () => void play(this.document.chosen(), { startAt: index }),
      },
    ];
    const chosen = this.document.chosen(this.positions());
    const reading: MenuItem[] = [
      ...playing,
      { label: t("library.play_next"), icon: "next", run: () => void playNext(chosen) },
      { label: t("library.enqueue"), icon: "queue", run: () => void enqueue(chosen) },
      { label: t("library.add_to"), icon: "add", key: "L", run: () => this.addToOther() },
    ];
    if (!this.document.canEdit.peek()) return reading;
    const repairing: MenuItem[] = this.document.at(index)?.missing
      ? [{ label: t("editor.choose"), icon: "search", key: "R", run: () => this.repair(index) }]
      : [];
    return [
      ...reading,
      ...repairing,
      { label: t("editor.move_to"), icon: "list", key: "M", run: () => void this.askWhereTo() },
      { label: t("editor.remove"), icon: "trash", key: "Del", run: () => this.remove() },
    ];
  }
}
