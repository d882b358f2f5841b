// The playlist that is being made, at the right.
export function EditorPanel({ id }: { id: string }) {
  return <h2>{id}</h2>;
}
