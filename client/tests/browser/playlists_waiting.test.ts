// What is asked and told of playlists: what cannot be sent at once (new names, deletions, copies), and what need not be.
import assert from "node:assert/strict";
import { test } from "node:test";
import type { Page } from "playwright-core";
import { idOf, makeList, titlesOf } from "./editor_support.ts";
import { openHouse } from "./fixture.ts";

const house = openHouse();
const FAILED = /ERR_|Failed to load/;

const item = (page: Page, name: string) =>
  page.getByRole("tree", { name: "Playlists" }).getByRole("treeitem", { name: new RegExp(`^${name}`) });

/** The part of the page that asks for names, and deletes. */
async function fetchCommands(page: Page, name: string) {
  await item(page, name).focus();
  await page.keyboard.press("F2");
  await page.getByRole("dialog").waitFor();
  await page.keyboard.press("Escape");
  await page.getByRole("dialog").waitFor({ state: "detached" });
}

async function rename(page: Page, from: string, to: string) {
  await item(page, from).focus();
  await page.keyboard.press("F2");
  await page.getByRole("dialog").getByLabel("Name").fill(to);
  await page.keyboard.press("Enter");
  await item(page, to).waitFor();
}

test("without a connection a new name waits, visibly, and is sent when it is back", async () => {
  const id = await makeList(house, "Called one", 3);
  await house.visit({ errors: FAILED }, async (page) => {
    await fetchCommands(page, "Called one");
    await page.context().setOffline(true);
    await rename(page, "Called one", "Called two");
    await page.getByText("Not sent yet: Renamed “Called one” to “Called two”").waitFor();
    await rename(page, "Called two", "Called three");
    await page.getByText("Not sent yet: Renamed “Called one” to “Called three”").waitFor();
    await page.context().setOffline(false);
    await page.getByText("Not sent yet").waitFor({ state: "detached" });
    assert.equal(await idOf(house, "Called three"), id);
    await page.keyboard.press("Control+z");
    await item(page, "Called two").waitFor();
    await page.getByText("Undone: Renamed").waitFor();
    assert.equal(await idOf(house, "Called two"), id);
  });
});

test("a new name waits for its user to log in again, and is told when another list has it by then", async () => {
  const id = await makeList(house, "Waits for anna", 3);
  await house.visit({ errors: FAILED }, async (page) => {
    const logIn = async () => {
      await page.getByText("What is not saved yet is sent when anna logs in again.").waitFor();
      await page.getByLabel("Name").fill("anna");
      await page.getByLabel("Password").fill(house.places.users.anna);
      await page.getByRole("button", { name: "Log in" }).click();
    };
    const renameWithoutSession = async (from: string, to: string) => {
      await item(page, from).focus();
      await page.keyboard.press("F2");
      await page.getByRole("dialog").getByLabel("Name").fill(to);
      await page.context().clearCookies();
      await page.keyboard.press("Enter");
      await logIn();
    };
    await renameWithoutSession("Waits for anna", "Sent for anna");
    await item(page, "Sent for anna").waitFor();
    await page.waitForFunction(() => localStorage.getItem("outbox:anna") === "[]");
    assert.equal(await idOf(house, "Sent for anna"), id);
    await makeList(house, "Taken by another", 3);
    await renameWithoutSession("Sent for anna", "Taken by another");
    await page.getByText("Not done: Renamed “Sent for anna” to “Taken by another”.").waitFor();
    await item(page, "Sent for anna").waitFor();
  });
});

test("a new name whose answer was lost is not refused as one that there is already", async () => {
  const id = await makeList(house, "Lost call", 3);
  await house.visit({ errors: FAILED }, async (page) => {
    await item(page, "Lost call").waitFor();
    await page.route(/audio_playlist\.cgi/, async (route) => {
      await route.fetch();
      await route.abort();
      await page.unroute(/audio_playlist\.cgi/);
    });
    await rename(page, "Lost call", "Found call");
    await page.waitForFunction(() => localStorage.getItem("outbox:anna") === "[]");
    assert.equal(await idOf(house, "Found call"), id);
    assert.equal(await page.getByText("Not done").count(), 0);
  });
});

const isThere = async (name: string) =>
  (await house.get<{ items: { name: string }[] }>("api/playlists")).items.some((list) => list.name === name);

