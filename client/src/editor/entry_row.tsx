// How an entry of a list looks.
import { artistOf, durationOf, type Item, titleOf } from "../list/items.ts";
import type { Column } from "../list/list_view.tsx";
import { currentSongId } from "../playback/commands.ts";
import { formatDuration, formatNumber, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { isCoarse } from "../ui/media.ts";
import type { ListDocument } from "./document.ts";
import { chooseCandidate } from "./repair_dialog.tsx";

export function columnsOf(document: ListDocument, isWide: boolean): Column<Item>[] {
  const handle: Column<Item> = {
    key: "handle",
    label: t("editor.handle"),
    quiet: true,
    width: "24px",
    cell: () => (
      <span class="handle" title={t("editor.handle")}>
        <Icon name="grip" />
      </span>
    ),
  };
  const digits = String(document.total.value ?? 0).length;
  const columns: Column<Item>[] = [
    {
      key: "number",
      label: t("editor.number"),
      width: `${Math.max(2, digits + 0.5)}ch`,
      align: "end",
      cell: (_, index) => <span class="entry-number">{formatNumber(index + 1)}</span>,
    },
    {
      key: "title",
      label: t("library.title"),
      width: "minmax(0, 3fr)",
      cell: (item, index) => titleOfEntry(document, item, document.idAt(index), isWide),
    },
    ...(isWide ? wideColumns() : []),
    {
      key: "duration",
      label: t("editor.duration"),
      width: "3.75rem",
      align: "end",
      cell: (item, index) =>
        item.missing ? (
          <BestOrLength document={document} item={item} id={document.idAt(index)} />
        ) : (
          formatDuration(durationOf(item))
        ),
    },
  ];
  return document.canEdit.value ? [handle, ...columns] : columns;
}

function wideColumns(): Column<Item>[] {
  const text = (key: string, label: string, of: (item: Item) => string): Column<Item> => ({
    key,
    label,
    width: "minmax(0, 2fr)",
    cell: of,
  });
  return [
    text("artist", t("library.artist"), artistOf),
    text("album", t("editor.album"), (item) => item.song?.album ?? ""),
  ];
}

function titleOfEntry(document: ListDocument, item: Item, id: number, isWide: boolean) {
  const artist = artistOf(item);
  const title = <span class="entry-title">{titleOf(item)}</span>;
  const isDuplicate = document.duplicates.value.has(id);
  if (isWide && !item.missing && !isDuplicate) return title;
  return (
    <span class="entry">
      {item.missing && <Icon name="missing" />}
      <span class="entry-text">
        {title}
        {item.missing && <NotFound document={document} id={id} isWide={isWide} />}
        {!isWide && artist && !item.missing && <span class="entry-artist">{artist}</span>}
      </span>
      {isDuplicate && (
        <span class="entry-mark" title={t("editor.duplicate")}>
          {t("editor.duplicate_short")}
        </span>
      )}
    </span>
  );
}

/** That nothing plays it, and how many songs it may mean. */
function NotFound({ document, id, isWide }: { document: ListDocument; id: number; isWide: boolean }) {
  const count = document.candidates.of(id)?.length ?? 0;
  if (count === 0 || !document.canEdit.value) return <span class="entry-note">{t("editor.not_found")}</span>;
  const whole = t("editor.candidates", { count });
  return (
    <button
      type="button"
      class="link entry-note"
      tabIndex={-1}
      aria-label={whole}
      title={whole}
      onClick={() => void chooseCandidate(document, id)}
    >
      {isWide || isCoarse.value ? whole : t("editor.candidates_short", { count })}
    </button>
  );
}

/** Of what is not found, the best that may stand in its place, or how long it is said to be. */
function BestOrLength({ document, item, id }: { document: ListDocument; item: Item; id: number }) {
  const best = document.canEdit.value ? document.candidates.of(id)?.[0] : undefined;
  if (!best) return <>{formatDuration(durationOf(item))}</>;
  const label = t("editor.take", { title: best.song.title });
  const take = () => document.candidates.repair(new Map([[id, { song: best.song }]]));
  return (
    <button type="button" class="icon-button" tabIndex={-1} title={label} aria-label={label} onClick={take}>
      <Icon name="check" />
    </button>
  );
}

export function rowClassOf({ missing, song }: Item) {
  if (missing) return "missing";
  return song && song.id === currentSongId.value ? "current" : "";
}

export function labelOf(item: Item) {
  const parts = [titleOf(item), artistOf(item), item.missing ? t("editor.not_found") : ""];
  return parts.filter(Boolean).join(", ");
}
