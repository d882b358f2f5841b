// What plays, over the whole of a phone.
import { useEffect, useRef } from "preact/hooks";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { linkTo } from "../ui/router.ts";
import {
  Cover,
  Nothing,
  PlayButton,
  RepeatButton,
  SeekBar,
  ShuffleButton,
  StepButton,
  useTrouble,
  Volume,
  What,
} from "./controls.tsx";
import { PlayerMenuButton } from "./player_menu.tsx";
import { player } from "./players.ts";
import { Rating, StarButton } from "./star_button.tsx";

export function PlayerSheet({ close }: { close: () => void }) {
  const sheet = useRef<HTMLDialogElement>(null);
  useEffect(() => {
    sheet.current?.showModal();
    window.addEventListener("hashchange", close);
    return () => window.removeEventListener("hashchange", close);
  }, [close]);
  const trouble = useTrouble();
  const now = player.value.item.value;
  return (
    <dialog ref={sheet} class="player-sheet" aria-label={t("frame.player")} onClose={close}>
      <header>
        <button type="button" class="icon-button" aria-label={t("close")} onClick={close}>
          <Icon name="down" />
        </button>
        <PlayerMenuButton />
        <a class="icon-button" href={linkTo(["queue"])} aria-label={t("frame.queue")}>
          <Icon name="queue" />
        </a>
      </header>
      <Cover item={now} size={640} />
      <div class="sheet-what">
        {now ? <What item={now} /> : <Nothing />}
        {now?.song && <StarButton song={now.song} />}
      </div>
      {now?.song && <Rating song={now.song} />}
      <SeekBar />
      <p class="player-trouble">{trouble}</p>
      <div class="player-buttons">
        <ShuffleButton />
        <StepButton way="previous" />
        <PlayButton />
        <StepButton way="next" />
        <RepeatButton />
      </div>
      <Volume />
    </dialog>
  );
}
