import assert from "node:assert/strict";
import { test } from "node:test";
import type { Page } from "playwright-core";
import { DESKTOP, examine, openHouse, PHONE, SIZES, takePicture } from "./fixture.ts";

const house = openHouse();

const M3U = [
  "#EXTM3U",
  "#EXTINF:5,The Windowsill Trio - Snail, Slowly",
  "C:\\Music\\03 Snail, Slowly.ogg",
  "#EXTINF:4,Somebody - Seed",
  "/old/disk/other.mp3",
  "#EXTINF:-1,Radio <b>Garden</b>",
  "http://radio.example/live",
  "/nothing/like it.mp3",
  "",
].join("\n");

const fileOf = (name: string, text: string) => ({
  name,
  mimeType: "audio/x-mpegurl",
  buffer: Buffer.from(text),
});

async function choose(page: Page, ...files: ReturnType<typeof fileOf>[]) {
  await page.locator('input[type="file"]').setInputFiles(files);
}

const MOST_MOVES = 1000;

/** As a person's hand drops them, from the desktop. */
async function drop(page: Page, ...files: { name: string; text: string }[]) {
  const transfer = await page.evaluateHandle((list) => {
    const data = new DataTransfer();
    for (const { name, text } of list) data.items.add(new File([text], name));
    return data;
  }, files);
  // A hand goes on moving until the page has seen it, which may just have opened.
  for (let moves = 0; moves < MOST_MOVES; moves++) {
    await page.dispatchEvent("body", "dragover", { dataTransfer: transfer });
    if (await page.getByText("Drop playlist files here").isVisible()) break;
    await page.evaluate(() => new Promise(requestAnimationFrame));
  }
  await takePicture(page, "import-drop");
  await page.dispatchEvent("body", "drop", { dataTransfer: transfer });
}

interface Lists {
  items: { id: string; name: string; library: string; count: number }[];
}
async function listCalled(name: string) {
  const { items } = await house.get<Lists>("api/playlists?limit=1000");
  return items.find((list) => list.name === name);
}
interface Entries {
  items: { path: string; song?: { title: string } }[];
}
const entriesOf = async (id: string) =>
  (await house.get<Entries>(`api/playlists/${id}`)).items.map(({ song, path }) => song?.title ?? path);

for (const size of SIZES) {
  test(`importing on a ${size.name}`, () =>
    house.visit({ size, at: "#/import" }, async (page) => {
      await page.getByText("Drop playlist files of other programs").waitFor();
      await examine(page, `import-empty-${size.name}`);
      await choose(page, fileOf("Old & <b>bold.m3u8", M3U), fileOf("潮風.m3u", M3U));
      await page.getByText("of 4 found.").waitFor();
      await page.getByLabel("Which entries are shown").selectOption("all");
      await page.getByRole("gridcell", { name: "Snail, Slowly" }).first().waitFor();
      await examine(page, `import-${size.name}`);
    }));
}

test("a file that is dropped becomes a list, and is undone", () =>
  house.visit({ at: "#/playlists" }, async (page) => {
    await drop(page, { name: "Dropped.m3u8", text: M3U });
    await page.getByText("of 4 found.").waitFor();
    assert.equal(await page.getByLabel("Name", { exact: true }).inputValue(), "Dropped");
    await page.getByRole("button", { name: "Make 1 playlist" }).click();
    await page.getByRole("link", { name: "Open" }).waitFor();
    const made = await listCalled("Dropped");
    assert.equal(made?.library, "personal");
    const entries = await entriesOf(made?.id ?? "");
    assert.equal(entries.length, 4);
    assert.equal(entries[0], "Snail, Slowly");
    assert.deepEqual(entries.slice(2), ["http://radio.example/live", "/nothing/like it.mp3"]);
    await page.getByRole("button", { name: "Undo" }).click();
    await page.getByText("Undone: Imported “Dropped”").waitFor();
    assert.equal(await listCalled("Dropped"), undefined);
  }));

