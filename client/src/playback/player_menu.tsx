// Where it plays: here, or on a player of the house.
export function PlayerMenuButton() {
  return null;
}
