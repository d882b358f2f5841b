// The views of this room, by the first segment of their address.
import type { ComponentType } from "preact";
import type { Route } from "../ui/router.ts";
import { ListsView } from "./lists_view.tsx";
import { PlaylistView } from "./playlist_view.tsx";

function Playlists({ route }: { route: Route }) {
  return route.segments.length > 1 ? <PlaylistView route={route} /> : <ListsView route={route} />;
}

export const playlistViews: Record<string, ComponentType<{ route: Route }>> = { playlists: Playlists };
