// What stands in the place of a list that has nothing.

import type { LibraryName } from "../api/types.ts";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { lazy } from "../ui/lazy.tsx";
import { linkTo } from "../ui/router.ts";
import { overview, user } from "../ui/session.tsx";

const ScanButton = lazy(async () => (await import("./scan.tsx")).ScanButton);

interface EmptyProps {
  /** Something was looked for. */
  isFiltered: boolean;
  library: LibraryName;
}

export function Empty({ isFiltered, library }: EmptyProps) {
  const songs = overview.value?.libraries.find(({ name }) => name === library)?.songs ?? 0;
  if (isFiltered) return <p>{t("library.nothing_found")}</p>;
  if (songs > 0) return <p>{t("library.nothing_here")}</p>;
  return (
    <>
      <Icon name="music" />
      <h2>{t("library.empty")}</h2>
      {user.value?.admin ? (
        <>
          <p>{t("library.empty_admin")}</p>
          <ScanButton />
          <a class="link" href={linkTo(["scan"])}>
            {t("scan.title")}
          </a>
        </>
      ) : (
        <p>{t("library.empty_user")}</p>
      )}
    </>
  );
}
