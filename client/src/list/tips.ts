// A text that is cut is told whole when a mouse comes to it. Told of each cell beforehand, it would be work for each
// row that comes into view.

let told: HTMLElement | undefined;

/** For the pointer coming to something in a list. */
export function tellWhole({ target }: Event) {
  told?.removeAttribute("title");
  told = cutAt(target as HTMLElement);
  told?.setAttribute("title", told.textContent ?? "");
}

function cutAt(target: HTMLElement) {
  for (let at: Element | null = target; at && !at.matches("[data-index]"); at = at.parentElement) {
    if (at.hasAttribute("title")) return undefined; // it tells something of its own
    if (at instanceof HTMLElement && at.scrollWidth > at.clientWidth && at.clientWidth > 0) return at;
  }
  return undefined;
}
