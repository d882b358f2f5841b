// What a search finds in all libraries: artists, albums, genres, composers and playlists above all songs.
import type { ComponentChildren } from "preact";
import { useEffect, useLayoutEffect } from "preact/hooks";
import { get, type Query } from "../api/http.ts";
import type { Album, LibraryName, Name, Page, Playlist, Song } from "../api/types.ts";
import { type Dragged, watchForDrag } from "../list/drag.tsx";
import type { Section } from "../list/list_view.tsx";
import { formatNumber, t } from "../text/index.ts";
import { Failure } from "../ui/failure.tsx";
import { Icon, type IconName } from "../ui/icon.tsx";
import { openMenu } from "../ui/menu.tsx";
import { announce } from "../ui/notices.tsx";
import { linkTo, type Route } from "../ui/router.ts";
import { overview } from "../ui/session.tsx";
import { useTitle } from "../ui/title.ts";
import { albumName } from "./albums_view.tsx";
import { Cover } from "./cover.tsx";
import { onSongsKey, songsMenu } from "./deeds.ts";
import { MoreButton, ViewHead } from "./head.tsx";
import { focusFirstHit, focusLastLink, focusSearchField, hits } from "./hits.ts";
import { Joined } from "./joined.ts";
import { type KeptAnswer, KeptList, pagesOf, useAnswer, useKept, useSteady } from "./lists.ts";
import { SongTable } from "./song_table.tsx";
import { type NameKind, type Songs, songsAt, songsOfAlbum, songsOfName, songsOfPlaylist } from "./songs.ts";
import { ColumnsButton, onSort, songOrder } from "./songs_view.tsx";

const MOST_NAMES = 8;
const MOST_ALBUMS = 12;
const MOST_PLAYLISTS = 8;

interface InLibrary {
  library: LibraryName;
  artists: Page<Name>;
  albums: Page<Album>;
  genres: Page<Name>;
  composers: Page<Name>;
}

interface Groups {
  q: string;
  libraries: InLibrary[];
  playlists: Page<Playlist>;
}

/** All that the user has something in; the shared one in any case. */
function libraries(): LibraryName[] {
  const mine = overview.value?.libraries.find(({ name }) => name === "personal");
  return mine && mine.songs > 0 ? ["shared", "personal"] : ["shared"];
}

async function findIn(library: LibraryName, q: string, stop: AbortSignal): Promise<InLibrary> {
  const names = (kind: NameKind) => get<Page<Name>>(kind, { q, library, limit: MOST_NAMES }, stop);
  const [artists, albums, genres, composers] = await Promise.all([
    names("artists"),
    get<Page<Album>>("albums", { q, library, limit: MOST_ALBUMS }, stop),
    names("genres"),
    names("composers"),
  ]);
  return { library, artists, albums, genres, composers };
}

async function findGroups(q: string, stop: AbortSignal): Promise<Groups> {
  const [playlists, ...found] = await Promise.all([
    get<Page<Playlist>>("playlists", { q, limit: MOST_PLAYLISTS }, stop),
    ...libraries().map((library) => findIn(library, q, stop)),
  ]);
  return { q, libraries: found, playlists };
}

export function SearchView({ route }: { route: Route }) {
  const q = route.query.get("q") ?? "";
  useTitle(q === "" ? t("search.title") : t("search.title_of", { q }));
  if (q === "") return <Invitation />;
  return <Found q={q} route={route} />;
}

function Invitation() {
  return (
    <>
      <ViewHead title={t("search.title")} />
      <div class="empty">
        <Icon name="search" />
        <p>{t("search.invitation")}</p>
      </div>
    </>
  );
}

/** The songs of all libraries, one behind the other. */
class FoundSongs extends KeptList<Song> {
  readonly joined: Joined<Song>;

  constructor(q: string, order: Query) {
    const joined = new Joined(libraries().map((library) => pagesOf<Song>("songs", { q, library, ...order })));
    super(joined.fetch);
    this.joined = joined;
  }

