// What a search has found, as elements of the page: keys go from one to the next.

/** All that was found, in the order in which it stands: links, and then the row of a song that has the focus. */
export function hits() {
  return [...document.querySelectorAll<HTMLElement>("main .hit, main .list-grid [tabindex='0']")];
}

/** False when there is none. */
export function focusFirstHit() {
  const first = hits()[0];
  first?.focus();
  return first !== undefined;
}

export function focusSearchField() {
  document.querySelector<HTMLElement>(".search input")?.focus();
}

/** The last one above the songs, or where one types. */
export function focusLastLink() {
  const last = [...document.querySelectorAll<HTMLElement>("main .hit")].at(-1);
  if (last) last.focus();
  else focusSearchField();
  return true;
}
