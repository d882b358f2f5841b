import assert from "node:assert/strict";
import { existsSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import type { Page } from "playwright-core";
import { DESKTOP, examine, openHouse, PHONE, SIZES, TABLET, takePicture, type User } from "./fixture.ts";

const house = openHouse();
/** So that all rows of the tree are in view, and thus in the page. */
const TALL = { ...DESKTOP, height: 2400 };

const LONG = `${"Very long ".repeat(20)}`.trim();
const NAMES = [
  "<img src=x onerror=alert(1)> &amp;",
  "潮風の歌",
  "أغاني المساء",
  "50% off? #1",
  LONG,
  "Ünïcödé 🌊",
];
const SONGS = [
  "1",
  "2",
  { res: "http://radio.example/live", title: "Live" },
  { res: "/old/gone.mp3", title: "Gone" },
];

interface Made {
  node: { id: string };
}
async function make(name: string, type = "shared", songs: unknown[] = ["1", "2", "3"], user: User = "anna") {
  const made = await house.act<Made>({ action: "add", type, name, id_info_list: songs }, user);
  return made.node.id;
}
interface Lists {
  items: { id: string; name: string; library: string; count: number; kind: string }[];
}
async function listsCalled(name: string, user: User = "anna") {
  const { items } = await house.get<Lists>("api/playlists?limit=1000", user);
  return items.filter((list) => list.name === name);
}
interface Entries {
  items: { path: string; title?: string; song?: { id: number } }[];
}
const entriesOf = async (id: string) =>
  (await house.get<Entries>(`api/playlists/${id}`)).items.map(({ song, path }) => song?.id ?? path);
const addressOf = (id: string) => `#/playlists/${encodeURIComponent(id)}`;
const tree = (page: Page) => page.getByRole("tree", { name: "Playlists" });
const item = (page: Page, name: string) => tree(page).getByRole("treeitem", { name: new RegExp(`^${name}`) });
const editor = (page: Page) => page.getByRole("complementary");
const undo = (page: Page, what: string) =>
  page.locator(".notice", { hasText: what }).getByRole("button", { name: "Undo" }).last().click();

for (const size of SIZES) {
  test(`all playlists on a ${size.name}`, async () => {
    for (const name of NAMES) if ((await listsCalled(name)).length === 0) await make(name);
    await house.visit({ size, at: "#/playlists" }, async (page) => {
      const rows = page.getByRole("grid", { name: "Playlists" }).getByRole("row");
      for (const name of NAMES) await rows.filter({ hasText: name }).first().waitFor();
      await examine(page, `lists-${size.name}`);
      assert.match(await page.title(), /^Playlists/);
      const wide = await page.evaluate("document.documentElement.scrollWidth > innerWidth");
      assert.equal(wide, false);
    });
  });
}

test("names in many scripts lead to their lists", async () => {
  for (const name of NAMES) {
    const own = `Ben's ${name}`.slice(0, 200);
    const id = await make(own, "personal", ["1"], "ben");
    assert.equal(id, `musiclib_music_personal/playlist/${own}`);
    await house.visit({ user: "ben", size: TABLET, at: addressOf(id) }, async (page) => {
      await page.getByRole("grid").getByRole("row").first().waitFor();
      await page.getByRole("heading", { name: own }).first().waitFor();
      assert.ok((await page.title()).startsWith(own));
    });
  }
});

test("the tree folds, finds and keeps what it was told", async () => {
  await make("Foldable");
  await make("Findable", "personal");
  await house.visit({ size: TALL }, async (page) => {
    await item(page, "Foldable").waitFor();
    await tree(page)
      .getByRole("treeitem", { name: /^Shared/ })
      .click();
    await item(page, "Foldable").waitFor({ state: "detached" });
    await page.reload();
    await item(page, "Findable").waitFor();
    assert.equal(await item(page, "Foldable").count(), 0);
    const search = page.getByRole("navigation").getByRole("searchbox", { name: "Find a playlist" });
    await search.fill("dable FO");
    await item(page, "Foldable").waitFor();
    assert.equal(await item(page, "Findable").count(), 0);
    await search.fill("");
    await tree(page)
      .getByRole("treeitem", { name: /^Shared/ })
      .click();
    await item(page, "Foldable").waitFor();
  });
});

const orderOf = async (page: Page, names: string[]) => {
  const all = await tree(page).getByRole("treeitem").allTextContents();
  return all.map((text) => names.find((name) => text.startsWith(name))).filter((name) => name !== undefined);
};

test("playlists stand in the user's own order", async () => {
  const names = ["Order A", "Order B", "Order C"];
  for (const name of names) await make(name, "personal");
  await house.visit({ size: TALL }, async (page) => {
    await item(page, "Order A").waitFor();
    await page.getByRole("button", { name: "Order of the playlists" }).click();
    await page.getByRole("menuitemcheckbox", { name: /My own order/ }).click();
    await item(page, "Order C").focus();
    await page.keyboard.press("Alt+ArrowUp");
    await page.getByText("Order C is at place").waitFor({ state: "attached" });
    assert.deepEqual(await orderOf(page, names), ["Order A", "Order C", "Order B"]);
    const target = await item(page, "Order A").boundingBox();
    await item(page, "Order B").hover();
    await page.mouse.down();
    await page.mouse.move((target?.x ?? 0) + 20, (target?.y ?? 0) + 4, { steps: 5 });
    await page.mouse.up();
    assert.deepEqual(await orderOf(page, names), ["Order B", "Order A", "Order C"]);
    await page.reload();
    await item(page, "Order A").waitFor();
    assert.deepEqual(await orderOf(page, names), ["Order B", "Order A", "Order C"]);
    await page.goto("#/playlists");
    const rows = page.getByRole("main").getByRole("row").filter({ hasText: "Order" });
    await rows.nth(2).waitFor();
    const shown = async () => (await rows.allTextContents()).map((text) => text.slice(0, "Order A".length));
    assert.deepEqual(await shown(), ["Order B", "Order A", "Order C"]);
    await rows.nth(0).locator(".cell").nth(1).click();
    await page.keyboard.press("Alt+ArrowDown");
    await page.keyboard.press("Alt+ArrowDown");
    await page.getByText(/Order B is at place/).waitFor({ state: "attached" });
    assert.deepEqual(await shown(), ["Order A", "Order C", "Order B"]);
  });
});

test("on a phone playlists are put into the user's own order by their menus", async () => {
  const names = ["Place A", "Place B"];
  for (const name of names) await make(name, "personal");
  await house.visit({ size: PHONE, at: "#/playlists" }, async (page) => {
    const rows = page.getByRole("main").getByRole("row").filter({ hasText: "Place" });
    const order = async () => (await rows.allTextContents()).map((text) => text.slice(0, "Place A".length));
    await page.getByRole("button", { name: "Order of the playlists" }).click();
    await page.getByRole("menuitemcheckbox", { name: /My own order/ }).click();
    await rows.nth(1).waitFor();
    assert.deepEqual(await order(), names);
    await rows.nth(1).getByRole("button", { name: "Place B" }).click();
    await page.getByRole("menuitem", { name: "Move up" }).click();
    await page.getByText(/Place B is at place/).waitFor({ state: "attached" });
    assert.deepEqual(await order(), ["Place B", "Place A"]);
  });
});

test("by keys: open, rename, delete, and undo it all", async () => {
  const id = await make("Keys one");
  await make("Keys two");
  await house.visit({ size: TALL }, async (page) => {
    await item(page, "Keys one").focus();
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("ArrowUp");
    await page.keyboard.press("Enter");
    await editor(page).getByText("Keys one").first().waitFor();
    assert.equal(await item(page, "Keys one").getAttribute("aria-selected"), "true");
    await item(page, "Keys one").focus();
    await page.keyboard.press("F2");
    const name = page.getByRole("dialog").getByLabel("Name");
    await name.fill("Keys two");
    await page.keyboard.press("Enter");
    await page.getByText("There is a playlist of that name already.").waitFor();
    await examine(page, "rename");
    await name.fill("ü".repeat(126));
    await page.keyboard.press("Enter");
    await page.getByText("The name is too long.").waitFor();
    await name.fill("Keys three");
    await page.keyboard.press("Enter");
    await item(page, "Keys three").waitFor();
    assert.equal((await listsCalled("Keys three"))[0]?.id, id);
    await page.keyboard.press("Delete");
    await item(page, "Keys three").waitFor({ state: "detached" });
    await page.getByText("Deleted “Keys three”").waitFor();
    assert.equal(await page.evaluate("document.activeElement.getAttribute('role')"), "treeitem");
    await page.keyboard.press("Control+z");
    await item(page, "Keys three").waitFor();
    await page.getByText("Undone: Deleted").waitFor();
    await page.keyboard.press("Control+z");
    await item(page, "Keys one").waitFor();
    const [again] = await listsCalled("Keys one");
    assert.deepEqual(await entriesOf(again?.id ?? ""), [1, 2, 3]);
    await page.keyboard.press("Control+Shift+Z");
    await item(page, "Keys three").waitFor();
  });
});

test("what is deleted comes back whole, and links and the editor follow it", async () => {
  const id = await make("Whole", "shared", SONGS);
  await make("Whole too", "personal", SONGS);
  const before = await entriesOf(id);
  await house.visit({ size: TALL, at: "#/playlists", errors: /404/ }, async (page) => {
    await item(page, "Whole").first().click();
    await editor(page).getByText("Whole").first().waitFor();
    const rows = page.getByRole("main").getByRole("row");
    const cell = (name: string) =>
      rows
        .filter({ has: page.getByRole("link", { name, exact: true }) })
        .getByRole("gridcell")
        .nth(1);
    await cell("Whole").click();
    await cell("Whole too").click({ modifiers: ["Control"] });
    await page.getByRole("toolbar").getByRole("button", { name: "Delete" }).click();
    await page.getByText("Deleted 2 playlists").waitFor();
    assert.equal((await listsCalled("Whole")).length, 0);
    assert.equal(await editor(page).count(), 0);
    await undo(page, "Deleted 2 playlists");
    await item(page, "Whole too").waitFor();
    await page.getByText("Undone: Deleted 2 playlists").waitFor();
    const [again] = await listsCalled("Whole");
    assert.notEqual(again?.id, id);
    assert.deepEqual(await entriesOf(again?.id ?? ""), before);
    await editor(page).getByText("Whole").first().waitFor();
  });
  const [list] = await listsCalled("Whole");
  await house.visit({ size: TALL, at: addressOf(list?.id ?? ""), errors: /404/ }, async (page) => {
    await page.getByRole("main").getByRole("row").first().waitFor();
    await item(page, "Whole").first().click({ button: "right" });
    await takePicture(page, "list-menu");
    await page.getByRole("menuitem", { name: "Delete" }).click();
    await undo(page, "Deleted “Whole”");
    await page.getByText("Undone: Deleted “Whole”").waitFor();
    const [now] = await listsCalled("Whole");
    await page.waitForURL((url) => url.hash === addressOf(now?.id ?? ""));
  });
});

test("a list that cannot be read is deleted for good, when that is meant", async () => {
  const file = join(house.places.library, "playlists", "Torn.m3u");
  writeFileSync(file, "#EXTM3U\n\0\n");
  await house.scan();
  await house.visit({ size: TALL, at: "#/playlists" }, async (page) => {
    const remove = async (answer: string) => {
      await item(page, "Torn").focus();
      await page.keyboard.press("Delete");
      const dialog = page.getByRole("dialog", { name: "Delete “Torn” for good?" });
      await dialog.waitFor();
      await examine(page, "torn");
      await dialog.getByRole("button", { name: answer }).click();
    };
    await remove("Cancel");
    await item(page, "Torn").waitFor();
    await remove("Delete");
    await item(page, "Torn").waitFor({ state: "detached" });
    assert.equal(existsSync(file), false);
  });
});

test("a list is copied to the other library, by another name where its own is taken", async () => {
  await make("Copied", "shared", SONGS);
  await house.visit({ size: TALL }, async (page) => {
    const copy = async () => {
      await item(page, "Copied").first().click({ button: "right" });
      await page.getByRole("menuitem", { name: "Copy to mine" }).click();
    };
    await copy();
    await page.getByText("Copied “Copied”").waitFor();
    await copy();
    await page.getByText("Please choose another.").waitFor();
    await page.getByRole("dialog").getByLabel("Name").fill("Copied again");
    await page.keyboard.press("Enter");
    await item(page, "Copied again").waitFor();
    const [again] = await listsCalled("Copied again");
    assert.equal(again?.library, "personal");
    assert.equal(again?.count, 4);
    await undo(page, "Copied “Copied”");
    await item(page, "Copied again").waitFor({ state: "detached" });
  });
});

test("a list is downloaded and exported", async () => {
  await make("Taken out", "shared", ["1", "2"]);
  await house.visit({ size: TALL }, async (page) => {
    const choose = async (...path: string[]) => {
      await item(page, "Taken out").click({ button: "right" });
      const download = page.waitForEvent("download");
      for (const name of path) await page.getByRole("menuitem", { name }).click();
      const file = await download;
      return { name: file.suggestedFilename(), bytes: readFileSync(await file.path()) };
    };
    const zip = await choose("Download as zip");
    assert.equal(zip.name, "Taken out.zip");
    assert.equal(zip.bytes.subarray(0, 4).toString("latin1"), "PK\x03\x04");
    const beginnings = { M3U8: "#EXTM3U", PLS: "[playlist]", XSPF: "<?xml", JSPF: "{" };
    for (const [format, begin] of Object.entries(beginnings)) {
      const file = await choose("Export as…", format);
      assert.equal(file.name, `Taken out.${format.toLowerCase()}`);
      assert.ok(file.bytes.toString("utf8").startsWith(begin), file.bytes.toString("utf8").slice(0, 40));
    }
  });
});

async function dragTo(page: Page, from: ReturnType<Page["locator"]>, to: ReturnType<Page["locator"]>) {
  const target = await to.boundingBox();
  if (!target) throw new Error("the target is not in view");
  await from.hover({ position: { x: 30, y: 12 } }); // where it has its name
  await page.mouse.down();
  await page.mouse.move(target.x + 40, target.y + target.height / 2, { steps: 8 });
}

test("songs are dropped on a list, and on a group as a new one", async () => {
  const id = await make("Dropped on", "shared", []);
  await house.visit({ size: TALL, at: addressOf("musiclib_random") }, async (page) => {
    const row = page.getByRole("grid", { name: "Random" }).getByRole("row").nth(1);
    await row.waitFor();
    await dragTo(page, row, item(page, "Dropped on"));
    assert.match((await item(page, "Dropped on").getAttribute("class")) ?? "", /into/);
    await takePicture(page, "drop-on-list");
    await page.mouse.up();
    await item(page, "Dropped on").filter({ hasText: "1" }).waitFor();
    const [chance] = await entriesOf(id);
    const others = [4, 3, 2].filter((song) => song !== chance).slice(0, 2);
    await make("Dragged", "personal", others.map(String));
    await page.reload();
    await row.waitFor();
    await dragTo(page, item(page, "Dragged"), item(page, "Dropped on"));
    await page.mouse.up();
    await item(page, "Dropped on").filter({ hasText: "3" }).waitFor();
    assert.deepEqual((await entriesOf(id)).slice(1), others);
    assert.equal(await editor(page).count(), 0);

    await dragTo(page, row, tree(page).getByRole("treeitem", { name: /^Mine/ }));
    await page.mouse.up();
    await page.getByRole("dialog", { name: "Save as playlist" }).getByLabel("Name").fill("From a drop");
    await page.keyboard.press("Enter");
    await item(page, "From a drop").waitFor();
    const [made] = await listsCalled("From a drop");
    assert.deepEqual([made?.library, made?.count], ["personal", 1]);
  });
});

test("songs are added to several lists, or a new one, by keys", async () => {
  await make("Added one", "shared", []);
  await make("Added two", "personal", []);
  await house.visit({ size: TALL, at: addressOf("musiclib_random") }, async (page) => {
    await page.getByRole("grid", { name: "Random" }).getByRole("row").nth(1).click();
    const ask = async () => {
      await page.keyboard.press("l");
      await page.getByRole("dialog", { name: "Add 1 song" }).waitFor();
    };
    await ask();
    await page.keyboard.type("added");
    await page.getByRole("option", { name: "Added one" }).waitFor();
    await page.keyboard.press("Control+Enter");
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("Control+Enter");
    await page.getByRole("button", { name: "Add to 2 playlists" }).waitFor();
    await examine(page, "add-several");
    await page.keyboard.press("Enter");
    await item(page, "Added one").filter({ hasText: "1" }).waitFor();
    await item(page, "Added two").filter({ hasText: "1" }).waitFor();
    await ask();
    assert.match(
      (await page.getByRole("dialog").getByRole("option").first().textContent()) ?? "",
      /Added two/,
    );
    await page.keyboard.type("Added new");
    await page.getByRole("option", { name: "New playlist “Added new”" }).waitFor();
    await page.keyboard.press("Enter");
    await page.getByRole("dialog", { name: "Save as playlist" }).waitFor();
    await page.keyboard.press("Enter");
    await item(page, "Added new").waitFor();
    assert.equal((await listsCalled("Added new"))[0]?.count, 1);
  });
});

test("a list that is deleted on a phone leads to the others, and back when that is undone", async () => {
  const id = await make("Seen on a phone");
  await house.visit({ size: PHONE, at: addressOf(id), errors: /404/ }, async (page) => {
    await page.getByRole("main").getByRole("button", { name: "Menu" }).click();
    await page.getByRole("menuitem", { name: /^Delete/ }).click();
    await page.waitForURL((url) => url.hash === "#/playlists");
    await undo(page, "Deleted “Seen on a phone”");
    await page.getByRole("heading", { name: "Seen on a phone" }).waitFor();
    const [again] = await listsCalled("Seen on a phone");
    assert.equal(new URL(page.url()).hash, addressOf(again?.id ?? ""));
  });
});

test("a list is made on a phone, and opened there", () =>
  house.visit({ size: PHONE, at: "#/playlists" }, async (page) => {
    await page.getByRole("button", { name: "New", exact: true }).click();
    await page.getByRole("menuitem", { name: "New playlist", exact: true }).click();
    await page.getByRole("button", { name: "Make" }).click();
    await page.getByText("Please give it a name.").waitFor();
    await page.getByLabel("Name").fill("On a phone");
    await page.getByLabel("Shared with everybody").check();
    await takePicture(page, "new-phone");
    await page.getByRole("button", { name: "Make" }).click();
    await page.getByRole("heading", { name: "On a phone" }).first().waitFor();
    assert.equal((await listsCalled("On a phone"))[0]?.library, "shared");
  }));

test("chance shuffles anew, and is kept as a list as it is seen", () =>
  house.visit({ size: TALL, at: addressOf("musiclib_random") }, async (page) => {
    const titles = page.getByRole("grid", { name: "Random" }).locator('[aria-colindex="1"][role="gridcell"]');
    await titles.nth(11).waitFor();
    const shown = await titles.allTextContents();
    await page.getByRole("button", { name: "Save as playlist" }).click();
    await page.getByLabel("Name").fill("By chance");
    await page.keyboard.press("Enter");
    await item(page, "By chance").waitFor();
    const [made] = await listsCalled("By chance");
    const { items } = await house.get<{ items: { song: { title: string } }[] }>(`api/playlists/${made?.id}`);
    assert.deepEqual(
      items.map(({ song }) => song.title),
      shown,
    );
    // Twelve songs in the same order twice are one chance in 479 million.
    await page.getByRole("button", { name: "Shuffle anew" }).click();
    await page.waitForFunction((before) => {
      const cells = document.querySelectorAll('.view [aria-colindex="1"][role="gridcell"]');
      return [...cells].map((cell) => cell.textContent).join() !== before;
    }, shown.join());
    await page.getByLabel("Library").selectOption("Mine");
    await page.getByText("There are no songs for this one now.").waitFor();
  }));

test("a smart playlist shows its songs, is renamed, copied and deleted", async () => {
  const body = JSON.stringify({ name: "Snails", library: "shared", rule: 'title includes "snail" # slowly' });
  await house.ask("api/smart", { method: "POST", body, headers: { "Content-Type": "application/json" } });
  await house.visit(
    { size: TALL, at: addressOf("musiclib_music_shared/smart/Snails"), errors: /404/ },
    async (page) => {
      await page.getByRole("grid", { name: "Snails" }).getByText("Snail, Slowly").waitFor();
      await page.getByText("1 song · 0:0").waitFor();
      await examine(page, "smart-page");
      await page.getByRole("button", { name: "More for Snails" }).click();
      await page.getByRole("menuitem", { name: /^Rename/ }).click();
      await page.getByRole("dialog").getByLabel("Name").fill("Slow 100%?");
      await page.keyboard.press("Enter");
      await page.getByRole("heading", { name: "Slow 100%?" }).waitFor();
      await page.waitForURL((url) => url.hash === addressOf("musiclib_music_shared/smart/Slow 100%?"));
      assert.equal((await listsCalled("Snails")).length, 0);
      await page.getByRole("button", { name: "More for Slow 100%?" }).click();
      await page.getByRole("menuitem", { name: "Copy to mine" }).click();
      await page.getByText("Copied “Slow 100%?”").waitFor();
      await page.getByRole("button", { name: "More for Slow 100%?" }).click();
      await page.getByRole("menuitem", { name: "Delete" }).click();
      await undo(page, "Deleted “Slow 100%?”");
      await page.getByText("Undone: Deleted").waitFor();
      const id = "musiclib_music_shared/smart/Slow%20100%25%3F";
      const { rule } = await house.get<{ rule: string }>(`api/smart/${id}`);
      assert.equal(rule, 'title includes "snail" # slowly');
      await page.getByRole("link", { name: "Edit rule" }).click();
      await page.getByRole("textbox", { name: "Rule" }).waitFor();
    },
  );
});

test("what others do is seen when one looks again", () =>
  house.visit({ size: TALL }, async (page) => {
    await tree(page).getByRole("treeitem").first().waitFor();
    await make("Of somebody else", "shared", ["1"], "ben");
    await page.evaluate("window.dispatchEvent(new Event('focus'))");
    await item(page, "Of somebody else").waitFor();
  }));

test("two thousand lists are a few rows", async () => {
  const folder = join(house.places.library, "playlists");
  for (let number = 0; number < 2000; number++) {
    writeFileSync(join(folder, `Many ${String(number).padStart(4, "0")}.m3u`), "#EXTM3U\n");
  }
  await house.scan();
  await house.visit({ size: DESKTOP, at: "#/playlists" }, async (page) => {
    await item(page, "Shared")
      .filter({ hasText: /2,0\d\d/ })
      .waitFor();
    assert.ok((await tree(page).getByRole("treeitem").count()) < 60);
    await item(page, "Shared").focus();
    await page.keyboard.press("End");
    await item(page, "Random").waitFor();
    await page.getByRole("main").getByRole("searchbox").fill("many 1999");
    await page.getByRole("main").getByRole("row").filter({ hasText: "Many 1999" }).waitFor();
    assert.equal(await page.getByRole("main").getByRole("row").count(), 2);
  });
});
