import assert from "node:assert/strict";
import { test } from "node:test";
import { isAnswer } from "../src/api/shape.ts";

const page = { total: 2, offset: 0, items: [{ id: 1 }, { id: 2 }] };

test("a list has a number of items, where they begin, and the items", () => {
  assert.ok(isAnswer("songs", true, page));
  assert.ok(isAnswer("albums", true, { total: 0, offset: 0, items: [] }));
});

for (const [why, body] of [
  ["nothing", undefined],
  ["an empty object", {}],
  ["a negative number", { ...page, total: -1 }],
  ["half an item", { ...page, total: 1.5 }],
  ["a number as text", { ...page, total: "2" }],
  ["no number that can be counted to", { ...page, total: Number.MAX_VALUE }],
  ["nowhere", { ...page, offset: -100 }],
  ["items that are none", { ...page, items: { 0: {} } }],
  ["nothing among the items", { ...page, items: [{}, null] }],
] as const) {
  test(`no list: ${why}`, () => assert.equal(isAnswer("songs", true, body), false));
}

test("what an address is of is there", () => {
  assert.ok(isAnswer("albums/12", true, { ...page, album: {} }));
  assert.equal(isAnswer("albums/12", true, page), false);
  assert.equal(isAnswer("playlists/a/playlist/12", true, { ...page, playlist: "12" }), false);
});

test("other answers have what they are asked for", () => {
  assert.ok(isAnswer("session", false, { name: "anna" }));
  assert.equal(isAnswer("session", false, {}), false);
  assert.ok(isAnswer("players/0/pause", false, { state: "pause" }));
  assert.equal(isAnswer("players/0/queue", false, { state: "pause" }), false);
});

test("of others nothing is known", () => assert.ok(isAnswer("password", false, undefined)));
