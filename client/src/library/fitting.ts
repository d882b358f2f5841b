// Which columns there is room for.

/**
 * As many of the columns as fit into `room` pixels with gaps between them, those that come first before all others;
 * the first one in any case. A narrower one stands where a wider one does not fit.
 */
export function fitting<T extends { least: number }>(columns: readonly T[], room: number, gap: number): T[] {
  let left = room + gap;
  return columns.filter(({ least }, place) => {
    const fits = place === 0 || least + gap <= left;
    if (fits) left -= least + gap;
    return fits;
  });
}
