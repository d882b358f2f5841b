// What a player of the house has queued. It can be played from any place, edited and kept.
import { useEffect, useMemo, useRef } from "preact/hooks";
import { addPlaying } from "../api/actions.ts";
import type { LibraryName } from "../api/types.ts";
import { Selection } from "../list/selection.ts";
import type { House } from "../playback/house.ts";
import { moveTo } from "../playback/players.ts";
import { t } from "../text/index.ts";
import { Buttons, Dialog, openDialog } from "../ui/dialog.tsx";
import { Icon } from "../ui/icon.tsx";
import { notify, notifyFailure } from "../ui/notices.tsx";
import { user } from "../ui/session.tsx";
import { useTitle } from "../ui/title.ts";
import { todaysName } from "./columns.tsx";
import { HouseQueue } from "./house_queue.ts";
import { QueueHead } from "./queue_head.tsx";
import { QueueList } from "./queue_list.tsx";

export function HouseQueueView({ house }: { house: House }) {
  const name = house.name.value ?? "";
  const title = t("queue.of", { name });
  useTitle(title);
  const queue = useMemo(() => new HouseQueue(house), [house]);
  useEffect(() => () => queue.leave(), [queue]);
  const selection = useMemo(() => new Selection(), [queue]);
  // The player does not tell when others change its queue, but its length and its song do.
  const status = house.status.value;
  const told = `${status?.queue_length} ${status?.position} ${status?.song?.song} ${house.edits.value}`;
  useEffect(() => queue.refresh(), [queue, told]);
  const isEmpty = (queue.total.value ?? 0) === 0;
  return (
    <div class="queue-view">
      <QueueHead
        title={title}
        facts={t("count.songs", { count: queue.total.value ?? 0 })}
        isEmpty={isEmpty}
        save={() => void save(house)}
        clear={() => queue.clear()}
      >
        <button type="button" class="button" disabled={isEmpty} onClick={() => void moveTo(null)}>
          <Icon name="play" />
          {t("queue.play_here")}
        </button>
      </QueueHead>
      <QueueList label={title} queue={queue} current={status?.position ?? -1} selection={selection} />
    </div>
  );
}

interface Wish {
  name: string;
  library: LibraryName;
}

/** The server asks the player itself what it has queued, so nothing passes through this page. */
async function save(house: House) {
  const wish = await openDialog<Wish>((close) => <SaveDialog close={close} />);
  if (!wish) return;
  try {
    await addPlaying(wish.name, wish.library, String(house.id));
    notify({ text: t("queue.saved", { name: wish.name }) });
  } catch (error) {
    notifyFailure(t("queue.list_not_made"), error, () => void save(house));
  }
}

function SaveDialog({ close }: { close: (wish?: Wish) => void }) {
  const form = useRef<HTMLDivElement>(null);
  const libraries: LibraryName[] = user.peek()?.personal_library ? ["shared", "personal"] : ["shared"];
  const submit = () => {
    const name = form.current?.querySelector("input")?.value.trim() ?? "";
    const library = form.current?.querySelector("select")?.value === "personal" ? "personal" : "shared";
    if (name !== "") close({ name, library });
  };
  return (
    <Dialog
      title={t("queue.save")}
      close={() => close()}
      onSubmit={submit}
      buttons={<Buttons submit={t("queue.save_now")} close={close} />}
    >
      <div ref={form} class="queue-save">
        <label class="field">
          <span>{t("queue.name")}</span>
          <input type="text" defaultValue={todaysName()} required />
        </label>
        {libraries.length > 1 && (
          <label class="field">
            <span>{t("queue.library")}</span>
            <select>
              {libraries.map((library) => (
                <option key={library} value={library}>
                  {t(`queue.${library}`)}
                </option>
              ))}
            </select>
          </label>
        )}
      </div>
    </Dialog>
  );
}
