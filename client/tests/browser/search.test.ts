// Search as one types: what is found, by keyboard, and how results follow each other.
import assert from "node:assert/strict";
import { relative } from "node:path";
import { test } from "node:test";
import type { Page } from "playwright-core";
import { DESKTOP, examine, openHouse, SIZES, takePicture } from "./fixture.ts";

const house = openHouse();
const field = (page: Page) => page.getByRole("searchbox", { name: "Search everything" });
const row = (page: Page, name: string) => page.getByRole("row", { name });

for (const size of SIZES) {
  test(`artists, albums, playlists and songs are found on a ${size.name}`, async () => {
    await house.act({ action: "add", type: "shared", name: `Window ${size.name}` });
    await house.visit({ size, at: "#/albums" }, async (page) => {
      await field(page).fill("window");
      await page.getByRole("group", { name: "Artists" }).getByText("The Window Boxes").waitFor();
      await page.getByRole("group", { name: "Albums" }).getByText("Garden Pieces").waitFor();
      await page
        .getByRole("main")
        .getByRole("group", { name: "Playlists" })
        .getByText(`Window ${size.name}`)
        .waitFor();
      await row(page, "Rain on Glass").waitFor();
      assert.match(await page.title(), /^Search: window/);
      assert.match(page.url(), /#\/search\?q=window$/);
      await examine(page, `search-${size.name}`);
      await page.getByRole("group", { name: "Albums" }).getByText("Garden Pieces").click();
      await page.getByRole("heading", { name: "Garden Pieces" }).waitFor();
      await page.goBack();
      await row(page, "Rain on Glass").waitFor();
      assert.equal(await field(page).inputValue(), "window");
    });
  });
}

test("results are walked through, opened and played by keys alone", () =>
  house.visit({ at: "#/songs" }, async (page) => {
    await row(page, "Seed").waitFor();
    await page.keyboard.press("/");
    await page.keyboard.type("garden");
    await page.getByRole("group", { name: "Albums" }).waitFor();
    await page.keyboard.press("ArrowDown");
    await page.locator(":focus").filter({ hasText: "Garden Pieces" }).waitFor();
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("ArrowDown");
    await page.locator("[role=row]:focus").waitFor();
    const kept = page.waitForRequest(
      (request) => request.url().includes("api/queue") && request.method() === "PUT",
    );
    await page.keyboard.press("Enter");
    assert.equal(((await kept).postDataJSON() as { items: unknown[] }).items.length, 4);
    await page.keyboard.press("ArrowUp");
    await page.keyboard.press("ArrowUp");
    await page.locator(":focus").filter({ hasText: "Garden Pieces" }).waitFor();
    await page.keyboard.press("ArrowUp");
    await field(page).and(page.locator(":focus")).waitFor();
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("Enter");
    await page.getByRole("heading", { name: "Garden Pieces" }).waitFor();
  }));

test("the focus stays among the results when more is typed elsewhere", () =>
  house.visit({ at: "#/search?q=window" }, async (page) => {
    await page.getByRole("group", { name: "Artists" }).first().waitFor();
    await field(page).focus();
    await page.keyboard.press("ArrowDown");
    await page.locator(".found :focus").waitFor();
    await page.evaluate(() => {
      location.hash = "#/search?q=kitchen";
    });
    await page.getByText("Garden Pieces").first().waitFor({ state: "detached" });
    await page.locator(".found :focus").filter({ hasText: "Kitchen Radio" }).waitFor();
  }));

test("a result is added to the open list by A", async () => {
  const { node } = await house.act<{ node: { id: string } }>({ action: "add", type: "shared", name: "Hits" });
  await house.visit({ size: DESKTOP, at: "#/albums" }, async (page) => {
    await page.evaluate((id) => localStorage.setItem("open_list:anna", JSON.stringify(id)), node.id);
    await page.reload();
    await field(page).fill("kitchen");
    await row(page, "Kettle & Spoon").waitFor();
    await page.locator("main .hit").first().waitFor();
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("a");
    await page.locator("aside").getByText("Kettle & Spoon").waitFor();
    await page.locator("aside").getByText("Крошки").waitFor();
  });
});

test("Escape leads back to where one was", () =>
  house.visit({ at: "#/genres" }, async (page) => {
    await row(page, "Folk").waitFor();
    await field(page).fill("rain");
    await row(page, "Rain on Glass").waitFor();
    await page.keyboard.press("Escape");
    await page.getByRole("heading", { name: "Genres" }).waitFor();
    assert.equal(await field(page).inputValue(), "");
  }));

test("requests of an older text are cancelled, and what was found stays until the new is there", () =>
  house.visit({ at: "#/search?q=rain" }, async (page) => {
    await row(page, "Rain on Glass").waitFor();
    const held: (() => void)[] = [];
    await page.route(/q=rain\+on\+gl(&|$)/, (route) => {
      held.push(() => void route.abort().catch(() => {}));
    });
    const asked = page.waitForRequest(/songs\?.*q=rain\+on\+gl&/);
    const cancelled = page.waitForEvent("requestfailed", (request) =>
      /songs\?.*q=rain\+on\+gl&/.test(request.url()),
    );
    await field(page).fill("rain on gl");
    await asked;
    assert.equal(await row(page, "Rain on Glass").count(), 1);
    await field(page).fill("snail");
    await cancelled;
    await row(page, "Snail, Slowly").waitFor();
    await row(page, "Rain on Glass").waitFor({ state: "detached" });
    for (const release of held) release();
  }));

test("names with HTML in them, and very long ones, are texts", async () => {
  const title = `<img src=x onerror=alert(1)> ${"very long ".repeat(18)}`.trim();
  await house.makeSongs([
    {
      path: "Odd/1.flac",
      seconds: 5,
      tags: { TITLE: title, ARTIST: "<b>Bold</b> & Söhne", ALBUM: "אלבום <i>" },
    },
  ]);
  for (const size of SIZES) {
    await house.visit({ size, at: "#/search?q=onerror" }, async (page) => {
      await row(page, title).waitFor();
      assert.equal(await page.locator("main img[src=x], main b").count(), 0);
      assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
      await takePicture(page, `odd-${size.name}-light`);
    });
  }
});

test("nothing found is said", () =>
  house.visit({ at: "#/search?q=zzzz" }, async (page) => {
    await page.getByText("Nothing found for “zzzz”.").waitFor();
  }));

test("both libraries are searched, and what is found is told apart", async () => {
  const song = (path: string, title: string) => ({
    path,
    seconds: 5,
    tags: {
      TITLE: title,
      ARTIST: "Zither Club",
      ALBUM: "Zither Evenings",
      GENRE: "Zither Music",
      COMPOSER: "Zither Anton",
    },
  });
  const mine = relative(house.places.library, house.places.personal);
  await house.makeSongs([
    ...["One", "Two"].map((title) => song(`Zither/${title}.flac`, `Ours ${title}`)),
    ...["One", "Two"].map((title) => song(`${mine}/Zither/${title}.flac`, `Mine ${title}`)),
  ]);
  await house.visit({ at: "#/search?q=zither" }, async (page) => {
    for (const name of [
      "Artists",
      "Albums",
      "Genres",
      "Composers",
      "Artists of your library",
      "Genres of your library",
    ]) {
      await page
        .getByRole("group", { name, exact: true })
        .getByText(/^Zither/)
        .first()
        .waitFor();
    }
    await page.getByText("Songs of the shared library").waitFor();
    await page.getByText("Songs of your library").waitFor();
    const titles = await page
      .getByRole("grid")
      .getByRole("row")
      .getByText(/^(Ours|Mine) /)
      .allTextContents();
    assert.deepEqual(
      titles.map((title) => title.split(" ")[0]),
      ["Ours", "Ours", "Mine", "Mine"],
    );
    await examine(page, "search-both-desktop", "main");
    await row(page, "Mine Two").click();
    await page.getByRole("group", { name: "Albums of your library" }).getByText("Zither Evenings").click();
    await row(page, "Mine One").waitFor();
    assert.equal(await row(page, "Ours One").count(), 0);
  });
  await house.visit({ user: "ben", at: "#/search?q=zither" }, async (page) => {
    await row(page, "Ours One").waitFor();
    assert.equal(await page.getByText("Songs of the shared library").count(), 0);
  });
});
