// Files that are dropped anywhere on the page are imported.
import { useSignal } from "@preact/signals";
import { useEffect } from "preact/hooks";
import { t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { withPart } from "../ui/lazy.tsx";
import { goTo } from "../ui/router.ts";

function hasFiles(event: DragEvent) {
  return event.dataTransfer?.types.includes("Files") ?? false;
}

export function takeFiles(files: readonly File[]) {
  if (files.length === 0) return;
  void withPart(
    () => import("./import_jobs.ts"),
    ({ importFiles }) => {
      importFiles(files);
      goTo(["import"]);
    },
  );
}

export function FileDrop() {
  const isOver = useSignal(false);
  useEffect(() => {
    const stop = new AbortController();
    const listen = { signal: stop.signal };
    const over = (event: DragEvent) => {
      if (!hasFiles(event)) return;
      event.preventDefault();
      isOver.value = true;
    };
    const drop = (event: DragEvent) => {
      isOver.value = false;
      if (!hasFiles(event)) return;
      event.preventDefault();
      takeFiles([...(event.dataTransfer?.files ?? [])]);
    };
    window.addEventListener("dragenter", over, listen);
    window.addEventListener("dragover", over, listen);
    window.addEventListener("drop", drop, listen);
    window.addEventListener(
      "dragleave",
      (event) => {
        if (event.relatedTarget === null) isOver.value = false;
      },
      listen,
    );
    return () => stop.abort();
  }, []);
  return isOver.value ? (
    <div class="file-drop" aria-hidden="true">
      <p>
        <Icon name="import" />
        {t("import.drop")}
      </p>
    </div>
  ) : null;
}
