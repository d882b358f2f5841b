// What to do when some of what is added is in the list already.
import { t } from "../text/index.ts";
import { Dialog, openDialog } from "../ui/dialog.tsx";

export type AddAnswer = "all" | "fresh";

export function askAboutDuplicates(count: number, fresh: number): Promise<AddAnswer | undefined> {
  const there = count - fresh;
  const text = fresh === 0 ? t("editor.all_there", { count }) : t("editor.some_there", { there, count });
  return openDialog<AddAnswer>((close) => (
    <Dialog
      title={t("editor.there_already")}
      close={() => close()}
      onSubmit={() => close(fresh > 0 ? "fresh" : undefined)}
      buttons={
        <>
          <button type="button" class="button" onClick={() => close("all")}>
            {t("editor.add_all")}
          </button>
          <button type="submit" class="button primary">
            {fresh > 0 ? t("editor.add_fresh", { count: fresh }) : t("editor.add_none")}
          </button>
        </>
      }
    >
      <p>{text}</p>
    </Dialog>
  ));
}