  /** Where the songs of each library begin, unless all are in the shared one. */
  sections(): Section[] {
    const { totals } = this.joined;
    if (totals.slice(1).every((total) => total === 0)) return [];
    return totals.flatMap((total, place) => {
      const at = totals.slice(0, place).reduce((sum, before) => sum + before, 0);
      return total > 0 ? [{ at, label: songsIn(libraries()[place] ?? "shared") }] : [];
    });
  }
}

function songsIn(library: LibraryName) {
  return t(library === "shared" ? "search.songs_shared" : "search.songs_mine");
}

/** What is found, and what was found before until all of that is there. */
function useFound(q: string, order: Query) {
  const songs = useSteady(useKept(`found ${q}`, order, () => new FoundSongs(q, order)));
  const groups = useSteady(useAnswer<Groups>("search", { q }, (stop) => findGroups(q, stop)));
  return { songs, groups };
}

function Found({ q, route }: { q: string; route: Route }) {
  const order = songOrder(route);
  const { songs, groups } = useFound(q, order.query);
  const total = songs.source.total.value;
  const found = groups.body.value;
  const isNothing = found !== undefined && total === 0 && countOf(found) === 0;
  const all = () => songsAt(songs.source, [{ first: 0, end: total ?? 0 }], q);
  useEffect(() => {
    if (total !== undefined) announce(t("search.found", { count: total }));
  }, [total]);
  return (
    <>
      <ViewHead title={t("search.title")} count={total}>
        <ColumnsButton />
        <MoreButton items={() => songsMenu(all())} />
      </ViewHead>
      <SongTable
        label={t("library.songs")}
        name={q}
        list={songs}
        songOf={(song) => song}
        songsAt={(ranges) => songsAt(songs.source, ranges, q)}
        sort={order.sort}
        onSort={onSort}
        onUp={focusLastLink}
        lead={<Lead groups={groups} hasHeading={songs.sections().length === 0 && !!total} />}
        sections={songs.sections()}
        empty={isNothing && <p>{t("search.nothing", { q })}</p>}
      />
    </>
  );
}

function countOf({ libraries: all, playlists }: Groups) {
  const pages = all.flatMap(({ library: _, ...groups }) => Object.values(groups));
  return [...pages, playlists].reduce((sum, { total }) => sum + total, 0);
}

function Lead({ groups, hasHeading }: { groups: KeptAnswer<Groups>; hasHeading: boolean }) {
  const { body, error } = groups;
  useFocusAmongLinks();
  if (error.value) return <Failure error={error.value} retry={() => groups.refresh()} />;
  if (!body.value) return null;
  const { q, libraries: all, playlists } = body.value;
  return (
    // biome-ignore lint/a11y/noStaticElementInteractions: the keys are those of the links in it
    <div class="found" onKeyDown={onHitsKey}>
      {all.map((found) => (
        <GroupsIn key={found.library} q={q} found={found} />
      ))}
      <Group label={t("frame.lists")} page={playlists}>
        {playlists.items.map((playlist) => (
          <Hit key={playlist.id} href={linkTo(["playlists", playlist.id])} songs={songsOfPlaylist(playlist)}>
            <Chip text={playlist.name} icon={playlist.kind === "list" ? "list" : "smart"} />
          </Hit>
        ))}
      </Group>
      {hasHeading && <h2>{t("library.songs")}</h2>}
    </div>
  );
}

/** The focus stays among the links when the one that had it is not found any more. */
function useFocusAmongLinks() {
  const isThere = !!document.activeElement?.closest(".found");
  useLayoutEffect(() => {
    if (isThere && document.activeElement === document.body) focusFirstHit();
  });
}

