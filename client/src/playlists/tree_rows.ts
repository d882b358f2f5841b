// The rows of the tree of playlists, as they stand one below the other.
import type { Playlist } from "../api/types.ts";

export type GroupName = "shared" | "mine" | "smart";

export type TreeRow =
  | { kind: "group"; name: GroupName; open: boolean; lists: number }
  | { kind: "list"; playlist: Playlist; group: GroupName | undefined; place: number; of: number };

export const GROUPS: readonly GroupName[] = ["shared", "mine", "smart"];

export function groupOf({ kind, library }: Playlist): GroupName | undefined {
  if (kind === "random") return undefined;
  if (kind === "smart") return "smart";
  return library === "shared" ? "shared" : "mine";
}

/** `lists` are in order; a group is open when it is not `folded`. */
export function rowsOf(lists: readonly Playlist[], folded: readonly string[]): TreeRow[] {
  const rows: TreeRow[] = [];
  for (const name of GROUPS) {
    const members = lists.filter((playlist) => groupOf(playlist) === name);
    const open = !folded.includes(name);
    rows.push({ kind: "group", name, open, lists: members.length });
    if (!open) continue;
    members.forEach((playlist, place) => {
      rows.push({ kind: "list", playlist, group: name, place, of: members.length });
    });
  }
  for (const playlist of lists) {
    if (groupOf(playlist) === undefined)
      rows.push({ kind: "list", playlist, group: undefined, place: 0, of: 1 });
  }
  return rows;
}
