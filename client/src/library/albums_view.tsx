// All albums of a library, as covers.
import type { ComponentChildren } from "preact";
import type { Album } from "../api/types.ts";
import { TileView } from "../list/tile_view.tsx";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { openMenu } from "../ui/menu.tsx";
import { goTo, type Route } from "../ui/router.ts";
import { useTitle } from "../ui/title.ts";
import { Cover } from "./cover.tsx";
import { onSongsKey, playSongs, songsMenu } from "./deeds.ts";
import { Empty } from "./empty.tsx";
import {
  changeQuery,
  FilterField,
  LibrarySwitch,
  MoreButton,
  SortChoice,
  type SortKey,
  sortOf,
  ViewHead,
  Ways,
} from "./head.tsx";
import type { KeptList } from "./lists.ts";
import { libraryOf, useList, useSteady } from "./lists.ts";
import { songsBy, songsOfAlbum, songsOfAlbums } from "./songs.ts";

function sortKeys(): SortKey[] {
  return [
    { key: "artist", label: t("library.by_artist") },
    { key: "name", label: t("library.by_name") },
    { key: "year", label: t("library.by_year") },
    { key: "added", label: t("library.by_added"), down: true },
  ];
}

const ORDERS: Record<string, string> = {
  artist: "artist,year,name",
  name: "name,artist",
  year: "year,artist,name",
  added: "added",
};

/** What other views choose albums by. */
const FILTERS = ["genre", "year_from", "year_to"] as const;

/** The orders of songs that are like those of albums, and as quick. */
const SONG_ORDERS: Record<string, string> = {
  artist: "artist,album,disc,track",
  name: "album,disc,track",
  year: "year",
  added: "added",
};

export function AlbumsView({ route }: { route: Route }) {
  const library = libraryOf(route.query);
  const { key, down } = sortOf(sortKeys(), route);
  const filters = Object.fromEntries(FILTERS.map((name) => [name, route.query.get(name) ?? undefined]));
  const q = route.query.get("q") ?? undefined;
  const query = { library, q, ...filters, sort: ORDERS[key], dir: down ? "desc" : undefined };
  const list = useSteady(useList<Album>("albums", query));
  useTitle(t("library.albums"));
  const isFiltered = q !== undefined || FILTERS.some((name) => filters[name] !== undefined);
  const songs = () =>
    q === undefined
      ? songsBy({ ...query, sort: SONG_ORDERS[key] }, t("library.albums"))
      : songsOfAlbums(list.source, q);
  return (
    <>
      <ViewHead title={t("library.albums")} count={list.source.total.value}>
        <LibrarySwitch shown={library} />
        <FilterField />
        <SortChoice keys={sortKeys()} />
        <MoreButton items={() => songsMenu(songs())} />
      </ViewHead>
      <Ways at="albums" />
      <Filters filters={filters} />
      <AlbumTiles
        label={t("library.albums")}
        list={list}
        empty={<Empty isFiltered={isFiltered} library={library} />}
      />
    </>
  );
}

/** What the albums are chosen by, with a way to take it away. */
function Filters({ filters }: { filters: Record<string, string | undefined> }) {
  const shown = Object.entries(filters).filter(([, value]) => value !== undefined);
  if (shown.length === 0) return null;
  return (
    <p class="chips">
      {shown.map(([name, value]) => (
        <button key={name} type="button" class="chip" onClick={() => changeQuery({ [name]: undefined })}>
          {t(`library.filter_${name as (typeof FILTERS)[number]}`, { value: value ?? "" })}
          <Icon name="close" />
          <span class="visually-hidden">{t("library.remove_filter")}</span>
        </button>
      ))}
    </p>
  );
}

interface AlbumTilesProps {
  label: string;
  list: KeptList<Album>;
  /** Whose albums they are, where all are of one artist. */
  artist?: number;
  empty?: ComponentChildren;
}

export function AlbumTiles({ label, list, artist, empty }: AlbumTilesProps) {
  return (
    <TileView
      label={label}
      source={list.source}
      place={list.place}
      tile={(album) => <AlbumTile album={album} artist={artist} />}
      onOpen={(album) => goTo(["albums", album.id])}
      onMenu={(album, place) => openMenu(place, album.name, songsMenu(songsOfAlbum(album)))}
      onKey={(event, album) => onSongsKey(event, () => songsOfAlbum(album))}
      lift={(album) => ({ chosen: songsOfAlbum(album), label: album.name })}
      empty={empty}
    />
  );
}

export function albumName(album: { name: string }) {
  return album.name || t("library.no_album");
}

export function artistOf(album: Album) {
  return album.artist ?? t("library.various");
}

export function AlbumTile({ album, artist }: { album: Album; artist?: number | undefined }) {
  const isKnown = artist !== undefined && album.artist_id === artist;
  const below = [!isKnown && artistOf(album), album.year].filter(Boolean).join(" · ");
  return (
    <>
      <span class="tile-picture">
        <Cover song={album.cover_song} size={320} />
        <button
          type="button"
          class="tile-play"
          tabIndex={-1}
          aria-hidden="true"
          title={t("library.play_it", { name: albumName(album) })}
          onClick={() => playSongs(songsOfAlbum(album))}
        >
          <Icon name="play" />
        </button>
      </span>
      <span class="tile-name" title={albumName(album)}>
        {albumName(album)}
      </span>
      <span class="tile-below" title={below}>
        {below}
      </span>
    </>
  );
}
