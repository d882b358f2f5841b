import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { createServer } from "node:http";
import type { AddressInfo } from "node:net";
import { test } from "node:test";
import type { Page } from "playwright-core";
import type { Mark } from "../../src/api/types.ts";
import { examine, openHouse, PHONE, SIZES, takePicture } from "./fixture.ts";
import {
  ALBUM,
  bar,
  button,
  hear,
  leaveQueue,
  notice,
  record,
  shows,
  songOf,
  titlesAtServer,
} from "./player_steps.ts";

const house = openHouse();
const CONNECTION = /ERR_CONNECTION|Failed to load/;
const songs = (page: Page) => page.getByRole("grid", { name: "Songs" });

// As in a browser that knows no FLAC.
function refuseFlac() {
  const { canPlayType } = HTMLMediaElement.prototype;
  HTMLMediaElement.prototype.canPlayType = function (type) {
    return type.includes("flac") ? "" : canPlayType.call(this, type);
  };
}

interface Keys {
  mediaKeys: Record<string, (details: object) => void>;
}

function noteMediaKeys() {
  const mediaKeys: Record<string, unknown> = {};
  Object.assign(window, { mediaKeys });
  navigator.mediaSession.setActionHandler = (name, run) => {
    mediaKeys[name] = run;
  };
}

for (const size of SIZES) {
  test(`the bar at the foot of a ${size.name}, empty and with a song`, () =>
    house.visit({ size, at: "#/songs" }, async (page) => {
      const empty = await bar(page).boundingBox();
      await examine(page, `player-empty-${size.name}`, ".player-bar");
      const row = songs(page).getByText("Rain on Glass", { exact: true });
      await (size.touch ? row.tap() : row.dblclick());
      await button(page, "Pause").waitFor();
      await hear(page);
      assert.deepEqual(await bar(page).boundingBox(), empty);
      await examine(page, `player-${size.name}`, ".player-bar");
    }));
}

test("a song plays, pauses, and goes on", async () => {
  await leaveQueue(house, ALBUM, { position: 1 });
  await house.visit({}, async (page) => {
    await shows(page, "Rain on Glass");
    await page.keyboard.press("Space");
    await button(page, "Pause").waitFor();
    await hear(page);
    await page.keyboard.press("Space");
    await button(page, "Play").waitFor();
    await page.keyboard.press("Space");
    await hear(page, 1);
  });
});

test("the phone's sheet has everything", async () => {
  await leaveQueue(house, ALBUM, { position: 1 });
  await house.visit({ size: PHONE }, async (page) => {
    await page.getByRole("button", { name: "Show the player" }).tap();
    const sheet = page.getByRole("dialog", { name: "Player" });
    await sheet.getByRole("button", { name: "Play", exact: true }).tap();
    await hear(page);
    const rated = page.waitForResponse(/mark$/);
    await sheet.getByRole("button", { name: "4 stars" }).tap();
    assert.equal(((await (await rated).json()) as Mark).rating, 4);
    await examine(page, `sheet`, ".player-sheet");
    await sheet.getByRole("link", { name: "Queue" }).tap();
    await page.getByRole("heading", { name: "Queue" }).waitFor();
    await sheet.waitFor({ state: "hidden" });
  });
});

test("the next song is loaded before this one ends, and follows without being asked for again", async () => {
  await leaveQueue(house, ALBUM);
  const next = await songOf(house, "Rain on Glass");
  await house.visit({ alone: true }, async (page) => {
    await shows(page, "Seed");
    let requests = 0;
    page.on("request", (request) => {
      if (request.url().endsWith(`/songs/${next.id}/stream`)) requests++;
    });
    const loaded = page.waitForResponse(new RegExp(`/songs/${next.id}/stream$`));
    await button(page, "Play").click();
    await loaded;
    await shows(page, "Seed");
    const before = requests;
    await shows(page, "Rain on Glass");
    await hear(page);
    assert.equal(requests, before);
  });
});

test("next and previous, the beginning, and another place in the song", async () => {
  await leaveQueue(house, ALBUM);
  await house.visit({}, async (page) => {
    await shows(page, "Seed");
    await button(page, "Next").click();
    await shows(page, "Rain on Glass");
    await button(page, "Play").click();
    const seek = bar(page).getByRole("slider", { name: "Position in the song" });
    await seek.press("ArrowRight");
    await shows(page, "Snail, Slowly"); // of 5 seconds it has heard the last
    await button(page, "Previous").click();
    await shows(page, "Rain on Glass");
    await seek.fill("3.5");
    await hear(page, 3.5);
    await button(page, "Previous").click();
    await page.waitForFunction(
      () => Number(document.querySelector<HTMLInputElement>(".seek input")?.value) < 2,
    );
    await shows(page, "Rain on Glass");
  });
});

