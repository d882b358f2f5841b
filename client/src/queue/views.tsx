// The views of this room, by the first segment of their address.
import type { ComponentType } from "preact";
import { house } from "../playback/players.ts";
import { lazy } from "../ui/lazy.tsx";
import type { Route } from "../ui/router.ts";

const HouseQueueView = lazy(async () => (await import("./house_queue_view.tsx")).HouseQueueView);
const QueueView = lazy(async () => (await import("./queue_view.tsx")).QueueView);

/** That of the player that is chosen. */
function ChosenQueueView() {
  return house.value ? <HouseQueueView key={house.value.id} house={house.value} /> : <QueueView />;
}

export const queueViews: Record<string, ComponentType<{ route: Route }>> = { queue: ChosenQueueView };
