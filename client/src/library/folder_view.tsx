// What lies in a folder of the library: folders, and songs.
import type { Folder, FolderItem, LibraryName, Page } from "../api/types.ts";
import { formatDuration, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { goTo, linkTo, type Route } from "../ui/router.ts";
import { useTitle } from "../ui/title.ts";
import { AnswerFailure } from "./answer_failure.tsx";
import { Empty } from "./empty.tsx";
import { LibrarySwitch, SongsButtons, ViewHead, Ways } from "./head.tsx";
import { libraryOf, useAnswer, useList } from "./lists.ts";
import { SongTable } from "./song_table.tsx";
import { songsAtOfFolder, songsOfFolder } from "./songs.ts";

interface FolderAnswer extends Page<FolderItem> {
  folder?: Folder;
  parents?: { id: number; name: string }[];
}

export function FolderView({ id, route }: { id: string | undefined; route: Route }) {
  const isRoot = id === undefined;
  const path = isRoot ? "folders" : `folders/${encodeURIComponent(id)}`;
  const query = isRoot ? { library: libraryOf(route.query) } : {};
  const answer = useAnswer<FolderAnswer>(path, { ...query, limit: 0 });
  const list = useList<FolderItem>(path, query);
  const folder = answer.body.value?.folder;
  const title = folder?.name || t("library.folders");
  const library = folder?.library ?? libraryOf(route.query);
  useTitle(title);
  if (answer.error.value) return <AnswerFailure answer={answer} list={list} />;
  return (
    <>
      <ViewHead title={title} count={folder?.songs}>
        {isRoot && <LibrarySwitch shown={library} />}
        {folder && folder.songs > 0 && <SongsButtons songs={songsOfFolder(folder)} />}
      </ViewHead>
      {isRoot ? (
        <Ways at="folders" />
      ) : (
        <Crumbs parents={answer.body.value?.parents ?? []} library={library} />
      )}
      <SongTable
        label={title}
        name={title}
        list={list}
        songOf={({ song }) => song}
        songsAt={(ranges) => songsAtOfFolder(list.source, ranges, title)}
        otherCell={FolderCell}
        onOpenOther={(row) => row.folder && goTo(["folders", row.folder.id])}
        empty={<Empty isFiltered={false} library={library} />}
      />
    </>
  );
}

/** The way to the folder, from that of the library on. */
function Crumbs({ parents, library }: { parents: { id: number; name: string }[]; library: LibraryName }) {
  const top = linkTo(["folders"], { library: library === "personal" ? library : undefined });
  return (
    <nav class="crumbs" aria-label={t("library.crumbs")}>
      <a href={top}>{t("library.folders")}</a>
      {parents
        .filter(({ name }) => name !== "")
        .map(({ id, name }) => (
          <a key={id} href={linkTo(["folders", id])} title={name}>
            {name}
          </a>
        ))}
    </nav>
  );
}

function FolderCell({ folder }: FolderItem) {
  if (!folder) return null;
  return (
    <a class="with-cover" tabIndex={-1} href={linkTo(["folders", folder.id])}>
      <Icon name="folder" />
      <span class="cut">{folder.name}</span>
      <span class="soft small">
        {t("count.songs", { count: folder.songs })} · {formatDuration(folder.duration)}
      </span>
    </a>
  );
}
