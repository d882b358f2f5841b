// What browser tests begin with: a house (the real server with the demo tracks, and a Chromium), in which
// they visit the client as somebody, on a screen of some size.
import assert from "node:assert/strict";
import { type ChildProcess, spawn } from "node:child_process";
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { join, resolve } from "node:path";
import { createInterface, type Interface } from "node:readline";
import { after, before } from "node:test";
import { type Browser, type BrowserContext, chromium, type Page } from "playwright-core";

// Tests run in client/.
const SERVER_TESTS = resolve("../tests/system");
const AXE = readFileSync("node_modules/axe-core/axe.min.js", "utf8");
const PATIENCE_MS = 20_000;
// A connection of its own: one that waits may be closed by the server just then.
const ONCE = { Connection: "close" };

export interface Size {
  name: string;
  width: number;
  height: number;
  touch?: boolean;
}
export const PHONE: Size = { name: "phone", width: 360, height: 740, touch: true };
export const TABLET: Size = { name: "tablet", width: 900, height: 800 };
export const DESKTOP: Size = { name: "desktop", width: 1600, height: 900 };
export const SIZES = [PHONE, TABLET, DESKTOP];

export type User = "anna" | "ben";
export type Theme = "light" | "dark";

export interface Visit {
  user?: User | null; // anna; null: nobody has logged in
  size?: Size; // DESKTOP
  theme?: Theme; // light
  language?: string; // en-GB
  at?: string; // the view, by the hash of its address
  errors?: RegExp; // what may stand in the console: errors that the test itself provokes
  // A context that no other visit has: for service workers, scripts that stay in the page, and more pages.
  alone?: boolean;
}

// What client_server.py prints.
interface Places {
  url: string;
  users: Record<User, string>;
  library: string;
  personal: string;
  client: string;
  log: string;
}

export interface SongFile {
  path: string; // below the library
  seconds: number;
  tags: Record<string, string | number>; // TITLE, ARTIST, ALBUM, ...
}

// Of what happens in it, nobody is told any more. (It listens to its own end itself.)
async function forget(where: Page | BrowserContext) {
  await where.unrouteAll({ behavior: "ignoreErrors" });
  const told = ["console", "dialog", "download", "pageerror", "request", "requestfailed", "response"];
  for (const event of told) await where.removeAllListeners(event);
}

// Where visits take place, and of which kind it is; undefined: for one visit only.
interface Room {
  context: BrowserContext;
  page: Page;
  kind: string | undefined;
}

export class House {
  private readonly idle: Room[] = [];
  private server!: ChildProcess;
  private lines!: AsyncIterableIterator<string>;
  private input!: Interface;
  private browser!: Browser;
  places!: Places;

  // With the options of client_server.py.
  constructor(private readonly options: string[]) {}

  get url() {
    return this.places.url;
  }

  async open() {
    this.server = spawn("python3", [join(SERVER_TESTS, "client_server.py"), ...this.options], {
      cwd: SERVER_TESTS,
      stdio: ["pipe", "pipe", "inherit"],
    });
    if (!this.server.stdout) throw new Error("the server has no output");
    this.input = createInterface(this.server.stdout);
    this.lines = this.input[Symbol.asyncIterator]();
    this.places = (await this.line()) as Places;
    const args = process.getuid?.() === 0 ? ["--no-sandbox"] : [];
    this.browser = await chromium.launch({ executablePath: "/usr/bin/chromium", args });
  }

  async close() {
    await this.browser?.close();
    this.server.stdin?.end();
    for await (const _ of this.input);
  }

  private async line(): Promise<unknown> {
    const { value, done } = await this.lines.next();
    if (done) throw new Error("the server has ended");
    return JSON.parse(value);
  }

  private async command(command: { do: string } & Record<string, unknown>) {
    this.server.stdin?.write(`${JSON.stringify(command)}\n`);
    const answer = (await this.line()) as { error?: string };
    assert.equal(answer.error, undefined);
  }

