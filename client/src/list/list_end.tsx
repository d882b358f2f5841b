// What stands below the rows of a list, or in their place: that there are none, or why.
import type { ComponentChildren } from "preact";
import { Failure } from "../ui/failure.tsx";
import type { ListSource } from "./source.ts";

export function ListEnd({ source, empty }: { source: ListSource<unknown>; empty: ComponentChildren }) {
  const error = source.error.value;
  return (
    <>
      {source.total.value === 0 && <div class="empty">{empty}</div>}
      {error && <Failure error={error} retry={() => source.retry()} />}
    </>
  );
}
