// How an entry of a list looks.
import { artistOf, durationOf, type Item, titleOf } from "../list/items.ts";
import type { Column } from "../list/list_view.tsx";
import { formatDuration, formatNumber, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import type { ListDocument } from "./document.ts";
import { chooseCandidate } from "./repair_dialog.tsx";

export function columnsOf(document: ListDocument, isWide: boolean): Column<Item>[] {
  const handle: Column<Item> = {
    key: "handle",
    label: t("editor.handle"),
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
      cell: (item, index) => <Title document={document} item={item} index={index} isWide={isWide} />,
    },
    ...(isWide ? wideColumns() : []),
    {
      key: "duration",
      label: t("editor.duration"),
      width: "3.75rem",
      align: "end",
      cell: (item) => formatDuration(durationOf(item)),
    },
  ];
  return document.canEdit.value ? [handle, ...columns] : columns;
}

function wideColumns(): Column<Item>[] {
  const text = (key: string, label: string, of: (item: Item) => string): Column<Item> => ({
    key,
    label,
    width: "minmax(0, 2fr)",
    cell: (item) => <span title={of(item)}>{of(item)}</span>,
  });
  return [
    text("artist", t("library.artist"), artistOf),
    text("album", t("editor.album"), (item) => item.song?.album ?? ""),
  ];
}

interface TitleProps {
  document: ListDocument;
  item: Item;
  index: number;
  isWide: boolean;
}

function Title({ document, item, index, isWide }: TitleProps) {
  const title = titleOf(item);
  const artist = artistOf(item);
  const id = document.idAt(index);
  return (
    <span class="entry" title={artist ? `${title} – ${artist}` : title}>
      {item.missing && <Icon name="missing" />}
      <span class="entry-title">{title}</span>
      {!isWide && artist && !item.missing && <span class="entry-artist">{artist}</span>}
      {item.missing && <Missing document={document} id={id} />}
      {document.facts.value.duplicates.has(id) && (
        <span class="entry-mark" title={t("editor.duplicate")}>
          {t("editor.duplicate_short")}
        </span>
      )}
    </span>
  );
}

/** That nothing plays it, and what may stand in its place. */
function Missing({ document, id }: { document: ListDocument; id: number }) {
  const candidates = document.candidates.of(id);
  const best = candidates?.[0];
  if (!best || !document.canEdit.value) return <span class="entry-missing">{t("editor.not_found")}</span>;
  const take = () => document.candidates.repair(new Map([[id, { song: best.song }]]));
  return (
    <span class="entry-missing">
      <button type="button" class="link" tabIndex={-1} onClick={() => void chooseCandidate(document, id)}>
        {t("editor.candidates", { count: candidates.length })}
      </button>
      <button
        type="button"
        class="icon-button"
        tabIndex={-1}
        title={t("editor.take", { title: best.song.title })}
        aria-label={t("editor.take", { title: best.song.title })}
        onClick={take}
      >
        <Icon name="check" />
      </button>
    </span>
  );
}

export function rowClassOf(_document: ListDocument, item: Item, _index: number) {
  return item.missing ? "missing" : "";
}

export function labelOf(item: Item) {
  const parts = [titleOf(item), artistOf(item), item.missing ? t("editor.not_found") : ""];
  return parts.filter(Boolean).join(", ");
}
