// All players: this browser, and those of the house. One of them is chosen, and stays so.
import { computed, effect, signal } from "@preact/signals";
import { get } from "../api/http.ts";
import type { Page, PlayerStatus } from "../api/types.ts";
import { t } from "../text/index.ts";
import { notify, notifyFailure } from "../ui/notices.tsx";
import { overview, user } from "../ui/session.tsx";
import { here } from "./here.ts";
import { House } from "./house.ts";
import { kept } from "./kept.ts";
import type { Player } from "./player.ts";
import { queue } from "./queue.ts";

interface Known {
  id: number;
  name: string;
}

const isKnown = (value: unknown): value is Known | null =>
  value === null ||
  (typeof value === "object" && "id" in value && "name" in value && typeof value.id === "number");

/** The player of the house that is chosen; null: this browser. */
const chosen = kept<Known | null>("player.chosen", null, isKnown);
const houses = new Map<number, House>();

function houseOf({ id, name }: Known) {
  const house = houses.get(id) ?? new House(id, name);
  houses.set(id, house);
  return house;
}

/** The player of the house that is chosen. */
export const house = computed(() => {
  const hasPlayers = (overview.value?.players ?? 0) > 0;
  return chosen.value && hasPlayers ? houseOf(chosen.value) : undefined;
});

/** The player that is chosen. */
export const player = computed<Player>(() => house.value ?? here);

/** A player is only looked at while somebody looks at the page. */
const isVisible = signal(!document.hidden);
document.addEventListener("visibilitychange", () => {
  isVisible.value = !document.hidden;
});
effect(() => {
  const watched = isVisible.value && user.value ? house.value : undefined;
  for (const other of houses.values()) other.watch(other === watched);
});

export function loadPlayers() {
  return get<Page<PlayerStatus>>("players").then(({ items }) => items);
}

/** From now on the bar and all commands are for this player; null: this browser. */
export function choosePlayer(known: Known | null) {
  chosen.value = known && { id: known.id, name: known.name };
}

here.onWanted = () => choosePlayer(null);

/** What plays goes on there, and is silent here; null: in this browser. */
export async function moveTo(known: Known | null) {
  const from = player.peek();
  try {
    const { items, position } = await whatPlays();
    const elapsed = from.elapsed.peek();
    const plays = from.isPlaying.peek();
    if (plays) from.pause();
    choosePlayer(known);
    if (known) await houseOf(known).takeOver(items, position, elapsed, plays);
    else here.takeOver(items, position, elapsed, plays);
    notify({ text: t("players.moved", { name: known?.name ?? t("players.here") }), lasts: 4 });
  } catch (error) {
    notifyFailure(t("players.not_moved"), error, () => void moveTo(known));
  }
}

async function whatPlays() {
  const from = house.peek();
  if (from) return { items: await from.loadQueue(), position: from.status.peek()?.position ?? 0 };
  await queue.loadAll();
  return { items: queue.entries(), position: Math.max(0, queue.position.peek()) };
}
