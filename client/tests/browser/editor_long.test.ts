// Long lists: what is selected, moved, removed and undone in them at once, and what of them is loaded.
import assert from "node:assert/strict";
import { test } from "node:test";
import type { Locator, Page } from "playwright-core";
import { makeList, openInPanel, type ShownEntry, songsOf } from "./editor_support.ts";
import { openHouse, takePicture } from "./fixture.ts";

const house = openHouse();
const LENGTH = 20_000;
const MOST_SCRIPT_MS = 1000; // of one edit of all entries, on a machine that is busy with other tests

const streams = (count: number) =>
  Array.from({ length: count }, (_, at) => ({ res: `http://radio.example/${at}`, title: `Stream ${at}` }));

async function makeStreams(name: string, count: number): Promise<string> {
  const answer = await house.act<{ node: { id: string } }>({
    action: "add",
    type: "shared",
    name,
    id_info_list: streams(count),
  });
  return answer.node.id;
}

/** The title at a position of the server's list. */
async function titleAt(id: string, position: number) {
  const { items } = await house.get<{ items: ShownEntry[] }>(
    `api/playlists/${id}?offset=${position}&limit=1`,
  );
  return (items[0] as ShownEntry & { title?: string }).title;
}

/** Milliseconds of script that something takes. */
async function scriptOf(page: Page, work: () => Promise<unknown>): Promise<number> {
  const session = await page.context().newCDPSession(page);
  await session.send("Performance.enable");
  const now = async () => {
    const { metrics } = await session.send("Performance.getMetrics");
    return (metrics.find(({ name }) => name === "ScriptDuration")?.value ?? 0) * 1000;
  };
  const before = await now();
  await work();
  const took = Math.round((await now()) - before);
  await session.detach();
  return took;
}

test("all but one of 20,000 entries are moved, removed, and brought back", async () => {
  const id = await makeStreams("Long", LENGTH);
  await house.visit({}, async (page) => {
    let loaded = 0;
    page.on("request", (request) => {
      if (request.url().includes("/api/playlists/")) loaded++;
    });
    const { panel, row, titles, saved } = await openInPanel(page, id);
    await row(0).waitFor();
    assert.ok(loaded < 5, `${loaded} requests for what is in view`);
    await row(0).click();
    const selecting = await scriptOf(page, async () => {
      await page.keyboard.press("Control+a");
      await page.getByText("20,000 selected").waitFor();
    });
    await row(0).click({ modifiers: ["Control"] });
    await page.getByText("19,999 selected").waitFor();
    await page.keyboard.press("m");
    await page.getByLabel("Position of the first").fill("1");
    const moving = await scriptOf(page, async () => {
      await page.keyboard.press("Enter");
      await page.getByText("Moved to 1 of 20,000").waitFor({ state: "attached" });
    });
    assert.equal((await titles()).at(-1), "Stream 0"); // the row with the focus, which is followed
    await saved();
    assert.equal(await titleAt(id, LENGTH - 1), "Stream 0");

    const removing = await scriptOf(page, async () => {
      await page.keyboard.press("Delete");
      await panel.getByText(/^1 song( ·|$)/).waitFor();
    });
    await saved();
    const undoing = await scriptOf(page, async () => {
      await page.keyboard.press("Control+z");
      await panel.getByText(/^20,000 songs/).waitFor();
    });
    await saved();
    assert.equal(await titleAt(id, 0), "Stream 1");
    assert.equal(await titleAt(id, LENGTH - 1), "Stream 0");
    await takePicture(page, "editor-long");
    const took = { selecting, moving, removing, undoing };
    console.error("milliseconds of script for 20,000 entries:", JSON.stringify(took));
    for (const [what, ms] of Object.entries(took)) assert.ok(ms < MOST_SCRIPT_MS, `${what}: ${ms} ms`);
  });
});

