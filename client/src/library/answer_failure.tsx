// What stands in the place of a view whose address could not be answered.
import { t } from "../text/index.ts";
import { Failure } from "../ui/failure.tsx";
import type { KeptAnswer, KeptList } from "./lists.ts";

interface AnswerFailureProps {
  answer: KeptAnswer<unknown>;
  /** What else the view shows, which may have failed with it. */
  list?: KeptList<unknown>;
}

export function AnswerFailure({ answer, list }: AnswerFailureProps) {
  const error = answer.error.value;
  if (!error) return null;
  if (error.status === 404) return <p class="empty">{t("error.not_found")}</p>;
  const again = () => {
    answer.refresh();
    list?.source.retry();
  };
  return <Failure error={error} retry={again} />;
}
