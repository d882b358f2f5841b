import assert from "node:assert/strict";
import { test } from "node:test";
import type { Page } from "playwright-core";
import type { Queue } from "../../src/api/types.ts";
import { examine, openHouse, PHONE, SIZES } from "./fixture.ts";
import {
  ALBUM,
  bar,
  button,
  hear,
  leaveQueue as leave,
  notice,
  shows,
  titlesAtServer,
} from "./player_steps.ts";

const house = openHouse();

const grid = (page: Page) => page.getByRole("grid", { name: "Queue" });
const row = (page: Page, title: string) => grid(page).getByRole("row", { name: title });
const leaveQueue = (titles: readonly string[], place: object = {}) => leave(house, titles, place);

async function titlesShown(page: Page) {
  const labels = await grid(page)
    .getByRole("row")
    .evaluateAll((rows) => rows.map((each) => each.getAttribute("aria-label") ?? ""));
  return labels.map((label) => ALBUM.find((title) => label.startsWith(title)));
}

// Does something that changes the queue, until the server has it.
async function saved(page: Page, work: () => Promise<void>) {
  const written = page.waitForResponse(
    (answer) => answer.url().includes("api/queue") && answer.request().method() === "PUT",
  );
  await work();
  assert.equal((await written).status(), 200);
}

for (const size of SIZES) {
  test(`the queue on a ${size.name}, full and empty`, async () => {
    await leaveQueue(ALBUM, { position: 1, elapsed: 2 });
    await house.visit({ size, at: "#/queue" }, async (page) => {
      await row(page, "Seed").waitFor();
      await page.getByText("2 songs up next, 0:06").waitFor();
      await examine(page, `queue-${size.name}`, "main");
    });
    await leaveQueue([]);
    await house.visit({ size, at: "#/queue" }, async (page) => {
      await page.getByText("The queue is empty.").waitFor();
      await examine(page, `queue-empty-${size.name}`, "main");
    });
  });
}

test("another device shows what was played, and goes on with it", async () => {
  await leaveQueue(ALBUM, { position: 1, elapsed: 2.5 });
  await house.visit({ at: "#/queue" }, async (page) => {
    const offer = notice(page, "Played on another device: Rain on Glass – The Window Boxes, at 0:03");
    await bar(page).getByRole("link", { name: "Rain on Glass" }).waitFor();
    await offer.getByRole("button", { name: "Go on here" }).click();
    await button(page, "Pause").waitFor();
    await hear(page, 3);
    await offer.waitFor({ state: "hidden" });
  });
});

test("the queue is there after a reload, where it was", async () => {
  await leaveQueue(ALBUM);
  // The page that is left and the one that comes may write the same, and one of them comes too late.
  await house.visit({ at: "#/queue", errors: /412/ }, async (page) => {
    await row(page, "Rain on Glass").dblclick();
    await hear(page, 1);
    await page.reload();
    await bar(page).getByRole("link", { name: "Rain on Glass" }).waitFor();
    await hear(page, 1);
    await button(page, "Play").waitFor();
    assert.deepEqual(await titlesShown(page), ALBUM);
    assert.equal(await notice(page, "another device").count(), 0);
  });
});

test("a shuffled queue goes on in the same order after a reload", async () => {
  await leaveQueue(ALBUM);
  await house.visit({ at: "#/queue", alone: true, errors: /412/ }, async (page) => {
    await shows(page, "Seed");
    await button(page, "Shuffle").click();
    await page.reload();
    await shows(page, "Seed");
    await button(page, "Next").click();
    await page.reload();
    const { places } = await page.evaluate(
      () => JSON.parse(localStorage.getItem("player.shuffled:anna") ?? "{}") as { places: number[] },
    );
    const [first = "", second = "", third = "", last = ""] = places.map((place) => ALBUM[place] ?? "");
    assert.equal(first, "Seed");
    await shows(page, second);
    for (const title of [third, last]) {
      await button(page, "Next").click();
      await shows(page, title);
    }
    await page.reload();
    await shows(page, last);
    await button(page, "Previous").click();
    await shows(page, third);
  });
});

