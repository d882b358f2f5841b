// Icons, drawn by ourselves on a grid of 16 pixels with lines of 1.5.
import { Component } from "preact";

const PATHS = {
  add: "M8 3v10M3 8h10",
  album: "M8 14A6 6 0 1 0 8 2a6 6 0 0 0 0 12zM8 9a1 1 0 1 0 0-2 1 1 0 0 0 0 2z",
  artist: "M8 8a3 3 0 1 0 0-6 3 3 0 0 0 0 6zM2.500 14c.5-3 2.500-4.500 5.500-4.500s5 1.500 5.500 4.500",
  back: "M10 3 5 8l5 5",
  check: "M3 8.500 6.500 12 13 4.500",
  close: "M4 4l8 8M12 4l-8 8",
  columns: "M2.500 3h11v10h-11zM6.500 3v10M10 3v10",
  down: "M4 6l4 4 4-4",
  download: "M8 2.500v7.500M5 7l3 3 3-3M3 13h10",
  edit: "M3 13l.7-3L10.500 3.200l2.300 2.300L6 12.300z",
  folder: "M2 12.500v-9h4l1.500 2H14v7z",
  genre: "M2.500 2.500h5L14 9l-5 5-6.500-6.500zM5.500 5.500v.01",
  grip: "M6 4v.01M10 4v.01M6 8v.01M10 8v.01M6 12v.01M10 12v.01",
  heart: "M8 13.500C4 10.500 2 8.500 2 6a3 3 0 0 1 6-1 3 3 0 0 1 6 1c0 2.500-2 4.500-6 7.500z",
  history: "M2.500 8a5.500 5.500 0 1 0 1.800-4.100L2.500 5.500M2.500 2.500v3h3M8 5v3.500l2 1.200",
  import: "M8 10V2.500M5 5.500l3-3 3 3M2.500 9.500V13h11V9.500",
  library: "M3 3v10M6 3v10M9 3.200l3.500 9.500",
  list: "M5.500 4H14M5.500 8H14M5.500 12H14M2.500 4v.01M2.500 8v.01M2.500 12v.01",
  menu: "M2.500 4h11M2.500 8h11M2.500 12h11",
  missing: "M8 3v6M8 12.500v.01",
  more: "M3.500 8v.01M8 8v.01M12.500 8v.01",
  mute: "M2.500 6v4H5l3.500 3V3L5 6zM11 6l3 4M14 6l-3 4",
  music:
    "M6 12V3.500l7-1.500v8.500M6 12a2 1.600 0 1 1-4 0 2 1.600 0 0 1 4 0zM13 10.500a2 1.600 0 1 1-4 0 2 1.600 0 0 1 4 0z",
  next: "M3.500 3.500 10 8l-6.500 4.500zM12.500 3.500v9",
  pause: "M5 3.500v9M11 3.500v9",
  person: "M8 8a3 3 0 1 0 0-6 3 3 0 0 0 0 6zM2.500 14c.5-3 2.500-4.500 5.500-4.500s5 1.500 5.500 4.500",
  play: "M4.500 3v10L13 8z",
  previous: "M12.500 3.500 6 8l6.500 4.500zM3.500 3.500v9",
  queue: "M2.500 4h11M2.500 8h6M2.500 12h6M11 8v5.500l3-2.700z",
  redo: "M10.500 3 13.500 6l-3 3M13 6H6a3.500 3.500 0 0 0 0 7h3",
  remove: "M3.500 8h9",
  repeat:
    "M3 8V6.500A2.500 2.500 0 0 1 5.500 4H13M11 2l2 2-2 2M13 8v1.500a2.500 2.500 0 0 1-2.500 2.500H3M5 14l-2-2 2-2",
  repeat_one:
    "M3 8V6.500A2.500 2.500 0 0 1 5.500 4H13M11 2l2 2-2 2M13 8v1.500a2.500 2.500 0 0 1-2.500 2.500H3M5 14l-2-2 2-2M7.300 7l.9-.6v3.200",
  right: "M6 3l5 5-5 5",
  search: "M7 12A5 5 0 1 0 7 2a5 5 0 0 0 0 10zM10.700 10.700 14 14",
  settings: "M2.500 5h6M11.500 5h2M2.500 11h2M7.500 11h6M10 3.500v3M6 9.500v3",
  shuffle:
    "M2 4.500h2.500l6 7H14M2 11.500h2.500L6 9.700M9 6.200l1.500-1.700H14M12 2.500l2 2-2 2M12 9.500l2 2-2 2",
  smart: "M8 2l1.500 4.500L14 8l-4.500 1.500L8 14l-1.500-4.500L2 8l4.500-1.500z",
  sort: "M5 3v10M2.500 10.500 5 13l2.500-2.500M9 4h5M9 8h4M9 12h2.500",
  speaker: "M4 2.500h8v11H4zM8 11.500a2 2 0 1 0 0-4 2 2 0 0 0 0 4zM8 4.500v.01",
  star: "M8 2l1.900 3.900 4.300.6-3.100 3 .7 4.300L8 11.800l-3.800 2 .7-4.300-3.100-3 4.300-.6z",
  stop: "M4 4h8v8H4z",
  trash: "M3 4.500h10M6.500 4.500v-2h3v2M4.500 4.500l.5 9h6l.5-9",
  undo: "M5.500 3 2.500 6l3 3M3 6h7a3.500 3.500 0 0 1 0 7H7",
  up: "M4 10l4-4 4 4",
  volume: "M2.500 6v4H5l3.500 3V3L5 6zM11 5.500a3.500 3.500 0 0 1 0 5M13 3.500a6.500 6.500 0 0 1 0 9",
  year: "M2.500 4h11v9.500h-11zM2.500 7h11M5.500 2.500v3M10.500 2.500v3",
} as const;

export type IconName = keyof typeof PATHS;

const FILLED: readonly string[] = ["play", "next", "previous", "stop"];

interface IconProps {
  name: IconName;
  filled?: boolean;
}

/** For the eye only: what it means stands in the label of what it is in. */
export class Icon extends Component<IconProps> {
  /** Rows that are scrolled are drawn anew with the icons that they have. */
  override shouldComponentUpdate({ name, filled }: IconProps) {
    return name !== this.props.name || filled !== this.props.filled;
  }

  override render({ name, filled = FILLED.includes(name) }: IconProps) {
    return (
      <svg class={filled ? "icon filled" : "icon"} viewBox="0 0 16 16" aria-hidden="true" focusable="false">
        <path d={PATHS[name]} />
      </svg>
    );
  }
}
