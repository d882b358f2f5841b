// The text of a rule, with a line under what is wrong in it.
import { useId, useLayoutEffect, useRef } from "preact/hooks";
import { t } from "../text/index.ts";
import type { Draft, Wrong } from "./draft.ts";

function whyOf({ why }: Wrong) {
  return "fault" in why ? t(`smart.fault_${why.fault}`) : why.detail;
}

export function RuleText({ draft }: { draft: Draft }) {
  const area = useRef<HTMLTextAreaElement>(null);
  const wrongId = useId();
  const text = draft.text.value;
  const wrong = draft.wrong.value;
  // Not by its attribute: while one writes, the text is what was written, and the caret stays.
  useLayoutEffect(() => {
    if (area.current && area.current.value !== text) area.current.value = text;
  }, [text]);
  const goThere = () => {
    if (!area.current || !wrong) return;
    area.current.focus();
    area.current.setSelectionRange(wrong.begin, Math.max(wrong.end, wrong.begin));
  };
  const begin = Math.min(wrong?.begin ?? text.length, text.length);
  const end = Math.max(begin, Math.min(wrong?.end ?? begin, text.length));
  return (
    <div class="rule-writing">
      <div class="rule-text">
        <pre aria-hidden="true">
          {text.slice(0, begin)}
          {wrong && <mark>{text.slice(begin, end) || " "}</mark>}
          {text.slice(end)}{" "}
        </pre>
        <textarea
          ref={area}
          aria-label={t("smart.text")}
          aria-describedby={wrongId}
          aria-invalid={wrong !== undefined}
          spellcheck={false}
          autocapitalize="none"
          autocomplete="off"
          onInput={(event) => draft.setText(event.currentTarget.value)}
        />
      </div>
      <p id={wrongId} class="rule-wrong small" aria-live="polite">
        {wrong && (
          <button type="button" onClick={goThere}>
            <b>{t("smart.place", { line: wrong.line, column: wrong.column })}</b> {whyOf(wrong)}
          </button>
        )}
      </p>
    </div>
  );
}
