// The ways into the library, at the left.
import { type TextKey, t } from "../text/index.ts";
import { Icon, type IconName } from "../ui/icon.tsx";
import { linkTo, route } from "../ui/router.ts";

export const WAYS: { at: string; icon: IconName; label: TextKey }[] = [
  { at: "albums", icon: "album", label: "library.albums" },
  { at: "artists", icon: "artist", label: "library.artists" },
  { at: "songs", icon: "music", label: "library.songs" },
  { at: "genres", icon: "genre", label: "library.genres" },
  { at: "folders", icon: "folder", label: "library.folders" },
  { at: "years", icon: "year", label: "library.years" },
];

export function LibraryNavigation() {
  const at = route.value.segments[0] ?? "albums";
  return (
    <ul class="ways">
      {WAYS.map((way) => (
        <li key={way.at}>
          <a href={linkTo([way.at])} aria-current={way.at === at ? "page" : undefined}>
            <Icon name={way.icon} />
            <span>{t(way.label)}</span>
          </a>
        </li>
      ))}
    </ul>
  );
}
