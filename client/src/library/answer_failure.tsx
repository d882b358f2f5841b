// What stands in the place of a view whose address could not be answered.
import { t } from "../text/index.ts";
import { Failure } from "../ui/failure.tsx";
import type { KeptAnswer } from "./lists.ts";

export function AnswerFailure({ answer }: { answer: KeptAnswer<unknown> }) {
  const error = answer.error.value;
  if (!error) return null;
  if (error.status === 404) return <p class="empty">{t("error.not_found")}</p>;
  return <Failure error={error} retry={() => answer.refresh()} />;
}
