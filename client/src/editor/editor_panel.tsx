// The playlist that is being made: at the right, or as a view of its own.
import { effect, untracked, useSignalEffect } from "@preact/signals";
import { useEffect, useLayoutEffect, useMemo, useRef } from "preact/hooks";
import type { LibraryName, Playlist } from "../api/types.ts";
import type { Dragged } from "../list/drag.tsx";
import type { Chosen, Item } from "../list/items.ts";
import { ListView } from "../list/list_view.tsx";
import { Selection } from "../list/selection.ts";
import { SelectionBar } from "../list/selection_bar.tsx";
import { useWidth } from "../list/width.ts";
import { play } from "../playback/commands.ts";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { keyOf } from "../ui/keys.tsx";
import { isCoarse } from "../ui/media.ts";
import type { MenuItem } from "../ui/menu.tsx";
import { notifyFailure } from "../ui/notices.tsx";
import type { Gone, ListDocument } from "./document.ts";
import { DocumentView } from "./document_view.ts";
import { documentOf } from "./documents.ts";
import { EntryActions } from "./entry_actions.ts";
import { columnsOf, labelOf, rowClassOf } from "./entry_row.tsx";
import { follow } from "./following.ts";
import { addTo } from "./list_edits.ts";
import { listMenu } from "./list_menu.ts";
import { PanelHead } from "./panel_head.tsx";

const WIDE = 720; // pixels, where artist and album have columns of their own

/** What the editor asks of playlists as a whole, which it knows nothing of. */
export interface Playlists {
  /** Asks which lists something is added to. */
  addToOther(chosen: Chosen): unknown;
  /** Asks for a name, and makes a list of these. */
  saveAs(chosen: Chosen, name: string, library: LibraryName): unknown;
  /** Opens a menu of what the editor offers, and what can be done with any list. */
  openMenu(playlist: Playlist, place: HTMLElement, own: MenuItem[]): unknown;
  /** Asks for a new name. */
  rename(playlist: Playlist): unknown;
  /** Makes a list again, which has another id then. */
  makeAgain(gone: Gone): Promise<void>;
}

interface PanelProps {
  playlists: Playlists;
  /** It is the view itself, not beside it. */
  isPage?: boolean;
}

export function EditorPanel({ id, ...props }: PanelProps & { id: string }) {
  const document = documentOf(id);
  return <Panel key={document.listId} document={document} {...props} />;
}

function Panel({ document, playlists, isPage = false }: PanelProps & { document: ListDocument }) {
  const view = useMemo(() => new DocumentView(document), [document]);
  useEffect(() => () => view.leave(), [view]);
  const selection = useMemo(() => new Selection(), []);
  const actions = useMemo(
    () => new EntryActions(document, selection, playlists.addToOther),
    [document, selection, playlists],
  );
  useFollowing(document, selection);
  useCandidates(document);
  const panel = useRef<HTMLDivElement>(null);
  const isWide = useWidth(panel) >= WIDE;
  const canEdit = document.canEdit.value;
  const name = document.playlist.value?.name ?? "";
  const listed = () => {
    const playlist = document.playlist.peek();
    return playlist && { ...playlist, id: document.listId };
  };
  const rename = () => {
    const playlist = listed();
    if (playlist) playlists.rename(playlist);
  };
  const saveAs = () => {
    const playlist = listed();
    if (playlist) playlists.saveAs(document.chosen(), playlist.name, playlist.library);
  };
  const showMenu = (place: HTMLElement) => {
    const playlist = listed();
    const own = listMenu(document, selection, isPage, { rename, saveAs });
    if (playlist) playlists.openMenu(playlist, place, own);
  };
  const onKeyDown = (event: KeyboardEvent) => {
    if (keyOf(event) !== "F2" || !canEdit) return;
    event.preventDefault();
    rename();
  };
  return (
    <div ref={panel} class="list-editor" role="group" aria-label={name} onKeyDown={onKeyDown}>
      <PanelHead
        document={document}
        isPage={isPage}
        showMenu={showMenu}
        makeAgain={() => void makeAgain(document, playlists)}
      />
      <ListView<Item>
        label={t("editor.entries", { name })}
        source={view}
        columns={columnsOf(document, isWide)}
        selection={selection}
        rowClass={rowClassOf}
        rowLabel={labelOf}
        onOpen={(_, index) => void play(document.chosen(), { startAt: index })}
        onMenu={(index, place) => actions.openMenu(index, place)}
        onKey={(event, active) => actions.onKey(event, active)}
        {...(canEdit && dropping(document))}
        lift={(positions) => liftedFrom(document, positions)}
        empty={<Invitation canEdit={canEdit} />}
      />
      <EntriesBar actions={actions} />
    </div>
  );
}

async function makeAgain(document: ListDocument, playlists: Playlists) {
  const name = document.playlist.peek()?.name ?? "";
  try {
    await document.makeAgain(playlists.makeAgain);
  } catch (error) {
    notifyFailure(t("editor.not_made_again", { name }), error, () => void makeAgain(document, playlists));
  }
}

function Invitation({ canEdit }: { canEdit: boolean }) {
  const invitation = isCoarse.value ? t("editor.empty_touch") : t("editor.empty");
  return (
    <>
      <Icon name="music" />
      <p>{canEdit ? invitation : t("editor.empty_read_only")}</p>
    </>
  );
}

/** What is dragged from a list knows its entries, as they may stand elsewhere when it lands. */
const liftedIds = new WeakMap<Dragged, number[]>();

function liftedFrom(document: ListDocument, positions: number[]): Dragged {
  const dragged: Dragged = {
    chosen: document.chosen(positions),
    label: t("count.songs", { count: positions.length }),
    origin: { source: document, positions },
  };
  liftedIds.set(
    dragged,
    positions.map((at) => document.idAt(at)),
  );
  return dragged;
}

function dropping(document: ListDocument) {
  return {
    onDrop: (dragged: Dragged, at: number) => {
      if (dragged.origin?.source === document)
        document.move(document.positionsOf(liftedIds.get(dragged) ?? []), at);
      else void dragged.chosen.load().then((items) => addTo(document, items, at));
    },
  };
}

/** At once: the next key may come before the next frame, and means what was selected. */
function useFollowing(document: ListDocument, selection: Selection) {
  useLayoutEffect(() => {
    let before = document.order.peek();
    return effect(() => {
      const after = document.order.value;
      const order = before;
      before = after;
      untracked(() => follow(selection, order, after));
    });
  }, [document, selection]);
}

/** Looks for the songs that missing entries may mean, once such an entry is seen. */
function useCandidates(document: ListDocument) {
  useSignalEffect(() => {
    const unsought = document.facts.value.missing.some((id) => document.candidates.of(id) === undefined);
    if (unsought && document.canEdit.value && document.saveState.value.kind === "saved") {
      void document.candidates.load().catch(() => {}); // the list shows what is missing all the same
    }
  });
}

function EntriesBar({ actions }: { actions: EntryActions }) {
  const canEdit = actions.document.canEdit.value;
  return (
    <SelectionBar selection={actions.selection}>
      <button type="button" class="icon-button" aria-label={t("editor.play")} onClick={() => actions.play()}>
        <Icon name="play" />
      </button>
      <button type="button" class="button" onClick={() => actions.addToOther()}>
        {t("library.add_to")}
      </button>
      {canEdit && (
        <>
          <button type="button" class="button" onClick={() => void actions.askWhereTo()}>
            {t("editor.move_to_short")}
          </button>
          <button type="button" class="button" onClick={() => actions.remove()}>
            {t("editor.remove")}
          </button>
        </>
      )}
    </SelectionBar>
  );
}
