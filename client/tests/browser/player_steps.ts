// What tests of the player and its queue have in common.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdirSync } from "node:fs";
import { dirname, join } from "node:path";
import type { Page } from "playwright-core";
import type { Queue, Song, Page as Stretch } from "../../src/api/types.ts";
import type { House, User } from "./fixture.ts";

/** Songs of one album, of 3 to 5 seconds. */
export const ALBUM = ["Seed", "Rain on Glass", "Snail, Slowly", "Compost (Reprise)"];

export const bar = (page: Page) => page.getByRole("region", { name: "Player" });
export const button = (page: Page, name: string) => bar(page).getByRole("button", { name, exact: true });
export const notice = (page: Page, text: string | RegExp) =>
  page.locator(".notice").filter({ hasText: text });

/** Until the bar tells of this song. */
export const shows = (page: Page, title: string) => bar(page).getByText(title, { exact: true }).waitFor();

/** Until the song has come so far. (Looked for in each frame, it would be frames that a test pays for.) */
export async function hear(page: Page, seconds = 0.5) {
  await page.waitForFunction(
    (least) => Number(document.querySelector<HTMLInputElement>(".seek input")?.value) >= least,
    seconds,
    { polling: 100 },
  );
}

export async function songOf(house: House, title: string): Promise<Song> {
  const { items } = await house.get<Stretch<Song>>("api/songs?limit=1000");
  const found = items.find((song) => song.title === title);
  assert.ok(found, title);
  return found;
}

/** What another device has left. */
export async function leaveQueue(
  house: House,
  titles: readonly string[],
  place: object = {},
  user: User = "anna",
) {
  const { items } = await house.get<Stretch<Song>>("api/songs?limit=1000");
  const ids = new Map(items.map(({ title, id }) => [title, id]));
  const body = JSON.stringify({ items: titles.map((title) => ({ song: ids.get(title) })), ...place });
  const answer = await house.ask("api/queue", { method: "PUT", body }, user);
  assert.equal(answer.status, 200);
}

export async function titlesAtServer(house: House, user: User = "anna") {
  const queue = await house.get<Queue>("api/queue?limit=1000", user);
  return queue.items.map(({ song }) => song?.title);
}

/** A song that can be heard, below the library; half an hour of it takes half a second to make. */
export async function record(house: House, path: string, seconds: number, tags: Record<string, string>) {
  const file = join(house.places.library, path);
  mkdirSync(dirname(file), { recursive: true });
  const metadata = Object.entries(tags).flatMap(([name, value]) => ["-metadata", `${name}=${value}`]);
  const sound = `sine=frequency=330:sample_rate=8000:duration=${seconds}`;
  const quick = ["-compression_level", "0"];
  execFileSync("ffmpeg", ["-v", "error", "-f", "lavfi", "-i", sound, ...quick, ...metadata, file]);
  await house.scan();
}
