import assert from "node:assert/strict";
import { test } from "node:test";
import { applied, inverse, movesBefore, movesFromEnd, removals } from "../src/queue/steps.ts";

const TOTAL = 6;
const places = Array.from({ length: TOTAL }, (_, place) => place);
const itemAt = (position: number) => ({ title: String(position) });

/** Every choice of positions. */
const choices = Array.from({ length: 2 ** TOTAL }, (_, bits) => places.filter((at) => bits & (1 << at)));

test("what moves comes before an entry in the order that it had, and goes back", () => {
  for (const chosen of choices) {
    for (let at = 0; at <= TOTAL; at++) {
      const steps = movesBefore(chosen, at);
      const stay = places.filter((place) => !chosen.includes(place));
      const before = stay.filter((place) => place < at);
      const wanted = [...before, ...chosen, ...stay.filter((place) => place >= at)];
      assert.deepEqual(applied(places, steps), wanted, `${chosen} before ${at}`);
      assert.deepEqual(applied(wanted, inverse(steps)), places);
    }
  }
});

test("what is removed is gone, by one step for each stretch, and returns to its place", () => {
  for (const chosen of choices) {
    const steps = removals(chosen, itemAt);
    const stay = places.filter((place) => !chosen.includes(place));
    assert.deepEqual(applied(places, steps), stay);
    const back = applied(stay, inverse(steps));
    assert.deepEqual(
      back,
      places.map((place) => (chosen.includes(place) ? undefined : place)),
    );
  }
  assert.equal(removals([0, 1, 3, 4], itemAt).length, 2);
});

test("what is appended comes to its place by the fewest moves", () => {
  for (let count = 0; count <= 4; count++) {
    for (let position = 0; position <= TOTAL; position++) {
      const fresh = Array.from({ length: count }, (_, at) => TOTAL + at);
      const moves = movesFromEnd(count, TOTAL, position);
      assert.ok(moves.length <= Math.min(count, TOTAL - position));
      const steps = moves.map((move) => ({ kind: "move", ...move }) as const);
      const wanted = [...places.slice(0, position), ...fresh, ...places.slice(position)];
      assert.deepEqual(applied([...places, ...fresh], steps), wanted);
    }
  }
});
