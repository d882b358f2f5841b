// Which element of a list shows which of its rows. What is scrolled away leaves its element to what comes into view, so
// that scrolling makes none.

export interface Slot {
  key: number;
  index: number;
}

export class Slots {
  private slots: readonly Slot[] = [];
  private nextKey = 0;

  /**
   * One for each of these rows, which are in ascending order. Rows that had one keep it. While the list is scrolled
   * the slots stay in the order of their elements, which so need not be moved; else they come in the order of the rows.
   */
  arrange(rows: readonly number[], isScrolled: boolean): readonly Slot[] {
    const wanted = new Set(rows);
    for (const { index } of this.slots) wanted.delete(index);
    const fresh = [...wanted];
    const shown = new Set(rows);
    const kept = this.slots.flatMap((slot) => {
      if (shown.has(slot.index)) return [slot];
      const index = fresh.shift();
      return index === undefined ? [] : [{ key: slot.key, index }];
    });
    const slots = [...kept, ...fresh.map((index) => ({ key: this.nextKey++, index }))];
    this.slots = isScrolled ? slots : slots.sort((a, b) => a.index - b.index);
    return this.slots;
  }
}
