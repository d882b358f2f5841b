import assert from "node:assert/strict";
import { test } from "node:test";
import type { Page } from "playwright-core";
import { makeList, openInPanel, panelOf, songsOf, titlesOf } from "./editor_support.ts";
import { examine, openHouse } from "./fixture.ts";

const house = openHouse();
const FAILED = /Failed to load resource|ERR_/;

const isAction = (url: URL) => url.pathname.endsWith("audio_playlist.cgi");

// A request that is at its handler would be sent once more by the browser when nobody intercepts any longer.
const stopLosing = (page: Page) => page.unrouteAll({ behavior: "wait" });

/** Does to the server what is asked, and loses the answer. It tells when that has happened once. */
async function loseAnswers(page: Page) {
  await page.route(isAction, async (route) => {
    await route.fetch();
    await route.abort().catch(() => undefined); // the page may have gone with its request
  });
  const failed = page.waitForEvent("requestfailed", (request) => isAction(new URL(request.url())));
  return { lost: async () => void (await failed) };
}

test("without a connection edits wait, visibly, and are sent when it is back", async () => {
  const id = await makeList(house, "Waiting", 5);
  const [a, b, c, d, e] = await titlesOf(house, id);
  await house.visit({ errors: FAILED }, async (page) => {
    const { panel, row, titles, saved } = await openInPanel(page, id);
    await page.context().setOffline(true);
    await row(0).click();
    await page.keyboard.press("Delete");
    await panel.getByText("Not saved: no connection. Will try again.").waitFor();
    await page.keyboard.press("Alt+ArrowDown");
    assert.deepEqual(await titles(), [c, b, d, e]);
    await examine(page, "editor-offline", "aside");
    assert.deepEqual(await titlesOf(house, id), [a, b, c, d, e]);
    await page.context().setOffline(false);
    await saved();
    assert.deepEqual(await titlesOf(house, id), [c, b, d, e]);
  });
});

test("a server that dies in the middle of edits, and comes back", async () => {
  const id = await makeList(house, "Dying", 6);
  const before = await titlesOf(house, id);
  await house.visit({ errors: FAILED }, async (page) => {
    const { panel, row, saved, titles } = await openInPanel(page, id);
    await house.stop();
    await row(5).click();
    await page.keyboard.press("Alt+ArrowUp");
    await page.keyboard.press("Alt+ArrowUp");
    await row(0).click();
    await page.keyboard.press("Delete");
    await panel.getByText("Not saved: no connection. Will try again.").waitFor();
    const wanted = await titles();
    assert.deepEqual([...wanted].sort(), before.slice(1).sort());
    await house.start();
    await panel.getByRole("button", { name: "Try again" }).click();
    await saved();
    assert.deepEqual(await titlesOf(house, id), wanted);
  });
});

test("an edit whose answer was lost is not done twice", async () => {
  const songs = await songsOf(house);
  const id = await makeList(
    house,
    "Twice",
    songs.slice(0, 2).map((song) => song.id),
  );
  await house.visit({ at: "#/songs", errors: /412|Failed to load resource|ERR_/ }, async (page) => {
    const { panel, saved } = await openInPanel(page, id);
    const add = async (at: number) => {
      await page
        .getByRole("main")
        .getByRole("row")
        .filter({ hasText: songs[at]?.title ?? "" })
        .click();
      await page.keyboard.press("a");
    };
    const { lost } = await loseAnswers(page);
    await add(4);
    await lost();
    await add(5); // while nobody knows what became of the first
    await panel.getByText("4 songs").waitFor();
    await stopLosing(page);
    await saved();
    assert.deepEqual(
      await titlesOf(house, id),
      [0, 1, 4, 5].map((at) => songs[at]?.title),
    );
    assert.equal(await panel.getByText("Somebody changed").count(), 0); // it was not somebody else
  });
});

test("a lost answer and somebody else's edit after it", async () => {
  const songs = await songsOf(house);
  const id = await makeList(
    house,
    "Lost and changed",
    songs.slice(0, 3).map((song) => song.id),
  );
  await house.visit({ at: "#/songs", errors: /412|Failed to load resource|ERR_/ }, async (page) => {
    const { panel, rows, saved } = await openInPanel(page, id);
    const { lost } = await loseAnswers(page);
    await page
      .getByRole("main")
      .getByRole("row")
      .filter({ hasText: songs[4]?.title ?? "" })
      .click();
    await page.keyboard.press("a");
    await lost();
    await rows.filter({ hasText: songs[2]?.title ?? "" }).click();
    await house.act({ action: "removesongs", playlist: id, seq_list: "0" });
    await page.keyboard.press("Delete");
    await stopLosing(page);
    await panel.getByText("Somebody changed this list: 1 removed.").waitFor();
    await saved();
    assert.deepEqual(await titlesOf(house, id), [songs[1]?.title, songs[4]?.title]);
  });
});

