// The views of the library, by the first segment of their address.
import type { ComponentType } from "preact";
import type { Route } from "../ui/router.ts";
import { SongsView } from "./songs_view.tsx";

export const libraryViews: Record<string, ComponentType<{ route: Route }>> = {
  songs: SongsView,
};
