// Where it plays: here, or on a player of the house.
import { useSignal } from "@preact/signals";
import { useRef } from "preact/hooks";
import type { PlayerStatus } from "../api/types.ts";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { type MenuItem, openMenu } from "../ui/menu.tsx";
import { notifyFailure } from "../ui/notices.tsx";
import { overview } from "../ui/session.tsx";
import { choosePlayer, house, loadPlayers, moveTo, player } from "./players.ts";

function labelOf({ name, state }: PlayerStatus) {
  if (state === "stop") return name;
  return t(`players.state_${state}`, { name });
}

function items(all: PlayerStatus[]): MenuItem[] {
  const now = house.peek();
  const choices: MenuItem[] = [
    { label: t("players.here"), checked: !now, run: () => choosePlayer(null) },
    ...all.map((other) => ({
      label: labelOf(other),
      checked: now?.id === other.id,
      run: () => choosePlayer(other),
    })),
  ];
  if (!player.peek().canPlay.peek()) return choices;
  const targets: MenuItem[] = all
    .filter(({ id, state }) => id !== now?.id && state !== "unreachable")
    .map((other) => ({
      label: t("players.move_to", { name: other.name }),
      run: () => void moveTo(other),
    }));
  if (now) targets.unshift({ label: t("players.move_here"), run: () => void moveTo(null) });
  return [...choices, ...targets.map((item, place) => ({ ...item, divided: place === 0 }))];
}

/** There is none in a house without players. */
export function PlayerMenuButton() {
  const button = useRef<HTMLButtonElement>(null);
  const busy = useSignal(false);
  if ((overview.value?.players ?? 0) === 0) return null;
  const name = player.value.name.value ?? t("players.here");
  const label = t("players.menu", { name });
  const open = async () => {
    busy.value = true;
    try {
      const all = await loadPlayers();
      if (button.current) openMenu(button.current, label, items(all));
    } catch (error) {
      notifyFailure(t("players.not_known"), error, () => void open());
    }
    busy.value = false;
  };
  return (
    <button
      ref={button}
      type="button"
      class="top-button"
      aria-haspopup="menu"
      aria-label={label}
      aria-busy={busy}
      title={label}
      onClick={() => void open()}
    >
      <Icon name="speaker" />
      <span class="wide-only">{name}</span>
    </button>
  );
}
