import assert from "node:assert/strict";
import { test } from "node:test";
import type { Page } from "playwright-core";
import { examine, openHouse, SIZES } from "./fixture.ts";

const house = openHouse();

const NESTED = [
  '(artist is "Nina" or title not includes "<img src=x>" or (year > 1990 and genre not is empty))',
  "and time_added after 3 weeks ago",
  "and song_length < 240",
  "order by time_added desc",
  "limit 50",
].join("\n");

async function makeSmart(name: string, rule: string, library = "shared") {
  const body = JSON.stringify({ name, library, rule });
  const headers = { "Content-Type": "application/json" };
  const answer = await house.ask("api/smart", { method: "POST", body, headers });
  assert.equal(answer.status, 201, await answer.text());
}

const addressOf = (name: string) => `#/smart/${encodeURIComponent(`musiclib_music_shared/smart/${name}`)}`;
const ruleOf = async (name: string) =>
  (await house.get<{ rule: string }>(`api/smart/musiclib_music_shared/smart/${encodeURIComponent(name)}`))
    .rule;
const textOf = (page: Page) => page.getByRole("textbox", { name: "Rule" });
const waitForText = (page: Page, text: string) =>
  page.waitForFunction((wanted) => document.querySelector("textarea")?.value === wanted, text);
const count = (page: Page) => page.getByRole("region", { name: "What it chooses now" });

for (const size of SIZES) {
  test(`a rule on a ${size.name}`, async () => {
    const name = `Nested ${size.name}`;
    await makeSmart(name, NESTED);
    await house.visit({ size, at: addressOf(name) }, async (page) => {
      await count(page).getByText("12 songs").waitFor();
      assert.equal(await page.getByRole("group", { name: "Group of conditions" }).count(), 3);
      await examine(page, `rule-${size.name}`);
      await textOf(page).fill("title includes\n  and colour is 3");
      await page.getByText("Line 2, column 3:").waitFor();
      await examine(page, `rule-wrong-${size.name}`);
    });
  });
}

test("a rule is made by the form, and by the text, and both tell the same", () =>
  house.visit({ at: "#/smart/new", errors: /404/ }, async (page) => {
    await count(page).getByText("12 songs").waitFor();
    const conditions = page.getByRole("region", { name: "Conditions" });
    await conditions.getByLabel("Value").fill("snail");
    await count(page).getByText("1 song", { exact: true }).waitFor();
    assert.equal(await textOf(page).inputValue(), 'title includes "snail"');
    await conditions.getByRole("button", { name: "Condition", exact: true }).click();
    await conditions.getByLabel("Which conditions must hold").selectOption("Any of these holds");
    await conditions.getByLabel("Field").nth(1).selectOption("Year");
    await conditions.getByLabel("Comparison").nth(1).selectOption("is at least");
    await conditions.getByLabel("Value").nth(1).fill("1900");
    await page.getByLabel("Order", { exact: true }).selectOption("By chance");
    await page.getByLabel("At most").check();
    await page.getByLabel("How many songs at most").fill("3");
    const text = 'title includes "snail"\nor year >= 1900\norder by random\nlimit 3';
    await waitForText(page, text);
    await count(page).getByText("3 songs").waitFor();

    await textOf(page).fill("not (album is empty and rating <= 2) order by title desc");
    await page.getByLabel("Direction").waitFor();
    assert.equal(await conditions.getByLabel("Which conditions must hold").inputValue(), "not_all");
    assert.equal(await conditions.getByLabel("Field").nth(1).inputValue(), "rating");

    await page.getByRole("button", { name: "Save" }).click();
    await page.getByText("Please give it a name.").waitFor();
    await page.getByLabel("Name", { exact: true }).fill("Not bad");
    await page.getByLabel("Shared with everybody").check();
    await page.keyboard.press("Control+s");
    await page.getByRole("heading", { name: "Not bad" }).waitFor();
    assert.equal(await ruleOf("Not bad"), "not (album is empty and rating <= 2) order by title desc");
    await page.getByRole("button", { name: "Undo" }).click();
    await page.getByText("This playlist is not there any more.").waitFor();
  }));

test("a name that is taken is told at the field", async () => {
  await makeSmart("Taken", "year > 0");
  await house.visit({ at: "#/smart/new", errors: /409/ }, async (page) => {
    await page.getByLabel("Shared with everybody").check();
    await page.getByLabel("Name", { exact: true }).fill("Taken");
    await page.getByRole("button", { name: "Save" }).click();
    await page.getByText("There is a playlist of that name already.").waitFor();
    await page.getByLabel("Name", { exact: true }).fill("Taken, too");
    await page.getByRole("button", { name: "Save" }).click();
    await page.getByText("This name cannot have a comma.").waitFor();
  });
});

test("what the form cannot show stays in the text", async () => {
  const rule = "year > 0 # all but those without one";
  await makeSmart("Commented", rule);
  await house.visit({ at: addressOf("Commented") }, async (page) => {
    await page.getByText("This rule has comments").waitFor();
    assert.equal(await textOf(page).inputValue(), rule);
    await page.getByRole("button", { name: "Remove the comments" }).click();
    await page.getByLabel("Value").waitFor();
    assert.equal(await textOf(page).inputValue(), "year > 0");
    await textOf(page).fill("time_added after 3 days before last month");
    await page.getByText("counted from another one").waitFor();
    await count(page).getByText("12 songs").waitFor();
  });
});

