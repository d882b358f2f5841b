// An artist, a genre, a composer or a year: the albums of it, or all songs.
import type { Album, Name, Song } from "../api/types.ts";
import { t } from "../text/index.ts";
import type { Route } from "../ui/router.ts";
import { useTitle } from "../ui/title.ts";
import { AlbumTiles } from "./albums_view.tsx";
import { AnswerFailure } from "./answer_failure.tsx";
import { changeQuery, SongsButtons, ViewHead } from "./head.tsx";
import { useAnswer, useList, useSteady } from "./lists.ts";
import { nameText } from "./names_view.tsx";
import { SongTable } from "./song_table.tsx";
import { type NameKind, queryOf, singular, songsAt, songsBy } from "./songs.ts";
import { ColumnsButton, onSort, songOrder } from "./songs_view.tsx";

interface NameViewProps {
  kind: NameKind;
  id: string;
  route: Route;
}

export function NameView({ kind, id, route }: NameViewProps) {
  const answer = useAnswer<Record<string, Name>>(`${kind}/${encodeURIComponent(id)}`, { limit: 0 });
  const name = answer.body.value?.[singular(kind)];
  useTitle(name ? nameText(kind, name) : "");
  if (answer.error.value) return <AnswerFailure answer={answer} />;
  if (!name) return null;
  return <Named kind={kind} name={name} route={route} />;
}

function Named({ kind, name, route }: { kind: NameKind; name: Name; route: Route }) {
  const title = nameText(kind, name);
  const showsSongs = route.query.get("show") === "songs";
  const query = queryOf(kind, name);
  return (
    <>
      <ViewHead title={title}>
        {showsSongs && <ColumnsButton />}
        <Switch showsSongs={showsSongs} name={name} />
        <SongsButtons
          songs={songsBy({ ...query, ...songOrder(route).query }, title, name.songs || undefined)}
        />
      </ViewHead>
      {showsSongs ? (
        <SongsOf title={title} query={query} route={route} />
      ) : (
        <AlbumsOf title={title} query={query} {...(kind === "artists" && { artist: name.id })} />
      )}
    </>
  );
}

function Switch({ showsSongs, name }: { showsSongs: boolean; name: Name }) {
  const button = (show: boolean, label: string) => (
    <button
      type="button"
      aria-pressed={showsSongs === show}
      onClick={() => changeQuery({ show: show ? "songs" : undefined, sort: undefined, dir: undefined })}
    >
      {label}
    </button>
  );
  return (
    <div class="segments" role="group" aria-label={t("library.show")}>
      {button(false, t("count.albums", { count: name.albums }))}
      {button(true, name.songs ? t("count.songs", { count: name.songs }) : t("library.songs"))}
    </div>
  );
}

type Of = { title: string; query: ReturnType<typeof queryOf> };

function AlbumsOf({ title, query, artist }: Of & { artist?: number }) {
  const list = useList<Album>("albums", { ...query, sort: "year,name" });
  return (
    <AlbumTiles
      label={t("library.albums_of", { name: title })}
      list={list}
      {...(artist !== undefined && { artist })}
      empty={<p>{t("library.nothing_here")}</p>}
    />
  );
}

function SongsOf({ title, query, route }: Of & { route: Route }) {
  const order = songOrder(route, "album");
  const list = useSteady(useList<Song>("songs", { ...query, ...order.query }));
  return (
    <SongTable
      label={t("library.songs_of", { name: title })}
      name={title}
      list={list}
      songOf={(song) => song}
      songsAt={(ranges) => songsAt(list.source, ranges, title)}
      sort={order.sort}
      onSort={onSort}
      empty={<p>{t("library.nothing_here")}</p>}
    />
  );
}
