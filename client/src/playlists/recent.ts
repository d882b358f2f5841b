// Which lists were added to last.
import { isTexts, keptForUser } from "../ui/kept.ts";

const MOST = 20;

/** Ids, the last one first. */
export const recentLists = keptForUser<string[]>("recent_lists", [], isTexts);

export function rememberUse(id: string) {
  recentLists.value = [id, ...recentLists.value.filter((other) => other !== id)].slice(0, MOST);
}
