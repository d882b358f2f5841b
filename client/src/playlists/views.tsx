// The views of this room, by the first segment of their address.
import type { ComponentType } from "preact";
import { lazy } from "../ui/lazy.tsx";
import type { Route } from "../ui/router.ts";

const ListsView = lazy(async () => (await import("./lists_view.tsx")).ListsView);
const ImportView = lazy(async () => (await import("./import_view.tsx")).ImportView);
const PlaylistView = lazy(async () => (await import("./playlist_view.tsx")).PlaylistView);

function Playlists({ route }: { route: Route }) {
  return route.segments.length > 1 ? <PlaylistView route={route} /> : <ListsView route={route} />;
}

export const playlistViews: Record<string, ComponentType<{ route: Route }>> = {
  playlists: Playlists,
  import: () => <ImportView />,
};
