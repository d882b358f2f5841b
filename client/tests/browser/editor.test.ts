import assert from "node:assert/strict";
import { test } from "node:test";
import type { Locator, Page } from "playwright-core";
import { entriesOf, idOf, makeList, openInPanel, showInPanel, songsOf, titlesOf } from "./editor_support.ts";
import { examine, openHouse, PHONE, SIZES, takePicture } from "./fixture.ts";

const house = openHouse();

async function middleOf(element: Locator) {
  const box = await element.boundingBox();
  if (!box) throw new Error("it is not to be seen");
  return {
    x: box.x + box.width / 2,
    y: box.y + box.height / 2,
    left: box.x,
    top: box.y,
    bottom: box.y + box.height,
  };
}

/** From what the row says first. */
async function drag(page: Page, from: Locator, to: { x: number; y: number }, drop = true) {
  const at = await middleOf(from);
  const x = at.left + 40;
  await page.mouse.move(x, at.y);
  await page.mouse.down();
  await page.mouse.move(x, at.y + 10);
  await page.mouse.move(to.x, to.y, { steps: 5 });
  if (drop) await page.mouse.up();
}

test("songs are removed, and that is undone and done again", async () => {
  const id = await makeList(house, "Removing", 6);
  const before = await titlesOf(house, id);
  await house.visit({}, async (page) => {
    const { row, titles, saved, panel } = await openInPanel(page, id);
    await row(1).click();
    await row(3).click({ modifiers: ["Control"] });
    await page.keyboard.press("Delete");
    const left = before.filter((_, at) => at !== 1 && at !== 3);
    assert.deepEqual(await titles(), left);
    await page.getByText("Removed 2 songs").waitFor();
    assert.equal(await page.evaluate(() => document.activeElement?.getAttribute("data-index")), "2");
    await saved();
    assert.deepEqual(await titlesOf(house, id), left);

    await page.keyboard.press("Control+z");
    await panel.getByText("6 songs").waitFor();
    assert.deepEqual(await titles(), before);
    await saved();
    assert.deepEqual(await titlesOf(house, id), before);

    await page.keyboard.press("Control+Shift+Z");
    await panel.getByText("4 songs").waitFor();
    await saved();
    assert.deepEqual(await titlesOf(house, id), left);
  });
});

test("songs are moved by keys, and keep focus and selection", async () => {
  const id = await makeList(house, "Moving", 6);
  const [a, b, c, d, e, f] = await titlesOf(house, id);
  await house.visit({}, async (page) => {
    const { panel, row, titles, saved } = await openInPanel(page, id);
    const selected = () =>
      panel
        .locator("[aria-selected=true]")
        .evaluateAll((rows) => rows.map((one) => (one as HTMLElement).dataset.index));
    await row(1).click();
    await page.keyboard.press("Shift+ArrowDown");
    await page.keyboard.press("Alt+ArrowDown");
    await page.getByText("Moved to 3 of 6").waitFor({ state: "attached" });
    assert.deepEqual(await titles(), [a, d, b, c, e, f]);
    assert.deepEqual(await selected(), ["2", "3"]);
    assert.equal(await page.evaluate(() => document.activeElement?.getAttribute("data-index")), "3");
    await page.keyboard.press("Alt+ArrowUp");
    await page.keyboard.press("Alt+ArrowUp");
    assert.deepEqual(await titles(), [b, c, a, d, e, f]);
    await page.keyboard.press("m");
    await page.getByLabel("Position of the first, 1 to 5").fill("9");
    await page.keyboard.press("Enter");
    await page.getByText("Please give a number from 1 to 5.").waitFor();
    await page.getByLabel("Position of the first").fill("5");
    await page.keyboard.press("Enter");
    await page.getByText("Moved to 5 of 6").waitFor({ state: "attached" });
    assert.deepEqual(await titles(), [a, d, e, f, b, c]);
    assert.deepEqual(await selected(), ["4", "5"]);
    await page.waitForFunction(() => document.activeElement?.getAttribute("data-index") === "5");
    await saved();
    assert.deepEqual(await titlesOf(house, id), [a, d, e, f, b, c]);
  });
});

