// The views of the library: what they show, how they are left and come back to, what can be done with songs.
import assert from "node:assert/strict";
import { test } from "node:test";
import type { Download, Page } from "playwright-core";
import type { Song } from "../../src/api/types.ts";
import { DESKTOP, examine, openHouse, PHONE, SIZES, TABLET } from "./fixture.ts";

const house = openHouse();
const MANY = 400;

const row = (page: Page, name: string) => page.getByRole("row", { name });
const titles = (page: Page) =>
  page.locator(".row .cell:first-child").evaluateAll((cells) => cells.map((cell) => cell.textContent));

for (const size of SIZES) {
  test(`an album is opened, and the way back leads to the albums, on a ${size.name}`, () =>
    house.visit({ size, at: "#/albums" }, async (page) => {
      await page.getByText("Garden Pieces").click();
      await page.getByRole("heading", { name: "Garden Pieces" }).waitFor();
      await row(page, "Snail, Slowly").waitFor();
      assert.match(await page.title(), /^Garden Pieces/);
      await page.goBack();
      await page.getByRole("heading", { name: "Albums" }).waitFor();
      assert.match(await page.title(), /^Albums/);
    }));
}

test("a list that is asked for by another address meanwhile comes", () =>
  house.visit({ at: "#/artists" }, async (page) => {
    let go = () => {};
    const gone = new Promise<void>((done) => {
      go = done;
    });
    await page.route(/api\/albums/, async (route) => {
      await gone;
      await route.continue();
    });
    await page.goto("#/");
    await page.getByRole("heading", { name: "Albums" }).waitFor();
    await page.goto("#/albums");
    go();
    await page.getByText("Garden Pieces").waitFor();
  }));

test("songs of several discs stand below the numbers of these", () =>
  house.visit({}, async (page) => {
    await page.getByText("Småvägar").click();
    await page.getByText("Disc 1").waitFor();
    assert.deepEqual(await page.locator(".section, .row").allTextContents(), [
      "Disc 1",
      "1Grusväg0:02",
      "Disc 2",
      "1Älven på våren0:03",
    ]);
  }));

test("albums are sorted and filtered, and the address tells how", () =>
  house.visit({ at: "#/albums" }, async (page) => {
    const names = () => page.locator(".tile-name").allTextContents();
    await page.getByText("Kitchen Radio").waitFor();
    const sorted = page.waitForResponse(/albums\?.*sort=year/);
    await page.getByLabel("Sort by").selectOption("year");
    await sorted;
    await page.locator(".tile-name >> nth=0", { hasText: "Småvägar" }).waitFor();
    assert.deepEqual(await names(), ["Småvägar", "Kitchen Radio", "Garden Pieces", "港の朝"]);
    await page.getByRole("button", { name: "Ascending" }).click();
    await page.locator(".tile-name >> nth=0", { hasText: "港の朝" }).waitFor();
    assert.match(page.url(), /sort=year&dir=desc/);
    await page.getByRole("searchbox", { name: "Filter" }).fill("pieces");
    await page.getByText("Kitchen Radio").waitFor({ state: "detached" });
    assert.deepEqual(await names(), ["Garden Pieces"]);
    await page.reload();
    await page.getByText("Garden Pieces").waitFor();
    assert.deepEqual(await names(), ["Garden Pieces"]);
  }));

test("a genre leads to its albums and its songs", () =>
  house.visit({ at: "#/genres" }, async (page) => {
    await row(page, "Folk").click();
    await page.getByText("Garden Pieces").waitFor();
    await page.getByRole("button", { name: "4 songs" }).click();
    await row(page, "Compost (Reprise)").waitFor();
    assert.match(page.url(), /show=songs/);
  }));

test("who is the artist of albums only has the songs of these", () =>
  house.visit({ at: "#/artists" }, async (page) => {
    await row(page, "Various").click();
    await page.getByText("Kitchen Radio").waitFor();
    await page.getByRole("button", { name: "Songs", exact: true }).click();
    await row(page, "Kettle & Spoon").waitFor();
  }));

