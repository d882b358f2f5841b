import assert from "node:assert/strict";
import { test } from "node:test";
import type { Page } from "playwright-core";
import type { PlayerEntry, PlayerStatus, Page as Stretch } from "../../src/api/types.ts";
import { examine, openHouse, SIZES, takePicture } from "./fixture.ts";
import { ALBUM, bar, button, hear, leaveQueue, notice, record, shows, songOf } from "./player_steps.ts";

const house = openHouse({ player: true });

const status = () => house.get<PlayerStatus>("api/players/0");
const grid = (page: Page) => page.getByRole("grid", { name: "Queue of Player 0" });

async function give(titles: readonly string[]) {
  const songs = await Promise.all(titles.map(async (title) => (await songOf(house, title)).id));
  const answer = await house.ask("api/players/0/queue", { method: "POST", body: JSON.stringify({ songs }) });
  assert.equal(answer.status, 200);
}

const stop = () => house.ask("api/players/0/stop", { method: "POST" });

async function chooseInMenu(page: Page, name: string | RegExp) {
  await page
    .getByRole("banner")
    .getByRole("button", { name: /^Plays on/ })
    .click();
  await page.getByRole("menu").getByText(name).click();
}

// Chooses the player and waits until the bar tells what it does.
async function choosePlayer(page: Page) {
  await chooseInMenu(page, /^Player 0/);
  await page.waitForResponse(/api\/players\/0$/);
}

for (const size of SIZES) {
  test(`a player of the house on a ${size.name}`, async () => {
    await give(ALBUM);
    await stop();
    await house.visit({ size, at: "#/queue" }, async (page) => {
      await page
        .getByRole("banner")
        .getByRole("button", { name: /^Plays on/ })
        .click();
      await examine(page, `players-menu-${size.name}`, ".menu");
      await page.getByRole("menuitemcheckbox", { name: "Player 0" }).click();
      await grid(page).getByText("Snail, Slowly").waitFor();
      await examine(page, `players-${size.name}`, "main");
      await examine(page, `players-bar-${size.name}`, ".player-bar");
    });
  });
}

test("the bar shows and steers a player of the house", async () => {
  await record(house, "Long/evening.flac", 600, { title: "A Long Evening" });
  await give(["A Long Evening", "Seed"]);
  await house.visit({}, async (page) => {
    await choosePlayer(page);
    await shows(page, "A Long Evening");
    await button(page, "Pause").click();
    await button(page, "Play").waitFor();
    assert.equal((await status()).state, "pause");
    await button(page, "Play").click();
    await button(page, "Pause").waitFor();
    const sought = page.waitForResponse(/players\/0\/seek/);
    await bar(page).getByRole("slider", { name: "Position in the song" }).fill("300");
    await sought;
    await hear(page, 301);
    const set = page.waitForResponse(/players\/0\/volume/);
    await bar(page).getByRole("slider", { name: "Volume" }).fill("60");
    await set;
    assert.equal((await status()).volume, 60);
    await button(page, "Next").click();
    await shows(page, "Seed");
    await page.reload();
    await page.getByRole("banner").getByRole("button", { name: "Plays on: Player 0" }).waitFor();
  });
});

test("songs and whole playlists are played there", async () => {
  await house.writePlaylist("Sunday", ["../The Window Boxes/Garden Pieces/01 Seed.mp3"]);
  await house.visit({ at: "#/songs" }, async (page) => {
    await choosePlayer(page);
    await page.getByRole("grid", { name: "Songs" }).getByText("Rain on Glass").dblclick();
    await shows(page, "Rain on Glass");
    assert.equal((await status()).state, "play");
    await page.getByRole("treeitem", { name: /Sunday/ }).click({ button: "right" });
    await page.getByRole("menuitem", { name: "Play next" }).click();
    await notice(page, "1 song added to the queue of Player 0").waitFor();
    await page.getByRole("treeitem", { name: /Sunday/ }).click({ button: "right" });
    await page.getByRole("menuitem", { name: "Play", exact: true }).click();
    await shows(page, "Seed");
  });
});

