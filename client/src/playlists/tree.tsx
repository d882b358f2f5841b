// The playlists that the user sees, at the left.
export function PlaylistTree() {
  return null;
}
