// The queue of this browser.
import { useComputed } from "@preact/signals";
import { useEffect, useMemo } from "preact/hooks";
import type { Chosen, Item } from "../list/items.ts";
import { artistOf, titleOf } from "../list/items.ts";
import { type Column, ListView } from "../list/list_view.tsx";
import { Selection } from "../list/selection.ts";
import { SelectionBar } from "../list/selection_bar.tsx";
import { here } from "../playback/here.ts";
import { upNext } from "../playback/order.ts";
import { isPlayable, queue } from "../playback/queue.ts";
import { addToOpenList, addToOtherList, saveAsList } from "../playlists/commands.ts";
import { formatDuration, formatNumber, t } from "../text/index.ts";
import { askForText } from "../ui/dialog.tsx";
import { Icon } from "../ui/icon.tsx";
import { keyOf } from "../ui/keys.tsx";
import { isNarrow } from "../ui/media.ts";
import { type MenuItem, openMenu } from "../ui/menu.tsx";
import { useTitle } from "../ui/title.ts";
import { itemColumns, todaysName } from "./columns.tsx";
import { clear, insertAt, moveBefore, removeAt } from "./edits.ts";

const WHOLE_UP_TO = 10_000; // entries, of which the time is told even if they have to be fetched for it

function chosenAt(positions: readonly number[]): Chosen {
  return {
    count: positions.length,
    load: async () => {
      await queue.loadAll();
      return positions.flatMap((position) => queue.at(position) ?? []);
    },
  };
}

function wholeQueue(): Chosen {
  const { keys } = queue.order.peek();
  return chosenAt(keys.map((_, position) => position));
}

function columns(): Column<Item>[] {
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
          onClick={() => removeAt([index])}
        >
          <Icon name="close" />
        </button>
      ),
    },
  ];
}

/** What can be done with what is selected. */
function useActions(selection: Selection) {
  return useMemo(() => {
    const positions = () => {
      const chosen = selection.positions();
      return chosen.length > 0 ? chosen : [selection.active.peek()];
    };
    const select = (first: number | undefined, count: number) => {
      if (first === undefined) return;
      selection.replace([{ first, end: first + count }]);
      selection.active.value = first;
    };
    const move = (by: 1 | -1) => {
      const moving = positions();
      const at = by < 0 ? (moving[0] ?? 0) - 1 : (moving.at(-1) ?? 0) + 2;
      if (at < 0 || at > (queue.total.peek() ?? 0)) return;
      select(moveBefore(moving, at), moving.length);
    };
    const moveTo = async () => {
      const moving = positions();
      const count = queue.total.peek() ?? 0;
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
      const stay = Number(answer) - 1;
      let at = Math.min(stay, count - moving.length);
      for (const position of moving) if (position <= at) at++;
      select(moveBefore(moving, at), moving.length);
    };
    const remove = () => {
      removeAt(positions());
      selection.clear();
    };
    return { positions, move, moveTo, remove };
  }, [selection]);
}

const SEEN_BEFORE = 3; // entries above the current one, when the view opens

function placeOfCurrent() {
  const rowHeight = parseFloat(getComputedStyle(document.documentElement).getPropertyValue("--row-height"));
  return { top: Math.max(0, queue.position.peek() - SEEN_BEFORE) * rowHeight };
}

function playAt(index: number) {
  const key = queue.order.peek().keys[index];
  if (key !== undefined) here.playAt(key);
}

