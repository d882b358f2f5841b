import assert from "node:assert/strict";
import { test } from "node:test";
import { encodeNode } from "../src/api/node_path.ts";

const NODES: [string, string][] = [
  ["musiclib_random", "musiclib_random"],
  ["musiclib_music_shared/playlist/12", "musiclib_music_shared/playlist/12"],
  ["musiclib_music_personal/playlist/50% off?", "musiclib_music_personal/playlist/50%25%20off%3F"],
  ["musiclib_music_personal/playlist/#1", "musiclib_music_personal/playlist/%231"],
  ["musiclib_music_shared/smart/AC/DC", "musiclib_music_shared/smart/AC%2FDC"],
  ["musiclib_music_shared/smart/潮風", "musiclib_music_shared/smart/%E6%BD%AE%E9%A2%A8"],
];

for (const [id, path] of NODES) test(`the path of ${id}`, () => assert.equal(encodeNode(id), path));

test("an address has the id again", () => {
  for (const [id] of NODES) {
    const { pathname, search, hash } = new URL(`api/${encodeNode(id)}`, "http://localhost/");
    assert.equal(decodeURIComponent(pathname), `/api/${id}`);
    assert.equal(search + hash, "");
  }
});
