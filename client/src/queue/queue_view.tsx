// The queue of this browser.
import { useComputed } from "@preact/signals";
import { useEffect, useMemo } from "preact/hooks";
import type { Chosen } from "../list/items.ts";
import { Selection } from "../list/selection.ts";
import { here } from "../playback/here.ts";
import { upNext } from "../playback/order.ts";
import { isPlayable, queue } from "../playback/queue.ts";
import { saveAsList } from "../playlists/commands.ts";
import { formatDuration, t } from "../text/index.ts";
import type { MenuItem } from "../ui/menu.tsx";
import { useTitle } from "../ui/title.ts";
import { todaysName } from "./columns.tsx";
import { clear, insertAt, moveBefore, removeAt } from "./edits.ts";
import { QueueHead } from "./queue_head.tsx";
import { type EditableQueue, QueueList } from "./queue_list.tsx";

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

const own: EditableQueue = {
  source: queue,
  playAt: (position) => {
    const key = queue.order.peek().keys[position];
    if (key !== undefined) here.playAt(key);
  },
  chosenAt,
  removeAt,
  moveBefore,
  insertAt: (items, at) => insertAt(items.filter(isPlayable), at),
};

const SEEN_BEFORE = 3; // entries above the current one, when the view opens

function placeOfCurrent() {
  const rowHeight = parseFloat(getComputedStyle(document.documentElement).getPropertyValue("--row-height"));
  return { top: Math.max(0, queue.position.peek() - SEEN_BEFORE) * rowHeight };
}

export function QueueView() {
  const selection = useMemo(() => new Selection(), []);
  useTitle(t("frame.queue"));
  const place = useMemo(placeOfCurrent, []);
  useEffect(() => selection.moveTo(Math.max(0, queue.position.peek())), [selection]);
  const total = queue.total.value ?? 0;
  useEffect(() => {
    if (total > 0 && total <= WHOLE_UP_TO) void queue.loadAll().catch(() => {}); // the list tells what fails
  }, [total]);
  return (
    <div class="queue-view">
      <Head />
      <QueueList
        label={t("frame.queue")}
        queue={own}
        current={queue.position.value}
        selection={selection}
        place={place}
        rowClass={(item) => (isPlayable(item) ? "" : "missing")}
      />
    </div>
  );
}

function Head() {
  const remaining = useComputed(() => upNext(queue.order.value).length);
  const { secondsUpNext, stopsAfter } = queue;
  const duration = formatDuration(secondsUpNext.value);
  const items = (): MenuItem[] => [
    {
      label: t("queue.stop_after"),
      checked: stopsAfter.peek(),
      run: () => {
        stopsAfter.value = !stopsAfter.peek();
      },
    },
  ];
  return (
    <QueueHead
      title={t("frame.queue")}
      facts={t("queue.remaining", { count: remaining.value, duration })}
      isEmpty={(queue.total.value ?? 0) === 0}
      save={() => void saveAsList(wholeQueue(), todaysName())}
      clear={clear}
      items={items}
    />
  );
}
