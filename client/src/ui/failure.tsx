// What stands in the place of what could not be fetched.
import type { ComponentChildren } from "preact";
import { useErrorBoundary } from "preact/hooks";
import { t } from "../text/index.ts";
import { reasonOf } from "./notices.tsx";

/** Why, and a button that asks again. */
export function Failure({ error, retry }: { error: unknown; retry: () => void }) {
  return (
    <div class="list-error" role="alert">
      <p>{reasonOf(error)}</p>
      <button type="button" class="button" onClick={retry}>
        {t("retry")}
      </button>
    </div>
  );
}

/** What cannot be drawn is told in its place, and the rest of the page goes on. */
export function Guarded({ children }: { children: ComponentChildren }) {
  const [error, again] = useErrorBoundary((reason) => console.error(reason));
  if (error) return <Failure error={error} retry={again} />;
  return children;
}
