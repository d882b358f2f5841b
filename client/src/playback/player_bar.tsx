// What plays, and its controls, at the foot.
import { t } from "../text/index.ts";
import { openDialog } from "../ui/dialog.tsx";
import { Icon } from "../ui/icon.tsx";
import { useKeys } from "../ui/keys.tsx";
import { withPart } from "../ui/lazy.tsx";
import { linkTo } from "../ui/router.ts";
import {
  Cover,
  Nothing,
  PlayButton,
  RepeatButton,
  SeekBar,
  ShuffleButton,
  StepButton,
  toggle,
  useTrouble,
  Volume,
  What,
} from "./controls.tsx";
import "./media_session.ts";
import { PlayerMenuButton } from "./player_menu.tsx";
import { player } from "./players.ts";
import { StarButton } from "./star_button.tsx";

function openSheet() {
  return withPart(
    () => import("./player_sheet.tsx"),
    ({ PlayerSheet }) => openDialog((close) => <PlayerSheet close={close} />),
  );
}

export function PlayerBar() {
  useKeys({ Space: toggle });
  const { item, name } = player.value;
  const now = item.value;
  const trouble = useTrouble();
  return (
    <section class="player-bar" aria-label={t("frame.player")}>
      <div class="playing-now">
        <CoverLink />
        {now ? <What item={now} /> : <Nothing />}
        {now?.song && <StarButton song={now.song} />}
        <button
          type="button"
          class="sheet-opener"
          aria-label={t("playing.open_sheet")}
          disabled={!now}
          onClick={() => void openSheet()}
        />
      </div>
      <div class="player-middle">
        <div class="player-buttons">
          <ShuffleButton />
          <StepButton way="previous" />
          <PlayButton />
          <StepButton way="next" />
          <RepeatButton />
        </div>
        {trouble ? <p class="player-trouble">{trouble}</p> : <SeekBar />}
      </div>
      <div class="player-end">
        {name.value !== undefined && <PlayerMenuButton />}
        <Volume />
        <a
          class="icon-button"
          href={linkTo(["queue"])}
          aria-label={t("frame.queue")}
          title={t("frame.queue")}
        >
          <Icon name="queue" />
        </a>
      </div>
    </section>
  );
}

/** The title beside it leads there as well, so it is not read. */
function CoverLink() {
  const item = player.value.item.value;
  const album = item?.song?.album_id;
  if (album === undefined) return <Cover item={item} size={96} />;
  return (
    <span aria-hidden="true">
      <a href={linkTo(["albums", album])} tabIndex={-1}>
        <Cover item={item} size={96} />
      </a>
    </span>
  );
}
