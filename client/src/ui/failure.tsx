// What stands in the place of what could not be fetched.
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
