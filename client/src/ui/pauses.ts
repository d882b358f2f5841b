// Pauses between attempts, which grow as long as these fail.
const FIRST = 1000;
const LONGEST = 30_000;

export class Pauses {
  private next = FIRST;
  private timer = 0;

  /** Calls `attempt` after the next pause; there is one call at a time. */
  after(attempt: () => void) {
    this.stop();
    this.timer = window.setTimeout(attempt, this.next);
    this.next = Math.min(LONGEST, this.next * 2);
  }

  stop() {
    clearTimeout(this.timer);
  }

  /** It went well: the next pause is a short one again. */
  reset() {
    this.stop();
    this.next = FIRST;
  }
}
