// All songs of a library, or those that a query chooses.
import type { Query } from "../api/http.ts";
import type { Song } from "../api/types.ts";
import type { Sort } from "../list/list_view.tsx";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { MenuButton } from "../ui/menu.tsx";
import type { Route } from "../ui/router.ts";
import { useTitle } from "../ui/title.ts";
import { saveAs, shuffleSongs, songsMenu } from "./deeds.ts";
import { Empty } from "./empty.tsx";
import { changeQuery, FilterField, LibrarySwitch, MoreButton, ViewHead, Ways } from "./head.tsx";
import { libraryOf, useList, useSteady } from "./lists.ts";
import { openColumnsMenu } from "./song_columns.tsx";
import { SongTable } from "./song_table.tsx";
import { songsAt, songsBy } from "./songs.ts";

/** Columns that go on with others, where they do not tell songs apart. */
const ORDERS: Record<string, string> = {
  artist: "artist,album,disc,track",
  album: "album,disc,track",
  album_artist: "album_artist,album,disc,track",
  track: "track,album",
  disc: "disc,album,track",
};

export interface SongOrder {
  sort: Sort | undefined;
  query: Query;
}

/** The order that the address asks for. */
export function songOrder({ query }: Route, usual?: string): SongOrder {
  const key = query.get("sort") ?? usual;
  const down = query.get("dir") === "desc";
  const order = key && (ORDERS[key] ?? key);
  return { sort: key ? { key, down } : undefined, query: { sort: order, dir: down ? "desc" : undefined } };
}

export function onSort({ key, down }: Sort) {
  changeQuery({ sort: key, dir: down ? "desc" : undefined });
}

export function ColumnsButton() {
  return (
    <MenuButton
      label={t("library.columns")}
      icon="columns"
      tip
      class="columns-button"
      open={openColumnsMenu}
    />
  );
}

export function SongsView({ route }: { route: Route }) {
  const library = libraryOf(route.query);
  const q = route.query.get("q") ?? undefined;
  const order = songOrder(route, "artist");
  const query = { library, q, ...order.query };
  const list = useSteady(useList<Song>("songs", query));
  const name = q ?? t("library.songs");
  const total = list.source.total.value;
  useTitle(t("library.songs"));
  const all = () => songsBy(query, name, total);
  return (
    <>
      <ViewHead title={t("library.songs")} count={total}>
        <LibrarySwitch shown={library} />
        <FilterField />
        <button type="button" class="button" disabled={!total} onClick={() => shuffleSongs(all())}>
          <Icon name="shuffle" />
          {t("library.shuffle")}
        </button>
        <button type="button" class="button wide-button" disabled={!total} onClick={() => saveAs(all())}>
          <Icon name="list" />
          {t("library.save_as")}
        </button>
        <ColumnsButton />
        <MoreButton items={() => songsMenu(all())} />
      </ViewHead>
      <Ways at="songs" />
      <SongTable
        label={t("library.songs")}
        name={name}
        list={list}
        songOf={(song) => song}
        songsAt={(ranges) => songsAt(list.source, ranges, name)}
        sort={order.sort}
        onSort={onSort}
        empty={<Empty isFiltered={q !== undefined} library={library} />}
      />
    </>
  );
}
