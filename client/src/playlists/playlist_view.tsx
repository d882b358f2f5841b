// A playlist as the view: a list is edited there; a smart one and the random one show what they choose now.
import { useSignal } from "@preact/signals";
import { useEffect, useMemo, useRef } from "preact/hooks";
import { get, isAborted, RequestError } from "../api/http.ts";
import { type PlaylistPage, playlistPath } from "../api/playlists.ts";
import type { Entry, LibraryName, Playlist } from "../api/types.ts";
import { EditorPanel } from "../editor/editor_panel.tsx";
import { artistOf, type Chosen, durationOf, itemOf, titleOf } from "../list/items.ts";
import { type Column, ListView } from "../list/list_view.tsx";
import { Selection } from "../list/selection.ts";
import { SelectionBar } from "../list/selection_bar.tsx";
import { ArraySource, type ListSource, PagedSource } from "../list/source.ts";
import { play } from "../playback/commands.ts";
import { formatDuration, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { useKeys } from "../ui/keys.tsx";
import { isNarrow } from "../ui/media.ts";
import { MenuButton } from "../ui/menu.tsx";
import { reasonOf } from "../ui/notices.tsx";
import { linkTo, type Route, replaceQuery } from "../ui/router.ts";
import { user } from "../ui/session.tsx";
import { useTitle } from "../ui/title.ts";
import { addToOpenList, addToOtherList, saveAsList } from "./commands.ts";
import { forEditor } from "./for_editor.ts";
import { chosenPlaylist, nameOf } from "./opening.ts";
import { showMenu } from "./playlist_actions.ts";
import { playlistOf, playlists, RANDOM } from "./store.ts";

/** So many are fetched at once, so that what is seen is what is played, though chosen by chance. */
const AT_ONCE = 1000;

function kindOfId(id: string): Playlist["kind"] {
  if (id === RANDOM) return "random";
  return id.split("/")[1] === "smart" ? "smart" : "list";
}

export function PlaylistView({ route }: { route: Route }) {
  const id = route.segments[1] ?? "";
  if (kindOfId(id) === "list") return <ListPage id={id} />;
  const library = route.query.get("library") === "personal" ? "personal" : "shared";
  return <ChosenView key={library} id={id} library={library} />;
}

function ListPage({ id }: { id: string }) {
  const name = playlistOf(id)?.name ?? t("frame.lists");
  useTitle(name);
  return (
    <div class="editor-page">
      <EditorPanel id={id} playlists={forEditor} isPage />
    </div>
  );
}

/** All of what a rule or chance has chosen, or the way to it in stretches. */
interface Choice {
  playlist: Playlist;
  total: number;
  duration: number | undefined;
  source: ListSource<Entry>;
  chosen: Chosen;
}

function choiceOf(
  page: PlaylistPage,
  fetchPage: (offset: number, limit: number) => Promise<PlaylistPage>,
): Choice {
  const { playlist, total, items } = page;
  if (items.length < total) {
    const source = new PagedSource<Entry>(fetchPage);
    return {
      playlist,
      total,
      duration: undefined,
      source,
      chosen: { ...chosenPlaylist(playlist), count: total },
    };
  }
  const chosen = { count: total, name: nameOf(playlist), load: async () => items.map(itemOf) };
  const duration = items.reduce((sum, item) => sum + (durationOf(item) ?? 0), 0);
  return { playlist, total, duration, source: new ArraySource(items), chosen };
}

function useChoice(id: string, library: LibraryName) {
  const choice = useSignal<Choice | undefined>(undefined);
  const error = useSignal<unknown>(undefined);
  const running = useRef<AbortController | undefined>(undefined);
  const choose = async () => {
    running.current?.abort();
    const stop = new AbortController();
    running.current = stop;
    error.value = undefined;
    const query = id === RANDOM ? { library } : {};
    const fetchPage = (offset: number, limit: number) =>
      get<PlaylistPage>(playlistPath(id), { ...query, offset, limit }, stop.signal);
    try {
      choice.value = choiceOf(await fetchPage(0, AT_ONCE), fetchPage);
    } catch (failure) {
      if (!isAborted(failure)) error.value = failure;
    }
  };
  useEffect(() => {
    void choose();
    return () => running.current?.abort();
  }, [id, library]);
  return { choice: choice.value, error: error.value, choose: () => void choose() };
}

function columns(): Column<Entry>[] {
  const all: (Column<Entry> & { always?: boolean })[] = [
    {
      key: "title",
      label: t("library.title"),
      width: "minmax(8rem, 3fr)",
      always: true,
      cell: titleOf,
    },
    {
      key: "artist",
      label: t("library.artist"),
      width: "minmax(5rem, 2fr)",
      always: true,
      cell: artistOf,
    },
    {
      key: "album",
      label: t("playlists.album"),
      width: "minmax(5rem, 2fr)",
      cell: ({ song }) => song?.album,
    },
    {
      key: "duration",
      label: t("playlists.duration"),
      width: "5rem",
      align: "end",
      always: true,
      cell: (entry) => formatDuration(durationOf(entry)),
    },
  ];
  return isNarrow.value ? all.filter(({ always }) => always) : all;
}

function ChosenView({ id, library }: { id: string; library: LibraryName }) {
  const { choice, error, choose } = useChoice(id, library);
  const selection = useMemo(() => new Selection(), []);
  const known = playlistOf(id) ?? choice?.playlist;
  const name = known ? nameOf(known) : "";
  useTitle(name);
  useEffect(() => selection.clear(), [choice]);
  if (error) return <Failed id={id} error={error} retry={choose} />;
  const selected = (positions = selection.positions()): Chosen => ({
    count: positions.length,
    load: async () => (choice ? loadAt(choice, positions) : []),
  });
  return (
    <>
      <header class="view-head">
        <div class="view-title">
          <h1 title={name}>{name}</h1>
          <p class="soft small">{choice && summaryOf(choice)}</p>
        </div>
        <span class="spacer" />
        {id === RANDOM && <RandomLibrary library={library} />}
        {choice && known && <ChoiceButtons choice={choice} playlist={known} choose={choose} />}
      </header>
      {choice && <Songs choice={choice} name={name} selection={selection} selected={selected} />}
    </>
  );
}

function summaryOf({ total, duration }: Choice) {
  const songs = t("count.songs", { count: total });
  return duration === undefined ? songs : `${songs} · ${formatDuration(duration)}`;
}

async function loadAt({ source, chosen }: Choice, positions: number[]) {
  if (source instanceof ArraySource) {
    return positions.flatMap((position) => {
      const entry = source.at(position);
      return entry ? [itemOf(entry)] : [];
    });
  }
  const all = await chosen.load();
  return positions.flatMap((position) => all[position] ?? []);
}

function RandomLibrary({ library }: { library: LibraryName }) {
  if (!user.value?.personal_library) return null;
  return (
    <select
      class="input"
      aria-label={t("playlists.library")}
      value={library}
      onChange={(event) => replaceQuery({ library: event.currentTarget.value })}
    >
      <option value="shared">{t("playlists.shared")}</option>
      <option value="personal">{t("playlists.mine")}</option>
    </select>
  );
}

interface ButtonsProps {
  choice: Choice;
  playlist: Playlist;
  choose: () => void;
}

function ChoiceButtons({ choice, playlist, choose }: ButtonsProps) {
  const { chosen, total } = choice;
  return (
    <>
      <button type="button" class="button primary" disabled={total === 0} onClick={() => void play(chosen)}>
        <Icon name="play" />
        {t("playlists.play")}
      </button>
      <button
        type="button"
        class="button"
        disabled={total === 0}
        onClick={() => void saveAsList(chosen, nameOf(playlist))}
      >
        {t("playlists.save_as")}
      </button>
      {playlist.kind === "smart" && (
        <a class="button" href={linkTo(["smart", playlist.id])}>
          <Icon name="smart" />
          {t("playlists.edit_rule")}
        </a>
      )}
      <button type="button" class="button" onClick={choose}>
        <Icon name={playlist.kind === "random" ? "shuffle" : "repeat"} />
        {t(playlist.kind === "random" ? "playlists.shuffle_anew" : "playlists.choose_anew")}
      </button>
      <MenuButton
        label={t("playlists.more", { name: nameOf(playlist) })}
        open={(button) => showMenu(playlist, button)}
      />
    </>
  );
}

interface SongsProps {
  choice: Choice;
  name: string;
  selection: Selection;
  selected: (positions?: number[]) => Chosen;
}

function Songs({ choice, name, selection, selected }: SongsProps) {
  useKeys({
    A: () => {
      if (selection.count.peek() > 0) void addToOpenList(selected());
    },
    L: () => {
      if (selection.count.peek() > 0) void addToOtherList(selected());
    },
  });
  return (
    <>
      <ListView
        label={name}
        source={choice.source}
        columns={columns()}
        selection={selection}
        header={!isNarrow.value}
        onOpen={(_, index) => void play(choice.chosen, { startAt: index })}
        lift={(positions) => ({
          chosen: selected(positions),
          label: t("count.songs", { count: positions.length }),
        })}
        empty={<p>{t("playlists.chooses_none")}</p>}
      />
      <SelectionBar selection={selection}>
        <button type="button" class="button" onClick={() => void play(selected())}>
          <Icon name="play" />
          {t("playlists.play")}
        </button>
        <button type="button" class="button" onClick={() => void addToOpenList(selected())}>
          <Icon name="add" />
          {t("playlists.add")}
        </button>
        <button type="button" class="button" onClick={() => void addToOtherList(selected())}>
          {t("playlists.add_to")}
        </button>
      </SelectionBar>
    </>
  );
}

function Failed({ id, error, retry }: { id: string; error: unknown; retry: () => void }) {
  const isGone = error instanceof RequestError && error.status === 404;
  const hasBadRule = error instanceof RequestError && error.status === 409 && kindOfId(id) === "smart";
  useTitle(playlists.value ? (playlistOf(id)?.name ?? t("frame.lists")) : t("frame.lists"));
  return (
    <div class="empty" role="alert">
      <Icon name="missing" />
      <p>{isGone ? t("playlists.gone") : reasonOf(error)}</p>
      {hasBadRule ? (
        <a class="button" href={linkTo(["smart", id])}>
          {t("playlists.edit_rule")}
        </a>
      ) : (
        <button type="button" class="button" onClick={retry}>
          {t("retry")}
        </button>
      )}
    </div>
  );
}
