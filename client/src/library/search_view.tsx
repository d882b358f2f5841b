// What a search finds: artists, albums and playlists above all songs.
import type { ComponentChildren } from "preact";
import { useEffect } from "preact/hooks";
import { get } from "../api/http.ts";
import type { Album, LibraryName, Name, Page, Playlist, Song } from "../api/types.ts";
import { type Dragged, watchForDrag } from "../list/drag.tsx";
import { formatNumber, t } from "../text/index.ts";
import { Icon, type IconName } from "../ui/icon.tsx";
import { openMenu } from "../ui/menu.tsx";
import { announce } from "../ui/notices.tsx";
import { linkTo, type Route } from "../ui/router.ts";
import { useTitle } from "../ui/title.ts";
import { albumName } from "./albums_view.tsx";
import { Cover } from "./cover.tsx";
import { onSongsKey, songsMenu } from "./deeds.ts";
import { LibrarySwitch, MenuButton, ViewHead } from "./head.tsx";
import { focusLastLink, focusSearchField, hits } from "./hits.ts";
import { type KeptAnswer, type KeptList, libraryOf, useAnswer, useList, useSteady } from "./lists.ts";
import { SongTable } from "./song_table.tsx";
import { type Songs, songsAt, songsBy, songsOfAlbum, songsOfName, songsOfPlaylist } from "./songs.ts";
import { ColumnsButton, onSort, songOrder } from "./songs_view.tsx";

const MOST_ARTISTS = 8;
const MOST_ALBUMS = 12;
const MOST_PLAYLISTS = 8;

interface Groups {
  q: string;
  library: LibraryName;
  artists: Page<Name>;
  albums: Page<Album>;
  playlists: Page<Playlist>;
}

async function findGroups(q: string, library: LibraryName, stop: AbortSignal): Promise<Groups> {
  const [artists, albums, playlists] = await Promise.all([
    get<Page<Name>>("artists", { q, library, limit: MOST_ARTISTS }, stop),
    get<Page<Album>>("albums", { q, library, limit: MOST_ALBUMS }, stop),
    get<Page<Playlist>>("playlists", { q, limit: MOST_PLAYLISTS }, stop),
  ]);
  return { q, library, artists, albums, playlists };
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

/** What is found, and what was found before until all of that is there. */
interface Shown {
  songs: KeptList<Song>;
  groups: KeptAnswer<Groups>;
}

function useFound(q: string, library: LibraryName, order: ReturnType<typeof songOrder>): Shown {
  const songs = useSteady(useList<Song>("songs", { q, library, ...order.query }));
  const groups = useSteady(
    useAnswer<Groups>("search", { q, library }, (stop) => findGroups(q, library, stop)),
  );
  return { songs, groups };
}

function Found({ q, route }: { q: string; route: Route }) {
  const library = libraryOf(route.query);
  const order = songOrder(route);
  const { songs, groups } = useFound(q, library, order);
  const total = songs.source.total.value;
  const found = groups.body.value;
  const isNothing = found !== undefined && total === 0 && countOf(found) === 0;
  const query = { q, library, ...order.query };
  useEffect(() => {
    if (total !== undefined) announce(t("search.found", { count: total }));
  }, [total]);
  return (
    <>
      <ViewHead title={t("search.title")} count={total}>
        <LibrarySwitch shown={library} />
        <ColumnsButton />
        <MenuButton items={() => songsMenu(songsBy(query, q, total))} />
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
        lead={<GroupsFound groups={found} songs={total} />}
        empty={isNothing && <p>{t("search.nothing", { q })}</p>}
      />
    </>
  );
}

function countOf({ artists, albums, playlists }: Groups) {
  return artists.total + albums.total + playlists.total;
}

function GroupsFound({ groups, songs }: { groups: Groups | undefined; songs: number | undefined }) {
  if (!groups) return null;
  const { q, library, artists, albums, playlists } = groups;
  const query = { q, library: library === "personal" ? library : undefined };
  return (
    // biome-ignore lint/a11y/noStaticElementInteractions: the keys are those of the links in it
    <div class="found" onKeyDown={onHitsKey}>
      <Group label={t("library.artists")} page={artists} all={linkTo(["artists"], query)}>
        {artists.items.map((artist) => (
          <Hit key={artist.id} href={linkTo(["artists", artist.id])} songs={songsOfName("artists", artist)}>
            <Chip text={artist.name} icon="artist" cover={artist} />
          </Hit>
        ))}
      </Group>
      <Group label={t("library.albums")} page={albums} all={linkTo(["albums"], query)} kind="albums">
        {albums.items.map((album) => (
          <Hit key={album.id} href={linkTo(["albums", album.id])} songs={songsOfAlbum(album)} kind="tile">
            <AlbumPicture album={album} />
          </Hit>
        ))}
      </Group>
      <Group label={t("frame.lists")} page={playlists}>
        {playlists.items.map((playlist) => (
          <Hit key={playlist.id} href={linkTo(["playlists", playlist.id])} songs={songsOfPlaylist(playlist)}>
            <Chip text={playlist.name} icon={playlist.kind === "list" ? "list" : "smart"} />
          </Hit>
        ))}
      </Group>
      {songs !== undefined && songs > 0 && <h2>{t("library.songs")}</h2>}
    </div>
  );
}

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
