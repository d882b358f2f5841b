// All artists, genres, composers or years of a library.
import type { Name } from "../api/types.ts";
import { type Column, ListView } from "../list/list_view.tsx";
import { formatDuration, formatNumber, t } from "../text/index.ts";
import type { IconName } from "../ui/icon.tsx";
import { isNarrow } from "../ui/media.ts";
import { openMenu } from "../ui/menu.tsx";
import { goTo, linkTo, type Route } from "../ui/router.ts";
import { useTitle } from "../ui/title.ts";
import { Cover } from "./cover.tsx";
import { onSongsKey, songsMenu } from "./deeds.ts";
import { Empty } from "./empty.tsx";
import { changeQuery, FilterField, LibrarySwitch, ViewHead, Ways } from "./head.tsx";
import { libraryOf, useList, useSteady } from "./lists.ts";
import { linkToWay } from "./navigation.tsx";
import { type NameKind, songsOfName } from "./songs.ts";

export const ICONS: Record<NameKind, IconName> = {
  artists: "artist",
  genres: "genre",
  composers: "edit",
  years: "year",
};

export function nameText(kind: NameKind, { name }: { name: string }) {
  return name || t(`library.no_${kind}`);
}

function columns(kind: NameKind, isCompact: boolean): Column<Name>[] {
  const all: Column<Name>[] = [
    {
      key: "name",
      label: t("library.name"),
      width: "minmax(0, 1fr)",
      sortable: true,
      cell: (name) => (
        <a class="with-cover" tabIndex={-1} href={linkTo([kind, name.id])}>
          <Cover song={name.cover_song} size={96} icon={ICONS[kind]} round={kind === "artists"} />
          <span class="cut">{nameText(kind, name)}</span>
        </a>
      ),
    },
    {
      key: "albums",
      label: t("library.albums"),
      width: "minmax(64px, 96px)",
      align: "end",
      sortable: true,
      cell: ({ albums }) => <span class="soft">{formatNumber(albums)}</span>,
    },
    {
      key: "songs",
      label: t("library.songs"),
      width: "minmax(64px, 96px)",
      align: "end",
      sortable: true,
      cell: ({ songs }) => <span class="soft">{formatNumber(songs)}</span>,
    },
    {
      key: "duration",
      label: t("library.duration"),
      width: "minmax(72px, 112px)",
      align: "end",
      sortable: true,
      cell: ({ duration }) => <span class="soft">{formatDuration(duration)}</span>,
    },
  ];
  return isCompact ? all.filter(({ key }) => key === "name" || key === "songs") : all;
}

/** Composers have no way of their own at the left: few look for them. */
function PeopleSwitch({ shown }: { shown: NameKind }) {
  const link = (kind: "artists" | "composers") => (
    <a href={linkToWay(kind)} aria-current={shown === kind ? "page" : undefined}>
      {t(`library.${kind}`)}
    </a>
  );
  return (
    <nav class="segments" aria-label={t("library.people")}>
      {link("artists")}
      {link("composers")}
    </nav>
  );
}

export function NamesView({ kind, route }: { kind: NameKind; route: Route }) {
  const library = libraryOf(route.query);
  const q = route.query.get("q") ?? undefined;
  const key = route.query.get("sort") ?? "name";
  const down = route.query.get("dir") === "desc";
  const list = useSteady(useList<Name>(kind, { library, q, sort: key, dir: down ? "desc" : undefined }));
  const label = t(`library.${kind}`);
  useTitle(label);
  return (
    <>
      <ViewHead title={label} count={list.source.total.value}>
        {(kind === "artists" || kind === "composers") && <PeopleSwitch shown={kind} />}
        <LibrarySwitch shown={library} />
        {kind !== "years" && <FilterField />}
      </ViewHead>
      <Ways at={kind} />
      <ListView
        label={label}
        source={list.source}
        place={list.place}
        columns={columns(kind, isNarrow.value)}
        header
        sort={{ key, down }}
        onSort={(sort) => changeQuery({ sort: sort.key, dir: sort.down ? "desc" : undefined })}
        onOpen={(name) => goTo([kind, name.id])}
        onMenu={(at, place) => {
          const name = list.source.at(at);
          if (name) openMenu(place, nameText(kind, name), songsMenu(songsOfName(kind, name)));
        }}
        onKey={(event, at) =>
          onSongsKey(event, () => {
            const name = list.source.at(at);
            return name && songsOfName(kind, name);
          })
        }
        lift={([at = 0]) => {
          const name = list.source.at(at);
          return name && { chosen: songsOfName(kind, name), label: nameText(kind, name) };
        }}
        empty={<Empty isFiltered={q !== undefined} library={library} />}
      />
    </>
  );
}