test("a folder is looked into, and its crumbs lead up again", () =>
  house.visit({ size: PHONE, at: "#/folders" }, async (page) => {
    await row(page, "The Window Boxes").waitFor();
    assert.equal(await page.locator(".row.current").count(), 0);
    await row(page, "The Window Boxes").tap();
    await row(page, "Garden Pieces").tap();
    await row(page, "Seed").waitFor();
    await page.getByRole("navigation", { name: "Where this folder is" }).getByText("The Window Boxes").tap();
    await page.getByRole("heading", { name: "The Window Boxes" }).waitFor();
  }));

test("songs are sorted by a column, and columns are chosen", () =>
  house.visit({ at: "#/songs" }, async (page) => {
    await row(page, "Seed").waitFor();
    await page.getByRole("button", { name: "Title", exact: true }).click();
    await page.locator(".row >> nth=0", { hasText: "Älven" }).waitFor();
    const up = await titles(page);
    await page.getByRole("button", { name: "Title", exact: true }).click();
    await page.locator(".row >> nth=0").filter({ hasNotText: "Älven" }).waitFor();
    assert.deepEqual(await titles(page), up.reverse());
    await page.getByRole("button", { name: "Columns" }).click();
    await page.getByRole("menuitemcheckbox", { name: "Genre" }).click();
    await page.getByRole("columnheader", { name: "Genre" }).waitFor();
    await page.reload();
    await page.getByRole("columnheader", { name: "Genre" }).waitFor();
  }));

test("a song and those that follow it are played by Enter", () =>
  house.visit({ at: "#/songs" }, async (page) => {
    const kept = page.waitForRequest(
      (request) => /api\/queue/.test(request.url()) && request.method() === "PUT",
    );
    await row(page, "Rain on Glass").click();
    await page.keyboard.press("Enter");
    const queue = (await kept).postDataJSON() as { items: { song: number }[]; position: number };
    assert.equal(queue.items.length, 12);
    const song = await house.get<Song>(`api/songs/${queue.items[queue.position]?.song}`);
    assert.equal(song.title, "Rain on Glass");
    await page.locator(".row.current", { hasText: "Rain on Glass" }).waitFor();
  }));

test("songs are selected by keys, and added to a list that is asked for", () =>
  house.visit({ at: "#/songs" }, async (page) => {
    await row(page, "Seed").click();
    await page.keyboard.press("Shift+ArrowDown");
    await page.keyboard.press("Shift+ArrowDown");
    const bar = page.getByRole("toolbar", { name: "Selection" });
    await bar.getByText("3 selected").waitFor();
    await examine(page, "selected-desktop");
    await page.keyboard.press("l");
    await page.getByRole("dialog").waitFor();
    await page.keyboard.press("Escape");
    await page.getByRole("dialog").waitFor({ state: "detached" });
    await page.keyboard.press("Control+a");
    await bar.getByText("12 selected").waitFor();
    await page.keyboard.press("Escape");
    await bar.waitFor({ state: "detached" });
  }));

test("songs of an album are added to the open list by one key", async () => {
  const { node } = await house.act<{ node: { id: string } }>({
    action: "add",
    type: "shared",
    name: "Rainy",
  });
  await house.visit({ at: "#/albums" }, async (page) => {
    await page.evaluate((id) => localStorage.setItem("open_list:anna", JSON.stringify(id)), node.id);
    await page.reload();
    await page.getByText("Garden Pieces").click();
    await page.getByRole("button", { name: "Add to Rainy" }).click();
    await page.locator("aside").getByText("Compost (Reprise)").waitFor();
    await examine(page, "album_and_list-desktop");
  });
});

