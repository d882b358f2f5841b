import assert from "node:assert/strict";
import { test } from "node:test";
import type { Page } from "playwright-core";
import { entriesOf, idOf, makeList, openInPanel, songsOf, titlesOf } from "./editor_support.ts";
import { examine, openHouse, PHONE, takePicture } from "./fixture.ts";

const house = openHouse();

/** As it is when one comes back to the window. */
const look = (page: Page) => page.evaluate(() => window.dispatchEvent(new Event("focus")));

test("two people see what the other one does, and what is selected stays so", async () => {
  const songs = await songsOf(house);
  const id = await makeList(
    house,
    "Both",
    songs.slice(0, 5).map((song) => song.id),
  );
  const [a, b, c, d, e] = songs.map((song) => song.title);
  await house.visit({ user: "anna" }, async (anna) => {
    const hers = await openInPanel(anna, id);
    await house.visit({ user: "ben" }, async (ben) => {
      const his = await openInPanel(ben, id);
      await his.row(3).click();
      await hers.row(0).click();
      await anna.keyboard.press("Delete");
      await hers.saved();
      await look(ben);
      await his.panel.getByText("Somebody changed this list: 1 removed.").waitFor();
      assert.deepEqual(await his.titles(), [b, c, d, e]);
      assert.equal(await his.row(2).getAttribute("aria-selected"), "true");
      await ben.waitForFunction(() => document.activeElement?.getAttribute("data-index") === "2");
      await takePicture(ben, "editor-their-edit");

      await ben.keyboard.press("Alt+ArrowUp");
      await his.saved();
      await look(anna);
      await hers.panel.getByText("Somebody changed this list: 1 moved.").waitFor();
      assert.deepEqual(await hers.titles(), [b, d, c, e]);

      // Her undo brings back the entry, and leaves his move alone.
      await anna.keyboard.press("Control+z");
      await hers.saved();
      assert.deepEqual(await titlesOf(house, id), [a, b, d, c, e]);
    });
  });
});

test("unsent edits go onto the list as somebody else has left it, and what cannot is told", async () => {
  const songs = await songsOf(house);
  const ids = songs.slice(0, 6).map((song) => song.id);
  const id = await makeList(house, "Conflict", ids);
  const [a, , c, d, e, f] = songs.map((song) => song.title);
  const added = songs[8] as (typeof songs)[number];
  await house.visit({ errors: /412|ERR_/ }, async (page) => {
    const { panel, row, titles, saved } = await openInPanel(page, id);
    await page.context().setOffline(true);
    // Somebody else removes the second, and adds one at the end; then the second is moved down, and the first too.
    await house.act({ action: "removesongs", playlist: id, seq_list: "1" });
    await house.act({ action: "addsongs", playlist: id, id_info_list: [String(added.id)] });
    await row(0).click();
    await row(1).click({ modifiers: ["Control"] });
    await page.keyboard.press("m");
    await page.getByLabel("Position of the first").fill("4");
    await page.keyboard.press("Enter");
    await panel.getByText("Not saved: no connection.").waitFor();
    await page.context().setOffline(false);
    await panel
      .getByText("Somebody changed this list: 1 added, 1 removed. 1 entry is in the list no longer.")
      .waitFor();
    await saved();
    const expected = [c, d, e, a, f, added.title];
    assert.deepEqual(await titles(), expected);
    assert.deepEqual(await titlesOf(house, id), expected);
    await panel.getByRole("button", { name: "Show" }).click();
    const dialog = page.getByRole("dialog");
    await dialog.getByText(added.title).waitFor();
    await dialog.getByText("Not done, as the entry is gone").waitFor();
    assert.equal(await dialog.getByText(songs[1]?.title ?? "").count(), 2); // removed by them, and not moved by us
    await examine(page, "editor-conflict", "dialog");
  });
});

