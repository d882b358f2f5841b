import assert from "node:assert/strict";
import { test } from "node:test";
import type { ImportedEntry, Song } from "../src/api/types.ts";
import {
  type Choices,
  choiceOf,
  countMatches,
  isOpen,
  itemsOf,
  nameOfFile,
  withBest,
  withoutOpen,
} from "../src/playlists/imported.ts";

const song = (id: number): Song => ({ id, library: "shared", title: `Song ${id}` });
const ENTRIES: ImportedEntry[] = [
  { position: 0, path: "a.mp3", match: "path", song: song(1), score: 1 },
  { position: 1, path: "http://radio.example/", title: "Radio", match: "stream" },
  {
    position: 2,
    path: "c.mp3",
    title: "C",
    artist: "D",
    duration: 3,
    match: "none",
    candidates: [
      { song: song(3), score: 0.5, why: ["title"] },
      { song: song(4), score: 0.4, why: ["artist"] },
    ],
  },
  { position: 3, path: "d.mp3", match: "none" },
];
const NONE: Choices = new Map();

test("at first what was found is taken, and nothing is lost", () => {
  assert.deepEqual(itemsOf(ENTRIES, NONE), [
    { song: song(1) },
    { path: "http://radio.example/", title: "Radio" },
    { path: "c.mp3", title: "C", artist: "D", duration: 3 },
    { path: "d.mp3" },
  ]);
  assert.deepEqual(
    ENTRIES.map((entry) => isOpen(entry, NONE)),
    [false, false, true, true],
  );
});

test("the best candidates, and the rest left out", () => {
  const best = withBest(ENTRIES, NONE);
  assert.deepEqual(choiceOf(ENTRIES[2] as ImportedEntry, best), { kind: "song", song: song(3) });
  const all = withoutOpen(ENTRIES, best);
  assert.deepEqual(
    itemsOf(ENTRIES, all).map((item) => item.song?.id ?? item.path),
    [1, "http://radio.example/", 3],
  );
});

test("what somebody has chosen stays", () => {
  const chosen: Choices = new Map([
    [0, { kind: "leave" }],
    [2, { kind: "song", song: song(4) }],
  ]);
  const all = withoutOpen(ENTRIES, withBest(ENTRIES, chosen));
  assert.deepEqual(
    itemsOf(ENTRIES, all).map((item) => item.song?.id ?? item.path),
    ["http://radio.example/", 4],
  );
});

test("matches are counted", () => {
  assert.deepEqual(countMatches(ENTRIES), { path: 1, tail: 0, file_name: 0, tags: 0, stream: 1, none: 2 });
});

test("a list is called like its file", () => {
  assert.equal(nameOfFile("Rainy Sunday.m3u8"), "Rainy Sunday");
  assert.equal(nameOfFile("1. Akt.XSPF"), "1. Akt");
  assert.equal(nameOfFile(".pls"), ".pls");
});