test("its queue is shown, played from any place, and saved as a playlist", async () => {
  await give(ALBUM);
  await house.visit({ at: "#/queue" }, async (page) => {
    await choosePlayer(page);
    await grid(page).getByText("Snail, Slowly").dblclick();
    await shows(page, "Snail, Slowly");
    await grid(page).locator(".row.current").getByText("Snail, Slowly").waitFor();
    await page.getByRole("button", { name: "Save as playlist" }).click();
    await page.getByLabel("Name").fill("Heard");
    await page.getByLabel("Library").selectOption("personal");
    await page.getByRole("button", { name: "Save", exact: true }).click();
    await notice(page, "Saved as “Heard”").waitFor();
    const { items } = await house.get<Stretch<{ name: string; count: number }>>("api/playlists");
    assert.equal(items.find(({ name }) => name === "Heard")?.count, 4);
  });
});

test("what plays here moves there, and back", async () => {
  await record(house, "Long/night.flac", 600, { title: "A Long Night" });
  await leaveQueue(house, ["Seed", "A Long Night", "Rain on Glass"], { position: 1, elapsed: 200 });
  await house.visit({}, async (page) => {
    await shows(page, "A Long Night");
    await button(page, "Play").click();
    await hear(page, 200);
    await chooseInMenu(page, "Move what plays to Player 0");
    await notice(page, "Goes on: Player 0").waitFor();
    const there = await status();
    assert.equal(there.state, "play");
    assert.equal(there.position, 1);
    assert.ok((there.elapsed ?? 0) >= 200, `${there.elapsed}`);
    const { items } = await house.get<Stretch<PlayerEntry>>("api/players/0/queue");
    assert.deepEqual(
      items.map(({ title }) => title),
      ["Seed", "A Long Night", "Rain on Glass"],
    );
    await shows(page, "A Long Night");
    await chooseInMenu(page, "Move what plays to this browser");
    await notice(page, "Goes on: This browser").waitFor();
    await button(page, "Pause").waitFor();
    await hear(page, 201);
    assert.equal((await status()).state, "pause");
    await button(page, "Next").click();
    await shows(page, "Rain on Glass");
  });
});

test("what the player cannot do is told", async () => {
  await give(["Seed"]);
  await stop();
  await house.visit({ errors: /409/ }, async (page) => {
    await choosePlayer(page);
    await shows(page, "Seed");
    await button(page, "Next").click();
    await notice(page, "Player 0 did not do that.").waitFor();
  });
});

test("a player that does not answer is told, and found again", async () => {
  await give(["Seed"]);
  await stop();
  await house.visit({ errors: /502|503/ }, async (page) => {
    await choosePlayer(page);
    await shows(page, "Seed");
    await house.stopPlayer();
    await bar(page).getByText("Player 0 does not answer.").waitFor();
    await takePicture(page, "players-unreachable");
    await house.startPlayer();
    await bar(page).getByText("Player 0 does not answer.").waitFor({ state: "hidden" });
  });
});

test("shuffle and repeat are the player's own", async () => {
  await give(ALBUM);
  await stop();
  await house.visit({}, async (page) => {
    await choosePlayer(page);
    await shows(page, "Seed");
    await button(page, "Shuffle").click();
    await page.locator('.player-bar [aria-label="Shuffle"][aria-pressed="true"]').waitFor();
    assert.equal((await status()).random, true);
    await button(page, "Repeat: off").click();
    await button(page, "Repeat: all").waitFor();
    assert.equal((await status()).repeat, true);
    await button(page, "Repeat: all").click();
    await button(page, "Repeat: off").waitFor();
    await button(page, "Shuffle").click();
    await page.locator('.player-bar [aria-label="Shuffle"][aria-pressed="false"]').waitFor();
  });
});

