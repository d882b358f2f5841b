// What the user thinks of a song, to see and to change: a star, and a rating of up to five.
import { Component, type ComponentChildren } from "preact";
import type { Mark, Song } from "../api/types.ts";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { followMarks, markOf, setRating, setStar } from "./marks.ts";

type Marked = Pick<Song, "id" | "title">;

interface OfMarkProps {
  song: number;
  show: (mark: Mark) => ComponentChildren;
}

/**
 * Shows something of a song's mark, and that of another song when it is given one, as rows that are scrolled do. (Signals
 * of the marks would keep all that it was drawn in.)
 */
export class OfMark extends Component<OfMarkProps> {
  private unfollow = () => {};

  override componentDidMount() {
    this.unfollow = followMarks((song) => {
      if (song === this.props.song) this.forceUpdate();
    });
  }

  override componentWillUnmount() {
    this.unfollow();
  }

  override render({ song, show }: OfMarkProps) {
    return show(markOf(song));
  }
}

/** In rows `tabIndex` is -1: there the row has the focus. */
export function StarButton({ song, tabIndex = 0 }: { song: Marked; tabIndex?: number }) {
  return (
    <OfMark
      song={song.id}
      show={({ star }) => (
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
      )}
    />
  );
}

const STARS = [1, 2, 3, 4, 5];

/** Pressing the rating that it has takes it away. */
export function Rating({ song }: { song: Marked }) {
  return (
    <OfMark
      song={song.id}
      show={({ rating }) => (
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
      )}
    />
  );
}