test("a queue ends, repeats a song, or all of it", async () => {
  await leaveQueue(house, ["Grusväg", "untagged"], { position: 1 });
  await house.visit({}, async (page) => {
    await shows(page, "untagged");
    await button(page, "Play").click();
    await button(page, "Pause").waitFor();
    await button(page, "Play").waitFor();
    await shows(page, "untagged");
    await button(page, "Repeat: off").click();
    await button(page, "Play").click();
    await shows(page, "Grusväg");
    await button(page, "Repeat: all").click();
    const id = (await songOf(house, "Grusväg")).id;
    await page.waitForResponse((answer) => answer.url().endsWith(`/songs/${id}/mark`));
    await hear(page, 1.5);
    await page.waitForFunction(
      () => Number(document.querySelector<HTMLInputElement>(".seek input")?.value) < 1,
    );
    await shows(page, "Grusväg");
    await page.reload();
    await button(page, "Repeat: this song").waitFor();
  });
});

test("shuffled songs are heard once each", async () => {
  const titles = ["untagged", "Grusväg", "潮風"];
  await leaveQueue(house, titles);
  await house.visit({ alone: true }, async (page) => {
    await shows(page, "untagged");
    await button(page, "Shuffle").click();
    const heard: string[] = [];
    page.on("request", (request) => {
      const found = /songs\/(\d+)\/stream/.exec(request.url());
      if (found?.[1] && !heard.includes(found[1])) heard.push(found[1]);
    });
    await button(page, "Play").click();
    await button(page, "Pause").waitFor();
    await button(page, "Play").waitFor();
    assert.equal(heard.length, 3);
    assert.deepEqual(await titlesAtServer(house), titles);
  });
});

test("playing ends after a song, where that is wished", async () => {
  await leaveQueue(house, ["untagged", "Grusväg"]);
  await house.visit({ at: "#/queue" }, async (page) => {
    await shows(page, "untagged");
    await page.getByRole("main").getByRole("button", { name: "More" }).click();
    await page.getByRole("menuitemcheckbox", { name: "Stop after this song" }).click();
    await button(page, "Play").click();
    await shows(page, "Grusväg");
    await button(page, "Play").waitFor();
  });
});

test("a song that was heard to half of it is counted", async () => {
  const { id } = await songOf(house, "かもめ");
  await leaveQueue(house, ["かもめ"]);
  const count = async () => (await house.get<Mark>(`api/songs/${id}/mark`)).play_count;
  const before = await count();
  await house.visit({}, async (page) => {
    await shows(page, "かもめ");
    const counted = page.waitForResponse(
      (answer) => answer.url().endsWith("/mark") && answer.request().method() === "POST",
    );
    await button(page, "Play").click();
    await counted;
    assert.equal(await count(), before + 1);
  });
});

test("a favourite is kept, or waits for the server to come back", async () => {
  await leaveQueue(house, ["Seed"]);
  const { id } = await songOf(house, "Seed");
  await house.visit({ errors: CONNECTION }, async (page) => {
    const star = button(page, "Favourite: Seed");
    const kept = () => page.waitForResponse((answer) => /mark$/.test(answer.url()) && answer.ok());
    const first = kept();
    await star.click();
    await page.locator('.player-bar .star-button[aria-pressed="true"]').waitFor();
    await first;
    assert.equal((await house.get<Mark>(`api/songs/${id}/mark`)).star, true);
    await house.stop();
    await star.click();
    await page.locator('.player-bar .star-button[aria-pressed="false"]').waitFor();
    const second = kept();
    await house.start();
    await second;
    assert.equal((await house.get<Mark>(`api/songs/${id}/mark`)).star, false);
  });
});

test("what the browser cannot decode is transcoded, from where it goes on", async () => {
  await leaveQueue(house, ["潮風", "Grusväg"], { elapsed: 1.2 });
  await house.visit({ alone: true }, async (page) => {
    await page.addInitScript(refuseFlac);
    await page.reload();
    await shows(page, "潮風");
    const asked = page.waitForRequest(/format=opus&bitrate=128&offset_seconds=1$/);
    const next = page.waitForRequest(/format=opus&bitrate=128$/);
    await button(page, "Play").click();
    await asked;
    await hear(page, 1.3);
    await next;
    await shows(page, "Grusväg");
    await hear(page);
  });
});

test("a song that is none is skipped, and that is told", async () => {
  await house.makeSongs([{ path: "Broken/nothing.flac", seconds: 60, tags: { TITLE: "Nothing at all" } }]);
  await leaveQueue(house, ["Nothing at all", "Rain on Glass"]);
  await house.visit({}, async (page) => {
    await shows(page, "Nothing at all");
    await button(page, "Play").click();
    await notice(page, "“Nothing at all” cannot be played.").waitFor();
    await shows(page, "Rain on Glass");
    await hear(page);
  });
});

