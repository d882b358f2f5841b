// Asks which lists something is added to: by a few letters of their names, the last ones first.
import { useSignal } from "@preact/signals";
import { useEffect, useId, useMemo, useRef } from "preact/hooks";
import type { Playlist } from "../api/types.ts";
import type { Chosen } from "../list/items.ts";
import { compareNames, t } from "../text/index.ts";
import { Buttons, Dialog, openDialog } from "../ui/dialog.tsx";
import { Icon } from "../ui/icon.tsx";
import { matcher, sorted } from "./order.ts";
import { recentLists } from "./recent.ts";
import { playlists, refreshPlaylists } from "./store.ts";

/** Beyond so many, one types to find the others. */
const MOST_SHOWN = 100;

/** Lists that there are, or the name of one to be made. */
export type ListAnswer = { ids: string[] } | { name: string };

export function chooseLists(chosen: Chosen) {
  return openDialog<ListAnswer>((close) => <ListQuestion chosen={chosen} close={close} />);
}

/** Those that can be added to, the last used first. */
function editableLists(filter: string): Playlist[] {
  const matches = matcher(filter);
  const lists = (playlists.value ?? []).filter(({ kind, name }) => kind === "list" && matches(name));
  const recent = recentLists.value;
  const byName = sorted(lists, "name", [], compareNames);
  const last = recent.flatMap((id) => byName.find((list) => list.id === id) ?? []);
  return [...last, ...byName.filter(({ id }) => !recent.includes(id))];
}

function titleOf({ count, name }: Chosen) {
  if (name !== undefined) return t("playlists.add_what", { what: name });
  return count === undefined
    ? t("playlists.add")
    : t("playlists.add_what", { what: t("count.songs", { count }) });
}

function ListQuestion({ chosen, close }: { chosen: Chosen; close: (answer?: ListAnswer) => void }) {
  const filter = useSignal("");
  const active = useSignal(0);
  const ticked = useSignal<readonly string[]>([]);
  const listId = useId();
  const input = useRef<HTMLInputElement>(null);
  const list = useRef<HTMLDivElement>(null);
  useEffect(() => {
    input.current?.focus();
    void refreshPlaylists();
  }, []);
  const found = useMemo(
    () => editableLists(filter.value),
    [filter.value, playlists.value, recentLists.value],
  );
  const shown = found.slice(0, MOST_SHOWN);
  const last = shown.length; // the place of "new playlist"
  const at = Math.min(active.value, last);

  const tick = (id: string | undefined) => {
    if (id === undefined) return;
    const isTicked = ticked.value.includes(id);
    ticked.value = isTicked ? ticked.value.filter((other) => other !== id) : [...ticked.value, id];
  };
  const choose = (place: number) => {
    const playlist = shown[place];
    if (!playlist) close({ name: filter.value.trim() });
    else if (ticked.value.length > 0) tick(playlist.id);
    else close({ ids: [playlist.id] });
  };
  const submit = () => {
    if (ticked.value.length > 0 && at < last) close({ ids: [...ticked.value] });
    else choose(at);
  };
  const go = (place: number) => {
    active.value = Math.max(0, Math.min(last, place));
    const options = list.current?.querySelectorAll('[role="option"]');
    options?.[active.value]?.scrollIntoView({ block: "nearest" });
  };
  const onKeyDown = (event: KeyboardEvent) => {
    if (event.key === "ArrowDown") go(at + 1);
    else if (event.key === "ArrowUp") go(at - 1);
    else if (event.key === "Enter" && (event.ctrlKey || event.metaKey)) tick(shown[at]?.id);
    else return;
    event.preventDefault();
  };
  const option = (place: number) => ({
    id: `${listId}-${place}`,
    role: "option" as const,
    class: place === at ? "pick active" : "pick",
    onPointerMove: () => {
      active.value = place;
    },
    onClick: (event: Event) => {
      if ((event.target as Element).closest(".tick")) tick(shown[place]?.id);
      else choose(place);
    },
  });
  return (
    <Dialog
      title={titleOf(chosen)}
      close={() => close()}
      onSubmit={submit}
      buttons={
        <Buttons
          submit={
            ticked.value.length > 0
              ? t("playlists.add_to_several", { count: ticked.value.length })
              : t("playlists.add")
          }
          close={close}
        />
      }
    >
      <input
        ref={input}
        class="input"
        type="text"
        role="combobox"
        aria-label={t("playlists.filter")}
        placeholder={t("playlists.filter")}
        aria-expanded="true"
        aria-controls={listId}
        aria-activedescendant={`${listId}-${at}`}
        autocomplete="off"
        value={filter.value}
        onInput={(event) => {
          filter.value = event.currentTarget.value;
          active.value = 0;
        }}
        onKeyDown={onKeyDown}
      />
      <div
        ref={list}
        id={listId}
        class="picks"
        role="listbox"
        aria-multiselectable="true"
        aria-label={t("frame.lists")}
        tabIndex={-1}
      >
        {shown.map((playlist, place) => {
          const isTicked = ticked.value.includes(playlist.id);
          return (
            <div key={playlist.id} {...option(place)} aria-selected={isTicked} title={playlist.name}>
              <span class={isTicked ? "tick on" : "tick"}>{isTicked && <Icon name="check" />}</span>
              <span class="pick-name">{playlist.name}</span>
              <span class="soft small">
                {t(playlist.library === "shared" ? "playlists.shared" : "playlists.mine")}
              </span>
            </div>
          );
        })}
        <div {...option(last)} aria-selected={false}>
          <Icon name="add" />
          <span class="pick-name">
            {filter.value.trim()
              ? t("playlists.new_called", { name: filter.value.trim() })
              : t("playlists.new")}
          </span>
        </div>
      </div>
      <p class="soft small">
        {found.length > shown.length
          ? t("playlists.more_found", { count: found.length - shown.length })
          : t("playlists.add_hint")}
      </p>
    </Dialog>
  );
}