  // The web server dies, and comes back at the same address, at the end of the visit at the latest.
  stop = () => this.command({ do: "stop" });
  start = () => this.command({ do: "start" });

  // The same of the player, which forgets its queue, and comes back when it is told to.
  stopPlayer = () => this.command({ do: "stop player" });
  startPlayer = () => this.command({ do: "start player" });

  // Brings the index up to date with the files.
  scan = () => this.command({ do: "scan" });

  // More songs. They cannot be heard: they have no sound.
  makeSongs = (songs: SongFile[]) => this.command({ do: "songs", songs });

  // A shared playlist as another program would write it; `entries` are paths, relative to the library's
  // folder "playlists" or absolute, or addresses.
  async writePlaylist(name: string, entries: string[]) {
    writeFileSync(
      join(this.places.library, "playlists", `${name}.m3u`),
      ["#EXTM3U", ...entries, ""].join("\n"),
    );
    await this.scan();
  }

  // A request without a browser, by password.
  async ask(path: string, init: RequestInit = {}, user: User = "anna"): Promise<Response> {
    const headers = new Headers(init.headers);
    headers.set("Authorization", `Basic ${btoa(`${user}:${this.places.users[user]}`)}`);
    for (const [name, value] of Object.entries(ONCE)) headers.set(name, value);
    return fetch(new URL(path, this.url), { ...init, headers });
  }

  async get<T>(path: string, user: User = "anna"): Promise<T> {
    return (await (await this.ask(path, {}, user)).json()) as T;
  }

  // One of the actions, which has to succeed; lists become JSON.
  async act<T>(parameters: Record<string, unknown>, user: User = "anna"): Promise<T> {
    const texts = Object.entries(parameters).map(([name, value]): [string, string] => [
      name,
      typeof value === "string" ? value : JSON.stringify(value),
    ]);
    const body = new URLSearchParams(texts);
    const answer = await (await this.ask("audio_playlist.cgi", { method: "POST", body }, user)).json();
    assert.equal((answer as { success: boolean }).success, true, JSON.stringify(answer));
    return answer as T;
  }

  // Opens the client in a browser that knows nothing of it, does `body`, and fails for errors in the console and
  // for requests that leave the server. Visits may stand in each other: two people.
  async visit(options: Visit, body: (page: Page) => Promise<void>) {
    const { user = "anna", theme = "light", at = "" } = options;
    const { context, page, kind } = await this.enter(options);
    try {
      await page.emulateMedia({ colorScheme: theme, reducedMotion: null });
      if (user) await this.logIn(context, user);
      const wrong = this.watch(context, page, options.errors);
      try {
        await page.goto(new URL(at, this.url).href);
        await body(page);
        assert.deepEqual(wrong, []);
      } catch (error) {
        const seen = await page
          .locator("body")
          .ariaSnapshot()
          .catch(() => "the page is closed");
        console.error(seen, wrong);
        throw error;
      }
      await this.leave(context, page, kind);
    } catch (error) {
      await context.close();
      throw error;
    } finally {
      await this.start(); // unless it is there
    }
  }

  // A context and its page. To make one costs a second of a processor, so they are used again.
  private async enter({ size = DESKTOP, language = "en-GB", alone = false }: Visit): Promise<Room> {
    const kind = alone ? undefined : JSON.stringify([size, language]);
    const idle = this.idle.findIndex((room) => room.kind === kind);
    if (idle >= 0) return this.idle.splice(idle, 1)[0] as Room;
    const context = await this.browser.newContext({
      baseURL: this.url,
      viewport: { width: size.width, height: size.height },
      hasTouch: size.touch ?? false,
      isMobile: size.touch ?? false,
      locale: language,
      serviceWorkers: alone ? "allow" : "block",
    });
    context.setDefaultTimeout(PATIENCE_MS);
    return { context, page: await context.newPage(), kind };
  }

