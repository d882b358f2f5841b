// Pictures take turns: so many are fetched at once that the connections of the browser are free for lists.
const AT_ONCE = 4;

const waiting = new Set<() => void>();
let busy = 0;

function next() {
  for (const begin of waiting) {
    if (busy >= AT_ONCE) return;
    waiting.delete(begin);
    busy++;
    begin();
  }
}

/** Calls `begin` when it is its turn. The answer ends the turn, or the wait for it; it may be called twice. */
export function takeTurn(begin: () => void): () => void {
  let state: "waits" | "works" | "done" = "waits";
  const start = () => {
    state = "works";
    begin();
  };
  waiting.add(start);
  next();
  return () => {
    waiting.delete(start);
    if (state === "works") busy--;
    state = "done";
    next();
  };
}
