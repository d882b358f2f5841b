// Searches everything, from any view: what is found is the view, while one types.
import { useEffect, useRef } from "preact/hooks";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { useKeys } from "../ui/keys.tsx";
import { goTo, replaceQuery, route } from "../ui/router.ts";
import { focusFirstHit } from "./hits.ts";

function isSearching() {
  return route.peek().segments[0] === "search";
}

/** Whether the search has a step of its own in the browser's history, which leads back to where one was. */
let hasStep = false;

function search(text: string) {
  if (isSearching()) return replaceQuery({ q: text });
  hasStep = true;
  goTo(["search"], { q: text });
}

function leave(input: HTMLInputElement) {
  input.value = "";
  if (!isSearching()) return input.blur();
  if (hasStep) history.back();
  else search("");
  hasStep = false;
}

export function SearchField() {
  const input = useRef<HTMLInputElement>(null);
  useKeys({
    "/": () => {
      input.current?.focus();
      input.current?.select();
    },
  });
  const { segments, query } = route.value;
  const shown = segments[0] === "search" ? (query.get("q") ?? "") : "";
  // The address comes after what is typed, so it has nothing to say to who types.
  useEffect(() => {
    const isTyping = document.activeElement === input.current;
    if (input.current && !isTyping) input.current.value = shown;
  }, [shown]);
  const onKeyDown = (event: KeyboardEvent) => {
    if (event.isComposing || !input.current) return;
    if (event.key === "Escape") leave(input.current);
    else if ((event.key !== "ArrowDown" && event.key !== "Enter") || !focusFirstHit()) return;
    event.preventDefault();
  };
  return (
    <search class="search">
      <Icon name="search" />
      <input
        ref={input}
        type="search"
        aria-label={t("keys.search")}
        placeholder={t("keys.search")}
        autocomplete="off"
        spellcheck={false}
        maxLength={1000}
        onInput={(event) => search(event.currentTarget.value.trim())}
        onKeyDown={onKeyDown}
      />
      <kbd>/</kbd>
    </search>
  );
}
