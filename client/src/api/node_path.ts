// Node ids of playlists in addresses.

/**
 * A node id in a path. Two slashes part it; what a list is called comes behind them, and may hold anything that
 * means something in an address.
 */
export function encodeNode(id: string) {
  const [root = "", kind, ...name] = id.split("/");
  return kind === undefined ? root : `${root}/${kind}/${encodeURIComponent(name.join("/"))}`;
}
