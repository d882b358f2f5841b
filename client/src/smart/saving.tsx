// Saving a rule, so that nobody loses what somebody else has written meanwhile.
import { ask, RequestError } from "../api/http.ts";
import { smartPath } from "../api/playlists.ts";
import type { Rule as RuleText } from "../api/types.ts";
import { refreshPlaylists } from "../playlists/store.ts";
import { t } from "../text/index.ts";
import { Dialog, openDialog } from "../ui/dialog.tsx";
import { idNow, record } from "../ui/history.ts";
import type { Draft } from "./draft.ts";

interface Kept {
  text: string;
  version: string | undefined;
}

export async function readRule(id: string, stop?: AbortSignal): Promise<Kept & { answer: RuleText }> {
  const { body, version } = await ask<RuleText>(smartPath(id), {}, { signal: stop });
  return { text: body.rule, version, answer: body };
}

async function put(id: string, rule: string, ifMatch: string | undefined): Promise<Kept> {
  const { version } = await ask<RuleText>(smartPath(id), {}, { method: "PUT", body: { rule }, ifMatch });
  return { text: rule, version };
}

type Answer = "mine" | "theirs";

function Both({ mine, theirs, close }: { mine: string; theirs: string; close: (answer?: Answer) => void }) {
  return (
    <Dialog
      wide
      title={t("smart.conflict")}
      close={() => close()}
      onSubmit={() => close("mine")}
      buttons={
        <>
          <button type="button" class="button" onClick={() => close()}>
            {t("cancel")}
          </button>
          <button type="button" class="button" onClick={() => close("theirs")}>
            {t("smart.take_theirs")}
          </button>
          <button type="submit" class="button primary">
            {t("smart.take_mine")}
          </button>
        </>
      }
    >
      <div class="rule-both">
        <section>
          <h3>{t("smart.theirs")}</h3>
          <pre>{theirs}</pre>
        </section>
        <section>
          <h3>{t("smart.mine")}</h3>
          <pre>{mine}</pre>
        </section>
      </div>
    </Dialog>
  );
}

export function askWhichRule(mine: string, theirs: string) {
  return openDialog<Answer>((close) => <Both mine={mine} theirs={theirs} close={close} />);
}

/**
 * Writes the text in the place of `seen`. Where another stands there by now, both are shown; the answer is what
 * stands there then, undefined when the question was left.
 */
async function replace(id: string, seen: Kept, text: string): Promise<Kept | undefined> {
  let { version } = seen;
  for (;;) {
    try {
      return await put(id, text, version);
    } catch (error) {
      if (!(error instanceof RequestError) || error.status !== 412) throw error;
    }
    const theirs = await readRule(id);
    const answer = theirs.text === seen.text ? "mine" : await askWhichRule(text, theirs.text);
    if (answer === "theirs") return theirs;
    if (answer === undefined) return undefined;
    version = theirs.version;
  }
}

async function replaceOrThrow(id: string, seen: Kept, text: string): Promise<Kept> {
  const kept = await replace(id, seen, text);
  if (!kept) {
    const detail = t("smart.changed_meanwhile");
    throw new RequestError(412, { title: detail, status: 412, detail });
  }
  await refreshPlaylists();
  return kept;
}

/** Saves what is edited; undo writes back what was there. */
export async function saveRule(id: string, name: string, draft: Draft) {
  const before = draft.saved.peek();
  const text = draft.text.peek();
  let after = await replace(id, before, text);
  if (!after) return;
  if (after.text !== text) return draft.replace(after.text, after.version);
  draft.saved.value = after;
  record({
    label: t("smart.saved_rule", { name }),
    playlist: id,
    undo: async () => {
      if (after) after = await replaceOrThrow(idNow(id), after, before.text);
    },
    redo: async () => {
      if (after) after = await replaceOrThrow(idNow(id), after, text);
    },
  });
  await refreshPlaylists();
}