test("a list cannot have more than 100,000 entries, and says so", async () => {
  const id = await makeStreams("Full", 100_000);
  await house.visit({ at: "#/songs" }, async (page) => {
    const { panel } = await openInPanel(page, id);
    await page.getByRole("main").getByRole("row").nth(1).click();
    await page.keyboard.press("a");
    await page.getByText("A playlist has 100,000 entries at most. Nothing was changed.").waitFor();
    await panel.getByText(/^100,000 songs/).waitFor();
  });
});

test("rows that are scrolled away show those that come, which stand in order when all is at rest", async () => {
  const id = await makeStreams("Scrolled", 300);
  await house.visit({}, async (page) => {
    const { panel, rows, row } = await openInPanel(page, id);
    await row(0).waitFor();
    await panel.locator("[data-scroller]").evaluate((list) => list.scrollTo(0, 1000));
    await row(40).click();
    const elements = await rows.evaluateAll((all) => {
      for (const one of all) one.setAttribute("data-before", "");
      return all.length;
    });
    for (let step = 0; step < 10; step++) await page.mouse.wheel(0, 400);
    await row(150).getByText("Stream 150").waitFor();
    await page.waitForFunction(() => {
      const shown = [...document.querySelectorAll<HTMLElement>("aside [data-index]")];
      const places = shown.map(({ dataset }) => Number(dataset.index));
      return places.every((place, at) => at === 0 || place > (places[at - 1] ?? 0));
    });
    const before = await panel.locator("[data-before]").count();
    assert.ok(before >= elements - 1, `${before} of ${elements} elements are still there`);
    assert.equal(await page.evaluate(() => (document.activeElement as HTMLElement).dataset.index), "40");
    await page.keyboard.press("ArrowDown");
    await row(41).and(page.locator(":focus")).waitFor();
  });
});

/** In a row of the panel, beside what it says. */
async function besideText(row: Locator) {
  const box = await row.boundingBox();
  if (!box) throw new Error("it is not to be seen");
  return { x: box.x + box.width - 62, y: box.y + box.height / 2 };
}

test("a frame beside what rows say selects them, scrolls at the edge, and is given up by Escape", async () => {
  const ids = (await songsOf(house)).map(({ id }) => id);
  const id = await makeList(
    house,
    "Framed",
    Array.from({ length: 60 }, (_, at) => ids[at % ids.length] ?? 0),
  );
  await house.visit({}, async (page) => {
    const { panel, row } = await openInPanel(page, id);
    const selected = () =>
      panel
        .locator("[aria-selected=true]")
        .evaluateAll((rows) => rows.map((one) => Number((one as HTMLElement).dataset.index)).sort());
    const press = async (from: number, to: number) => {
      const [start, end] = [await besideText(row(from)), await besideText(row(to))];
      await page.mouse.move(start.x, start.y);
      await page.mouse.down();
      await page.mouse.move(end.x - 40, end.y, { steps: 4 });
      await page.locator(".selection-frame").waitFor();
    };
    await press(1, 3);
    assert.deepEqual(await selected(), [1, 2, 3]);
    await takePicture(page, "editor-framing");
    await page.mouse.up();
    await page.locator(".selection-frame").waitFor({ state: "detached" });
    assert.deepEqual(await selected(), [1, 2, 3]);
    assert.equal(await page.evaluate(() => document.activeElement?.getAttribute("data-index")), "3");

    await page.keyboard.down("Control");
    await press(6, 5);
    assert.deepEqual(await selected(), [1, 2, 3, 5, 6]);
    await page.keyboard.up("Control");
    await page.keyboard.press("Escape");
    await page.locator(".selection-frame").waitFor({ state: "detached" });
    await page.mouse.up();
    assert.deepEqual(await selected(), [1, 2, 3]);

    await press(8, 10);
    const view = await panel.locator("[data-scroller]").boundingBox();
    await page.mouse.move((view?.x ?? 0) + 100, (view?.y ?? 0) + (view?.height ?? 0) - 4);
    await row(59).and(page.locator("[aria-selected=true]")).waitFor();
    await page.mouse.up();
    await panel.getByText("52 selected").waitFor();
  });
});
