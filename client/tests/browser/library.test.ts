import { test } from "node:test";
import type { Page as List } from "../../src/api/types.ts";
import { expectNoViolations, openHouse, SIZES, THEMES, takePicture } from "./fixture.ts";

const house = openHouse();

async function firstOf(kind: string) {
  const list = await house.get<List<{ id?: number; folder?: { id: number } }>>(`api/${kind}?limit=1`);
  return list.items[0]?.id ?? list.items[0]?.folder?.id;
}

/** Each view once. */
async function allViews() {
  const kinds = ["albums", "artists", "genres", "years", "folders"];
  const ones = await Promise.all(kinds.map(async (kind) => `${kind}/${await firstOf(kind)}`));
  const others = ["songs", "composers", "search", "search?q=s", "search?q=nothing+of+this", "scan"];
  return [...kinds, ...ones, `${ones[1]}?show=songs`, "albums?genre=Folk", ...others];
}

for (const size of SIZES) {
  for (const theme of THEMES) {
    test(`every view is accessible on a ${size.name}, ${theme}`, () =>
      house.visit({ size, theme }, async (page) => {
        for (const view of await allViews()) {
          await page.goto(`#/${view}`);
          await page.locator("main h1").first().waitFor();
          await page.locator("main [aria-busy=true]").waitFor({ state: "hidden" });
          await page.waitForLoadState("networkidle");
          await takePicture(
            page,
            `${view.replace(/\W?\d*\W*$/, "").replace(/\W+/g, "_")}-${size.name}-${theme}`,
          );
          await expectNoViolations(page);
        }
      }));
  }
}