test("two people add at once, and both have all", async () => {
  const songs = await songsOf(house);
  const id = await makeList(
    house,
    "Adding",
    songs.slice(0, 1).map((song) => song.id),
  );
  await house.visit({ user: "anna", at: "#/songs", errors: /412/ }, async (anna) => {
    const hers = await openInPanel(anna, id);
    await house.visit({ user: "ben", at: "#/songs", errors: /412/ }, async (ben) => {
      const his = await openInPanel(ben, id);
      const add = async (page: Page, song: string) => {
        await page.getByRole("main").getByRole("row").filter({ hasText: song }).click();
        await page.keyboard.press("a");
      };
      await Promise.all([add(anna, songs[4]?.title ?? ""), add(ben, songs[5]?.title ?? "")]);
      await hers.panel.getByText("2 songs").or(hers.panel.getByText("3 songs")).waitFor();
      await his.panel.getByText("2 songs").or(his.panel.getByText("3 songs")).waitFor();
      await hers.saved();
      await his.saved();
      await look(anna);
      await look(ben);
      await hers.panel.getByText("3 songs").waitFor();
      await his.panel.getByText("3 songs").waitFor();
      const all = [songs[0]?.title, songs[4]?.title, songs[5]?.title];
      assert.deepEqual((await titlesOf(house, id)).sort(), all.sort());
    });
  });
});

test("of entries that are the same, the right one is moved", async () => {
  const songs = await songsOf(house);
  const [a, b, c] = songs.map((song) => song.id) as [number, number, number];
  const id = await makeList(house, "Same", [a, b, a, c, a]);
  await house.visit({ errors: /412/ }, async (page) => {
    const { panel, row, saved } = await openInPanel(page, id);
    await house.act({ action: "removesongs", playlist: id, seq_list: "0" });
    await row(4).click();
    await page.keyboard.press("Alt+ArrowUp");
    await panel.getByText("Somebody changed this list: 1 removed.").waitFor();
    await saved();
    const now = (await entriesOf(house, id)).map(({ song }) => song?.id);
    assert.deepEqual(now, [b, a, a, c]);
  });
});

test("a list that another has deleted is made again, with edits that were not sent", async () => {
  const id = await makeList(house, "Deleted", 3);
  const [, ...others] = await titlesOf(house, id);
  await house.visit({ errors: /404|412|ERR_/ }, async (page) => {
    const { panel, row, saved } = await openInPanel(page, id);
    await page.context().setOffline(true);
    await row(0).click();
    await page.keyboard.press("Delete");
    await panel.getByText("Not saved: no connection.").waitFor();
    await house.act({ action: "delete", playlists: id });
    await page.context().setOffline(false);
    await panel.getByRole("button", { name: "Make it again" }).click();
    await saved();
    const made = await idOf(house, "Deleted");
    assert.deepEqual(await titlesOf(house, made), others);
    await row(0).click();
    await page.keyboard.press("Delete");
    await saved();
    assert.deepEqual(await titlesOf(house, made), others.slice(1));
  });
});

test("so is one without such edits, and that is undone", async () => {
  const id = await makeList(house, "Vanished", 3);
  const titles = await titlesOf(house, id);
  await house.visit({ errors: /404/ }, async (page) => {
    const { panel, saved } = await openInPanel(page, id);
    await house.act({ action: "delete", playlists: id });
    await look(page);
    await panel.getByText("Somebody has deleted this list.").waitFor();
    await panel.getByRole("button", { name: "Make it again" }).click();
    await saved();
    assert.deepEqual(await titlesOf(house, await idOf(house, "Vanished")), titles);
    const made = page.locator(".notice").filter({ hasText: "Made “Vanished” again" });
    await made.getByRole("button", { name: "Undo" }).click();
    await page.locator(".notice").filter({ hasText: "Undone" }).waitFor();
    const { items } = await house.get<{ items: { name: string }[] }>("api/playlists");
    assert.equal(
      items.some(({ name }) => name === "Vanished"),
      false,
    );
  });
});

test("a list that is gone is told, and unsent edits of it can be given up", async () => {
  const id = await makeList(house, "Gone", 3);
  await house.visit({ size: PHONE, errors: /404|412|ERR_/ }, async (page) => {
    const { panel, row } = await openInPanel(page, id);
    await page.context().setOffline(true);
    await row(0).locator(".handle").click({ button: "right" });
    await page.getByRole("menuitem", { name: /^Remove/ }).click();
    await panel.getByText("Not saved: no connection.").waitFor();
    await house.act({ action: "delete", playlists: id });
    await page.context().setOffline(false);
    const discard = panel.getByRole("button", { name: "Discard changes" });
    await discard.waitFor();
    await examine(page, "editor-gone", "aside");
    await discard.click();
    await panel.getByRole("alert").waitFor();
    assert.equal(
      await page.evaluate(() => window.dispatchEvent(new Event("beforeunload", { cancelable: true }))),
      true,
    );
  });
});