test("without a connection a deletion waits, is undone before it is sent and after it", async () => {
  const before = await titlesOf(house, await makeList(house, "Leaves", 3));
  await house.visit({ errors: FAILED }, async (page) => {
    await fetchCommands(page, "Leaves");
    await page.context().setOffline(true);
    const deletes = async () => {
      await item(page, "Leaves").focus();
      await page.keyboard.press("Delete");
      await page.getByText("Not sent yet: Deleted “Leaves”").waitFor();
      assert.equal(await item(page, "Leaves").count(), 0);
    };
    await deletes();
    await page.keyboard.press("Control+z");
    await item(page, "Leaves").waitFor();
    await page.getByText("Not sent yet").waitFor({ state: "detached" });
    await deletes();
    assert.ok(await isThere("Leaves"));
    await page.context().setOffline(false);
    await page.getByText("Not sent yet").waitFor({ state: "detached" });
    assert.ok(!(await isThere("Leaves")));
    await page.keyboard.press("Control+z");
    await item(page, "Leaves").waitFor();
    assert.deepEqual(await titlesOf(house, await idOf(house, "Leaves")), before);
  });
});

test("a deletion that an earlier page has left is sent, and can be undone", async () => {
  const id = await makeList(house, "Was left", 3);
  await house.visit({}, async (page) => {
    await item(page, "Was left").waitFor();
    await page.evaluate((list) => {
      const content = { id: list, kind: "list", library: "shared", name: "Was left" };
      const letter = { kind: "delete", key: `delete ${list}`, label: "Deleted “Was left”", content };
      localStorage.setItem("outbox:anna", JSON.stringify([letter]));
    }, id);
    await page.reload();
    await page.getByText("Deleted “Was left”").waitFor();
    assert.equal(await item(page, "Was left").count(), 0);
    assert.ok(!(await isThere("Was left")));
    await page.keyboard.press("Control+z");
    await item(page, "Was left").waitFor();
  });
});

test("a deletion that waited leaves a list that somebody else has changed meanwhile", async () => {
  const id = await makeList(house, "Still used", 3);
  await house.visit({ errors: FAILED }, async (page) => {
    await fetchCommands(page, "Still used");
    await page.context().setOffline(true);
    await item(page, "Still used").focus();
    await page.keyboard.press("Delete");
    await page.getByText("Not sent yet: Deleted “Still used”").waitFor();
    await house.act({ action: "removesongs", playlist: id, seq_list: "1" });
    await page.context().setOffline(false);
    await page.getByText("Not done: Deleted “Still used”. Somebody else has changed").waitFor();
    await item(page, "Still used").waitFor();
    assert.equal(await idOf(house, "Still used"), id);
  });
});

test("without a connection a copy waits, and is made when it is back", async () => {
  await makeList(house, "Copied later", 3);
  await house.visit({ errors: FAILED }, async (page) => {
    await item(page, "Copied later").click({ button: "right" });
    await page.context().setOffline(true);
    await page.getByRole("menuitem", { name: /^Copy to/ }).click();
    await page.getByText("Not sent yet: Copied “Copied later”").waitFor();
    assert.equal(await item(page, "Copied later").count(), 1);
    await page.context().setOffline(false);
    await page.getByText("Not sent yet").waitFor({ state: "detached" });
    await item(page, "Copied later").nth(1).waitFor();
  });
});

test("a list of which nothing changed is not sent again", () =>
  house.visit({}, async (page) => {
    await item(page, "").first().waitFor();
    const session = await page.context().newCDPSession(page);
    await session.send("Network.enable");
    const status = new Promise<number>((resolve) => {
      let asked = "";
      session.on("Network.requestWillBeSent", ({ requestId, request }) => {
        if (request.url.includes("/api/playlists?")) asked = requestId;
      });
      session.on("Network.responseReceivedExtraInfo", ({ requestId, statusCode }) => {
        if (requestId === asked) resolve(statusCode);
      });
    });
    await page.evaluate("window.dispatchEvent(new Event('focus'))");
    assert.equal(await status, 304);
  }));

test("without the server the tree says so, and asks again", () =>
  house.visit({ errors: /Failed to load/ }, async (page) => {
    await page.route("**/api/playlists?*", (route) => route.abort());
    await page.reload();
    const alert = page.getByRole("navigation").getByRole("alert");
    await alert.getByText("No connection to the server.").waitFor();
    await page.unroute("**/api/playlists?*");
    await alert.getByRole("button", { name: "Try again" }).click();
    await item(page, "").first().waitFor();
  }));
