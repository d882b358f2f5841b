// All songs of a library.
import { useEffect, useMemo } from "preact/hooks";
import { get } from "../api/http.ts";
import type { Page, Song } from "../api/types.ts";
import { chosenSongs } from "../list/items.ts";
import { type Column, ListView } from "../list/list_view.tsx";
import { Selection } from "../list/selection.ts";
import { PagedSource } from "../list/source.ts";
import { play } from "../playback/commands.ts";
import { formatDuration, t } from "../text/index.ts";

function columns(): Column<Song>[] {
  return [
    { key: "title", label: t("library.title"), width: "minmax(8rem, 3fr)", cell: (song) => song.title },
    { key: "artist", label: t("library.artist"), width: "minmax(6rem, 2fr)", cell: (song) => song.artist },
    {
      key: "duration",
      label: "",
      width: "4rem",
      align: "end",
      cell: (song) => formatDuration(song.duration),
    },
  ];
}

export function SongsView() {
  const source = useMemo(
    () =>
      new PagedSource<Song>((offset, limit, signal) => get<Page<Song>>("songs", { offset, limit }, signal)),
    [],
  );
  const selection = useMemo(() => new Selection(), []);
  useEffect(() => {
    document.title = t("library.songs");
  }, []);
  return (
    <ListView
      label={t("library.songs")}
      source={source}
      columns={columns()}
      selection={selection}
      header
      onOpen={(song) => void play(chosenSongs([song]))}
    />
  );
}