/** Counts from now on how many rows glide, and from where. */
async function watchGlides(page: Page) {
  const glides = await page.evaluateHandle(() => {
    const seen: string[] = [];
    const { animate } = Element.prototype;
    Element.prototype.animate = function (this: HTMLElement, frames, options) {
      const [first] = frames as Keyframe[];
      seen.push(`${this.dataset.index}: ${first?.transform}`);
      return animate.call(this, frames, options);
    };
    return seen;
  });
  return () => glides.evaluate((seen) => seen.splice(0).sort());
}

test("songs that are moved glide to their places, unless people want no motion", async () => {
  const id = await makeList(house, "Gliding", 4);
  await house.visit({}, async (page) => {
    const { panel, row, saved } = await openInPanel(page, id);
    await row(1).click();
    const glides = await watchGlides(page);
    await page.keyboard.press("Alt+ArrowDown");
    await page.getByText("Moved to 3 of 4").waitFor({ state: "attached" });
    assert.deepEqual(await glides(), ["1: translateY(36px)", "2: translateY(-36px)"]);
    await saved();
    await page.keyboard.press("Control+z");
    await page.getByText("Undone").waitFor({ state: "attached" });
    assert.deepEqual(await glides(), ["1: translateY(36px)", "2: translateY(-36px)"]);
    await panel.locator("[data-scroller]").hover();
    await page.mouse.wheel(0, 40);
    await page.emulateMedia({ reducedMotion: "reduce" });
    await page.waitForFunction(() => matchMedia("(prefers-reduced-motion: reduce)").matches);
    await page.keyboard.press("Alt+ArrowDown");
    await saved();
    assert.deepEqual(await glides(), []);
  });
});

test("songs are dragged to their place, and Escape puts them back", async () => {
  const id = await makeList(house, "Dragging", 6);
  const before = await titlesOf(house, id);
  const [a, b, c, d, e, f] = before;
  await house.visit({}, async (page) => {
    const { row, titles, saved } = await openInPanel(page, id);
    await row(0).click();
    await row(2).click({ modifiers: ["Control"] });
    const below = await middleOf(row(4));
    await drag(page, row(0), { x: below.x, y: below.bottom - 2 }, false);
    await page.locator(".drop-line").waitFor();
    assert.equal(await page.locator(".drag-ghost").textContent(), "2 songs");
    await takePicture(page, "editor-dragging");
    await page.keyboard.press("Escape");
    await page.locator(".drop-line").waitFor({ state: "detached" });
    await page.mouse.up();
    assert.deepEqual(await titles(), before);

    const sent = page.waitForRequest(/audio_playlist\.cgi/);
    await drag(page, row(2), { x: below.x, y: below.bottom - 2 });
    assert.deepEqual(await titles(), [b, d, e, a, c, f]);
    const edit = new URLSearchParams((await sent).postData() ?? "");
    assert.deepEqual([edit.get("action"), edit.get("start"), edit.get("limit")], ["update", "0", "5"]);
    await saved();
    assert.deepEqual(await titlesOf(house, id), [b, d, e, a, c, f]);
  });
});

test("a finger drags by the handle on a phone, and scrolls elsewhere", async () => {
  const id = await makeList(house, "Touch", 6);
  const [a, b, c, d, e, f] = await titlesOf(house, id);
  await house.visit({ size: PHONE }, async (page) => {
    const { row, titles, saved } = await openInPanel(page, id);
    const from = await middleOf(row(0).locator(".handle"));
    const to = await middleOf(row(2));
    const client = await page.context().newCDPSession(page);
    const touch = (type: "touchStart" | "touchMove" | "touchEnd", x: number, y: number) =>
      client.send("Input.dispatchTouchEvent", { type, touchPoints: type === "touchEnd" ? [] : [{ x, y }] });
    await touch("touchStart", from.x, from.y);
    for (const part of [0.2, 0.5, 0.8, 1]) {
      await touch("touchMove", from.x + 40 * part, from.y + (to.bottom - 4 - from.y) * part);
    }
    await page.locator(".drop-line").waitFor();
    await touch("touchEnd", 0, 0);
    await page.locator(".drop-line").waitFor({ state: "detached" });
    assert.deepEqual(await titles(), [b, c, a, d, e, f]);
    await saved();
    assert.deepEqual(await titlesOf(house, id), [b, c, a, d, e, f]);
    await takePicture(page, "editor-phone");
  });
});

