// benchmark INDEX: measures the client on the index of a large library, and prints a line of JSON for each
// figure: {"name", "value", "bound"}. benchmarks/client.py runs it.
import type { Page } from "playwright-core";
import { DESKTOP, House } from "./fixture.ts";

const LIST_ENTRIES = 20_000;
const SCROLLS = 300;
const ROUNDS = 5;

interface Figure {
  name: string;
  value: number;
  bound: number;
}

function tell(figure: Figure) {
  process.stdout.write(`${JSON.stringify(figure)}\n`);
}

function quantile(values: number[], part: number) {
  const sorted = [...values].sort((a, b) => a - b);
  return sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * part))] ?? Number.NaN;
}

interface TraceEvent {
  name: string;
  ph: string;
  pid: number;
  tid: number;
  ts: number;
  dur?: number; // microseconds
  tdur?: number; // those that the thread was running
}

// The milliseconds that the page's thread has worked for each frame: scripts, layout, painting, all of it. A frame
// ends with the task that hands it over to be drawn.
function workOfFrames({ traceEvents }: { traceEvents: TraceEvent[] }) {
  const page = traceEvents.find(({ name }) => name === "FireAnimationFrame");
  if (!page) throw new Error("the trace has no frames");
  const own = traceEvents.filter(({ pid, tid, ph }) => pid === page.pid && tid === page.tid && ph === "X");
  const commits = own.filter(({ name }) => name === "Commit").map(({ ts }) => ts);
  const tasks = own.filter(({ name }) => name === "RunTask").sort((a, b) => a.ts - b.ts);
  const frames: number[] = [];
  let work = 0;
  for (const { ts, dur = 0, tdur = dur } of tasks) {
    work += tdur / 1000;
    const hasEnded = (commits[0] ?? Number.POSITIVE_INFINITY) < ts + dur;
    if (!hasEnded) continue;
    commits.shift();
    frames.push(work);
    work = 0;
  }
  return frames;
}

async function traced(page: Page, work: () => Promise<void>) {
  const browser = page.context().browser();
  if (!browser) throw new Error("the page has no browser");
  const categories = ["devtools.timeline", "disabled-by-default-devtools.timeline"];
  await browser.startTracing(page, { categories });
  await work();
  return JSON.parse((await browser.stopTracing()).toString()) as { traceEvents: TraceEvent[] };
}

async function scrollThrough(page: Page, grid: string, pixels: number) {
  await page.locator(grid).hover();
  for (let count = 0; count < SCROLLS; count++) await page.mouse.wheel(0, pixels);
}

async function megabytesInUse(page: Page) {
  const session = await page.context().newCDPSession(page);
  await session.send("HeapProfiler.collectGarbage");
  await session.send("Performance.enable");
  const { metrics } = await session.send("Performance.getMetrics");
  return (metrics.find(({ name }) => name === "JSHeapUsedSize")?.value ?? Number.NaN) / 2 ** 20;
}

const GRID = '[role="grid"]';
const ROW = `${GRID} [data-index]`;

async function coldStart(house: House) {
  const times: number[] = [];
  for (let round = 0; round < ROUNDS; round++) {
    // Each visit has a browser's context, and so a cache, of its own.
    await house.visit({ at: "about:blank" }, async (page) => {
      const start = performance.now();
      await page.goto("#/songs", { waitUntil: "commit" });
      await page.locator(ROW).first().waitFor();
      times.push(performance.now() - start);
    });
  }
  tell({ name: "cold start to the first list, s", value: quantile(times, 0.5) / 1000, bound: 1 });
}

async function library(house: House) {
  await house.visit({ at: "#/songs", size: DESKTOP }, async (page) => {
    await page.locator(ROW).first().waitFor();
    const last = await page.locator(GRID).getAttribute("aria-rowcount"); // the head is a row, too
    const trace = await traced(page, () => scrollThrough(page, GRID, 700));
    const what = `${(Number(last) - 1).toLocaleString("en")} songs`;
    tell({
      name: `${what}: work of a frame, p95, ms`,
      value: quantile(workOfFrames(trace), 0.95),
      bound: 20,
    });
    tell({ name: `${what}: memory of scripts, MiB`, value: await megabytesInUse(page), bound: 32 });
    await page.locator(ROW).first().click();
    await page.keyboard.press("End");
    await page.locator(`${GRID} [aria-rowindex="${last}"]`).waitFor();
    tell({ name: `${what}: rows in the page`, value: await page.locator(ROW).count(), bound: 200 });
  });
}

async function makeList(house: House) {
  const { total } = await house.get<{ total: number }>("api/songs?limit=0");
  const step = Math.floor(total / LIST_ENTRIES);
  const ids = Array.from({ length: LIST_ENTRIES }, (_, index) => String(1 + index * step));
  const name = `Long ${Date.now()}`; // the index keeps the lists of earlier runs
  const list = { action: "add", type: "shared", name, id_info_list: ids };
  return (await house.act<{ node: { id: string } }>(list)).node.id;
}

// The milliseconds from the next key until the row at this place shows another song, to be asked for. It
// listens when this has ended: a key that is pressed beside it may come first.
async function timeOfKey(page: Page, place: number) {
  const handle = await page.evaluateHandle(
    (wanted) => ({
      time: new Promise<number>((resolve) => {
        const text = () => document.querySelector(wanted)?.textContent;
        const before = text();
        const watch = (start: number) => {
          if (text() !== before) resolve(performance.now() - start);
          else requestAnimationFrame(() => watch(start));
        };
        addEventListener("keydown", ({ key }) => key !== "Alt" && watch(performance.now()), {
          capture: true,
        });
      }),
    }),
    `${GRID} [data-index="${place}"]`,
  );
  return () => handle.evaluate(({ time }) => time);
}

async function moveMany(page: Page) {
  const last = LIST_ENTRIES - 1;
  await page.locator(`${GRID} [data-index="1"]`).click();
  await page.keyboard.press("Shift+End");
  await page.locator(`${GRID} [data-index="${last}"]`).waitFor();
  const seen = await timeOfKey(page, last);
  const start = performance.now();
  await page.keyboard.press("Alt+ArrowUp");
  const what = `${last.toLocaleString("en")} entries moved by one`;
  tell({ name: `${what}: until it is seen, ms`, value: await seen(), bound: 100 });
  await page.getByRole("main").getByText("Saved", { exact: true }).waitFor();
  tell({ name: `${what}: until it is saved, s`, value: (performance.now() - start) / 1000, bound: 5 });
}

async function playlist(house: House) {
  const id = await makeList(house);
  await house.visit({ at: `#/playlists/${encodeURIComponent(id)}` }, async (page) => {
    await page.locator(ROW).first().waitFor();
    const trace = await traced(page, () => scrollThrough(page, GRID, 700));
    const what = `${LIST_ENTRIES.toLocaleString("en")} entries`;
    tell({
      name: `${what}: work of a frame, p95, ms`,
      value: quantile(workOfFrames(trace), 0.95),
      bound: 20,
    });
    await page.locator(`[data-scroller]:has(${GRID})`).evaluate((list) => list.scrollTo(0, 0));
    await moveMany(page);
    tell({ name: `${what}: memory of scripts, MiB`, value: await megabytesInUse(page), bound: 64 });
  });
}

async function main(index: string) {
  const house = new House(["--index", index]);
  await house.open();
  try {
    await coldStart(house);
    await library(house);
    await playlist(house);
  } finally {
    await house.close();
  }
}

await main(process.argv[2] ?? "");
