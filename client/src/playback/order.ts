// In which order a queue is played. Its entries have keys, which stay the same wherever they are moved to.

export type Repeat = "off" | "all" | "one";
export type Key = number;

export interface Order {
  /** As the queue shows them. */
  readonly keys: readonly Key[];
  /** As they are played when they are shuffled: the same keys, each once. */
  readonly shuffled: readonly Key[] | undefined;
  readonly current: Key | undefined;
}

export const EMPTY: Order = { keys: [], shuffled: undefined, current: undefined };

/** A number from 0 on, below `end`. */
export type Random = (end: number) => number;
export const chance: Random = (end) => Math.floor(Math.random() * end);

export function shuffle(keys: readonly Key[], random: Random = chance): Key[] {
  const mixed = [...keys];
  for (let at = mixed.length - 1; at > 0; at--) {
    const other = random(at + 1);
    [mixed[at], mixed[other]] = [mixed[other] as Key, mixed[at] as Key];
  }
  return mixed;
}

function played({ keys, shuffled }: Order) {
  return shuffled ?? keys;
}

/** What is played after the current entry, not counting what repeats. */
export function upNext(order: Order): readonly Key[] {
  const all = played(order);
  return order.current === undefined ? all : all.slice(all.indexOf(order.current) + 1);
}

/** Plays in random order from here on; what was current stays it. */
export function shuffled(order: Order, random: Random = chance): Order {
  const others = shuffle(
    order.keys.filter((key) => key !== order.current),
    random,
  );
  return { ...order, shuffled: order.current === undefined ? others : [order.current, ...others] };
}

/** The places of the shown entries in the order in which they are played; undefined where that is the same. */
export function placesPlayed({ keys, shuffled }: Order): number[] | undefined {
  const places = new Map(keys.map((key, place) => [key, place]));
  return shuffled?.map((key) => places.get(key) as number);
}

/** Plays in the order of these places, if they are those of the entries, each once; else in random order. */
export function shuffledAs(order: Order, places: readonly number[], random: Random = chance): Order {
  const mixed = [...new Set(places)].flatMap((place) => order.keys[place] ?? []);
  const isWhole = places.length === order.keys.length && mixed.length === places.length;
  return isWhole ? { ...order, shuffled: mixed } : shuffled(order, random);
}

export function unshuffled(order: Order): Order {
  return { ...order, shuffled: undefined };
}

/**
 * The entry `step` further on, 1 or -1; with `wraps` the first follows the last. Undefined: there is none.
 */
export function stepFrom(order: Order, step: 1 | -1, wraps: boolean): Key | undefined {
  const all = played(order);
  if (order.current === undefined) return all[0];
  const at = all.indexOf(order.current) + step;
  return wraps ? all.at(at % all.length) : all[at];
}

/** Whether the current entry is the last one that is played. */
export function isAtEnd(order: Order) {
  return played(order).at(-1) === order.current;
}

/** Another round in another order, before its first entry; that is not the one which has just ended. */
export function anotherRound(order: Order, random: Random = chance): Order {
  const mixed = shuffle(order.keys, random);
  if (mixed.length > 1 && mixed[0] === order.current) mixed.push(mixed.shift() as Key);
  return { ...order, shuffled: mixed, current: undefined };
}

/** With an entry that was chosen to be played now; those which it overtakes in random order come after it. */
export function jumpedTo(order: Order, key: Key): Order {
  if (!order.shuffled || key === order.current) return { ...order, current: key };
  const mixed = order.shuffled.filter((other) => other !== key);
  const at = order.current === undefined ? 0 : mixed.indexOf(order.current) + 1;
  return { ...order, shuffled: insert(mixed, at, [key]), current: key };
}

function insert<T>(list: readonly T[], at: number, more: readonly T[]): T[] {
  return [...list.slice(0, at), ...more, ...list.slice(at)];
}

/** Entries at `at`; shuffled ones come in random places among those that are yet to be played. */
export function inserted(order: Order, at: number, keys: readonly Key[], random: Random = chance): Order {
  const current = order.current ?? keys[0];
  let mixed = order.shuffled;
  if (mixed) {
    const from = order.current === undefined ? 0 : mixed.indexOf(order.current) + 1;
    mixed = [...mixed.slice(0, from), ...shuffle([...mixed.slice(from), ...keys], random)];
  }
  return { keys: insert(order.keys, at, keys), shuffled: mixed, current };
}

/** Entries behind the current one, shuffled or not. */
export function insertedNext(order: Order, keys: readonly Key[]): Order {
  const behind = (list: readonly Key[]) =>
    insert(list, order.current === undefined ? 0 : list.indexOf(order.current) + 1, keys);
  return {
    keys: behind(order.keys),
    shuffled: order.shuffled && behind(order.shuffled),
    current: order.current ?? keys[0],
  };
}

/** Without these entries. When the current one is among them, the next that stays becomes it. */
export function removed(order: Order, gone: ReadonlySet<Key>): Order {
  const stays = (key: Key) => !gone.has(key);
  const all = played(order);
  let { current } = order;
  if (current !== undefined && gone.has(current)) {
    const at = all.indexOf(current);
    current = all.slice(at).find(stays) ?? all.slice(0, at).reverse().find(stays);
  }
  return { keys: order.keys.filter(stays), shuffled: order.shuffled?.filter(stays), current };
}

/** With the entries at `positions` before the one that is at position `at` now. */
export function moved(order: Order, positions: readonly number[], at: number): Order {
  const lifted = new Set(positions);
  const stays = (_: Key, position: number) => !lifted.has(position);
  const before = order.keys.slice(0, at).filter(stays);
  const behind = order.keys.slice(at).filter((_, position) => !lifted.has(position + at));
  const keys = [...before, ...positions.map((position) => order.keys[position] as Key), ...behind];
  return { ...order, keys };
}

/**
 * With an edit taken back that led from `from` to `to`. What was added to the queue since then stays, at its end, and
 * what was removed since then stays away.
 */
export function restored(now: Order, from: Order, to: Order): Order {
  const present = new Set(now.keys);
  const before = new Set(from.keys);
  const then = new Set(to.keys);
  const returns = (key: Key) => present.has(key) || !before.has(key);
  const isNew = (key: Key) => !before.has(key) && !then.has(key);
  const back = (list: readonly Key[], newer: readonly Key[]) => [
    ...list.filter(returns),
    ...newer.filter(isNew),
  ];
  const keys = back(to.keys, now.keys);
  const mixed = now.shuffled && back(to.shuffled ?? shuffle(to.keys), now.shuffled);
  return { keys, shuffled: mixed, current: now.current ?? to.current ?? keys[0] };
}
