// Where one is: the hash of the address, as #/albums/12?sort=year. So a web server needs no rules for it, and
// every view can be linked to and gone back to.
import { signal } from "@preact/signals";

export interface Route {
  /** Of the path, decoded: ["albums", "12"]. */
  segments: string[];
  query: URLSearchParams;
}

function read(): Route {
  const [path = "", query = ""] = location.hash.replace(/^#\/?/, "").split("?", 2);
  return { segments: path.split("/").filter(Boolean).map(decode), query: new URLSearchParams(query) };
}

function decode(segment: string) {
  try {
    return decodeURIComponent(segment);
  } catch {
    return segment;
  }
}

export const route = signal(read());
window.addEventListener("hashchange", () => {
  route.value = read();
});

export type RouteQuery = Record<string, string | number | undefined>;

/** The link to a view; segments are encoded here. */
export function linkTo(segments: (string | number)[], query: RouteQuery = {}) {
  const search = new URLSearchParams();
  for (const [name, value] of Object.entries(query)) {
    if (value !== undefined && value !== "") search.set(name, String(value));
  }
  const path = segments.map((segment) => encodeURIComponent(segment)).join("/");
  return `#/${path}${search.size > 0 ? `?${search}` : ""}`;
}

export function goTo(segments: (string | number)[], query: RouteQuery = {}) {
  location.hash = linkTo(segments, query);
}

/** The same view otherwise: no step for the browser's back. */
export function replaceQuery(query: RouteQuery) {
  history.replaceState(history.state, "", linkTo(route.peek().segments, query));
  route.value = read();
}
