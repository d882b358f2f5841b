// Searches everything, from any view.
import { useRef } from "preact/hooks";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { useKeys } from "../ui/keys.tsx";

export function SearchField() {
  const input = useRef<HTMLInputElement>(null);
  useKeys({ "/": () => input.current?.focus() });
  return (
    <search class="search">
      <Icon name="search" />
      <input ref={input} type="search" aria-label={t("keys.search")} placeholder={t("keys.search")} />
    </search>
  );
}
