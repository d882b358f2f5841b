// The views of this room, by the first segment of their address.
import type { ComponentType } from "preact";
import type { Route } from "../ui/router.ts";

export const playlistViews: Record<string, ComponentType<{ route: Route }>> = {};
