// Which song a missing entry means.

import { useSignal } from "@preact/signals";
import type { Candidate } from "../api/types.ts";
import { artistOf, titleOf } from "../list/items.ts";
import { formatDuration, t } from "../text/index.ts";
import { Buttons, Dialog, openDialog } from "../ui/dialog.tsx";
import { notifyFailure } from "../ui/notices.tsx";
import type { ListDocument } from "./document.ts";

export async function chooseCandidate(document: ListDocument, id: number) {
  try {
    await document.candidates.load();
  } catch (error) {
    return notifyFailure(t("editor.no_candidates"), error, () => void chooseCandidate(document, id));
  }
  const candidates = document.candidates.of(id) ?? [];
  const item = document.contents.get(id) ?? {};
  const name = [titleOf(item), artistOf(item)].filter(Boolean).join(" – ");
  const chosen = await openDialog<Candidate>((close) => (
    <Question name={name} path={item.path ?? ""} candidates={candidates} close={close} />
  ));
  if (chosen) document.candidates.repair(new Map([[id, { song: chosen.song }]]));
}

interface QuestionProps {
  name: string;
  path: string;
  candidates: readonly Candidate[];
  close: (chosen?: Candidate) => void;
}

function Question({ name, path, candidates, close }: QuestionProps) {
  const chosen = useSignal(0);
  const none = candidates.length === 0;
  return (
    <Dialog
      title={t("editor.which_song", { name })}
      close={() => close()}
      onSubmit={() => close(candidates[chosen.value])}
      buttons={none ? undefined : <Buttons submit={t("editor.take_this")} close={close} />}
    >
      <p class="soft small path">{path}</p>
      {none && <p>{t("editor.no_candidate")}</p>}
      <div class="candidates" role="radiogroup" aria-label={t("editor.candidates_label")}>
        {candidates.map((candidate, at) => (
          <label key={candidate.song.id} class="candidate">
            <input
              type="radio"
              name="candidate"
              checked={chosen.value === at}
              onChange={() => {
                chosen.value = at;
              }}
            />
            <Song candidate={candidate} />
          </label>
        ))}
      </div>
    </Dialog>
  );
}

function Song({ candidate: { song, score, why } }: { candidate: Candidate }) {
  const reasons = why.map((reason) => t(`editor.why_${reason}`)).join(", ");
  return (
    <>
      <span class="candidate-song">
        <span>{song.title}</span>
        <span class="soft small">
          {[song.artist, song.album, formatDuration(song.duration)].filter(Boolean).join(" · ")}
        </span>
        <span class="soft small">{t("editor.why", { reasons })}</span>
      </span>
      <span class="candidate-score">{t("editor.score", { percent: Math.round(100 * score) })}</span>
    </>
  );
}
