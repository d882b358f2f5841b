// What stands above what a view shows: its name, how much there is, and what can be done with all of it.

import type { ComponentChildren } from "preact";
import { useEffect, useId, useRef } from "preact/hooks";
import type { LibraryName } from "../api/types.ts";
import { formatNumber, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { MenuButton, type MenuItem, openMenu } from "../ui/menu.tsx";
import { type Route, replaceQuery, route } from "../ui/router.ts";
import { user } from "../ui/session.tsx";
import { addLabel, addToOpen, playSongs, shuffleSongs, songsMenu } from "./deeds.ts";
import { linkToWay, WAYS } from "./navigation.tsx";
import type { Songs } from "./songs.ts";

interface ViewHeadProps {
  title: string;
  count?: number | undefined;
  children?: ComponentChildren;
}

export function ViewHead({ title, count, children }: ViewHeadProps) {
  return (
    <header class="view-head">
      <h1 title={title}>{title}</h1>
      {count !== undefined && <span class="soft">{formatNumber(count)}</span>}
      <span class="spacer" />
      {children}
    </header>
  );
}

/** The ways into the library, where there is no room for them at the left. */
export function Ways({ at }: { at: string }) {
  const nav = useRef<HTMLElement>(null);
  useEffect(() => {
    const current = nav.current?.querySelector<HTMLElement>("[aria-current]");
    if (nav.current && current) {
      nav.current.scrollLeft = current.offsetLeft - (nav.current.clientWidth - current.offsetWidth) / 2;
    }
  }, []);
  return (
    <nav ref={nav} class="tabs" aria-label={t("frame.library")}>
      {WAYS.map((way) => (
        <a key={way.at} href={linkToWay(way.at)} aria-current={way.at === at ? "page" : undefined}>
          {t(way.label)}
        </a>
      ))}
    </nav>
  );
}

/** Shows the view with some of its query changed; what is undefined goes. */
export function changeQuery(change: Record<string, string | undefined>) {
  replaceQuery({ ...Object.fromEntries(route.peek().query), ...change });
}

/** For those who have a library of their own. */
export function LibrarySwitch({ shown }: { shown: LibraryName }) {
  if (!user.value?.personal_library) return null;
  const button = (name: LibraryName, label: string) => (
    <button
      type="button"
      aria-pressed={shown === name}
      onClick={() => changeQuery({ library: name === "shared" ? undefined : name })}
    >
      {label}
    </button>
  );
  return (
    <div class="segments" role="group" aria-label={t("library.which")}>
      {button("shared", t("library.shared"))}
      {button("personal", t("library.personal"))}
    </div>
  );
}

const TYPING = 120; // milliseconds between two keys

/** Chooses by words from what a view shows. */
export function FilterField() {
  const input = useRef<HTMLInputElement>(null);
  const timer = useRef(0);
  const q = route.value.query.get("q") ?? "";
  useEffect(() => {
    if (input.current && document.activeElement !== input.current) input.current.value = q;
  }, [q]);
  useEffect(() => () => clearTimeout(timer.current), []);
  const onInput = () => {
    clearTimeout(timer.current);
    timer.current = window.setTimeout(() => {
      changeQuery({ q: input.current?.value.trim() || undefined });
    }, TYPING);
  };
  return (
    <input
      ref={input}
      class="input filter"
      type="search"
      defaultValue={q}
      placeholder={t("library.filter")}
      aria-label={t("library.filter")}
      onInput={onInput}
    />
  );
}

export interface SortKey {
  key: string;
  label: string;
  /** Downwards unless people say otherwise. */
  down?: boolean;
}

/** By what tiles are sorted, as they have no columns. The first key is the usual one. */
export function SortChoice({ keys }: { keys: SortKey[] }) {
  const id = useId();
  const { key, down } = sortOf(keys, route.value);
  const usual = keys[0]?.key;
  const label = t(down ? "library.descending" : "library.ascending");
  return (
    <div class="sort-choice">
      <label class="visually-hidden" for={id}>
        {t("library.sort")}
      </label>
      <select
        id={id}
        class="input"
        value={key}
        onChange={({ currentTarget: { value } }) =>
          changeQuery({ sort: value === usual ? undefined : value, dir: undefined })
        }
      >
        {keys.map((choice) => (
          <option key={choice.key} value={choice.key}>
            {choice.label}
          </option>
        ))}
      </select>
      <button
        type="button"
        class="icon-button"
        aria-label={label}
        title={label}
        onClick={() => changeQuery({ dir: down ? "asc" : "desc" })}
      >
        <Icon name={down ? "down" : "up"} />
      </button>
    </div>
  );
}

export function sortOf(keys: SortKey[], { query }: Route) {
  const wish = query.get("sort");
  const choice = keys.find(({ key }) => key === wish) ?? keys[0];
  const dir = query.get("dir");
  return { key: choice?.key ?? "", down: dir === null ? (choice?.down ?? false) : dir === "desc" };
}

/** A button for what else can be done. */
export function MoreButton({ items, label = t("more") }: { items: () => MenuItem[]; label?: string }) {
  return <MenuButton label={label} tip open={(button) => openMenu(button, label, items())} />;
}

/** What people do most with all songs of a thing; the rest is in the menu. */
export function SongsButtons({ songs, more = [] }: { songs: Songs; more?: MenuItem[] }) {
  return (
    <div class="songs-buttons">
      <button type="button" class="button primary" onClick={() => playSongs(songs)}>
        <Icon name="play" />
        {t("library.play")}
      </button>
      <button type="button" class="button" onClick={() => shuffleSongs(songs)}>
        <Icon name="shuffle" />
        <span class="button-label">{t("library.shuffle")}</span>
      </button>
      <button type="button" class="button" onClick={() => addToOpen(songs)}>
        <Icon name="add" />
        <span class="button-label">{addLabel()}</span>
      </button>
      <MoreButton items={() => [...songsMenu(songs), ...more]} />
    </div>
  );
}
