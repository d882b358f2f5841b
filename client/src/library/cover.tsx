// Pictures of songs, which stand for albums, artists and folders too.
import { useEffect, useState } from "preact/hooks";
import { address } from "../api/http.ts";
import { Icon, type IconName } from "../ui/icon.tsx";
import { overview } from "../ui/session.tsx";

/** Songs that have none, so that nobody asks again. */
const without = new Set<number>();
overview.subscribe(() => without.clear());

export interface CoverProps {
  song: number | undefined;
  /** Pixels of its longer side: in rows, in grids, on a page. */
  size: 96 | 320 | 640;
  /** In its place where there is none. */
  icon?: IconName;
  round?: boolean;
}

/** For the eye only; its room is there before it is. */
export function Cover({ song, size, icon = "album", round }: CoverProps) {
  const [isMissing, setMissing] = useState(song === undefined || without.has(song));
  useEffect(() => setMissing(song === undefined || without.has(song)), [song]);
  const onError = () => {
    if (song !== undefined) without.add(song);
    setMissing(true);
  };
  return (
    <span class={round ? "cover round" : "cover"}>
      {isMissing || song === undefined ? (
        <Icon name={icon} />
      ) : (
        <img
          key={song}
          src={address(`api/songs/${song}/cover`, { missing: "none", size })}
          alt=""
          width={size}
          height={size}
          loading="lazy"
          decoding="async"
          draggable={false}
          onError={onError}
        />
      )}
    </span>
  );
}
