// The frame of the page: where to look at the left, what is there in the middle, the playlist that is being made
// at the right, the player at the foot.
import { useEffect } from "preact/hooks";
import { connected } from "../api/http.ts";
import { openListId } from "../editor/commands.ts";
import type { ListDocument } from "../editor/document.ts";
import { refusedLists, waitingLists } from "../editor/open_documents.ts";
import { LibraryNavigation } from "../library/navigation.tsx";
import { SearchField } from "../library/search_field.tsx";
import { DragGhost } from "../list/drag.tsx";
import { PlayerBar } from "../playback/player_bar.tsx";
import { PlayerMenuButton } from "../playback/player_menu.tsx";
import { isWaiting as queueWaits } from "../playback/queue_sync.ts";
import { FileDrop } from "../playlists/file_drop.tsx";
import { forEditor } from "../playlists/for_editor.ts";
import { PlaylistTree } from "../playlists/tree.tsx";
import { t } from "../text/index.ts";
import { Guarded } from "../ui/failure.tsx";
import { redo, undo } from "../ui/history.ts";
import { Icon, type IconName } from "../ui/icon.tsx";
import { showKeys, useKeys } from "../ui/keys.tsx";
import { lazy } from "../ui/lazy.tsx";
import { waiting } from "../ui/outbox.ts";
import { linkTo, route } from "../ui/router.ts";
import { user } from "../ui/session.tsx";
import { UserMenuButton } from "./user_menu.tsx";
import { View } from "./views.tsx";

const EditorPanel = lazy(async () => (await import("../editor/editor_panel.tsx")).EditorPanel);

/** Whether the view is one of these rooms, by its first segment; the first page is the library's. */
const PLACES: {
  href: string;
  icon: IconName;
  label: "frame.library" | "frame.lists" | "frame.queue";
  of: RegExp;
}[] = [
  {
    href: linkTo(["albums"]),
    icon: "library",
    label: "frame.library",
    of: /^(?!playlists|queue|import|smart)/,
  },
  { href: linkTo(["playlists"]), icon: "list", label: "frame.lists", of: /^(playlists|import|smart)/ },
  { href: linkTo(["queue"]), icon: "queue", label: "frame.queue", of: /^queue/ },
];

/** The bar at the foot of a phone. */
function Places() {
  const at = route.value.segments[0] ?? "";
  return (
    <nav class="places" aria-label={t("frame.navigation")}>
      {PLACES.map(({ href, icon, label, of }) => (
        <a key={label} href={href} aria-current={of.test(at) ? "page" : undefined}>
          <Icon name={icon} />
          <span>{t(label)}</span>
        </a>
      ))}
    </nav>
  );
}

export function Frame() {
  useKeys({
    "Ctrl+Z": () => void undo(),
    "Ctrl+Shift+Z": () => void redo(),
    "Ctrl+Y": () => void redo(),
    Q: () => {
      location.hash = linkTo(["queue"]);
    },
    "?": showKeys,
  });
  // The view is told to those who hear the page, and is where Tab goes on.
  const { segments } = route.value;
  const path = segments.join("/");
  useEffect(() => {
    const active = document.activeElement;
    if (active === document.body) document.querySelector<HTMLElement>("main")?.focus({ preventScroll: true });
  }, [path]);
  return (
    <div class={openListId.value === undefined ? "frame" : "frame with-editor"}>
      <button type="button" class="skip" onClick={skip}>
        {t("skip_to_content")}
      </button>
      <header class="top">
        <a class="brand" href={linkTo(["albums"])} aria-label={t("app.name")}>
          <img src="icon.svg" alt="" width="24" height="24" />
          <span>{t("app.name")}</span>
        </a>
        <SearchField />
        <PlayerMenuButton />
        <UserMenuButton name={user.value?.name ?? ""} />
      </header>
      <div class="unsent">
        <WhatWaits />
        <Refused />
      </div>
      <nav class="side" aria-label={t("frame.navigation")}>
        <LibraryNavigation />
        <PlaylistTree />
      </nav>
      <main id="main" class="view" tabIndex={-1}>
        <View />
      </main>
      {openListId.value !== undefined && (
        <aside class="editor" aria-label={t("frame.editor")}>
          <Guarded key={openListId.value}>
            <EditorPanel id={openListId.value} playlists={forEditor} />
          </Guarded>
        </aside>
      )}
      <footer class="foot">
        <PlayerBar />
        <Places />
      </footer>
      <DragGhost />
      <FileDrop />
    </div>
  );
}

/** That there is no connection, and what waits for it or for the server. */
function WhatWaits() {
  const nameOf = ({ playlist }: ListDocument) => t("waiting_list", { name: playlist.value?.name ?? "" });
  const [first, ...others] = [
    ...waiting.value.map(({ label }) => label),
    ...(queueWaits.value ? [t("waiting_queue")] : []),
    ...waitingLists.value.map(nameOf),
  ];
  if (connected.value && first === undefined) return null;
  const what = others.length > 0 ? t("waiting_several", { count: others.length + 1 }) : first;
  return (
    <p class="offline" role="status">
      {!connected.value && t("offline")} {what !== undefined && t("waiting", { what })}
    </p>
  );
}

/** Lists whose edits were refused, unless they tell it themselves. */
function Refused() {
  const isShown = ({ listId }: ListDocument) =>
    listId === openListId.value || listId === route.value.segments[1];
  return (
    <>
      {refusedLists.value
        .filter((list) => !isShown(list))
        .map(({ listId, playlist }) => (
          <p key={listId} class="offline" role="alert">
            {t("not_saved", { name: playlist.value?.name ?? "" })}{" "}
            <a href={linkTo(["playlists", listId])}>{t("show_list")}</a>
          </p>
        ))}
    </>
  );
}

function skip() {
  document.querySelector<HTMLElement>("main")?.focus();
}
