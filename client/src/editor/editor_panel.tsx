// The playlist that is being made, at the right.
import { useEffect, useMemo } from "preact/hooks";
import { artistOf, durationOf, type Item, titleOf } from "../list/items.ts";
import { type Column, ListView } from "../list/list_view.tsx";
import { Selection } from "../list/selection.ts";
import { formatDuration, t } from "../text/index.ts";
import { closeList } from "./commands.ts";
import { DocumentView } from "./document_view.ts";
import { documentOf } from "./documents.ts";

function columns(): Column<Item>[] {
  return [
    {
      key: "title",
      label: t("library.title"),
      width: "minmax(0, 1fr)",
      cell: (item) => `${titleOf(item)} ${artistOf(item)}`,
    },
    {
      key: "duration",
      label: "",
      width: "4rem",
      align: "end",
      cell: (item) => formatDuration(durationOf(item)),
    },
  ];
}

export function EditorPanel({ id }: { id: string }) {
  const document = documentOf(id);
  const view = useMemo(() => new DocumentView(document), [document]);
  useEffect(() => () => view.leave(), [view]);
  const selection = useMemo(() => new Selection(), [document]);
  return (
    <>
      <header>
        <h2>{document.playlist.value?.name}</h2>
        <p>{document.saveState.value.kind}</p>
        <button type="button" class="button" onClick={closeList}>
          {t("close")}
        </button>
      </header>
      <ListView
        label={document.playlist.value?.name ?? ""}
        source={view}
        columns={columns()}
        selection={selection}
        lift={(positions) => ({
          chosen: { count: positions.length, load: () => document.loadAt(positions) },
          label: t("count.songs", { count: positions.length }),
          origin: { source: document, positions },
        })}
        onDrop={(dragged, at) => {
          if (dragged.origin?.source === document) document.move(dragged.origin.positions, at);
          else void dragged.chosen.load().then((items) => document.insert(items, at));
        }}
        onKey={(event) => {
          if (event.key !== "Delete") return false;
          document.remove(selection.positions());
          selection.clear();
          return true;
        }}
      />
    </>
  );
}
