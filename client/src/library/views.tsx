// The views of the library, by the first segment of their address. The first page has the albums only.
import type { ComponentType } from "preact";
import { lazy } from "../ui/lazy.tsx";
import type { Route } from "../ui/router.ts";
import { AlbumsView } from "./albums_view.tsx";
import type { NameKind } from "./songs.ts";

type View = ComponentType<{ route: Route }>;

const AlbumView = lazy(async () => (await import("./album_view.tsx")).AlbumView);
const FolderView = lazy(async () => (await import("./folder_view.tsx")).FolderView);
const NamesView = lazy(async () => (await import("./names_view.tsx")).NamesView);
const NameView = lazy(async () => (await import("./name_view.tsx")).NameView);
const ScanView = lazy(async () => (await import("./scan.tsx")).ScanView);
const SearchView = lazy(async () => (await import("./search_view.tsx")).SearchView);
const SongsView = lazy(async () => (await import("./songs_view.tsx")).SongsView);

/** All of a kind, or one that the address names. */
function namesOrOne(kind: NameKind): View {
  return ({ route }) => {
    const id = route.segments[1];
    return id === undefined ? (
      <NamesView kind={kind} route={route} />
    ) : (
      <NameView kind={kind} id={id} route={route} />
    );
  };
}

export const libraryViews: Record<string, View> = {
  albums: ({ route }) => {
    const id = route.segments[1];
    return id === undefined ? <AlbumsView route={route} /> : <AlbumView id={id} />;
  },
  artists: namesOrOne("artists"),
  genres: namesOrOne("genres"),
  composers: namesOrOne("composers"),
  years: namesOrOne("years"),
  songs: SongsView,
  folders: ({ route }) => <FolderView id={route.segments[1]} route={route} />,
  search: SearchView,
  scan: () => <ScanView />,
};
