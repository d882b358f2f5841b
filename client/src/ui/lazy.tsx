// Components that the first page does without: they are fetched when they are shown for the first time.
import { signal } from "@preact/signals";
import type { ComponentType } from "preact";
import { useEffect } from "preact/hooks";
import { loadTexts, t } from "../text/index.ts";
import { notify } from "./notices.tsx";

/** A part of the page that is fetched when it is needed, with the texts that it shows. */
export async function fetchPart<T>(load: () => Promise<T>): Promise<T> {
  const [part] = await Promise.all([load(), loadTexts()]);
  return part;
}

/** A component that stands for the one that `load` fetches. Until that is there, nothing is shown. */
export function lazy<P extends object>(load: () => Promise<ComponentType<P>>): ComponentType<P> {
  const loaded = signal<{ component?: ComponentType<P>; failed?: true }>({});
  const fetch = async () => {
    try {
      loaded.value = { component: await fetchPart(load) };
    } catch {
      loaded.value = { failed: true };
    }
  };
  return function Lazy(props: P) {
    const { component: Loaded, failed } = loaded.value;
    useEffect(() => {
      if (!loaded.peek().component) void fetch();
    }, []);
    if (Loaded) return <Loaded {...props} />;
    return failed ? <NotLoaded retry={fetch} /> : null;
  };
}

/** The same for what is no component: does something with it when it is there. */
export async function withPart<T>(load: () => Promise<T>, use: (part: T) => unknown) {
  let part: T;
  try {
    part = await fetchPart(load);
  } catch {
    const again = () => void withPart(load, use);
    notify({ text: t("error.not_loaded"), kind: "error", action: { label: t("retry"), run: again } });
    return;
  }
  await use(part);
}

/** The server has a newer client, which names other files, or no connection. */
function NotLoaded({ retry }: { retry: () => void }) {
  return (
    <div class="list-error" role="alert">
      <p>{t("error.not_loaded")}</p>
      <button type="button" class="button" onClick={retry}>
        {t("retry")}
      </button>
      <button type="button" class="button" onClick={() => location.reload()}>
        {t("reload")}
      </button>
    </div>
  );
}
