// The parts that the bar at the foot and the sheet of a phone are made of.
import { useSignal } from "@preact/signals";
import { useEffect } from "preact/hooks";
import { address } from "../api/http.ts";
import { artistOf, type Item, titleOf } from "../list/items.ts";
import { formatDuration, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { announce } from "../ui/notices.tsx";
import { linkTo } from "../ui/router.ts";
import { player } from "./players.ts";

export function coverAddress(item: Item | undefined, size: 96 | 320 | 640) {
  return item?.song && address(`api/songs/${item.song.id}/cover`, { size, missing: "none" });
}

/** The picture of what plays, in a place that is there without one as well. */
export function Cover({ item, size }: { item: Item | undefined; size: 96 | 320 | 640 }) {
  const url = coverAddress(item, size);
  const failed = useSignal<string | undefined>(undefined);
  return (
    <span class="playing-cover">
      {url !== undefined && failed.value !== url ? (
        <img
          src={url}
          alt=""
          onError={() => {
            failed.value = url;
          }}
        />
      ) : (
        <Icon name="music" />
      )}
    </span>
  );
}

/** What stands there when nothing plays. */
export function Nothing() {
  const { name, trouble } = player.value;
  if (name.value === undefined) return <p class="soft">{t("playing.nothing")}</p>;
  return <p class="soft">{trouble.value ? name.value : t("players.silent", { name: name.value })}</p>;
}

/** A link to a view of the library; a plain text where the id is not known. */
function Line(props: { class: string; text: string; at: [view: string, id: number | undefined] }) {
  const { text, at } = props;
  const [view, id] = at;
  if (id !== undefined) {
    return (
      <a class={props.class} title={text} href={linkTo([view, id])}>
        {text}
      </a>
    );
  }
  return (
    <span class={props.class} title={text}>
      {text}
    </span>
  );
}

/** Title and artist; both lead to where the song is from. */
export function What({ item }: { item: Item }) {
  const { song } = item;
  const title = titleOf(item);
  const artist = artistOf(item);
  return (
    <div class="playing-what">
      <Line class="playing-title" text={title} at={["albums", song?.album_id]} />
      <Line class="playing-artist" text={artist} at={["artists", song?.artist_id]} />
    </div>
  );
}

export function toggle() {
  const now = player.peek();
  if (now.isPlaying.peek()) now.pause();
  else now.play();
}

export function PlayButton() {
  const { canPlay, isPlaying, isWaiting } = player.value;
  const label = t(isPlaying.value ? "playing.pause" : "playing.play");
  return (
    <button
      type="button"
      class={isPlaying.value && isWaiting.value ? "play-button waits" : "play-button"}
      aria-label={label}
      title={label}
      disabled={!canPlay.value}
      onClick={toggle}
    >
      <Icon name={isPlaying.value ? "pause" : "play"} />
    </button>
  );
}

export function StepButton({ way }: { way: "previous" | "next" }) {
  const label = t(`playing.${way}`);
  return (
    <button
      type="button"
      class="icon-button"
      aria-label={label}
      title={label}
      disabled={!player.value.canPlay.value}
      onClick={() => player.peek()[way]()}
    >
      <Icon name={way} />
    </button>
  );
}

const SEEK_STEP = 5; // seconds, by the arrow keys

/** Where it is in the song. While it is dragged, it shows where it would go on. */
export function SeekBar() {
  const { elapsed, duration, item } = player.value;
  const wish = useSignal<number | undefined>(undefined);
  const end = duration.value;
  const now = Math.min(wish.value ?? elapsed.value, end ?? Number.POSITIVE_INFINITY);
  const canSeek = item.value !== undefined && end !== undefined && end > 0;
  const told = t("playing.at", {
    elapsed: formatDuration(Math.floor(now)),
    duration: formatDuration(end),
  });
  const takeWish = () => {
    if (wish.value !== undefined) player.peek().seek(wish.value);
    wish.value = undefined;
  };
  const onKeyDown = (event: KeyboardEvent) => {
    const step = { ArrowLeft: -SEEK_STEP, ArrowDown: -SEEK_STEP, ArrowRight: SEEK_STEP, ArrowUp: SEEK_STEP };
    const by = step[event.key as keyof typeof step];
    if (by === undefined || !canSeek) return;
    event.preventDefault();
    player.peek().seek(Math.max(0, Math.min(end, now + by)));
  };
  return (
    <div class="seek">
      <span class="time">{item.value ? formatDuration(Math.floor(now)) : ""}</span>
      <input
        type="range"
        class="slider"
        aria-label={t("playing.seek")}
        aria-valuetext={told}
        min={0}
        max={canSeek ? end : 1}
        step="any"
        value={canSeek ? now : 0}
        disabled={!canSeek}
        style={{ "--filled": `${canSeek ? (now / end) * 100 : 0}%` }}
        onInput={(event) => {
          wish.value = Number(event.currentTarget.value);
        }}
        onChange={takeWish}
        onKeyDown={onKeyDown}
      />
      <span class="time">{item.value && end !== undefined ? formatDuration(end) : ""}</span>
    </div>
  );
}

export function Volume() {
  const { volume, isMuted, name } = player.value;
  const percent = volume.value;
  const isHere = name.value === undefined;
  const shown = isMuted.value ? 0 : (percent ?? 0);
  const label = t(isMuted.value ? "playing.unmute" : "playing.mute");
  return (
    <div class="volume">
      <button
        type="button"
        class="icon-button"
        aria-label={label}
        title={label}
        aria-pressed={isMuted.value}
        disabled={!isHere}
        onClick={() => player.peek().setMuted(!isMuted.value)}
      >
        <Icon name={shown === 0 ? "mute" : "volume"} />
      </button>
      <input
        type="range"
        class="slider"
        aria-label={t("playing.volume")}
        min={0}
        max={100}
        step={1}
        value={shown}
        disabled={percent === undefined}
        style={{ "--filled": `${shown}%` }}
        onInput={(event) => {
          if (isHere) player.peek().setVolume(Number(event.currentTarget.value));
        }}
        onChange={(event) => player.peek().setVolume(Number(event.currentTarget.value))}
      />
    </div>
  );
}

export function ShuffleButton() {
  const { shuffles } = player.value;
  const label = t("playing.shuffle");
  return (
    <button
      type="button"
      class="icon-button"
      aria-label={label}
      title={label}
      aria-pressed={shuffles.value ?? false}
      disabled={shuffles.value === undefined}
      onClick={() => {
        player.peek().setShuffles(!shuffles.value);
        announce(t(shuffles.value ? "playing.shuffle_on" : "playing.shuffle_off"));
      }}
    >
      <Icon name="shuffle" />
    </button>
  );
}

export function RepeatButton() {
  const { repeats } = player.value;
  const repeat = player.value.repeat.value;
  const label = t(`playing.repeat_${repeat ?? "off"}`);
  return (
    <button
      type="button"
      class="icon-button"
      aria-label={label}
      title={label}
      aria-pressed={repeat !== undefined && repeat !== "off"}
      disabled={repeat === undefined}
      onClick={() => {
        const next = repeats[(repeats.indexOf(repeat ?? "off") + 1) % repeats.length] ?? "off";
        player.peek().setRepeat(next);
        announce(t(`playing.repeat_${next}`));
      }}
    >
      <Icon name={repeat === "one" ? "repeat_one" : "repeat"} />
    </button>
  );
}

/** Reads the trouble aloud when there is one. */
export function useTrouble() {
  const trouble = player.value.trouble.value;
  useEffect(() => {
    if (trouble) announce(trouble);
  }, [trouble]);
  return trouble;
}