test("edits that wait survive a reload, and leaving asks", async () => {
  const id = await makeList(house, "Reloaded", 5);
  const before = await titlesOf(house, id);
  await house.visit({ errors: FAILED }, async (page) => {
    const { panel, row, titles } = await openInPanel(page, id);
    await page.route(isAction, (route) => route.abort());
    await row(1).click();
    await page.keyboard.press("Alt+ArrowDown");
    await panel.getByText("Not saved: no connection. Will try again.").waitFor();
    const wanted = await titles();
    assert.notDeepEqual(wanted, before);
    const asked = page.waitForEvent("dialog");
    const reloaded = page.reload();
    const dialog = await asked;
    assert.equal(dialog.type(), "beforeunload");
    await dialog.accept();
    await reloaded;
    await panel.getByText("Not saved: no connection. Will try again.").waitFor();
    assert.deepEqual(await titles(), wanted);
    assert.deepEqual(await titlesOf(house, id), before);
    await stopLosing(page);
    await panel.getByRole("button", { name: "Try again" }).click();
    await panelOf(page).saved();
    assert.deepEqual(await titlesOf(house, id), wanted);
  });
});

test("an edit that was done, but whose answer was lost with the page, is not done again", async () => {
  const songs = await songsOf(house);
  const id = await makeList(
    house,
    "Crashed",
    songs.slice(0, 2).map((song) => song.id),
  );
  await house.visit({ at: "#/songs", errors: /412|Failed to load resource|ERR_/ }, async (page) => {
    const { panel } = await openInPanel(page, id);
    const { lost } = await loseAnswers(page);
    await page
      .getByRole("main")
      .getByRole("row")
      .filter({ hasText: songs[6]?.title ?? "" })
      .click();
    await page.keyboard.press("a");
    await lost();
    page.once("dialog", (dialog) => void dialog.accept());
    await stopLosing(page);
    await page.reload();
    await panelOf(page).saved();
    await panel.getByText("3 songs").waitFor();
    assert.deepEqual(
      await titlesOf(house, id),
      [0, 1, 6].map((at) => songs[at]?.title),
    );
  });
});

test("two pages that are closed with edits of one list lose neither", async () => {
  const id = await makeList(house, "Two pages", 5);
  const [, b, c, d, e] = await titlesOf(house, id);
  await house.visit({ alone: true, errors: FAILED }, async (first) => {
    await openInPanel(first, id);
    const second = await first.context().newPage();
    await second.goto("./");
    await panelOf(second).saved();
    const third = await first.context().newPage();
    for (const [page, at] of [
      [first, 0],
      [second, 4],
    ] as const) {
      await page.route(isAction, (route) => route.abort());
      await panelOf(page).row(at).click();
      await page.keyboard.press("Delete");
      await panelOf(page).panel.getByText("Not saved: no connection. Will try again.").waitFor();
    }
    await first.close();
    // The second one lives: its edit is its own.
    const sent = third.waitForResponse((response) => isAction(new URL(response.url())));
    await third.goto("./");
    await sent;
    await panelOf(third).saved();
    assert.deepEqual(await titlesOf(house, id), [b, c, d, e]);
    await second.close();
    const again = third.waitForResponse(
      (response) => response.status() === 200 && isAction(new URL(response.url())),
    );
    await third.reload();
    await again;
    assert.deepEqual(await titlesOf(house, id), [b, c, d]);
  });
});

test("a star that is given without a connection is given when it is back", async () => {
  const [song] = await songsOf(house);
  assert.ok(song);
  const mark = () => house.get<{ star: boolean }>(`api/songs/${song.id}/mark`);
  assert.equal((await mark()).star, false);
  await house.visit({ at: "#/songs?sort=title", errors: FAILED }, async (page) => {
    const star = page.getByRole("row", { name: song.title }).getByRole("button", { name: /^Favourite/ });
    await star.waitFor();
    await page.context().setOffline(true);
    await star.click();
    await page.getByText("Not sent yet: a star or rating.").waitFor();
    assert.equal(await star.getAttribute("aria-pressed"), "true");
    await page.context().setOffline(false);
    await page.getByText("Not sent yet").waitFor({ state: "detached" });
    assert.equal((await mark()).star, true);
  });
});

test("edits of a list that is not open wait visibly, and are told when they are refused", async () => {
  const id = await makeList(house, "Closed", 0);
  const answer = (page: Page, status: number) =>
    page.route(isAction, (route) => route.fulfill({ status, json: { success: false } }));
  await house.visit({ at: "#/songs", errors: FAILED }, async (page) => {
    const add = async (title: string) => {
      await page.getByRole("main").getByRole("row", { name: title }).click();
      await page.keyboard.press("l");
      await page.getByRole("combobox", { name: "Find a playlist" }).fill("Closed");
      await page.keyboard.press("Enter");
    };
    await answer(page, 503);
    await add("Seed");
    await page.getByText("Not sent yet: changes of “Closed”.").waitFor();
    await stopLosing(page);
    await page.getByText("Not sent yet").waitFor({ state: "detached" });
    assert.equal((await titlesOf(house, id)).length, 1);
    await answer(page, 403);
    await add("Rain on Glass");
    const told = page.getByRole("alert").filter({ hasText: "Changes of “Closed” were not saved." });
    await told.waitFor();
    await examine(page, "not-saved", ".unsent");
    await stopLosing(page);
    await told.getByRole("link", { name: "Show the list" }).click();
    await page.getByRole("main").getByRole("button", { name: "Try again" }).click();
    await page.getByRole("main").getByText("Saved", { exact: true }).waitFor();
    assert.equal((await titlesOf(house, id)).length, 2);
  });
});
