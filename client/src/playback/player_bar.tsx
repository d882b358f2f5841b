// What plays, and its controls, at the foot.
export function PlayerBar() {
  return null;
}
