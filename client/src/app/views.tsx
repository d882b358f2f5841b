// Which view an address shows. Each room has the views of its own addresses.
import type { ComponentType } from "preact";
import { useEffect } from "preact/hooks";
import { libraryViews } from "../library/views.tsx";
import { playlistViews } from "../playlists/views.tsx";
import { queueViews } from "../queue/views.tsx";
import { smartViews } from "../smart/views.tsx";
import { t } from "../text/index.ts";
import { Guarded } from "../ui/failure.tsx";
import { type Route, route } from "../ui/router.ts";

const views: Record<string, ComponentType<{ route: Route }>> = {
  ...libraryViews,
  ...playlistViews,
  ...smartViews,
  ...queueViews,
};

const FIRST = "albums";

export function View() {
  const { segments, query } = route.value;
  const name = segments[0] ?? FIRST;
  const Shown = Object.hasOwn(views, name) ? views[name] : undefined;
  if (!Shown) return <NotFound />;
  return (
    <Guarded key={segments.join("/")}>
      <Shown route={{ segments, query }} />
    </Guarded>
  );
}

function NotFound() {
  useEffect(() => {
    document.title = t("error.not_found");
  }, []);
  return (
    <div class="empty">
      <h1>{t("error.not_found")}</h1>
    </div>
  );
}
