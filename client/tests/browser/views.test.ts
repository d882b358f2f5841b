// Every view, as people see it: on each screen, light and dark, axe finds nothing wrong with it. With
// VEXO_PICTURES=FOLDER it leaves a picture of each there.
import { before, test } from "node:test";
import type { Page } from "playwright-core";
import { examine, openHouse, SIZES, type Size } from "./fixture.ts";

const house = openHouse({ player: true });

interface View {
  name: string;
  at: string;
  shows: string; // a text that is there when the view is
}
const views: View[] = [];

const LONG = "A name that goes on and on, longer than any screen is wide, ".repeat(4).slice(0, 200);

async function furnish() {
  await house.makeSongs([
    song("Loose/markup.flac", {
      TITLE: "<b>Bold</b> & <i>italic</i>",
      ARTIST: "<script>alert(1)</script>",
      ALBUM: "&amp;",
    }),
    song("Loose/long.flac", { TITLE: LONG, ARTIST: LONG, ALBUM: LONG }),
    song("Loose/scripts.flac", {
      TITLE: "שלום العالم नमस्ते 안녕",
      ARTIST: "Ελλάδα",
      ALBUM: "ไทย ქართული 日本",
      COMPOSER: "Mira Solberg",
    }),
  ]);
  const songs = (await house.get<{ items: Named[] }>("api/songs")).items.map(({ id }) => String(id));
  await house.act({
    action: "add",
    type: "shared",
    name: "Rainy Sunday",
    id_info_list: [...songs, { res: "/gone/03 Snail, Slowly.ogg" }],
  });
  for (const name of [LONG, "<b>Not bold <img src=x>", "Крошки 小川"]) {
    await house.act({ action: "add", type: "personal", name, id_info_list: ["2"] });
  }
  await house.ask("api/smart", {
    method: "POST",
    headers: { "Content-Type": "application/json" },
    body: JSON.stringify({
      name: "Snails",
      library: "shared",
      rule: 'title includes "snail" or year > 1990',
    }),
  });
}

function song(path: string, tags: Record<string, string>) {
  return { path, seconds: 201, tags };
}

interface Named {
  id: number | string;
  name: string;
}

// A table of things and the page of one of them.
async function family(kind: string, one: string, shows: string): Promise<View[]> {
  const { items } = await house.get<{ items: Named[] }>(`api/${kind}?limit=1000`);
  const found = items.find(({ name }) => name === one);
  if (!found) throw new Error(`no ${one} among the ${kind}`);
  return [
    { name: kind, at: `#/${kind}`, shows: one },
    { name: `${kind}-one`, at: `#/${kind}/${encodeURIComponent(found.id)}`, shows },
  ];
}

before(async () => {
  await furnish();
  const [loose] = (await house.get<{ items: { folder_id: number }[] }>("api/songs?q=untagged")).items;
  views.push(
    ...(await family("albums", "Garden Pieces", "Compost (Reprise)")),
    ...(await family("artists", "The Window Boxes", "Garden Pieces")),
    ...(await family("genres", "Folk", "Garden Pieces")),
    ...(await family("composers", "Mira Solberg", "ไทย ქართული 日本")),
    ...(await family("years", "2019", "Garden Pieces")),
    { name: "folders", at: "#/folders", shows: "Loose" },
    { name: "folders-one", at: `#/folders/${loose?.folder_id}`, shows: "untagged" },
    ...(await family("playlists", "Rainy Sunday", "Compost (Reprise)")),
    { name: "albums-filtered", at: "#/albums?genre=Folk", shows: "Garden Pieces" },
    { name: "songs", at: "#/songs", shows: "Compost (Reprise)" },
    { name: "search", at: "#/search?q=garden", shows: "Garden Pieces" },
    { name: "search-nothing", at: "#/search?q=qqqq", shows: "qqqq" },
    { name: "scan", at: "#/scan", shows: "Scan the folder of music" },
    { name: "queue", at: "#/queue", shows: "Queue" },
    { name: "nowhere", at: "#/no/such/view", shows: "nothing at this address" },
  );
});

// Pictures of songs that are in view have come.
async function picturesAreThere(page: Page) {
  await page.waitForFunction(() => [...document.images].every((image) => image.complete));
}

// Nothing makes the page itself scroll, as it is as large as the screen, or a list sideways.
async function fits(page: Page, size: Size) {
  const [width, height] = (await page.evaluate(
    "[document.documentElement.scrollWidth, document.documentElement.scrollHeight]",
  )) as [number, number];
  if (width > size.width || height > size.height) throw new Error(`the page is ${width} x ${height}`);
  const tooWide = await page
    .locator("[data-scroller]")
    .evaluateAll((lists) => lists.filter((list) => list.scrollWidth > list.clientWidth).length);
  if (tooWide > 0) throw new Error("a list is wider than its place");
}

async function look(page: Page, view: View, size: Size) {
  await page.goto(view.at);
  await page.getByRole("main").getByText(view.shows).filter({ visible: true }).first().waitFor();
  await picturesAreThere(page);
  await fits(page, size);
  await examine(page, `${view.name}-${size.name}`);
}

for (const size of SIZES) {
  test(`every view on a ${size.name}`, () =>
    house.visit({ size }, async (page) => {
      const wrong: string[] = [];
      for (const view of views) {
        await look(page, view, size).catch((error) => wrong.push(`${view.name}: ${error.message}`));
      }
      if (wrong.length > 0) throw new Error(wrong.join("\n\n"));
    }));
}
