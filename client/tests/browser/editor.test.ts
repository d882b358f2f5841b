import assert from "node:assert/strict";
import { test } from "node:test";
import type { Page } from "playwright-core";
import { openHouse } from "./fixture.ts";

const house = openHouse();

/** A shared list of the first songs; its id. */
async function makeList(name: string, count: number): Promise<string> {
  const { items } = await house.get<{ items: { id: number }[] }>(`api/songs?sort=title&limit=${count}`);
  const songs = items.map(({ id }) => String(id));
  const { node } = await house.act<{ node: { id: string } }>({
    action: "add",
    type: "shared",
    name,
    id_info_list: songs,
  });
  return node.id;
}

async function open(page: Page, id: string) {
  await page.evaluate((list) => localStorage.setItem("open_list", list), id);
  await page.reload();
  await page.getByRole("complementary").getByRole("row").first().waitFor();
}

test("a list is shown and edited", async () => {
  const id = await makeList("First", 6);
  await house.visit({}, async (page) => {
    await open(page, id);
    const rows = page.getByRole("complementary").getByRole("row");
    assert.equal(await rows.count(), 6);
    await rows.first().click();
    const saved = page.waitForResponse(/audio_playlist.cgi/);
    await page.keyboard.press("Delete");
    assert.equal(await rows.count(), 5);
    assert.equal((await saved).status(), 200);
  });
  const list = await house.get<{ total: number }>(`api/playlists/${id}`);
  assert.equal(list.total, 5);
});
