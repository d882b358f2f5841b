// A queue as a list that is edited: that of this browser, or of a player of the house.
import { useMemo } from "preact/hooks";
import type { Chosen, Item } from "../list/items.ts";
import { artistOf, titleOf } from "../list/items.ts";
import { type Column, ListView } from "../list/list_view.tsx";
import type { Selection } from "../list/selection.ts";
import { SelectionBar } from "../list/selection_bar.tsx";
import type { ListSource } from "../list/source.ts";
import type { Place } from "../list/viewport.ts";
import { addToOpenList, addToOtherList } from "../playlists/commands.ts";
import { formatNumber, t } from "../text/index.ts";
import { askForText } from "../ui/dialog.tsx";
import { Icon } from "../ui/icon.tsx";
import { keyOf } from "../ui/keys.tsx";
import { isCoarse, isNarrow } from "../ui/media.ts";
import { type MenuItem, openMenu } from "../ui/menu.tsx";
import { itemColumns } from "./columns.tsx";

export interface EditableQueue {
  readonly source: ListSource<Item>;
  playAt(position: number): void;
  chosenAt(positions: readonly number[]): Chosen;
  removeAt(positions: readonly number[]): void;
  /** Before the entry that is at `at` now; tells where the first one is then, if it moves. */
  moveBefore(positions: readonly number[], at: number): number | undefined;
  insertAt(items: readonly Item[], at: number): void;
}

function columns(queue: EditableQueue): Column<Item>[] {
  return [
    {
      key: "number",
      label: "",
      width: isNarrow.value ? "3.5rem" : "4rem",
      align: "end",
      cell: (_, index) => (
        <span class="handle" title={t("queue.handle")}>
          <Icon name="grip" />
          <span class="number">{formatNumber(index + 1)}</span>
        </span>
      ),
    },
    ...itemColumns<Item>((item) => item),
    {
      key: "remove",
      label: "",
      width: "var(--control)",
      cell: (item, index) => (
        <button
          type="button"
          class="icon-button remove-button"
          tabIndex={-1}
          aria-label={t("queue.remove_one", { title: titleOf(item) })}
          onClick={() => queue.removeAt([index])}
        >
          <Icon name="close" />
        </button>
      ),
    },
  ];
}

/** What can be done with what is selected. */
class Actions {
  constructor(
    private readonly queue: EditableQueue,
    private readonly selection: Selection,
  ) {}

  private get total() {
    return this.queue.source.total.peek() ?? 0;
  }

  private positions() {
    const chosen = this.selection.positions();
    return chosen.length > 0 ? chosen : [this.selection.active.peek()];
  }

  chosen() {
    return this.queue.chosenAt(this.positions());
  }

  moveBefore(positions: readonly number[], at: number) {
    const first = this.queue.moveBefore(positions, at);
    if (first === undefined) return;
    this.selection.replace([{ first, end: first + positions.length }]);
    this.selection.active.value = first;
  }

  step(by: 1 | -1) {
    const moving = this.positions();
    const at = by < 0 ? (moving[0] ?? 0) - 1 : (moving.at(-1) ?? 0) + 2;
    if (at >= 0 && at <= this.total) this.moveBefore(moving, at);
  }

  async moveTo() {
    const moving = this.positions();
    const count = this.total;
    const isPosition = (text: string) => /^\d+$/.test(text) && Number(text) >= 1 && Number(text) <= count;
    const answer = await askForText({
      title: t("queue.move_to"),
      label: t("queue.position", { count }),
      value: String((moving[0] ?? 0) + 1),
      submit: t("queue.move"),
      check: (text) => (isPosition(text) ? undefined : t("queue.no_position")),
    });
    if (answer === undefined) return;
    // The first one comes to that position, so it counts without those that move.
    let at = Math.min(Number(answer) - 1, count - moving.length);
    for (const position of moving) if (position <= at) at++;
    this.moveBefore(moving, at);
  }

  remove() {
    this.queue.removeAt(this.positions());
    this.selection.clear();
  }

  onKey(event: KeyboardEvent) {
    const run = {
      Delete: () => this.remove(),
      "Alt+ArrowUp": () => this.step(-1),
      "Alt+ArrowDown": () => this.step(1),
      M: () => void this.moveTo(),
      A: () => void addToOpenList(this.chosen()),
      L: () => void addToOtherList(this.chosen()),
    }[keyOf(event)];
    run?.();
    return run !== undefined;
  }

  menu(index: number): MenuItem[] {
    return [
      { label: t("queue.play"), icon: "play", run: () => this.queue.playAt(index) },
      { label: t("queue.add_to"), icon: "add", key: "L", run: () => void addToOtherList(this.chosen()) },
      { label: t("queue.move_to"), icon: "list", key: "M", run: () => void this.moveTo() },
      { label: t("queue.remove"), icon: "remove", key: "Del", divided: true, run: () => this.remove() },
    ];
  }
}

interface QueueListProps {
  label: string;
  queue: EditableQueue;
  /** The position of what plays. */
  current: number;
  selection: Selection;
  /** Where it is scrolled to at first. */
  place?: Place;
  rowClass?: (item: Item) => string;
}

export function QueueList({ label, queue, current, selection, place, rowClass }: QueueListProps) {
  const actions = useMemo(() => new Actions(queue, selection), [queue, selection]);
  return (
    <>
      <ListView
        label={label}
        source={queue.source}
        place={place}
        columns={columns(queue)}
        selection={selection}
        rowClass={(item, index) => `${index === current ? "current" : ""} ${rowClass?.(item) ?? ""}`}
        rowLabel={(item) => [titleOf(item), artistOf(item)].filter((part) => part !== "").join(", ")}
        onOpen={(_, index) => queue.playAt(index)}
        onKey={(event) => actions.onKey(event)}
        onMenu={(index, at) => openMenu(at, t("more"), actions.menu(index))}
        lift={(positions) => ({
          chosen: queue.chosenAt(positions),
          label: t("count.songs", { count: positions.length }),
          origin: { source: queue, positions },
        })}
        onDrop={(dragged, at) => {
          if (dragged.origin?.source === queue) actions.moveBefore(dragged.origin.positions, at);
          else void dragged.chosen.load().then((items) => queue.insertAt(items, at));
        }}
        empty={<Nothing />}
      />
      <SelectionBar selection={selection} least={isCoarse.value ? 1 : 2}>
        <button type="button" class="button" onClick={() => void addToOtherList(actions.chosen())}>
          {t("queue.add_to")}
        </button>
        <button type="button" class="button" onClick={() => actions.remove()}>
          {t("queue.remove")}
        </button>
      </SelectionBar>
    </>
  );
}

function Nothing() {
  return (
    <>
      <Icon name="queue" />
      <p>{t("queue.empty")}</p>
    </>
  );
}