test("on a phone songs go to the list that was used last, by one press", async () => {
  const { node } = await house.act<{ node: { id: string } }>({
    action: "add",
    type: "shared",
    name: "Kitchen",
  });
  const added = (page: Page) => page.waitForResponse(/audio_playlist\.cgi/);
  await house.visit({ size: PHONE, at: "#/albums" }, async (page) => {
    await page.getByText("Garden Pieces").click();
    await page.getByRole("button", { name: "Add to…" }).click();
    await page.getByRole("combobox", { name: "Find a playlist" }).fill("Kitchen");
    const first = added(page);
    await page.getByRole("option", { name: /^Kitchen/ }).click();
    await first;
    const second = added(page);
    await page.getByRole("button", { name: "Add to Kitchen" }).click();
    await page.getByRole("dialog").getByRole("button", { name: "Add all" }).click();
    await second;
    const { total } = await house.get<{ total: number }>(`api/playlists/${node.id}`);
    assert.equal(total, 8);
  });
});

test("an album is dragged to the open list", async () => {
  const { node } = await house.act<{ node: { id: string } }>({
    action: "add",
    type: "shared",
    name: "Dragged",
  });
  await house.visit({ at: "#/albums" }, async (page) => {
    await page.evaluate((id) => localStorage.setItem("open_list:anna", JSON.stringify(id)), node.id);
    await page.reload();
    await page.getByText("Garden Pieces").hover();
    await page.mouse.down();
    await page.locator("aside").hover();
    await page.locator(".drag-ghost", { hasText: "Garden Pieces" }).waitFor();
    await page.mouse.up();
    await page.locator("aside").getByText("Compost (Reprise)").waitFor();
  });
});

test("a song tells all of itself, and gets a rating", () =>
  house.visit({ at: "#/songs" }, async (page) => {
    await row(page, "Seed").click({ button: "right" });
    await page.getByRole("menuitem", { name: "Details…" }).click();
    const dialog = page.getByRole("dialog", { name: "Seed" });
    await dialog.getByText("The Window Boxes/Garden Pieces/01 Seed.mp3").waitFor();
    const rated = page.waitForResponse(/mark$/);
    await dialog.getByRole("button", { name: "4 stars" }).click();
    assert.deepEqual(((await (await rated).json()) as { rating: number }).rating, 4);
    await examine(page, "details-desktop");
  }));

test("a star stays with its song, whichever row shows that", () =>
  house.visit({ at: "#/songs?sort=title" }, async (page) => {
    const stars = () => page.locator(".row:has(.star-button[aria-pressed=true])");
    const known = page.waitForResponse(/api\/marks/);
    await row(page, "Seed").hover();
    await known;
    const kept = page.waitForResponse(/mark$/);
    await row(page, "Seed").getByRole("button", { name: "Favourite: Seed" }).click();
    await kept;
    assert.equal(await stars().getAttribute("data-index"), "5");
    await page.getByRole("button", { name: "Title" }).click();
    await page.locator(".row").first().filter({ hasText: "霧笛" }).waitFor();
    assert.match((await stars().textContent()) ?? "", /^Seed/);
  }));

test("songs are downloaded as an archive", () =>
  house.visit({ alone: true, at: "#/albums" }, async (page) => {
    await page.getByText("Garden Pieces").click({ button: "right" });
    // Chromium tells either of them, as the tab is gone before it is there.
    const download = new Promise<Download>((resolve) => {
      page.on("download", resolve);
      page.context().on("page", (tab) => tab.on("download", resolve));
    });
    await page.getByRole("menuitem", { name: "Download" }).click();
    assert.equal((await download).suggestedFilename(), "Garden Pieces.zip");
  }));

/** Of the album in the middle of the view, once that is fetched. */
async function nameInTheMiddle(page: Page) {
  const name = await page.waitForFunction(() => {
    const { x, y, width, height } = document.querySelector(".tiles")?.getBoundingClientRect() as DOMRect;
    const tile = document.elementFromPoint(x + width / 3, y + height / 2)?.closest(".tile");
    return tile?.querySelector(".tile-name")?.textContent;
  });
  return String(await name.jsonValue());
}

