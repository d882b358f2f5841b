// What imports what: the arrows of client/README.md's map.
import assert from "node:assert/strict";
import { readdirSync, readFileSync } from "node:fs";
import { join, relative } from "node:path";
import { test } from "node:test";

const SOURCE = join(process.cwd(), "src");
/** A room imports from those of its own level's right only; what shares a level knows nothing of each other. */
const LEVELS = [
  ["main.tsx"],
  ["app"],
  ["library", "smart", "queue"],
  ["playlists"],
  ["editor"],
  ["playback"],
  ["list"],
  ["ui"],
  ["text", "api", "style"],
];

const levelOf = (room: string) => LEVELS.findIndex((rooms) => rooms.includes(room));
const roomOf = (path: string) => relative(SOURCE, path).split("/")[0] ?? "";

function sources(folder: string): string[] {
  return readdirSync(folder, { withFileTypes: true }).flatMap((entry) => {
    const path = join(folder, entry.name);
    if (entry.isDirectory()) return sources(path);
    return /\.tsx?$/.test(entry.name) ? [path] : [];
  });
}

function importsOf(path: string) {
  const text = readFileSync(path, "utf8").replace(/^(import|export) type [^;]*;/gm, ""); // which the bundle lacks
  const named = [...text.matchAll(/(?:from|import) ?\(?"(\.[^"]+)"/g)].map(([, name]) => name ?? "");
  return named.map((name) => join(path, "..", name));
}

test("every room has its place", () => {
  for (const entry of readdirSync(SOURCE)) assert.notEqual(levelOf(entry), -1, `${entry} is in no level`);
});

test("rooms import from those below them only", () => {
  for (const path of sources(SOURCE)) {
    for (const target of importsOf(path)) {
      const [from, to] = [roomOf(path), roomOf(target)];
      const isAllowed = from === to || levelOf(from) < levelOf(to);
      assert.ok(isAllowed, `${relative(SOURCE, path)} imports ${relative(SOURCE, target)}`);
    }
  }
});

test("no source imports itself, over others", () => {
  const seen = new Map<string, "open" | "done">();
  const visit = (path: string, trail: string[]) => {
    if (seen.get(path) === "done") return;
    assert.notEqual(
      seen.get(path),
      "open",
      `a circle: ${[...trail, path].map((at) => relative(SOURCE, at))}`,
    );
    seen.set(path, "open");
    for (const target of importsOf(path)) if (/\.tsx?$/.test(target)) visit(target, [...trail, path]);
    seen.set(path, "done");
  };
  for (const path of sources(SOURCE)) visit(path, []);
});
