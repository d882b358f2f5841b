// The title of the page: what the view shows.
import { useEffect } from "preact/hooks";
import { t } from "../text/index.ts";

export function useTitle(title: string) {
  const name = t("app.name");
  useEffect(() => {
    document.title = title === "" ? name : `${title} – ${name}`;
  }, [title, name]);
}
