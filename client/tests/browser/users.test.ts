// Several people, one after another, at one browser.
import assert from "node:assert/strict";
import { test } from "node:test";
import type { Page } from "playwright-core";
import { makeList, openInPanel, panelOf, titlesOf } from "./editor_support.ts";
import { openHouse, type User } from "./fixture.ts";

const house = openHouse();
const FAILED = /Failed to load resource|ERR_/;

async function logIn(page: Page, name: User) {
  await page.getByLabel("Name").fill(name);
  await page.getByLabel("Password").fill(house.places.users[name]);
  await page.getByRole("button", { name: "Log in" }).click();
  await page.getByRole("button", { name: `Account of ${name}` }).waitFor();
}

async function logOut(page: Page, name: User) {
  await page.getByRole("button", { name: `Account of ${name}` }).click();
  await page.getByRole("menuitem", { name: "Log out", exact: true }).click();
  await page.getByLabel("Password").waitFor();
}

/** Anna's session ends, which her next edit finds out. */
async function editWithoutSession(page: Page) {
  await page.context().clearCookies();
  await panelOf(page).row(0).click();
  await page.keyboard.press("Delete");
  await page.getByLabel("Password").waitFor();
}

test("an edit waits for who made it to log in again", async () => {
  const id = await makeList(house, "Hers", 4);
  const before = await titlesOf(house, id);
  await house.visit({ errors: FAILED }, async (page) => {
    await openInPanel(page, id);
    await editWithoutSession(page);
    await logIn(page, "anna");
    await panelOf(page).saved();
    assert.deepEqual(await titlesOf(house, id), before.slice(1));
  });
});

test("nobody sees or sends what another one has left", async () => {
  const id = await makeList(house, "Left", 4);
  const before = await titlesOf(house, id);
  await house.visit({ errors: FAILED }, async (page) => {
    const { panel, saved } = await openInPanel(page, id);
    await editWithoutSession(page);
    const edits: string[] = [];
    page.on("request", (request) => {
      if (request.url().endsWith(".cgi")) edits.push(request.postData() ?? "");
    });
    await logIn(page, "ben");
    await page.getByRole("treeitem", { name: "Left" }).waitFor();
    assert.equal(await panel.count(), 0);
    assert.deepEqual(edits, []);
    assert.deepEqual(await titlesOf(house, id), before);
    await logOut(page, "ben");
    await logIn(page, "anna");
    await saved();
    assert.deepEqual(await titlesOf(house, id), before.slice(1));
  });
});

test("a page is not used in the name of who logs in at another one", async () => {
  const id = await makeList(house, "Beside", 4);
  await house.visit({ alone: true, errors: FAILED }, async (page) => {
    const { panel } = await openInPanel(page, id);
    const other = await page.context().newPage();
    await other.goto("./");
    await logOut(other, "anna");
    await page.getByLabel("Password").waitFor();
    await logIn(other, "ben");
    await page.getByRole("button", { name: "Account of ben" }).waitFor();
    assert.equal(await panel.count(), 0);
  });
});

test("nor is one that was not told of it, as a page may be that slept", async () => {
  const id = await makeList(house, "Asleep", 4);
  const before = await titlesOf(house, id);
  await house.visit({ alone: true, errors: FAILED }, async (page) => {
    await page.addInitScript(() =>
      window.addEventListener("storage", (event) => event.stopImmediatePropagation()),
    );
    const { row } = await openInPanel(page, id);
    const other = await page.context().newPage();
    await other.goto("./");
    await logOut(other, "anna");
    await logIn(other, "ben");
    await row(0).click();
    await page.keyboard.press("Delete");
    await page.getByLabel("Password").waitFor();
    assert.deepEqual(await titlesOf(house, id), before);
  });
});
