// The views of this room, by the first segment of their address.
import type { ComponentType } from "preact";
import { house } from "../playback/players.ts";
import type { Route } from "../ui/router.ts";
import { HouseQueueView } from "./house_queue_view.tsx";
import { QueueView } from "./queue_view.tsx";

/** That of the player that is chosen. */
function ChosenQueueView() {
  return house.value ? <HouseQueueView key={house.value.id} house={house.value} /> : <QueueView />;
}

export const queueViews: Record<string, ComponentType<{ route: Route }>> = { queue: ChosenQueueView };