/** What one library has. */
function GroupsIn({ q, found }: { q: string; found: InLibrary }) {
  const { library, albums } = found;
  const isMine = library === "personal";
  const query = { q, library: isMine ? library : undefined };
  const names = (kind: "artists" | "genres" | "composers") => (
    <Group
      label={t(isMine ? `search.${kind}_mine` : `library.${kind}`)}
      page={found[kind]}
      all={linkTo([kind], query)}
    >
      {found[kind].items.map((name) => (
        <Hit key={name.id} href={linkTo([kind, name.id])} songs={songsOfName(kind, name)}>
          <Chip text={name.name} icon={ICONS[kind]} {...(kind !== "genres" && { cover: name })} />
        </Hit>
      ))}
    </Group>
  );
  return (
    <>
      {names("artists")}
      <Group
        label={t(isMine ? "search.albums_mine" : "library.albums")}
        page={albums}
        all={linkTo(["albums"], query)}
        kind="albums"
      >
        {albums.items.map((album) => (
          <Hit key={album.id} href={linkTo(["albums", album.id])} songs={songsOfAlbum(album)} kind="tile">
            <AlbumPicture album={album} />
          </Hit>
        ))}
      </Group>
      {names("genres")}
      {names("composers")}
    </>
  );
}

const ICONS = { artists: "artist", genres: "genre", composers: "edit" } as const;

function AlbumPicture({ album }: { album: Album }) {
  return (
    <>
      <span class="tile-picture">
        <Cover song={album.cover_song} size={320} />
      </span>
      <span class="tile-name" title={albumName(album)}>
        {albumName(album)}
      </span>
      <span class="tile-below">{album.artist ?? t("library.various")}</span>
    </>
  );
}

interface ChipProps {
  text: string;
  icon: IconName;
  cover?: { cover_song?: number };
}

function Chip({ text, icon, cover }: ChipProps) {
  return (
    <>
      {cover ? <Cover song={cover.cover_song} size={96} icon={icon} round /> : <Icon name={icon} />}
      <span class="cut" title={text}>
        {text}
      </span>
    </>
  );
}

interface GroupProps {
  label: string;
  page: Page<unknown>;
  /** Where all of them are listed. */
  all?: string;
  kind?: "albums" | "chips";
  children: ComponentChildren;
}

function Group({ label, page, all, kind = "chips", children }: GroupProps) {
  if (page.total === 0) return null;
  return (
    <div class="group" role="group" aria-label={label}>
      <h2>
        {label}
        {all && page.total > page.items.length && (
          <a class="link" href={all}>
            {t("search.all", { count: page.total })}
          </a>
        )}
        {!all && <span class="soft">{formatNumber(page.total)}</span>}
      </h2>
      <div class={`strip ${kind}`}>{children}</div>
    </div>
  );
}

interface HitProps {
  href: string;
  songs: Songs;
  kind?: "chip" | "tile";
  children: ComponentChildren;
}

function Hit({ href, songs, kind = "chip", children }: HitProps) {
  const lift = (): Dragged => ({ chosen: songs, label: songs.name });
  return (
    <a
      class={`hit ${kind}`}
      href={href}
      draggable={false}
      onPointerDown={(event) => {
        if (event.button === 0 && event.pointerType !== "touch") watchForDrag(event, lift);
      }}
      onContextMenu={(event) => {
        event.preventDefault();
        openMenu({ x: event.clientX, y: event.clientY }, songs.name, songsMenu(songs));
      }}
      onKeyDown={(event) => {
        if (onSongsKey(event, () => songs)) event.preventDefault();
      }}
    >
      {children}
    </a>
  );
}

function onHitsKey(event: KeyboardEvent) {
  const step = { ArrowDown: 1, ArrowRight: 1, ArrowUp: -1, ArrowLeft: -1 }[event.key];
  if (step === undefined || event.altKey || event.ctrlKey || event.metaKey) return;
  event.preventDefault();
  const all = hits();
  const next = all.indexOf(document.activeElement as HTMLElement) + step;
  if (next < 0) focusSearchField();
  else all[next]?.focus();
}
