import { test } from "node:test";
import type { Page as List } from "../../src/api/types.ts";
import { expectNoViolations, openHouse, SIZES, THEMES, takePicture } from "./fixture.ts";

const house = openHouse();

async function firstOf(kind: string) {
  return (await house.get<List<{ id: number }>>(`api/${kind}?limit=1`)).items[0]?.id;
}

/** Each view once. */
async function allViews() {
  const [album, artist, genre] = await Promise.all(["albums", "artists", "genres"].map(firstOf));
  const ones = [`albums/${album}`, `artists/${artist}`, `artists/${artist}?show=songs`, `genres/${genre}`];
  const kinds = ["albums", "artists", "songs", "genres", "composers", "years", "folders"];
  return [...kinds, ...ones, "years/2019", "search", "search?q=s", "search?q=nothing+of+this", "scan"];
}

for (const size of SIZES) {
  for (const theme of THEMES) {
    test(`every view is accessible on a ${size.name}, ${theme}`, () =>
      house.visit({ size, theme, errors: /404/ }, async (page) => {
        const wrong = [];
        for (const view of await allViews()) {
          await page.goto(`#/${view}`);
          await page.locator("main h1").first().waitFor();
          await page.locator("main [aria-busy=true]").waitFor({ state: "hidden" });
          await page.waitForLoadState("networkidle");
          await takePicture(page, `${view.replace(/\W+/g, "_")}-${size.name}-${theme}`);
          try {
            await expectNoViolations(page);
          } catch (e) {
            wrong.push(`${view}: ${e}`);
          }
        }
        if (wrong.length > 0) throw new Error(wrong.join("\n"));
      }));
  }
}
