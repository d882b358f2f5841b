// An album: its cover, what is known of it, its songs by disc.
import type { Album, Page, Song } from "../api/types.ts";
import { formatDuration, formatSize, t } from "../text/index.ts";
import { linkTo } from "../ui/router.ts";
import { useTitle } from "../ui/title.ts";
import { albumName, artistOf } from "./albums_view.tsx";
import { AnswerFailure } from "./answer_failure.tsx";
import { Cover } from "./cover.tsx";
import { SongsButtons } from "./head.tsx";
import { type KeptList, useAnswer, useList } from "./lists.ts";
import { SongTable } from "./song_table.tsx";
import { songsAt, songsOfAlbum } from "./songs.ts";

const COLUMNS = ["track", "title", "artist", "duration", "star"];
const COLUMNS_OF_ONE_ARTIST = ["track", "title", "duration", "star"];

export function AlbumView({ id }: { id: string }) {
  const path = `albums/${encodeURIComponent(id)}`;
  const answer = useAnswer<Page<Song> & { album: Album }>(path, { limit: 0 });
  const list = useList<Song>(path, {});
  const album = answer.body.value?.album;
  useTitle(album ? albumName(album) : "");
  if (answer.error.value) return <AnswerFailure answer={answer} list={list} />;
  return <SongsOfAlbum album={album} list={list} />;
}

function SongsOfAlbum({ album, list }: { album: Album | undefined; list: KeptList<Song> }) {
  const { source } = list;
  void source.revision.value;
  const name = album ? albumName(album) : "";
  const sections = discs(album, list);
  return (
    <SongTable
      label={name}
      name={name}
      list={list}
      songOf={(song) => song}
      songsAt={(ranges) => songsAt(source, ranges, name)}
      columns={album?.artist && !album.compilation ? COLUMNS_OF_ONE_ARTIST : COLUMNS}
      lead={album ? <AlbumHead album={album} /> : <div class="album-head" />}
      sections={sections}
    />
  );
}

/** Where each disc begins, of those songs that are there. */
function discs(album: Album | undefined, { source }: KeptList<Song>) {
  if ((album?.discs ?? 0) < 2) return [];
  const sections = [];
  let last: number | undefined;
  for (let at = 0; at < (source.total.value ?? 0); at++) {
    const disc = source.at(at)?.disc;
    if (disc === undefined || disc === last) continue;
    last = disc;
    sections.push({ at, label: t("library.disc_number", { count: disc }) });
  }
  return sections;
}

function AlbumHead({ album }: { album: Album }) {
  const years = [album.year, album.year_to].filter(Boolean).join(" – ");
  return (
    <header class="album-head">
      <Cover song={album.cover_song} size={640} />
      <div>
        <h1 title={albumName(album)}>{albumName(album)}</h1>
        <p class="album-artist">
          {album.artist_id === undefined ? (
            artistOf(album)
          ) : (
            <a href={linkTo(["artists", album.artist_id])}>{artistOf(album)}</a>
          )}
        </p>
        <p class="soft">
          {[
            years,
            t("count.songs", { count: album.songs }),
            formatDuration(album.duration),
            formatSize(album.size),
          ]
            .filter(Boolean)
            .join(" · ")}
        </p>
        <SongsButtons songs={songsOfAlbum(album)} />
      </div>
    </header>
  );
}
