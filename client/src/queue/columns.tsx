// What this browser's queue and those of players have in common.
import { artistOf, durationOf, type Item, titleOf } from "../list/items.ts";
import type { Column } from "../list/list_view.tsx";
import { StarButton } from "../playback/star_button.tsx";
import { formatDate, formatDuration, t } from "../text/index.ts";
import { isNarrow } from "../ui/media.ts";

/** What a queue is called that is kept as a playlist. */
export function todaysName() {
  return t("queue.saved_name", { date: formatDate(Date.now() / 1000) });
}

function artistShown(item: Item) {
  return item.missing ? t("queue.gone") : artistOf(item);
}

function Title({ item }: { item: Item }) {
  const title = titleOf(item);
  if (!isNarrow.value) return <>{title}</>;
  return (
    <div class="two-lines">
      <span>{title}</span>
      <span class="small">{artistShown(item)}</span>
    </div>
  );
}

/** On a phone the artist stands below the title. */
export function itemColumns<T>(itemOf: (row: T) => Item): Column<T>[] {
  const title: Column<T> = {
    key: "title",
    label: t("library.title"),
    width: "minmax(0, 3fr)",
    cell: (row) => <Title item={itemOf(row)} />,
  };
  const duration: Column<T> = {
    key: "duration",
    label: t("queue.duration"),
    width: "3.5rem",
    align: "end",
    cell: (row) => formatDuration(durationOf(itemOf(row))),
  };
  if (isNarrow.value) return [title, duration];
  const artist: Column<T> = {
    key: "artist",
    label: t("library.artist"),
    width: "minmax(0, 2fr)",
    cell: (row) => <span class="soft">{artistShown(itemOf(row))}</span>,
  };
  const star: Column<T> = {
    key: "star",
    label: t("queue.star"),
    width: "var(--control)",
    cell: (row) => {
      const { song } = itemOf(row);
      return song && <StarButton song={song} />;
    },
  };
  return [title, artist, star, duration];
}