test("candidates are chosen, and what is not wanted is left out", () =>
  house.visit({ at: "#/import" }, async (page) => {
    await choose(page, fileOf("Chosen.m3u", M3U));
    const rows = page.getByRole("grid").getByRole("row");
    const missing = page.getByRole("button", { name: /Not found, kept as it is/ });
    await missing.first().waitFor();
    const count = await missing.count();
    assert.equal(await rows.count(), count + 1);
    const seed = page.getByRole("row", { name: /Seed/ });
    await seed.getByRole("button").click();
    const first = page.getByRole("menuitemcheckbox").first();
    await examine(page, "import-candidates", ".menu");
    assert.match((await first.textContent()) ?? "", /^Seed – .*\d+ % \(.*title/);
    await first.click();
    await seed.getByRole("button", { name: /^Seed – / }).waitFor();
    await page.getByRole("button", { name: "Leave out the rest" }).click();
    await page.getByRole("button", { name: "Left out" }).waitFor();
    await page.getByLabel("Which entries are shown").selectOption("open");
    await page.getByText("Everything is decided.").waitFor();
    await page.getByLabel("Shared with everybody").check();
    await page.getByRole("button", { name: "Make 1 playlist" }).click();
    await page.getByRole("link", { name: "Open" }).waitFor();
    const made = await listCalled("Chosen");
    assert.equal(made?.library, "shared");
    assert.deepEqual(await entriesOf(made?.id ?? ""), ["Snail, Slowly", "Seed", "http://radio.example/live"]);
  }));

test("several files, of several formats, one of a name that is taken", async () => {
  await house.act({ action: "add", type: "personal", name: "Taken" });
  const jspf = JSON.stringify({
    playlist: { title: "J", track: [{ title: "Seed", creator: "The Windowsill Trio" }] },
  });
  await house.visit({ at: "#/import" }, async (page) => {
    await choose(page, fileOf("Taken.m3u", M3U), fileOf("Other.jspf", jspf));
    await page.getByRole("button", { name: "Make 2 playlists" }).click();
    await page.getByText("There is a playlist of that name already.").waitFor();
    await page.getByRole("button", { name: /Other.jspf.*Made/ }).waitFor();
    assert.ok(await listCalled("Other"));
    const name = page.getByLabel("Name", { exact: true });
    await name.fill("Not taken");
    await page.getByRole("button", { name: "Make 1 playlist" }).click();
    await page.getByText("Imported “Not taken”").first().waitFor();
    assert.equal((await listCalled("Not taken"))?.count, 4);
  });
});

test("a file that is no playlist, and one that is too large", () =>
  house.visit({ at: "#/import", errors: /400/ }, async (page) => {
    await choose(page, fileOf("broken.xspf", "<playlist><trackList>"));
    await page.getByText(/cannot be read/).waitFor();
    await page.getByRole("button", { name: "Do not import" }).click();
    let sent = 0;
    page.on("request", (request) => {
      if (request.url().endsWith("/api/import")) sent++;
    });
    await choose(page, fileOf("large.m3u", "#".repeat(8 * 1024 * 1024 + 1)));
    await page.getByText(/larger than 8\.4 MB/).waitFor();
    assert.equal(sent, 0);
    await examine(page, "import-several");
  }));

test("what takes long can be cancelled, and what fails is tried again", () =>
  house.visit({ at: "#/import", size: PHONE, errors: /Failed to load/ }, async (page) => {
    let fail = true;
    await page.route("**/api/import", (route) => (fail ? route.abort() : route.continue()));
    await choose(page, fileOf("Later.m3u", M3U));
    await page.getByText("No connection to the server.").waitFor();
    await takePicture(page, "import-failed");
    fail = false;
    await page.getByRole("button", { name: "Try again" }).click();
    await page.getByText("of 4 found.").waitFor();
    await page.getByRole("button", { name: "Do not import" }).click();

    await page.route("**/api/import", () => {}); // no answer ever comes
    await choose(page, fileOf("Slow.m3u", M3U));
    await page.getByText("Looking for the songs of Slow.m3u").waitFor();
    const stopped = page.waitForEvent("requestfailed", (request) => request.url().endsWith("/api/import"));
    await page.getByRole("button", { name: "Cancel" }).click();
    await stopped;
    await page.getByText("Drop playlist files of other programs").waitFor();
  }));

test("thousands of entries are shown in a few rows", () =>
  house.visit({ at: "#/import", size: DESKTOP }, async (page) => {
    const lines = Array.from({ length: 5000 }, (_, number) => `/old/${number}.mp3`);
    await choose(page, fileOf("Long.m3u", lines.join("\n")));
    await page.getByText("0 of 5,000 found.").waitFor();
    assert.ok((await page.getByRole("row").count()) < 100);
    await page.getByRole("button", { name: "Make 1 playlist" }).click();
    await page.getByRole("link", { name: "Open" }).waitFor();
    assert.equal((await listCalled("Long"))?.count, 5000);
  }));
