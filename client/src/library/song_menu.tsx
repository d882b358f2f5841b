// The menu of one song, and all that is known of it.
import type { ComponentChildren } from "preact";
import { useEffect, useState } from "preact/hooks";
import { get } from "../api/http.ts";
import type { Song, WholeSong } from "../api/types.ts";
import { markOf, setStar } from "../playback/marks.ts";
import { Rating, StarButton } from "../playback/star_button.tsx";
import { formatDuration, formatNumber, formatSize, formatTime, type TextKey, t } from "../text/index.ts";
import { Dialog, openDialog } from "../ui/dialog.tsx";
import type { MenuItem } from "../ui/menu.tsx";
import { reasonOf } from "../ui/notices.tsx";
import { goTo, linkTo } from "../ui/router.ts";
import { Cover } from "./cover.tsx";
import { songsMenu } from "./deeds.ts";
import type { Songs } from "./songs.ts";

export function songMenu(song: Song, songs: Songs): MenuItem[] {
  const ways: [TextKey, string, number | undefined, MenuItem["icon"]][] = [
    ["library.go_to_album", "albums", song.album_id, "album"],
    ["library.go_to_artist", "artists", song.artist_id, "artist"],
    ["library.go_to_folder", "folders", song.folder_id, "folder"],
  ];
  return [
    ...songsMenu(songs).filter(({ icon }) => icon !== "shuffle"),
    ...ways.flatMap(([label, room, id, icon], place) => {
      if (id === undefined) return [];
      return [{ label: t(label), icon, divided: place === 0, run: () => goTo([room, id]) } as MenuItem];
    }),
    starItem(song),
    { label: t("library.details"), icon: "more", run: () => showSong(song.id) },
  ];
}

function starItem(song: Song): MenuItem {
  const { star } = markOf(song.id);
  const label = t(star ? "playing.take_star" : "playing.give_star");
  return { label, icon: "heart", divided: true, run: () => void setStar(song.id, !star) };
}

export function showSong(id: number) {
  void openDialog((close) => <Details id={id} close={() => close()} />);
}

function Details({ id, close }: { id: number; close: () => void }) {
  const [song, setSong] = useState<WholeSong>();
  const [error, setError] = useState<unknown>();
  useEffect(() => {
    const stop = new AbortController();
    get<WholeSong>(`songs/${id}`, {}, stop.signal).then(setSong, setError);
    return () => stop.abort();
  }, [id]);
  const closeByLink = (event: Event) => {
    if ((event.target as Element).closest("a")) close();
  };
  return (
    <Dialog title={song?.title ?? t("library.details")} close={close} wide>
      {error !== undefined && <p role="alert">{reasonOf(error)}</p>}
      {song && (
        <div class="details">
          <div class="details-mark">
            <Cover song={song.id} size={320} />
            <StarButton song={song} />
            <Rating song={song} />
          </div>
          <dl class="facts" onClick={closeByLink}>
            {factsOf(song).map(([label, fact]) => (
              <div key={label}>
                <dt>{t(label)}</dt>
                <dd>{fact}</dd>
              </div>
            ))}
          </dl>
        </div>
      )}
    </Dialog>
  );
}

function yearOf({ year, library }: Song) {
  return { year_from: year, year_to: year, library: library === "personal" ? library : undefined };
}

/** Those that the song has. */
function factsOf(song: WholeSong): [TextKey, ComponentChildren][] {
  const link = (room: string, id: number | undefined, text: string | undefined) =>
    text && id !== undefined ? <a href={linkTo([room, id])}>{text}</a> : text;
  const all: [TextKey, ComponentChildren][] = [
    ["library.title", song.title],
    ["library.artist", link("artists", song.artist_id, song.artist)],
    ["library.album", link("albums", song.album_id, song.album)],
    ["library.album_artist", link("artists", song.album_artist_id, song.album_artist)],
    ["library.composer", link("composers", song.composer_id, song.composer)],
    ["library.genre", link("genres", song.genre_id, song.genre)],
    ["library.year", song.year && <a href={linkTo(["albums"], yearOf(song))}>{song.year}</a>],
    ["library.track", song.track && String(song.track)],
    ["library.disc", song.disc && String(song.disc)],
    ["library.duration", song.duration !== undefined && formatDuration(song.duration)],
    ["library.comment", song.comment],
    ["library.type", song.type],
    ["library.bitrate", song.bitrate && t("library.kbit", { count: Math.round(song.bitrate / 1000) })],
    ["library.sample_rate", song.sample_rate && t("library.hertz", { count: song.sample_rate })],
    ["library.channels", song.channels && formatNumber(song.channels)],
    ["library.size", formatSize(song.size)],
    ["library.added", song.added && formatTime(song.added)],
    ["library.modified", song.modified && formatTime(song.modified)],
    ["library.path", link("folders", song.folder_id, song.path)],
  ];
  return all.filter(([, fact]) => fact);
}
