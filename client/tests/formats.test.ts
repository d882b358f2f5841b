import assert from "node:assert/strict";
import { test } from "node:test";
import { formatFor, isHeard } from "../src/playback/formats.ts";

const all = { canPlay: () => true, transcoding: true };
const noOpus = { canPlay: (type: string) => type === "audio/mpeg", transcoding: true };
const noFlac = { canPlay: (type: string) => type !== "audio/flac", transcoding: true };

test("what the browser decodes comes as it is", () => {
  for (const type of ["mp3", "FLAC", "ogg", "opus", "m4a"]) assert.equal(formatFor(type, all), "as_it_is");
});

test("what it does not decode comes in a format that it does", () => {
  assert.equal(formatFor("flac", noFlac), "opus");
  assert.equal(formatFor("ogg", noOpus), "mp3");
});

test("a type that nobody knows is tried as it is first", () => {
  assert.equal(formatFor("xyz", noOpus), "as_it_is");
  assert.equal(formatFor(undefined, noOpus), "as_it_is");
  assert.equal(formatFor("xyz", noOpus, true), "mp3");
});

test("a song that the browser has tried in vain is asked for in another format", () => {
  assert.equal(formatFor("mp3", all, true), "opus");
});

test("a server that does not transcode is asked for the song as it is", () => {
  assert.equal(formatFor("flac", { ...noFlac, transcoding: false }), "as_it_is");
  assert.equal(formatFor("mp3", { ...all, transcoding: false }, true), "as_it_is");
});

test("a song counts as played when half of it was heard, or four minutes", () => {
  assert.equal(isHeard(99, 200), false);
  assert.equal(isHeard(100, 200), true);
  assert.equal(isHeard(239, 3600), false);
  assert.equal(isHeard(240, 3600), true);
  assert.equal(isHeard(100, undefined), false);
});
