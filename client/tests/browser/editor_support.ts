// What tests of the editor share: lists to edit, and the panel that shows them.
import type { Page } from "playwright-core";
import type { House } from "./fixture.ts";

export interface ListedSong {
  id: number;
  title: string;
}

export interface ShownEntry {
  position: number;
  song?: ListedSong;
  path?: string;
  missing?: true;
}

/** The demo songs by title. */
export async function songsOf(house: House): Promise<ListedSong[]> {
  return (await house.get<{ items: ListedSong[] }>("api/songs?sort=title")).items;
}

/** A shared list of songs by their ids, or of so many demo songs; its node id. */
export async function makeList(house: House, name: string, songs: number | number[]): Promise<string> {
  const ids = typeof songs === "number" ? (await songsOf(house)).slice(0, songs).map(({ id }) => id) : songs;
  const answer = await house.act<{ node: { id: string } }>({
    action: "add",
    type: "shared",
    name,
    id_info_list: ids.map(String),
  });
  return answer.node.id;
}

/** The node id of a list that was written as a file. */
export async function idOf(house: House, name: string): Promise<string> {
  const { items } = await house.get<{ items: { id: string; name: string }[] }>("api/playlists");
  const found = items.find((list) => list.name === name);
  if (!found) throw new Error(`there is no ${name}`);
  return found.id;
}

export async function entriesOf(house: House, id: string): Promise<ShownEntry[]> {
  return (await house.get<{ items: ShownEntry[] }>(`api/playlists/${id}?limit=1000`)).items;
}

/** Titles of songs, names of files where there are none. */
export async function titlesOf(house: House, id: string): Promise<string[]> {
  return (await entriesOf(house, id)).map(({ song, path }) => song?.title ?? path ?? "");
}

export function panelOf(page: Page) {
  const panel = page.getByRole("complementary");
  const rows = panel.locator("[role=row][data-index]");
  return {
    panel,
    rows,
    row: (index: number) => panel.locator(`[role=row][data-index="${index}"]`),
    /** The titles in view, by position. */
    titles: async () => {
      const shown = await rows.evaluateAll((all) =>
        all.map((row) => [
          Number((row as HTMLElement).dataset.index),
          row.querySelector(".entry-title")?.textContent ?? "",
        ]),
      );
      return (shown as [number, string][]).sort(([a], [b]) => a - b).map(([, title]) => title);
    },
    saved: () => panel.getByText("Saved", { exact: true }).waitFor(),
  };
}

/** As it is when the page was left with a playlist in the panel. */
export async function showInPanel(page: Page, id: string) {
  await page.locator(".frame").waitFor(); // somebody is there
  await page.evaluate((list) => {
    localStorage.setItem(`open_list:${localStorage.getItem("logged_in")}`, JSON.stringify(list));
  }, id);
  await page.reload();
  return panelOf(page);
}

/** Opens a list in the panel. */
export async function openInPanel(page: Page, id: string) {
  const opened = await showInPanel(page, id);
  await opened.saved();
  return opened;
}