test("entries are moved by keys, to a position and by dragging, removed, and that is undone", async () => {
  await leaveQueue(ALBUM);
  await house.visit({ at: "#/queue" }, async (page) => {
    await row(page, "Seed").click();
    await saved(page, () => page.keyboard.press("Alt+ArrowDown"));
    assert.deepEqual(await titlesAtServer(house), [
      "Rain on Glass",
      "Seed",
      "Snail, Slowly",
      "Compost (Reprise)",
    ]);
    await page.keyboard.press("m");
    await page.getByLabel("Position, 1 to 4").fill("4");
    await saved(page, () => page.keyboard.press("Enter"));
    const atEnd = ["Rain on Glass", "Snail, Slowly", "Compost (Reprise)", "Seed"];
    assert.deepEqual(await titlesAtServer(house), atEnd);
    await saved(page, async () => {
      await row(page, "Seed").hover();
      await page.mouse.down();
      const first = await row(page, "Rain on Glass").boundingBox();
      await page.mouse.move((first?.x ?? 0) + 200, (first?.y ?? 0) + 2, { steps: 5 });
      await page.mouse.up();
    });
    assert.deepEqual(await titlesAtServer(house), ALBUM);
    await row(page, "Rain on Glass").click();
    await page.keyboard.press("Shift+ArrowDown");
    await saved(page, () => page.keyboard.press("Delete"));
    assert.deepEqual(await titlesAtServer(house), ["Seed", "Compost (Reprise)"]);
    await saved(page, () => page.keyboard.press("Control+z"));
    assert.deepEqual(await titlesAtServer(house), ALBUM);
    assert.deepEqual(await titlesShown(page), ALBUM);
  });
});

test("a cleared queue comes back", async () => {
  await leaveQueue(ALBUM);
  await house.visit({ at: "#/queue" }, async (page) => {
    await row(page, "Seed").waitFor();
    await page.getByRole("main").getByRole("button", { name: "More" }).click();
    await saved(page, () => page.getByRole("menuitem", { name: "Clear" }).click());
    await page.getByText("The queue is empty.").waitFor();
    assert.deepEqual(await titlesAtServer(house), []);
    const undo = notice(page, "Cleared the queue of 4 songs").getByRole("button", { name: "Undo" });
    await saved(page, () => undo.click());
    assert.deepEqual(await titlesAtServer(house), ALBUM);
  });
});

test("the queue is kept as a playlist", async () => {
  await leaveQueue(ALBUM);
  await house.visit({ at: "#/queue" }, async (page) => {
    await row(page, "Seed").waitFor();
    await page.getByRole("button", { name: "Save as playlist" }).click();
    const dialog = page.getByRole("dialog");
    await dialog.getByRole("textbox").first().fill("Kept");
    const made = page.waitForResponse(/audio_playlist\.cgi/);
    await page.keyboard.press("Enter");
    await made;
    const { items } = await house.get<{ items: { name: string; count: number }[] }>("api/playlists");
    assert.equal(items.find(({ name }) => name === "Kept")?.count, 4);
  });
});

test("when another device has gone on, the user says which queue holds", async () => {
  await leaveQueue(ALBUM);
  await house.visit({ at: "#/queue", errors: /412/ }, async (page) => {
    await row(page, "Seed").click();
    await leaveQueue(["Seed"]);
    await page.keyboard.press("Delete");
    const question = notice(page, "Another device went on with the queue.");
    await question.waitFor();
    await saved(page, () => question.getByRole("button", { name: "Keep this one" }).click());
    assert.deepEqual(await titlesAtServer(house), ALBUM.slice(1));

    await leaveQueue(["Seed"]);
    await row(page, "Rain on Glass").click();
    await page.keyboard.press("Delete");
    await question.getByRole("button", { name: "Take the other one" }).click();
    await row(page, "Seed").waitFor();
    assert.deepEqual(await titlesAtServer(house), ["Seed"]);
    assert.deepEqual(await titlesShown(page), ["Seed"]);
  });
});

// The server goes away, and an edit cannot be sent.
async function removeFirstWhileAway(page: Page) {
  await row(page, "Seed").click();
  await house.stop();
  const failed = page.waitForEvent("requestfailed");
  await page.keyboard.press("Delete");
  await failed;
}

test("an edit while the server is away is sent when it is back", async () => {
  await leaveQueue(ALBUM);
  await house.visit({ at: "#/queue", errors: /ERR_CONNECTION|Failed to load/ }, async (page) => {
    await removeFirstWhileAway(page);
    await saved(page, () => house.start());
    assert.deepEqual(await titlesAtServer(house), ALBUM.slice(1));
  });
});

test("an edit that was not sent when the page was left is sent by the next one", async () => {
  await leaveQueue(ALBUM);
  await house.visit({ at: "#/queue", errors: /ERR_CONNECTION|Failed to load/ }, async (page) => {
    await removeFirstWhileAway(page);
    await page.goto("about:blank");
    await house.start();
    await page.goto(`${house.url}#/queue`);
    await row(page, "Rain on Glass").waitFor();
    assert.deepEqual(await titlesShown(page), ALBUM.slice(1));
    assert.deepEqual(await titlesAtServer(house), ALBUM.slice(1));
  });
});

// The session ends, which the next edit finds out.
async function removeWithoutSession(page: Page) {
  await row(page, "Seed").click();
  await page.context().clearCookies();
  await page.keyboard.press("Delete");
  await page.getByText("What is not saved yet is sent when anna logs in again.").waitFor();
}