  // Nothing stays of a visit: what the page still sends when it is left does not come to the server.
  private async leave(context: BrowserContext, page: Page, kind: string | undefined) {
    if (kind === undefined || context.pages().length !== 1) return context.close();
    await forget(context);
    await forget(page);
    page.on("dialog", (dialog) => dialog.accept());
    await context.setOffline(true);
    const session = await context.newCDPSession(page);
    await page.goto("about:blank");
    await session.send("Storage.clearDataForOrigin", {
      origin: new URL(this.url).origin,
      storageTypes: "all",
    });
    await session.detach();
    await context.clearCookies();
    await context.setOffline(false);
    page.removeAllListeners("dialog");
    this.idle.push({ context, page, kind });
  }

  private async logIn(context: BrowserContext, name: User) {
    const data = { name, password: this.places.users[name] };
    const answer = await context.request.post("api/session", { data, headers: ONCE });
    assert.equal(answer.status(), 200);
  }

  private watch(context: BrowserContext, page: Page, allowed?: RegExp) {
    const wrong: string[] = [];
    const tell = (text: string) => {
      if (!allowed?.test(text)) wrong.push(text);
    };
    page.on("pageerror", (error) => tell(error.stack ?? String(error)));
    page.on("console", (message) => {
      if (message.type() === "error") tell(`${message.text()} (${message.location().url})`);
    });
    context.on("request", (request) => {
      const { origin, protocol } = new URL(request.url());
      if (/^https?:$/.test(protocol) && `${origin}/` !== this.url)
        tell(`leaves the server: ${request.url()}`);
    });
    return wrong;
  }
}

// A house for all tests of a file. With a player there is an MPD, as player 0.
export function openHouse({ player = false } = {}): House {
  const house = new House(player ? ["--player"] : []);
  before(() => house.open());
  after(() => house.close());
  return house;
}

interface Violation {
  id: string;
  help: string;
  nodes: { html: string; failureSummary?: string }[];
}

// What axe finds wrong with a part of the page as it is now. Only the colours depend on the theme.
async function violations(page: Page, part: string, theme: Theme) {
  if (!(await page.evaluate("'axe' in window"))) await page.evaluate(`${AXE}; undefined`);
  const options = { resultTypes: ["violations"], ...(theme === "dark" && { runOnly: ["color-contrast"] }) };
  const found = (await page.evaluate(
    `axe.run(${JSON.stringify(part)}, ${JSON.stringify(options)}).then((result) => result.violations)`,
  )) as Violation[];
  return found.flatMap(({ id, help, nodes }) => [
    `${theme}: ${id}: ${help}`,
    ...nodes.map((node) => `${node.html.slice(0, 200)}\n  ${node.failureSummary}`),
  ]);
}

// Looks at the page, or a part of it, as it is now, light and dark: fails for what axe finds, and takes the
// pictures NAME-light and NAME-dark, if there is to be any.
export async function examine(page: Page, name: string, part = "html") {
  await page.locator(part).first().waitFor();
  const wrong: string[] = [];
  for (const theme of ["dark", "light"] as const) {
    await page.emulateMedia({ colorScheme: theme, reducedMotion: "reduce" });
    await page.locator(`html[data-theme=${theme}]`).waitFor();
    await takePicture(page, `${name}-${theme}`);
    wrong.push(...(await violations(page, part, theme)));
  }
  await page.emulateMedia({ reducedMotion: null });
  if (wrong.length > 0) throw new Error(wrong.join("\n"));
}

// A picture of the page as it is now, into the folder $VEXO_PICTURES, if that is set.
export async function takePicture(page: Page, name: string) {
  const folder = process.env.VEXO_PICTURES;
  if (!folder) return;
  mkdirSync(folder, { recursive: true });
  await page.screenshot({ path: join(folder, `${name}.png`) });
}
