import assert from "node:assert/strict";
import { test } from "node:test";
import type { Playlist } from "../src/api/types.ts";
import { freeName, matcher, placedBefore, sorted } from "../src/playlists/order.ts";
import { rowsOf } from "../src/playlists/tree_rows.ts";

const list = (id: string, name: string, changed = 0, kind: Playlist["kind"] = "list"): Playlist => ({
  id,
  name,
  changed,
  kind,
  library: id.startsWith("s") ? "shared" : "personal",
});
const LISTS = [list("s1", "b", 3), list("p2", "a", 1), list("s3", "c", 2), list("s4", "Folk", 9, "smart")];
const compare = (a: string, b: string) => a.localeCompare(b);
const ids = (lists: Playlist[]) => lists.map(({ id }) => id).join(" ");

test("by name, by time, and as the user has put them", () => {
  assert.equal(ids(sorted(LISTS, "name", [], compare)), "p2 s1 s3 s4");
  assert.equal(ids(sorted(LISTS, "changed", [], compare)), "s4 s1 s3 p2");
  assert.equal(ids(sorted(LISTS, "own", ["s3", "gone", "s4"], compare)), "s3 s4 p2 s1");
});

test("one is put before another, or at the end", () => {
  assert.deepEqual(placedBefore(["a", "b", "c"], "c", "a"), ["c", "a", "b"]);
  assert.deepEqual(placedBefore(["a", "b", "c"], "a", "c"), ["b", "a", "c"]);
  assert.deepEqual(placedBefore(["a", "b", "c"], "a", undefined), ["b", "c", "a"]);
  assert.deepEqual(placedBefore(["a", "b"], "new", "gone"), ["a", "b", "new"]);
});

test("all words are looked for, without regard to case and accents", () => {
  const names = ["Rainy Sunday", "Älven på våren", "SUNDAY morning", "Ｗｉｄｅ"];
  const found = (words: string) => names.filter(matcher(words));
  assert.deepEqual(found(" sun  rain "), ["Rainy Sunday"]);
  assert.deepEqual(found("alven VAREN"), ["Älven på våren"]);
  assert.deepEqual(found("wide"), ["Ｗｉｄｅ"]);
  assert.deepEqual(found("  "), names);
});

test("a free name has the next number", () => {
  const taken = new Set(["A", "A (2)"]);
  assert.equal(
    freeName("A", (name) => taken.has(name)),
    "A (3)",
  );
  assert.equal(
    freeName("B", (name) => taken.has(name)),
    "B",
  );
});

test("the rows of the tree: groups, their lists unless they are folded, chance at the end", () => {
  const all = [...LISTS, list("musiclib_random", "", 0, "random")];
  const told = (folded: string[]) =>
    rowsOf(all, folded).map((row) => (row.kind === "group" ? `${row.name} ${row.lists}` : row.playlist.id));
  const whole = ["shared 2", "s1", "s3", "mine 1", "p2", "smart 1", "s4", "musiclib_random"];
  assert.deepEqual(told([]), whole);
  assert.deepEqual(told(["shared", "smart"]), ["shared 2", "mine 1", "p2", "smart 1", "musiclib_random"]);
});
