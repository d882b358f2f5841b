// Pictures of songs, which stand for albums, artists and folders too.
import { useEffect, useRef, useState } from "preact/hooks";
import { address } from "../api/http.ts";
import { Icon, type IconName } from "../ui/icon.tsx";
import { overview } from "../ui/session.tsx";
import { takeTurn } from "./turns.ts";

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
  const [isMissing, setMissing] = useState(false);
  const isThere = song !== undefined && !without.has(song) && !isMissing;
  useEffect(() => setMissing(false), [song]);
  const onMissing = () => {
    if (song !== undefined) without.add(song);
    setMissing(true);
  };
  return (
    <span class={round ? "cover round" : "cover"}>
      {isThere ? <Picture key={song} song={song} size={size} onMissing={onMissing} /> : <Icon name={icon} />}
    </span>
  );
}

/** Lists draw only what is in view, so it is wanted; who scrolls on wants it no more. */
function Picture({ song, size, onMissing }: { song: number; size: number; onMissing: () => void }) {
  const image = useRef<HTMLImageElement>(null);
  const end = useRef(() => {});
  useEffect(() => {
    const element = image.current;
    if (!element) return;
    end.current = takeTurn(() => {
      element.src = address(`api/songs/${song}/cover`, { missing: "none", size });
    });
    return () => {
      if (!element.complete) element.removeAttribute("src"); // gives it up, and is no error
      end.current();
    };
  }, [song, size]);
  return (
    <img
      ref={image}
      alt=""
      width={size}
      height={size}
      decoding="async"
      draggable={false}
      onLoad={() => end.current()}
      onError={() => {
        end.current();
        onMissing();
      }}
    />
  );
}