export function QueueView() {
  const selection = useMemo(() => new Selection(), []);
  const actions = useActions(selection);
  useTitle(t("frame.queue"));
  const place = useMemo(placeOfCurrent, []);
  useEffect(() => selection.moveTo(Math.max(0, queue.position.peek())), [selection]);
  const total = queue.total.value ?? 0;
  useEffect(() => {
    if (total > 0 && total <= WHOLE_UP_TO) void queue.loadAll().catch(() => {}); // the list tells what fails
  }, [total]);
  const position = queue.position.value;

  const onKey = (event: KeyboardEvent) => {
    const run = {
      Delete: actions.remove,
      "Alt+ArrowUp": () => actions.move(-1),
      "Alt+ArrowDown": () => actions.move(1),
      M: () => void actions.moveTo(),
      A: () => void addToOpenList(chosenAt(actions.positions())),
      L: () => void addToOtherList(chosenAt(actions.positions())),
    }[keyOf(event)];
    run?.();
    return run !== undefined;
  };
  const onMenu = (index: number, place: { x: number; y: number }) => {
    const items: MenuItem[] = [
      { label: t("queue.play"), icon: "play", run: () => playAt(index) },
      {
        label: t("queue.add_to"),
        icon: "add",
        key: "L",
        run: () => void addToOtherList(chosenAt(actions.positions())),
      },
      { label: t("queue.move_to"), icon: "list", key: "M", run: () => void actions.moveTo() },
      { label: t("queue.remove"), icon: "remove", key: "Del", divided: true, run: actions.remove },
    ];
    openMenu(place, t("more"), items);
  };

  return (
    <div class="queue-view">
      <Head />
      <ListView
        label={t("frame.queue")}
        source={queue}
        place={place}
        columns={columns()}
        selection={selection}
        rowClass={(item, index) =>
          `${index === position ? "current" : ""} ${isPlayable(item) ? "" : "missing"}`
        }
        rowLabel={(item) => [titleOf(item), artistOf(item)].filter((part) => part !== "").join(", ")}
        onOpen={(_, index) => playAt(index)}
        onKey={onKey}
        onMenu={onMenu}
        lift={(positions) => ({
          chosen: chosenAt(positions),
          label: t("count.songs", { count: positions.length }),
          origin: { source: queue, positions },
        })}
        onDrop={(dragged, at) => {
          if (dragged.origin?.source === queue) {
            const first = moveBefore(dragged.origin.positions, at);
            const count = dragged.origin.positions.length;
            if (first !== undefined) selection.replace([{ first, end: first + count }]);
          } else void dragged.chosen.load().then((items) => insertAt(items.filter(isPlayable), at));
        }}
        empty={
          <>
            <Icon name="queue" />
            <p>{t("queue.empty")}</p>
          </>
        }
      />
      <SelectionBar selection={selection} least={2}>
        <button
          type="button"
          class="button"
          onClick={() => void addToOtherList(chosenAt(selection.positions()))}
        >
          {t("queue.add_to")}
        </button>
        <button type="button" class="button" onClick={actions.remove}>
          {t("queue.remove")}
        </button>
      </SelectionBar>
    </div>
  );
}

function Head() {
  const remaining = useComputed(() => upNext(queue.order.value).length);
  const { secondsUpNext, stopsAfter } = queue;
  const hasSongs = (queue.total.value ?? 0) > 0;
  const save = () => void saveAsList(wholeQueue(), todaysName());
  const more = (event: MouseEvent) => {
    const saving: MenuItem[] = isNarrow.peek() ? [{ label: t("queue.save"), icon: "list", run: save }] : [];
    const items: MenuItem[] = [
      ...saving,
      {
        label: t("queue.stop_after"),
        checked: stopsAfter.peek(),
        run: () => {
          stopsAfter.value = !stopsAfter.peek();
        },
      },
      { label: t("queue.clear"), icon: "trash", danger: true, divided: true, run: clear },
    ];
    openMenu(event.currentTarget as HTMLElement, t("more"), items);
  };
  return (
    <header class="view-head">
      <div class="queue-title">
        <h1>{t("frame.queue")}</h1>
        <p class="small">
          {hasSongs &&
            t("queue.remaining", {
              count: remaining.value,
              duration: formatDuration(secondsUpNext.value),
            })}
        </p>
      </div>
      <span class="spacer" />
      {!isNarrow.value && (
        <button type="button" class="button" disabled={!hasSongs} onClick={save}>
          <Icon name="list" />
          {t("queue.save")}
        </button>
      )}
      <button
        type="button"
        class="icon-button"
        aria-haspopup="menu"
        aria-label={t("more")}
        title={t("more")}
        disabled={!hasSongs}
        onClick={more}
      >
        <Icon name="more" />
      </button>
    </header>
  );
}