test("the text tells where it is wrong, in the person's language", async () => {
  await makeSmart("Wrong", "year > 0");
  await house.visit({ at: addressOf("Wrong"), language: "de-DE" }, async (page) => {
    const text = page.getByRole("textbox", { name: "Regel" });
    await text.fill('title is "潮風 🌊" and colour is 3');
    const place = page.getByRole("button", { name: /Zeile 1, Spalte 21:.*fehlt ein Feld/ });
    await place.click();
    assert.equal(await page.evaluate("getSelection().toString()"), "colour");
    assert.equal(await page.getByRole("button", { name: "Speichern" }).isDisabled(), true);
    await text.fill("year > 9223372036854775808");
    await page.getByText("Diese Zahl ist zu groß.").waitFor();
  });
});

test("the server has the last word on a rule", async () => {
  await makeSmart("Refused", "year > 0");
  await house.visit({ at: addressOf("Refused"), errors: /422/ }, async (page) => {
    await count(page)
      .getByText(/\d+ songs/)
      .waitFor();
    await page.route("**/api/smart/preview", (route) =>
      route.continue({ postData: JSON.stringify({ rule: "year > 0\n or colour is 3" }) }),
    );
    await textOf(page).fill("year > 1\n or year > 2");
    await page.getByRole("button", { name: /Line 2, column 5:.*expected a field/ }).waitFor();
  });
});

test("a rule is saved, undone and done again", async () => {
  await makeSmart("Kept", "year > 0");
  await house.visit({ at: addressOf("Kept") }, async (page) => {
    await textOf(page).fill("year > 1");
    await page.getByText("Not saved yet").waitFor();
    await page.getByRole("link", { name: "Playlists", exact: true }).last().click();
    await page.getByRole("grid", { name: "Playlists" }).waitFor();
    await page.goBack();
    await page.getByText("Not saved yet").waitFor();
    assert.equal(await textOf(page).inputValue(), "year > 1");
    await page.getByRole("button", { name: "Save" }).click();
    await page.getByText("Saved the rule of “Kept”").waitFor();
    assert.equal(await ruleOf("Kept"), "year > 1");
    await page.getByRole("button", { name: "Undo" }).click();
    await page.getByText("Undone: Saved the rule of “Kept”").waitFor();
    assert.equal(await ruleOf("Kept"), "year > 0");
    await waitForText(page, "year > 0");
    await page.getByRole("heading", { name: "Kept" }).click();
    await page.keyboard.press("Control+Shift+Z");
    await page.getByText("Done again: Saved the rule of “Kept”").waitFor();
    assert.equal(await ruleOf("Kept"), "year > 1");
  });
});

test("two who edit a rule see both", async () => {
  await makeSmart("Both", "year > 0");
  const put = (rule: string) =>
    house.ask(
      "api/smart/musiclib_music_shared/smart/Both",
      {
        method: "PUT",
        body: JSON.stringify({ rule }),
        headers: { "Content-Type": "application/json" },
      },
      "ben",
    );
  await house.visit({ at: addressOf("Both"), errors: /412/ }, async (page) => {
    await textOf(page).fill("year > 1");
    await put("year > 2");
    await page.getByRole("button", { name: "Save" }).click();
    const dialog = page.getByRole("dialog", { name: "Somebody else has changed this rule" });
    await dialog.getByText("year > 2").waitFor();
    await dialog.getByText("year > 1").waitFor();
    await examine(page, "rule-both");
    await dialog.getByRole("button", { name: "Replace it by yours" }).click();
    await page.getByText("Saved the rule of “Both”").waitFor();
    assert.equal(await ruleOf("Both"), "year > 1");

    await textOf(page).fill("year > 3");
    await put("year > 4");
    await page.evaluate("window.dispatchEvent(new Event('focus'))");
    await page.getByRole("button", { name: "Show both" }).click();
    await dialog.getByRole("button", { name: "Take what is saved" }).click();
    await waitForText(page, "year > 4");

    await put("year > 5");
    await page.evaluate("window.dispatchEvent(new Event('focus'))");
    await waitForText(page, "year > 5");
  });
});

test("only the last preview counts", async () => {
  await makeSmart("Quick", "year > 0");
  await house.visit({ at: addressOf("Quick") }, async (page) => {
    await count(page)
      .getByText(/\d+ songs/)
      .waitFor();
    const aborted = page.waitForEvent("requestfailed", (request) => request.url().endsWith("/preview"));
    let release = () => {};
    const held = new Promise<void>((resolve) => {
      release = resolve;
    });
    await page.route("**/api/smart/preview", async (route) => {
      if (route.request().postDataJSON().rule.includes("snail")) await held;
      await route.continue().catch(() => {});
    });
    await textOf(page).fill('title includes "snail"');
    await textOf(page).fill("year > 3000");
    await aborted;
    release();
    await count(page).getByText("0 songs").waitFor();
  });
});