test("its queue is put in order by keys, by the handle and by dropping, and all of that is undone", async () => {
  await give(ALBUM);
  await stop();
  const titles = async () => {
    const { items } = await house.get<Stretch<PlayerEntry>>("api/players/0/queue");
    return items.map(({ title }) => title);
  };
  await house.visit({ at: "#/queue" }, async (page) => {
    await choosePlayer(page);
    const row = (title: string) => grid(page).getByRole("row", { name: title });
    const shown = async (...wanted: string[]) => {
      await page.waitForFunction(
        (all) =>
          [...document.querySelectorAll("main [role=row][data-index]")]
            .map((each) => each.getAttribute("aria-label")?.split(",")[0])
            .join() === all,
        wanted.map((title) => title.split(",")[0]).join(),
      );
    };
    const done = async (command: string, work: () => Promise<void>) => {
      const answer = page.waitForResponse((each) => each.url().endsWith(`players/0/${command}`));
      await work();
      assert.equal((await answer).status(), 200);
    };
    const [seed, rain, snail, compost] = ALBUM as [string, string, string, string];
    await row(seed).click();
    await done("move", () => page.keyboard.press("Alt+ArrowDown"));
    await shown(rain, seed, snail, compost);
    assert.deepEqual(await titles(), [rain, seed, snail, compost]);
    const last = await row(compost).boundingBox();
    await row(rain).locator(".handle").hover();
    await page.mouse.down();
    await page.mouse.move((last?.x ?? 0) + 100, (last?.y ?? 0) + 10, { steps: 5 });
    await done("move", async () => {
      await page.mouse.move((last?.x ?? 0) + 100, (last?.y ?? 0) + 30, { steps: 3 });
      await page.mouse.up();
    });
    await shown(seed, snail, compost, rain);
    await row(snail).click();
    await page.keyboard.press("Shift+ArrowDown");
    await done("remove", () => page.keyboard.press("Delete"));
    await notice(page, "Removed 2 songs").waitFor();
    assert.deepEqual(await titles(), [seed, rain]);
    await page.keyboard.press("Control+z");
    await notice(page, "Undone: Removed 2 songs").waitFor();
    await shown(seed, snail, compost, rain);
    assert.deepEqual(await titles(), [seed, snail, compost, rain]);
    await page.keyboard.press("Control+z");
    await notice(page, "Undone: Moved").waitFor();
    await page.keyboard.press("Control+z");
    await notice(page, "Undone: Moved").nth(1).waitFor();
    await shown(...ALBUM);
    assert.deepEqual(await titles(), ALBUM);
    await page.getByRole("main").getByRole("button", { name: "More" }).click();
    await done("remove", () => page.getByRole("menuitem", { name: "Clear" }).click());
    await page.getByText("The queue is empty.").waitFor();
    await page.keyboard.press("Control+z");
    await notice(page, "Undone: Cleared the queue of 4 songs").waitFor();
    await shown(...ALBUM);
  });
});

test("edits of its queue that follow each other fast are done one after another", async () => {
  await give(ALBUM);
  await stop();
  await house.visit({ at: "#/queue" }, async (page) => {
    await choosePlayer(page);
    await grid(page).getByRole("row", { name: "Seed" }).click();
    for (let steps = 0; steps < 3; steps++) await page.keyboard.press("Alt+ArrowDown");
    await page.keyboard.press("Delete");
    await notice(page, "Removed 1 song").waitFor();
    const { items } = await house.get<Stretch<PlayerEntry>>("api/players/0/queue");
    assert.deepEqual(
      items.map(({ title }) => title),
      ALBUM.slice(1),
    );
  });
});

test("an edit of its queue that fails half way goes on from there when it is tried again", async () => {
  await give(ALBUM);
  await stop();
  await house.visit({ at: "#/queue", errors: /50\d/ }, async (page) => {
    await choosePlayer(page);
    let moves = 0;
    await page.route(/players\/0\/move/, async (route) => {
      if (++moves === 2) await route.fulfill({ status: 503, json: {} });
      else await route.continue();
    });
    await grid(page).getByRole("row", { name: "Seed" }).click();
    await page.keyboard.press("Shift+ArrowDown");
    await page.keyboard.press("Alt+ArrowDown");
    const failed = notice(page, "Player 0 did not do that.");
    await failed.getByRole("button", { name: "Try again" }).click();
    await page.waitForResponse((answer) => answer.url().endsWith("players/0/move") && answer.ok());
    const { items } = await house.get<Stretch<PlayerEntry>>("api/players/0/queue");
    const [seed, rain, snail, compost] = ALBUM;
    assert.deepEqual(
      items.map(({ title }) => title),
      [snail, seed, rain, compost],
    );
    await page.keyboard.press("Control+z");
    await notice(page, "Undone: Moved 2 songs").waitFor();
    assert.deepEqual((await house.get<Stretch<PlayerEntry>>("api/players/0/queue")).items[0]?.title, seed);
  });
});

test("an edit of its queue is not undone when others have changed it meanwhile", async () => {
  await give(ALBUM);
  await stop();
  await house.visit({ at: "#/queue" }, async (page) => {
    await choosePlayer(page);
    await grid(page).getByRole("row", { name: "Seed" }).click();
    await page.keyboard.press("Delete");
    await notice(page, "Removed 1 song").waitFor();
    await give(["Seed"]);
    await page.keyboard.press("Control+z");
    await notice(page, "Somebody has changed the queue of Player 0 meanwhile.").waitFor();
  });
});
