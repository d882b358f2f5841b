import assert from "node:assert/strict";
import { test } from "node:test";
import type { Page } from "playwright-core";
import { DESKTOP, examine, openHouse, PHONE } from "./fixture.ts";

const house = openHouse();
const REFUSED = /status of 40[13]/;

async function logIn(page: Page, name: string, password: string) {
  await page.getByLabel("Name").fill(name);
  await page.getByLabel("Password").fill(password);
  await page.getByRole("button", { name: "Log in" }).click();
}

async function choose(page: Page, entry: string) {
  await page.getByRole("button", { name: /^(Account of|Konto von)/ }).click();
  await page.getByRole("menu").getByText(entry, { exact: true }).click();
}

for (const size of [DESKTOP, PHONE]) {
  test(`a stranger is asked who it is, on a ${size.name}`, () =>
    house.visit({ user: null, errors: REFUSED, size }, async (page) => {
      await page.getByRole("button", { name: "Log in" }).waitFor();
      await examine(page, `log-in-${size.name}`);
    }));
}

test("a wrong password is told, and the right one opens the view that was asked for", () =>
  house.visit({ user: null, errors: REFUSED, at: "#/songs" }, async (page) => {
    await logIn(page, "ben", "not it");
    await page.getByText("Name or password is wrong.").waitFor();
    await logIn(page, "ben", house.places.users.ben);
    await page.getByRole("heading", { name: "Songs" }).waitFor();
  }));

test("logging out leaves nothing of the library on the page", () =>
  house.visit({ errors: REFUSED, at: "#/songs" }, async (page) => {
    await page.getByRole("row", { name: /Seed/ }).waitFor();
    await choose(page, "Log out");
    await page.getByRole("button", { name: "Log in" }).waitFor();
    assert.equal(await page.getByText("Seed").count(), 0);
    await page.reload();
    await page.getByRole("button", { name: "Log in" }).waitFor();
  }));

test("who is logged out elsewhere is asked again by the next request", () =>
  house.visit({ errors: REFUSED, user: "ben", at: "#/songs" }, (page) =>
    house.visit({ errors: REFUSED, user: "ben" }, async (other) => {
      await page.getByRole("row", { name: /Seed/ }).waitFor();
      await choose(other, "Log out everywhere");
      await other.getByRole("button", { name: "Log in" }).waitFor();
      await page.getByRole("link", { name: "Artists" }).first().click();
      await page.getByRole("button", { name: "Log in" }).waitFor();
    }),
  ));

test("the password can be changed by who knows the old one", () =>
  house.visit({ errors: REFUSED, user: "ben" }, async (page) => {
    const change = async (old: string, first: string, second: string) => {
      await page.getByLabel("Old password").fill(old);
      await page.getByLabel("New password", { exact: true }).fill(first);
      await page.getByLabel("New password, again").fill(second);
      await page.getByRole("button", { name: "Change", exact: true }).click();
    };
    const { ben } = house.places.users;
    await choose(page, "Change the password");
    await examine(page, "password");
    await change(ben, "one", "another");
    await page.getByText("The two are not the same.").waitFor();
    await change("not it", "new one", "new one");
    await page.getByText("The old password is wrong.").waitFor();
    await change(ben, "new one", "new one");
    await page.getByText("The password is changed.").waitFor();
    await choose(page, "Log out");
    await logIn(page, "ben", "new one");
    await page.getByRole("button", { name: "Account of ben" }).waitFor();
  }));

test("language and theme are chosen in the menu, and stay", () =>
  house.visit({ at: "#/songs" }, async (page) => {
    await choose(page, "Deutsch");
    await page.getByRole("heading", { name: "Titel" }).waitFor();
    await choose(page, "Dunkel");
    await page.reload();
    await page.getByRole("heading", { name: "Titel" }).waitFor();
    assert.equal(await page.locator("html").getAttribute("lang"), "de");
    assert.equal(await page.locator("html").getAttribute("data-theme"), "dark");
  }));

test("the page opens without a server, and says so", () =>
  house.visit({ alone: true, errors: /ERR_CONNECTION_REFUSED|Failed to load/ }, async (page) => {
    await page.getByRole("main").waitFor();
    await page.evaluate(() => navigator.serviceWorker.ready.then(() => undefined));
    await page.reload();
    await house.stop();
    try {
      await page.reload();
      await page.getByText("No connection to the server.").waitFor();
    } finally {
      await house.start();
    }
    await page.getByRole("button", { name: "Try again" }).click();
    await page.getByRole("button", { name: "Account of anna" }).waitFor();
  }));
