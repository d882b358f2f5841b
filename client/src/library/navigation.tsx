// The ways into the library, at the left.
import { type TextKey, t } from "../text/index.ts";
import { Icon, type IconName } from "../ui/icon.tsx";
import { linkTo, type Route, type RouteQuery, route } from "../ui/router.ts";

export const WAYS: { at: string; icon: IconName; label: TextKey }[] = [
  { at: "albums", icon: "album", label: "library.albums" },
  { at: "artists", icon: "artist", label: "library.artists" },
  { at: "songs", icon: "music", label: "library.songs" },
  { at: "genres", icon: "genre", label: "library.genres" },
  { at: "folders", icon: "folder", label: "library.folders" },
  { at: "years", icon: "year", label: "library.years" },
];

/** In which order each was listed last. */
const orders = new Map<string, RouteQuery>();
let library: string | undefined;

/** Whoever sorts a list, or looks into one library, finds that so when coming back. */
function remember({ segments, query }: Route) {
  const at = segments[0] ?? "albums";
  if (segments.length > 1 || !WAYS.some((way) => way.at === at)) return;
  orders.set(at, { sort: query.get("sort") ?? undefined, dir: query.get("dir") ?? undefined });
  library = query.get("library") ?? undefined;
}

export function linkToWay(at: string) {
  return linkTo([at], { ...orders.get(at), library });
}

export function LibraryNavigation() {
  remember(route.value);
  const at = route.value.segments[0] ?? "albums";
  return (
    <ul class="ways">
      {WAYS.map((way) => (
        <li key={way.at}>
          <a href={linkToWay(way.at)} aria-current={way.at === at ? "page" : undefined}>
            <Icon name={way.icon} />
            <span>{t(way.label)}</span>
          </a>
        </li>
      ))}
    </ul>
  );
}