test("a song goes on when the server is back", async () => {
  await record(house, "Long/evening.flac", 1800, { title: "A Long Evening" });
  await leaveQueue(house, ["A Long Evening"]);
  await house.visit({ errors: CONNECTION }, async (page) => {
    await shows(page, "A Long Evening");
    await button(page, "Play").click();
    await hear(page);
    await house.stop();
    await bar(page).getByRole("slider", { name: "Position in the song" }).fill("1700");
    await bar(page).getByText("No connection. It goes on when it is back.").waitFor();
    await takePicture(page, "no-connection");
    await house.start();
    await hear(page, 1701);
    await bar(page).getByText("No connection.").waitFor({ state: "hidden" });
  });
});

test("when the server converts as many songs as it can, the player waits", async () => {
  await record(house, "Long/night.flac", 1800, { title: "A Long Night" });
  const { id } = await songOf(house, "A Long Night");
  const path = `api/songs/${id}/stream?format=mp3`;
  const others = await Promise.all([1, 2].map(() => house.ask(path))); // which nobody reads
  await leaveQueue(house, ["潮風"]);
  await house.visit({ alone: true, errors: /503/ }, async (page) => {
    await page.addInitScript(refuseFlac);
    await page.reload();
    await shows(page, "潮風");
    await button(page, "Play").click();
    await bar(page).getByText("The server converts other songs now. Trying again.").waitFor();
    await Promise.all(others.map(({ body }) => body?.cancel()));
    await hear(page);
  });
});

test("a station plays, and tells when it does not", async () => {
  const sound = execFileSync("ffmpeg", [
    ...["-v", "error", "-f", "lavfi", "-i", "sine=frequency=330:duration=30", "-f", "mp3", "pipe:1"],
  ]);
  let isThere = false;
  const station = createServer((_, answer) => {
    answer.writeHead(isThere ? 200 : 404, { "Content-Type": "audio/mpeg" });
    answer.write(isThere ? sound : ""); // and goes on for ever
    if (!isThere) answer.end();
  });
  await new Promise<void>((done) => station.listen(0, "127.0.0.1", done));
  const stream = `http://127.0.0.1:${(station.address() as AddressInfo).port}/radio`;
  const items = [{ stream, title: "Garden Radio" }];
  await house.ask("api/queue", { method: "PUT", body: JSON.stringify({ items }) });
  await house.visit({ errors: /leaves the server|404/ }, async (page) => {
    await shows(page, "Garden Radio");
    await button(page, "Play").click();
    await bar(page).getByText("The station does not answer. Trying again.").waitFor();
    isThere = true;
    await bar(page).getByText("The station does not answer. Trying again.").waitFor({ state: "hidden" });
    await page.waitForFunction(() => document.querySelector(".seek .time")?.textContent === "0:01");
  });
  station.closeAllConnections?.();
  station.close();
});

test("keys of keyboards and lock screens are for what plays", async () => {
  await leaveQueue(house, ALBUM, { position: 1 });
  await house.visit({ alone: true }, async (page) => {
    await page.addInitScript(noteMediaKeys);
    await page.reload();
    await shows(page, "Rain on Glass");
    const press = (name: string, details = {}) =>
      page.evaluate(([action, more]) => (window as unknown as Keys).mediaKeys[action as string]?.(more), [
        name,
        details,
      ] as const);
    await press("play");
    await button(page, "Pause").waitFor();
    const told = await page.evaluate(() => {
      const { metadata, playbackState } = navigator.mediaSession;
      return [metadata?.title, metadata?.artist, metadata?.album, metadata?.artwork.length, playbackState];
    });
    assert.deepEqual(told, ["Rain on Glass", "The Window Boxes", "Garden Pieces", 3, "playing"]);
    await press("nexttrack");
    await shows(page, "Snail, Slowly");
    await press("previoustrack");
    await shows(page, "Rain on Glass");
    await press("seekto", { seekTime: 3 });
    await hear(page, 3);
    await press("pause");
    await button(page, "Play").waitFor();
  });
});

test("who looks at another page sees what plays in the title", async () => {
  await leaveQueue(house, ["Rain on Glass"]);
  await house.visit({ at: "#/queue" }, async (page) => {
    await page.getByRole("heading", { name: "Queue" }).waitFor();
    const title = await page.title();
    const hide = (isHidden: boolean) =>
      page.evaluate((hidden) => {
        Object.defineProperty(document, "hidden", { value: hidden, configurable: true });
        document.dispatchEvent(new Event("visibilitychange"));
      }, isHidden);
    await button(page, "Play").click();
    await hear(page);
    await hide(true);
    assert.equal(await page.title(), "Rain on Glass – The Window Boxes");
    await hide(false);
    assert.equal(await page.title(), title);
  });
});

test("the volume is kept, and silence too", async () => {
  await house.visit({}, async (page) => {
    const volume = bar(page).getByRole("slider", { name: "Volume" });
    await volume.fill("40");
    await button(page, "Mute").click();
    await page.reload();
    assert.equal(await volume.inputValue(), "0");
    await button(page, "Sound on").click();
    assert.equal(await volume.inputValue(), "40");
  });
});
