// The views of the library, by the first segment of their address.
import type { ComponentType } from "preact";
import type { Route } from "../ui/router.ts";
import { AlbumView } from "./album_view.tsx";
import { AlbumsView } from "./albums_view.tsx";
import { FolderView } from "./folder_view.tsx";
import { NameView } from "./name_view.tsx";
import { NamesView } from "./names_view.tsx";
import { ScanView } from "./scan.tsx";
import { SearchView } from "./search_view.tsx";
import type { NameKind } from "./songs.ts";
import { SongsView } from "./songs_view.tsx";

type View = ComponentType<{ route: Route }>;

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
  scan: ScanView,
};
