// What can be done with what is selected, at the foot of its list.
import { SelectionBar as ListSelectionBar } from "../list/selection_bar.tsx";
import { t } from "../text/index.ts";
import { Icon, type IconName } from "../ui/icon.tsx";
import { addLabel, addToOpen, playSongs, songsMenu } from "./deeds.ts";
import { MoreButton } from "./head.tsx";
import type { KeptList } from "./lists.ts";
import type { Songs } from "./songs.ts";

interface SelectionBarProps<T> {
  list: KeptList<T>;
  chosen: () => Songs | undefined;
}

/** It is there with a mouse also when nothing is selected, as a list must not move under a double click. */
export function SelectionBar<T>({ list, chosen }: SelectionBarProps<T>) {
  const { source, selection } = list;
  if (selection.count.value === 0) {
    const total = source.total.value ?? 0;
    return <p class="selection-bar none">{total > 0 && t("library.select_some")}</p>;
  }
  const button = (icon: IconName, label: string, deed: (songs: Songs) => void, primary = false) => (
    <button
      type="button"
      class={primary ? "button primary" : "button"}
      onClick={() => {
        const songs = chosen();
        if (songs) deed(songs);
      }}
    >
      <Icon name={icon} />
      <span class="button-text">{label}</span>
    </button>
  );
  return (
    <ListSelectionBar selection={selection}>
      {button("add", addLabel(), addToOpen, true)}
      {button("play", t("library.play"), playSongs)}
      <MoreButton
        items={() => {
          const songs = chosen();
          return songs ? songsMenu(songs) : [];
        }}
      />
    </ListSelectionBar>
  );
}
