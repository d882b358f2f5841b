import { test } from "node:test";
import { expectNoViolations, openHouse, PHONE, SIZES, THEMES, takePicture } from "./fixture.ts";

const house = openHouse();

test("looks", async () => {
  for (const [number, name] of [
    "Rainy Sunday",
    "Kitchen",
    "Long drives, and what else there is to hear",
    "<img src=x onerror=alert(1)> &amp;",
    "潮風の歌",
    "أغاني المساء",
  ].entries())
    await house.act({
      action: "add",
      type: number % 2 ? "shared" : "personal",
      name,
      id_info_list: ["1", "2", "3"].slice(number % 3),
    });
  await house.ask("api/smart", {
    method: "POST",
    body: JSON.stringify({ name: "Snails", library: "shared", rule: 'title includes "snail"' }),
    headers: { "Content-Type": "application/json" },
  });
  await house.ask("api/smart", {
    method: "POST",
    body: JSON.stringify({ name: "Folk", library: "personal", rule: "year > 0" }),
    headers: { "Content-Type": "application/json" },
  });
  for (const size of SIZES)
    for (const theme of THEMES)
      await house.visit({ size, theme, at: "#/playlists" }, async (page) => {
        await page.getByRole("row").first().waitFor();
        await takePicture(page, `lists-${size.name}-${theme}`);
        await expectNoViolations(page);
        await page.goto("#/playlists/musiclib_random");
        await page.getByRole("heading", { name: "Random" }).waitFor();
        await page.getByRole("row").first().waitFor();
        await takePicture(page, `random-${size.name}-${theme}`);
        await expectNoViolations(page);
        await page
          .getByRole("row")
          .nth(size === PHONE ? 0 : 1)
          .click();
        if (size !== PHONE) {
          await page.keyboard.press("l");
          await page.getByRole("dialog").waitFor();
          await takePicture(page, `add-${size.name}-${theme}`);
          await expectNoViolations(page);
        }
      });
});
