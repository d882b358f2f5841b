import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { basename, join } from "node:path";
import { test } from "node:test";
import { gzipSync } from "node:zlib";
import { openHouse } from "./fixture.ts";

const FIRST_PAGE_BYTES = 60 * 1024;
const house = openHouse();

test("the page may use nothing but its server's files", () =>
  house.visit({}, async (page) => {
    const answer = await page.goto("./");
    const policy = answer?.headers()["content-security-policy"] ?? "";
    assert.match(policy, /^default-src 'none'; script-src 'self'; style-src 'self';/);
    assert.doesNotMatch(policy, /unsafe/);
  }));

test("script and style of the first page are small", () =>
  house.visit({ at: "#/albums" }, async (page) => {
    await page.getByRole("grid").first().waitFor();
    const loaded = await page.evaluate(() =>
      performance.getEntriesByType("resource").map(({ name }) => name),
    );
    const names = loaded.map((name) => basename(new URL(name).pathname)).filter((name) => /^app-/.test(name));
    assert.ok(names.some((name) => name.endsWith(".css")) && names.some((name) => name.endsWith(".js")));
    const sizes = names.map((name) => gzipSync(readFileSync(join(house.places.client, name))).length);
    const sum = sizes.reduce((all, size) => all + size);
    console.error(`script and style of the first page: ${sum} bytes, compressed`);
    assert.ok(sum <= FIRST_PAGE_BYTES, `${sum} bytes`);
  }));

test("a page that was opened without its server goes on when that is back", () =>
  house.visit({ alone: true, errors: /Failed to load resource|ERR_/ }, async (page) => {
    await page.evaluate(async () => {
      await navigator.serviceWorker.ready;
    });
    await house.stop();
    await page.reload();
    await page.getByRole("alert").getByText("No connection to the server.").waitFor();
    await house.start();
    await page.getByRole("main", { name: "" }).getByRole("grid").first().waitFor();
  }));

const FOREIGN = [
  "<html>Welcome to the hotel</html>",
  '{"total": 5, "items": [',
  "null",
  "5",
  "{}",
  '{"total": -1, "offset": 0, "items": []}',
  '{"total": 5, "offset": 0, "items": {}}',
  '{"total": 1, "offset": 0, "items": [null]}',
];

test("what answers in the place of the server is not taken for it", () =>
  house.visit({}, async (page) => {
    for (const body of FOREIGN) {
      await page.goto("#/albums");
      await page.getByRole("heading", { name: "Albums" }).waitFor();
      await page.route(/\/api\/artists/, (route) => route.fulfill({ contentType: "application/json", body }));
      await page.goto("#/artists");
      await page.reload();
      await page.getByRole("alert").getByText("The answer did not come from this server").waitFor();
      await page.unroute(/\/api\/artists/);
      await page.getByRole("button", { name: "Try again" }).click();
      await page.getByRole("grid").getByRole("row").nth(1).waitFor();
    }
  }));

for (const [view, path] of [
  ["#/albums/ID", /\/api\/albums\/\d/],
  ["#/songs", /\/api\/songs/],
  ["#/folders", /\/api\/folders/],
  ["#/playlists/musiclib_random", /\/api\/playlists\/musiclib_random/],
  ["#/search?q=garden", /\/api\/albums/],
] as const) {
  test(`${view} tells that it was not answered as it should be, and goes on when it is`, () =>
    house.visit({}, async (page) => {
      const { items } = await house.get<{ items: { id: number }[] }>("api/albums?q=garden");
      await page.route(path, (route) => route.fulfill({ json: {} }));
      await page.goto(view.replace("ID", String(items[0]?.id)));
      await page.getByText("The answer did not come from this server").first().waitFor();
      await page.unroute(path);
      await page.getByRole("button", { name: "Try again" }).first().click();
      await page.getByRole("main").getByRole("grid").getByRole("row").nth(1).waitFor();
    }));
}

test("an address of no view is none, whatever its name", () =>
  house.visit({ at: "#/constructor" }, async (page) => {
    await page.getByRole("heading", { name: "There is nothing at this address." }).waitFor();
  }));
