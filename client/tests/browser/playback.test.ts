import assert from "node:assert/strict";
import { test } from "node:test";
import type { Page } from "playwright-core";
import { expectNoViolations, openHouse, PHONE, SIZES, THEMES, takePicture } from "./fixture.ts";

const house = openHouse();

const bar = (page: Page) => page.getByRole("region", { name: "Player" });
const button = (page: Page, name: string) => bar(page).getByRole("button", { name, exact: true });
const songs = (page: Page) => page.getByRole("grid", { name: "Songs" });

// Plays the song of this title, as people do who look at all songs.
async function playSong(page: Page, title: string) {
  await songs(page).getByText(title, { exact: true }).dblclick();
  await bar(page).getByText(title, { exact: true }).waitFor();
}

// Until some of the song has been heard.
async function hear(page: Page, seconds = 0.5) {
  await page.waitForFunction(
    (least) => Number(document.querySelector<HTMLInputElement>(".seek input")?.value) >= least,
    seconds,
  );
}

for (const size of SIZES) {
  for (const theme of THEMES) {
    test(`the bar at the foot of a ${size.name}, ${theme}, empty and with a song`, () =>
      house.visit({ size, theme, at: "#/songs" }, async (page) => {
        const empty = await bar(page).boundingBox();
        await expectNoViolations(page, ".player-bar");
        const row = songs(page).getByText("Rain on Glass", { exact: true });
        await (size.touch ? row.tap() : row.dblclick());
        await button(page, "Pause").waitFor();
        await hear(page);
        assert.deepEqual(await bar(page).boundingBox(), empty);
        await takePicture(page, `player-${size.name}-${theme}`);
        await expectNoViolations(page, ".player-bar");
      }));
  }
}

test("a song plays, pauses, and goes on", () =>
  house.visit({ at: "#/songs" }, async (page) => {
    await playSong(page, "Rain on Glass");
    await hear(page);
    await page.keyboard.press("Space");
    await button(page, "Play").waitFor();
    await page.keyboard.press("Space");
    await button(page, "Pause").waitFor();
    await hear(page, 1);
  }));

test("the phone's sheet has everything", () =>
  house.visit({ size: PHONE, at: "#/songs" }, async (page) => {
    await songs(page).getByText("Rain on Glass", { exact: true }).tap();
    await page.getByRole("button", { name: "Show the player" }).tap();
    const sheet = page.getByRole("dialog", { name: "Player" });
    await sheet.getByRole("button", { name: "4 stars" }).tap();
    await hear(page);
    await takePicture(page, "sheet");
    await expectNoViolations(page, ".player-sheet");
  }));