test("songs are dragged from the library between two rows", async () => {
  const songs = await songsOf(house);
  const id = await makeList(
    house,
    "Dropping",
    songs.slice(0, 3).map((song) => song.id),
  );
  await house.visit({ at: "#/songs" }, async (page) => {
    const { row, titles, saved } = await openInPanel(page, id);
    const wanted = songs[5]?.title ?? "";
    const song = page.getByRole("main").getByRole("row").filter({ hasText: wanted });
    const below = await middleOf(row(0));
    await drag(page, song, { x: below.x, y: below.bottom });
    await page.getByText("Added 1 song to Dropping").waitFor();
    const expected = [songs[0]?.title, wanted, songs[1]?.title, songs[2]?.title];
    assert.deepEqual(await titles(), expected);
    await saved();
    assert.deepEqual(await titlesOf(house, id), expected);
  });
});

test("what is not found is repaired: the best, a chosen one, all that are certain; and undone", async () => {
  const songs = await songsOf(house);
  const path = async (at: number) =>
    (await house.get<{ path: string }>(`api/songs/${songs[at]?.id}`)).path.replace(/^.*\//, "");
  await house.writePlaylist("Lost", [
    `../Gone/${await path(0)}`,
    `#EXTINF:3,Somebody - ${songs[1]?.title}`,
    "../Gone/Other.mp3",
    `../Gone/${await path(2)}`,
    "../Gone/Nothing like it.mp3",
  ]);
  const id = await idOf(house, "Lost");
  await house.visit({}, async (page) => {
    const { panel, row, saved } = await openInPanel(page, id);
    await panel.getByText("4 songs were not found.").waitFor();
    await row(0)
      .getByRole("button", { name: /^not found – \d+ candidate/ })
      .waitFor();
    await examine(page, "editor-missing", "aside");

    await row(0).getByRole("button", { name: /^Take/ }).click();
    await panel.getByText("3 songs were not found.").waitFor();
    await saved();
    await row(1)
      .getByRole("button", { name: /candidate/ })
      .click();
    await page.getByRole("dialog").getByRole("radio").first().waitFor();
    await examine(page, "editor-candidates", "dialog");
    await page.getByRole("button", { name: "Take this one" }).click();
    await panel.getByText("2 songs were not found.").waitFor();
    await saved();
    await panel.getByRole("button", { name: /^Repair/ }).click();
    await panel.getByText("1 song was not found.").waitFor();
    await saved();
    const repaired = (await entriesOf(house, id)).map(({ song }) => song?.id);
    assert.deepEqual([repaired[0], repaired[2], repaired[3]], [songs[0]?.id, songs[2]?.id, undefined]);

    for (const count of [2, 3, 4]) {
      await page.keyboard.press("Control+z");
      await panel.getByText(`${count} songs were not found.`).waitFor();
    }
    await saved();
    assert.equal((await entriesOf(house, id)).filter(({ missing }) => missing).length, 4);
  });
});

test("duplicates are marked, asked about, and removed", async () => {
  const songs = await songsOf(house);
  const [a, b, c] = songs.map((song) => song.id) as [number, number, number];
  const id = await makeList(house, "Twice", [a, b, a]);
  await house.visit({ at: "#/songs" }, async (page) => {
    const { panel, row, rows, saved, titles } = await openInPanel(page, id);
    await row(2).getByText("twice").waitFor();
    const main = page.getByRole("main").getByRole("row");
    const dropBoth = async (question: string) => {
      await main.filter({ hasText: songs[0]?.title ?? "" }).click();
      await main.filter({ hasText: songs[2]?.title ?? "" }).click({ modifiers: ["Control"] });
      await drag(page, main.filter({ hasText: songs[2]?.title ?? "" }), await middleOf(row(1)));
      await page.getByText(question).waitFor();
    };
    await dropBoth("1 of 2 are in the list already.");
    await examine(page, "editor-duplicates", "dialog");
    await page.getByRole("button", { name: "Skip them, add 1" }).click();
    await panel.getByText("4 songs").waitFor();
    assert.equal((await titles()).filter((title) => title === songs[2]?.title).length, 1);
    await saved();
    await dropBoth("All 2 are in the list already.");
    await page.getByRole("button", { name: "Add all" }).click();
    await panel.getByText("6 songs").waitFor();
    await panel.getByRole("button", { name: "Menu" }).click();
    await page.getByRole("menuitem", { name: "Remove duplicates" }).click();
    await panel.getByText("3 songs").waitFor();
    await page.getByText("Removed 3 duplicates").waitFor();
    assert.equal(await rows.count(), 3);
    await saved();
    assert.deepEqual(new Set((await entriesOf(house, id)).map(({ song }) => song?.id)), new Set([a, b, c]));
  });
});

test("a list is sorted and shuffled as one edit, renamed, and its history undoes each of them", async () => {
  const songs = await songsOf(house);
  const id = await makeList(
    house,
    "Whole",
    songs
      .slice(0, 8)
      .map((song) => song.id)
      .reverse(),
  );
  const before = await titlesOf(house, id);
  await house.visit({}, async (page) => {
    const { panel, titles, saved, row } = await openInPanel(page, id);
    const choose = async (name: string) => {
      await panel.getByRole("button", { name: "Menu" }).click();
      await page.getByRole("menuitem", { name, exact: true }).click();
    };
    await choose("Sort by title");
    await page.getByText("Sorted by title").waitFor();
    const sorted = await titles();
    assert.deepEqual([...sorted].sort(), [...before].sort());
    await saved();
    assert.deepEqual(await titlesOf(house, id), sorted);
    await choose("Shuffle");
    await saved();
    await row(0).click();
    await page.keyboard.press("F2");
    await page.getByLabel("Name", { exact: true }).fill("Another name");
    await page.keyboard.press("Enter");
    await panel.getByRole("heading", { name: "Another name" }).waitFor();

    await choose("History");
    await examine(page, "editor-history", "dialog");
    await page.getByRole("button", { name: "Undo: Shuffled" }).click();
    await page.getByRole("button", { name: "Do again: Shuffled" }).waitFor();
    await page.getByRole("dialog").getByRole("button", { name: "Close" }).click();
    assert.deepEqual(await titles(), sorted);
    await choose("History");
    await page.getByRole("button", { name: "Undo: Renamed “Whole” to “Another name”" }).click();
    await panel.getByRole("heading", { name: "Whole" }).waitFor({ state: "attached" });
    await page.getByRole("dialog").getByRole("button", { name: "Close" }).click();
    await saved();
  });
});

for (const size of SIZES) {
  test(`the panel on a ${size.name}`, async () => {
    const id = await makeList(house, `Picture ${size.name}`, 12);
    const empty = await makeList(house, `Empty ${size.name}`, 0);
    await house.visit({ size, at: "#/songs" }, async (page) => {
      const { row, panel } = await openInPanel(page, id);
      await row(0).waitFor();
      await examine(page, `editor-${size.name}`, "aside");
      await openInPanel(page, empty);
      await panel
        .getByText(
          size.touch ? "Select songs in the library" : "Drag songs here, or select some and press A.",
        )
        .waitFor();
      await examine(page, `editor-empty-${size.name}`, "aside");
    });
  });
}

test("selected entries are added to another list, by the bar and by a key", async () => {
  const id = await makeList(house, "Giving", 4);
  const other = await makeList(house, "Taking", 0);
  const [first = "", second = "", third = ""] = await titlesOf(house, id);
  await house.visit({}, async (page) => {
    const { panel, row } = await openInPanel(page, id);
    const choose = async () => {
      await page.getByRole("combobox", { name: "Find a playlist" }).fill("Taking");
      const added = page.waitForResponse(/audio_playlist\.cgi/);
      await page.keyboard.press("Enter");
      await added;
    };
    await row(0).click();
    await page.keyboard.press("Shift+ArrowDown");
    await panel.getByRole("toolbar").getByRole("button", { name: "Add to…" }).click();
    await choose();
    await panel.getByRole("button", { name: "Clear the selection" }).click();
    await panel.getByRole("toolbar").waitFor({ state: "hidden" });
    await row(2).click();
    await page.keyboard.press("l");
    await choose();
    assert.deepEqual(await titlesOf(house, other), [first, second, third]);
    assert.equal((await titlesOf(house, id)).length, 4);
  });
});

test("the menu of an open list copies it, and deletes it until that is undone", async () => {
  const id = await makeList(house, "Open", 3);
  const titles = await titlesOf(house, id);
  await house.visit({}, async (page) => {
    const { panel } = await openInPanel(page, id);
    const choose = async (name: RegExp) => {
      await panel.getByRole("button", { name: "Menu" }).click();
      await page.getByRole("menuitem", { name }).click();
    };
    await choose(/^Save as playlist/);
    await page.getByRole("dialog").getByLabel("Name", { exact: true }).fill("Open too");
    await page.keyboard.press("Enter");
    await page.getByRole("treeitem", { name: /^Open too/ }).waitFor();
    assert.deepEqual(await titlesOf(house, await idOf(house, "Open too")), titles);
    await choose(/^Delete/);
    await panel.waitFor({ state: "detached" });
    await page.getByText("Deleted “Open”").waitFor();
    await page.keyboard.press("Control+z");
    await panel.getByRole("heading", { name: "Open" }).waitFor();
    assert.deepEqual(await titlesOf(house, await idOf(house, "Open")), titles);
  });
});

test("the view and the panel show the same list, and edits of one are seen in the other", async () => {
  const id = await makeList(house, "Both at once", 4);
  const [a, b, c, d] = await titlesOf(house, id);
  await house.visit({ at: `#/playlists/${encodeURIComponent(id)}` }, async (page) => {
    const { row, titles, saved } = await openInPanel(page, id);
    const main = page.getByRole("main");
    await main.getByRole("heading", { level: 1, name: "Both at once" }).waitFor();
    await examine(page, "editor-page");
    await main.locator("[data-index='0']").click();
    await page.keyboard.press("Alt+ArrowDown");
    await row(0)
      .getByText(b ?? "")
      .waitFor();
    assert.deepEqual(await titles(), [b, a, c, d]);
    await saved();
  });
});

test("what a rule chooses is shown, and cannot be edited", async () => {
  await house.visit({}, async (page) => {
    const { panel, row } = await showInPanel(page, "musiclib_random");
    await panel.getByText("Chosen by rules").waitFor();
    await row(0).click();
    await page.keyboard.press("Delete");
    assert.equal(await panel.locator(".handle").count(), 0);
    assert.equal(await panel.getByRole("button", { name: "Remove" }).count(), 0);
    await panel.getByText("12 songs").waitFor();
  });
});

const NAMES = [
  '<b onclick=alert(1)>bold</b> & "quoted"',
  "Very long ".repeat(20).trim(),
  "ありがとう、世界",
  "أغنية طويلة عن البحر",
  "Γειά σου Κόσμε",
  "नमस्ते दुनिया",
  "👩‍👩‍👧‍👦 family",
];

test("names in any script, with HTML in them, or very long", async () => {
  const songs = NAMES.map((title, at) => ({
    res: `http://radio.example/${at}`,
    title,
    artist: NAMES[6 - at],
  }));
  const { node } = await house.act<{ node: { id: string } }>({
    action: "add",
    type: "shared",
    name: "<i>Names に 🎵 السلام",
    id_info_list: songs,
  });
  await house.visit({ size: PHONE, theme: "dark" }, async (page) => {
    const { panel, titles, row } = await openInPanel(page, node.id);
    await panel.getByRole("heading", { name: "<i>Names に 🎵 السلام" }).waitFor();
    assert.deepEqual(await titles(), NAMES);
    const [whole, seen] = await row(1)
      .locator(".entry-title")
      .evaluate((title) => [title.scrollWidth, title.clientWidth]);
    assert.ok((whole ?? 0) > (seen ?? 0)); // cut, and told whole by the tooltip
    await row(1).locator(".entry-title").hover();
    assert.match((await row(1).locator(".entry-title").getAttribute("title")) ?? "", /^Very long /);
    const overflow = await panel.evaluate((aside) => aside.scrollWidth - aside.clientWidth);
    assert.equal(overflow, 0);
    await examine(page, "editor-names", "aside");
  });
});
