// pictures FOLDER: makes the README's pictures of the client from the demo music.
import { resolve } from "node:path";
import type { Page } from "playwright-core";
import { House, PHONE, type Visit } from "./fixture.ts";

const folder = resolve(process.argv[2] ?? ".");

interface Named {
  id: number;
  name: string;
}

async function makeLists(house: House) {
  const { items } = await house.get<{ items: { id: number }[] }>("api/songs?sort=title");
  const ids = items.map(({ id }) => String(id));
  const { node } = await house.act<{ node: { id: string } }>({
    action: "add",
    type: "shared",
    name: "Rainy Sunday",
    id_info_list: ids.slice(2),
  });
  for (const [type, name, first] of [
    ["shared", "Kitchen, mornings", 4],
    ["shared", "Long drives", 2],
    ["personal", "To hear again", 7],
  ] as const) {
    await house.act({ action: "add", type, name, id_info_list: ids.slice(first, first + 5) });
  }
  await house.ask("api/smart", {
    method: "POST",
    headers: { "Content-Type": "application/json" },
    body: JSON.stringify({ name: "Since 2000", library: "shared", rule: "year >= 2000" }),
  });
  // Something is in the queue, and so in the bar at the foot; a notice tells from where.
  await house.ask("api/queue", {
    method: "PUT",
    headers: { "Content-Type": "application/json" },
    body: JSON.stringify({ items: items.map(({ id }) => ({ song: id })), position: 3 }),
  });
  return node.id;
}

async function take(house: House, name: string, visit: Visit, prepare: (page: Page) => Promise<void>) {
  await house.visit(visit, async (page) => {
    await prepare(page);
    const notice = page.locator(".notice");
    await notice.getByRole("button", { name: "Close" }).click();
    await notice.waitFor({ state: "detached" });
    await page.waitForFunction(() => [...document.images].every((image) => image.complete));
    await page.screenshot({ path: `${folder}/${name}.png`, scale: "css" });
  });
}

async function main() {
  const house = new House(["--player"]);
  await house.open();
  try {
    const list = await makeLists(house);
    const albums = (await house.get<{ items: Named[] }>("api/albums")).items;
    const garden = albums.find(({ name }) => name === "Garden Pieces");
    await take(house, "desktop", { at: "#/albums" }, async (page) => {
      await page.evaluate(`localStorage.setItem("open_list:anna", ${JSON.stringify(JSON.stringify(list))})`);
      await page.reload();
      await page.getByRole("complementary").getByText("Rainy Sunday").first().waitFor();
      await page.getByRole("main").getByText("Garden Pieces").first().waitFor();
    });
    await take(house, "phone", { size: PHONE, theme: "dark", at: `#/albums/${garden?.id}` }, async (page) => {
      await page.getByText("Snail, Slowly").filter({ visible: true }).first().waitFor();
    });
  } finally {
    await house.close();
  }
}

await main();
