// What the user thinks of a song, to see and to change: a star, and a rating of up to five.
import type { Song } from "../api/types.ts";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { markOf, setRating, setStar } from "./marks.ts";

type Marked = Pick<Song, "id" | "title">;

/**
 * For rows as well, there with the song as its key, as what reads the marks of one song after the other keeps all of it:
 * it asks for its mark together with those that are drawn with it. There the row has the focus, so
 * `tabIndex` is -1.
 */
export function StarButton({ song, tabIndex = 0 }: { song: Marked; tabIndex?: number }) {
  const { star } = markOf(song.id);
  return (
    <button
      type="button"
      class="icon-button star-button"
      tabIndex={tabIndex}
      aria-pressed={star}
      aria-label={t("playing.star", { title: song.title })}
      title={t(star ? "playing.take_star" : "playing.give_star")}
      onClick={() => void setStar(song.id, !star)}
    >
      <Icon name="heart" filled={star} />
    </button>
  );
}

const STARS = [1, 2, 3, 4, 5];

/** Pressing the rating that it has takes it away. */
export function Rating({ song }: { song: Marked }) {
  const { rating } = markOf(song.id);
  return (
    <fieldset class="rating" aria-label={t("playing.rating", { title: song.title })}>
      {STARS.map((stars) => (
        <button
          key={stars}
          type="button"
          class={stars <= rating ? "icon-button given" : "icon-button"}
          aria-pressed={stars === rating}
          aria-label={t("playing.stars", { count: stars })}
          onClick={() => void setRating(song.id, stars === rating ? 0 : stars)}
        >
          <Icon name="star" filled={stars <= rating} />
        </button>
      ))}
    </fieldset>
  );
}
