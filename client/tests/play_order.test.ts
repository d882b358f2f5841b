import assert from "node:assert/strict";
import { test } from "node:test";
import {
  anotherRound,
  EMPTY,
  inserted,
  insertedNext,
  isAtEnd,
  jumpedTo,
  type Key,
  moved,
  type Order,
  placesPlayed,
  removed,
  restored,
  shuffled,
  shuffledAs,
  stepFrom,
  unshuffled,
  upNext,
} from "../src/playback/order.ts";

const first = () => 0;

function order(keys: Key[], current = keys[0]): Order {
  return { keys, shuffled: undefined, current };
}

// What is heard from here on, with the steps that the player makes.
function heard(from: Order) {
  const keys: Key[] = [];
  let now = from;
  for (;;) {
    const key = stepFrom(now, 1, false);
    if (key === undefined) return keys;
    keys.push(key);
    now = { ...now, current: key };
  }
}

const sorted = (keys: readonly Key[]) => [...keys].sort((a, b) => a - b);

test("an empty queue has nothing to go on with", () => {
  assert.equal(stepFrom(EMPTY, 1, true), undefined);
  assert.equal(stepFrom(EMPTY, -1, false), undefined);
});

test("the first comes after the last only where the queue repeats", () => {
  const last = order([1, 2, 3], 3);
  assert.equal(stepFrom(last, 1, false), undefined);
  assert.equal(stepFrom(last, 1, true), 1);
  assert.equal(stepFrom(order([1, 2, 3]), -1, false), undefined);
  assert.equal(stepFrom(order([1, 2, 3]), -1, true), 3);
});

test("shuffled songs come once each, after the one that plays, and the queue keeps its order", () => {
  for (let round = 0; round < 50; round++) {
    const mixed = shuffled(order([1, 2, 3, 4, 5], 3));
    assert.deepEqual(mixed.keys, [1, 2, 3, 4, 5]);
    assert.equal(mixed.current, 3);
    assert.deepEqual(sorted(heard(mixed)), [1, 2, 4, 5]);
  }
});

test("every song may come first when they are shuffled", () => {
  const seen = new Set<Key | undefined>();
  for (let round = 0; round < 500; round++) seen.add(heard(shuffled(order([1, 2, 3, 4], 1)))[0]);
  assert.deepEqual(sorted([...seen] as Key[]), [2, 3, 4]);
});

test("unshuffled, it goes on where the song stands in the queue", () => {
  const mixed = { ...shuffled(order([1, 2, 3, 4], 1)), current: 3 };
  assert.deepEqual(heard(unshuffled(mixed)), [4]);
});

test("another round does not begin with the song that has just ended", () => {
  for (let round = 0; round < 100; round++) {
    const again = anotherRound({ keys: [1, 2, 3], shuffled: [1, 2, 3], current: 3 });
    assert.notEqual(stepFrom(again, 1, true), 3);
    assert.deepEqual(sorted(heard(again)), [1, 2, 3]);
  }
});

test("a song chosen while others are shuffled leaves none of them out", () => {
  const mixed: Order = { keys: [1, 2, 3, 4], shuffled: [2, 4, 1, 3], current: 4 };
  assert.deepEqual(heard(jumpedTo(mixed, 3)), [1]);
  assert.deepEqual(jumpedTo(mixed, 3).shuffled, [2, 4, 3, 1]);
  assert.equal(stepFrom(jumpedTo(mixed, 3), -1, false), 4);
});

test("what is to be played next comes behind the song that plays, shuffled or not", () => {
  assert.deepEqual(insertedNext(order([1, 2, 3], 2), [8, 9]).keys, [1, 2, 8, 9, 3]);
  const mixed: Order = { keys: [1, 2, 3], shuffled: [3, 1, 2], current: 1 };
  assert.deepEqual(insertedNext(mixed, [8, 9]).shuffled, [3, 1, 8, 9, 2]);
  assert.deepEqual(insertedNext(EMPTY, [8, 9]), { keys: [8, 9], shuffled: undefined, current: 8 });
});

test("what is inserted while songs are shuffled is yet to be played", () => {
  const mixed: Order = { keys: [1, 2, 3], shuffled: [3, 1, 2], current: 1 };
  const more = inserted(mixed, 0, [8, 9], first);
  assert.deepEqual(more.keys, [8, 9, 1, 2, 3]);
  assert.deepEqual(more.shuffled?.slice(0, 2), [3, 1]);
  assert.deepEqual(sorted(heard(more)), [2, 8, 9]);
});

test("when the song that plays is removed, the next that stays is the current one", () => {
  assert.equal(removed(order([1, 2, 3, 4], 2), new Set([2, 3])).current, 4);
  assert.equal(removed(order([1, 2, 3], 3), new Set([3])).current, 2);
  assert.equal(removed(order([1]), new Set([1])).current, undefined);
  const mixed: Order = { keys: [1, 2, 3], shuffled: [3, 1, 2], current: 3 };
  assert.deepEqual(removed(mixed, new Set([3])), { keys: [1, 2], shuffled: [1, 2], current: 1 });
});

test("entries move together to before the one that they are dropped on", () => {
  const five = order([0, 1, 2, 3, 4]);
  assert.deepEqual(moved(five, [1, 3], 5).keys, [0, 2, 4, 1, 3]);
  assert.deepEqual(moved(five, [1, 3], 0).keys, [1, 3, 0, 2, 4]);
  assert.deepEqual(moved(five, [1, 3], 2).keys, [0, 1, 3, 2, 4]);
  assert.deepEqual(moved(five, [4], 1).keys, [0, 4, 1, 2, 3]);
});

test("a removal that is undone leaves alone what was done since then", () => {
  const before = order([1, 2, 3, 4], 1);
  const after = removed(before, new Set([2, 3]));
  const now = inserted(removed(after, new Set([4])), 1, [9]);
  assert.deepEqual(restored(now, after, before).keys, [1, 2, 3, 9]);
});

test("a cleared queue that comes back has the song that it had", () => {
  const before = order([1, 2, 3], 2);
  const after = removed(before, new Set([1, 2, 3]));
  assert.deepEqual(restored(after, after, before), before);
});

test("up next is all that comes after the song that plays", () => {
  assert.deepEqual(upNext(order([1, 2, 3], 2)), [3]);
  assert.deepEqual(upNext({ keys: [1, 2, 3], shuffled: [2, 3, 1], current: 2 }), [3, 1]);
  assert.ok(isAtEnd({ keys: [1, 2, 3], shuffled: [2, 3, 1], current: 1 }));
});

test("a shuffled order is told by places, and taken up again by other keys", () => {
  const before: Order = { keys: [7, 8, 9], shuffled: [9, 7, 8], current: 7 };
  const places = placesPlayed(before);
  assert.deepEqual(places, [2, 0, 1]);
  const again = shuffledAs(order([20, 21, 22], 20), places ?? []);
  assert.deepEqual(again, { keys: [20, 21, 22], shuffled: [22, 20, 21], current: 20 });
  assert.equal(placesPlayed(order([1, 2])), undefined);
});

test("places that are not those of the entries are passed over for a random order", () => {
  for (const places of [[], [0], [0, 1, 1], [0, 1, 3], [0, 1, 2, 2]]) {
    assert.deepEqual(shuffledAs(order([4, 5, 6]), places, first).shuffled, [4, 6, 5]);
  }
});