test("a view that one comes back to is scrolled as it was", async () => {
  const songs = Array.from({ length: MANY }, (_, at) => ({
    path: `Many/Artist ${at}/Song ${at}.flac`,
    seconds: 60,
    tags: { TITLE: `Song ${at}`, ARTIST: `Artist ${at}`, ALBUM: `Album ${at}`, TRACKNUMBER: 1 },
  }));
  await house.makeSongs(songs);
  for (const size of [PHONE, TABLET, DESKTOP]) {
    await house.visit({ size, at: "#/albums?sort=name" }, async (page) => {
      await page.getByText("Album 0").waitFor();
      await page.locator(".tiles").evaluate((tiles) => tiles.scrollTo({ top: 6000 }));
      const name = await nameInTheMiddle(page);
      const before = await page.getByText(name, { exact: true }).boundingBox();
      // Not by a click of Playwright's, which may scroll.
      await page.getByText(name, { exact: true }).evaluate((tile) => (tile as HTMLElement).click());
      await page.getByRole("heading", { name, exact: true }).waitFor();
      await page.goBack();
      await page.getByText(name, { exact: true }).waitFor();
      assert.deepEqual(await page.getByText(name, { exact: true }).boundingBox(), before);
    });
  }
});

test("what is not there, or cannot be asked for, is told with a way on", () =>
  house.visit({ at: "#/albums/999999", errors: /404|50\d|ERR_/ }, async (page) => {
    await page.getByText("There is nothing at this address.").waitFor();
    await page.route(/api\/songs\?/, (route) => route.abort());
    await page.goto("#/songs");
    await page.getByRole("alert").getByText("No connection to the server.").waitFor();
    await page.unroute(/api\/songs\?/);
    await page.getByRole("alert").getByRole("button", { name: "Try again" }).click();
    await row(page, "untagged").waitFor();
  }));

test("an administrator scans, and sees what is new", () =>
  house.visit({ at: "#/albums" }, async (page) => {
    await page.getByRole("button", { name: "Account of anna" }).click();
    await page.getByRole("menuitem", { name: "Scan the folder of music" }).click();
    await page.getByText(/^Last scanned/).waitFor();
    const ended = page.waitForResponse(
      async (answer) =>
        answer.url().endsWith("api/scan") &&
        answer.request().method() === "GET" &&
        !((await answer.json()) as { running: boolean }).running,
    );
    await page.getByRole("button", { name: "Scan now" }).click();
    await ended;
    await page.getByRole("button", { name: "Scan now", disabled: false }).waitFor();
    assert.equal((await house.get<{ running: boolean }>("api/scan")).running, false);
  }));

test("an empty library invites to fill it", () =>
  house.visit({ at: "#/songs?library=personal" }, async (page) => {
    await page.getByRole("heading", { name: "No music yet" }).waitFor();
    await page.getByRole("button", { name: "Scan now" }).waitFor();
    await examine(page, "empty-desktop");
  }));

test("of many songs the first are heard at once, and the others come if one waits for them", async () => {
  const songs = Array.from({ length: 300 }, (_, at) => ({
    path: `Crowd/Song ${at}.flac`,
    seconds: 60,
    tags: { TITLE: `One of many ${at}`, ARTIST: "Zz" },
  }));
  await house.makeSongs(songs);
  const { total } = await house.get<{ total: number }>("api/songs?limit=0");
  await house.visit({ at: "#/songs" }, async (page) => {
    const pause = page.getByRole("region", { name: "Player" }).getByRole("button", { name: "Pause" });
    const playAll = async () => {
      await page.goto("#/songs");
      await row(page, "untagged").dblclick();
      await pause.click();
    };
    const queued = async (count: number) => {
      await page.goto("#/queue");
      await page.locator(`[role=grid][aria-label="Queue"][aria-rowcount="${count}"]`).waitFor();
    };
    const isRest = (url: URL) =>
      url.pathname.endsWith("api/songs") && Number(url.searchParams.get("limit")) > 150;
    await page.route(isRest, () => {}); // it never comes
    await playAll();
    await page.locator(".notice", { hasText: "Reading" }).getByRole("button", { name: "Cancel" }).click();
    await page.getByText("Only the first 200 songs are queued.").waitFor();
    await queued(200);
    await page.unroute(isRest);
    await playAll();
    await queued(total);
  });
});