async function logIn(page: Page) {
  await page.getByLabel("Name").fill("anna");
  await page.getByLabel("Password").fill(house.places.users.anna);
  await page.getByRole("button", { name: "Log in" }).click();
}

test("an edit that comes after the end of the session waits for the next log-in", async () => {
  await leaveQueue(ALBUM);
  await house.visit({ at: "#/queue", errors: /Failed to load/ }, async (page) => {
    await removeWithoutSession(page);
    assert.deepEqual(await titlesAtServer(house), ALBUM);
    await saved(page, () => logIn(page));
    await row(page, "Rain on Glass").waitFor();
    assert.deepEqual(await titlesShown(page), ALBUM.slice(1));
    assert.deepEqual(await titlesAtServer(house), ALBUM.slice(1));
  });
});

test("when another device has gone on meanwhile, that edit is asked about", async () => {
  await leaveQueue(ALBUM);
  await house.visit({ at: "#/queue", errors: /Failed to load/ }, async (page) => {
    await removeWithoutSession(page);
    await leaveQueue(["Seed"]);
    await logIn(page);
    const question = notice(page, "Another device went on with the queue.");
    await saved(page, () => question.getByRole("button", { name: "Keep this one" }).click());
    await row(page, "Rain on Glass").waitFor();
    assert.deepEqual(await titlesShown(page), ALBUM.slice(1));
  });
});

test("a playlist of 20,000 is heard while it is still fetched", async () => {
  const paths = ["01 Seed.mp3", "02 Rain on Glass.mp3", "03 Snail, Slowly.ogg"];
  const entries = Array.from(
    { length: 20_000 },
    (_, at) => `../The Window Boxes/Garden Pieces/${paths[at % 3]}`,
  );
  await house.writePlaylist("Endless", entries);
  await house.visit({}, async (page) => {
    let isHeard = () => {};
    const heard = new Promise<void>((done) => {
      isHeard = done;
    });
    await page.route(/offset=19000/, async (route) => {
      await heard;
      await route.continue();
    });
    await page.getByRole("treeitem", { name: /Endless/ }).click({ button: "right" });
    const all = page.waitForResponse(
      (answer) => (answer.request().postData()?.length ?? 0) > 20_000 * '{"song":1},'.length,
    );
    await page.getByRole("menuitem", { name: "Play", exact: true }).click();
    await hear(page, 0.1);
    isHeard();
    assert.equal((await all).status(), 200);
    const { items, total } = await house.get<Queue>("api/queue?limit=1000");
    assert.equal(total, 20_000);
    assert.deepEqual(
      items.map(({ song }) => song?.title),
      items.map((_, at) => ALBUM[at % 3]),
    );
  });
});

test("a queue of 20,000 is shown, edited and played", async () => {
  await leaveQueue(Array.from({ length: 20_000 }, (_, place) => ALBUM[place % 4] as string));
  await house.visit({ at: "#/queue" }, async (page) => {
    await row(page, "Seed").first().waitFor();
    await row(page, "Seed").first().click();
    await page.keyboard.press("End");
    await grid(page).getByText("20,000", { exact: true }).waitFor();
    await page.keyboard.press("Enter");
    await hear(page, 0.5);
    await button(page, "Shuffle").click();
    await saved(page, () => page.keyboard.press("Delete"));
    await saved(page, () => page.keyboard.press("Control+z"));
    const { total } = await house.get<Queue>("api/queue?limit=1");
    assert.equal(total, 20_000);
  });
});

test("on a phone an entry is moved by its handle", async () => {
  await leaveQueue(ALBUM);
  await house.visit({ size: PHONE, at: "#/queue" }, async (page) => {
    await row(page, "Seed").waitFor();
    const from = await row(page, "Seed").locator(".handle").boundingBox();
    const to = await row(page, "Snail, Slowly").boundingBox();
    const touch = await page.context().newCDPSession(page);
    const at = (x: number, y: number) => [{ x, y }];
    const x = (from?.x ?? 0) + 8;
    await touch.send("Input.dispatchTouchEvent", {
      type: "touchStart",
      touchPoints: at(x, (from?.y ?? 0) + 20),
    });
    await touch.send("Input.dispatchTouchEvent", { type: "touchMove", touchPoints: at(x, (to?.y ?? 0) + 4) });
    await saved(page, () =>
      touch.send("Input.dispatchTouchEvent", { type: "touchEnd", touchPoints: [] }).then(() => {}),
    );
    assert.deepEqual(await titlesAtServer(house), [
      "Rain on Glass",
      "Seed",
      "Snail, Slowly",
      "Compost (Reprise)",
    ]);
  });
});
