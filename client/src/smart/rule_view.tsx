// A rule: its conditions beside its text, and what it would choose now.
import { useSignal, useSignalEffect } from "@preact/signals";
import type { ComponentChildren } from "preact";
import { useEffect, useRef } from "preact/hooks";
import { isAborted, RequestError } from "../api/http.ts";
import type { LibraryName, Playlist } from "../api/types.ts";
import { makeSmart } from "../playlists/edits.ts";
import { LibraryChoice, NameField, reasonAtName, wrongName } from "../playlists/name_dialog.tsx";
import { linkToPlaylist } from "../playlists/opening.ts";
import { showMenu } from "../playlists/playlist_actions.ts";
import { playlistOf, playlists } from "../playlists/store.ts";
import { formatDuration, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import { MenuButton } from "../ui/menu.tsx";
import { notify, notifyFailure, reasonOf } from "../ui/notices.tsx";
import { linkTo, type Route } from "../ui/router.ts";
import { useTitle } from "../ui/title.ts";
import { Draft, type Preview, ruleOfAll } from "./draft.ts";
import { printRule } from "./printer.ts";
import { RuleForm } from "./rule_form.tsx";
import { RuleText } from "./rule_text.tsx";
import { askWhichRule, readRule, saveRule } from "./saving.tsx";

const NEW = "new";

/** What is edited and not saved, so that looking around loses nothing. */
const drafts = new Map<string, Draft>();

window.addEventListener("beforeunload", (event) => {
  if ([...drafts.values()].some((draft) => draft.isChanged.peek())) event.preventDefault();
});

function leave(id: string, draft: Draft | undefined) {
  draft?.stop();
  if (draft?.isChanged.peek() === false && drafts.get(id) === draft) drafts.delete(id);
}

export function RuleView({ route }: { route: Route }) {
  const id = route.segments[1] ?? NEW;
  return id === NEW ? <NewRule /> : <KeptRule id={id} />;
}

function onSaveKey(save: () => void) {
  return (event: KeyboardEvent) => {
    if (!(event.ctrlKey || event.metaKey) || event.key.toLowerCase() !== "s") return;
    event.preventDefault();
    save();
  };
}

function NewRule() {
  const draft = useKeptDraft(NEW, () => new Draft(printRule(ruleOfAll()), undefined, "personal"));
  const input = useRef<HTMLInputElement>(null);
  const library = useSignal<LibraryName>("personal");
  const wrong = useSignal("");
  useTitle(t("playlists.new_smart"));
  useEffect(() => input.current?.focus(), []);
  const save = async () => {
    const name = input.current?.value.trim() ?? "";
    wrong.value = wrongName(name, "smart", library.value) ?? "";
    if (wrong.value !== "") return input.current?.focus();
    try {
      const id = await makeSmart(name, library.value, draft.text.peek());
      drafts.delete(NEW);
      location.replace(linkTo(["smart", id]));
    } catch (error) {
      if (draft.showRefusal(error)) return;
      wrong.value = reasonAtName(error);
      input.current?.focus();
    }
  };
  return (
    <RulePage save={save}>
      <header class="view-head">
        <div class="view-title">
          <h1>{t("playlists.new_smart")}</h1>
          <p class="soft small">
            {t("smart.state_changed")}
            <ShortCount draft={draft} />
          </p>
        </div>
        <span class="spacer" />
        <button type="submit" class="button primary" disabled={draft.wrong.value !== undefined}>
          {t("playlists.save")}
        </button>
      </header>
      <div class="rule-scroll">
        <div class="rule-naming">
          <div>
            <NameField name="" wrong={wrong.value} input={input} />
          </div>
          <LibraryChoice
            library={library.value}
            onChange={(chosen) => {
              library.value = chosen;
              draft.setLibrary(chosen);
            }}
          />
        </div>
        <RuleBody draft={draft} />
      </div>
    </RulePage>
  );
}

/** What is edited on a page of its own, and saved by Enter or Ctrl+S. */
function RulePage({ save, children }: { save: () => Promise<void>; children: ComponentChildren }) {
  return (
    <form
      class="rule-page"
      onKeyDown={onSaveKey(() => void save())}
      onSubmit={(event) => {
        event.preventDefault();
        void save();
      }}
    >
      {children}
    </form>
  );
}

function useKeptDraft(id: string, make: () => Draft) {
  const draft = useRef<Draft | undefined>(undefined);
  draft.current ??= drafts.get(id) ?? make();
  drafts.set(id, draft.current);
  useEffect(() => () => leave(id, draft.current), [id]);
  return draft.current;
}

/** The draft of a rule that there is, which follows what others do as long as nothing is edited here. */
function useRuleDraft(id: string) {
  const draft = useSignal<Draft | undefined>(drafts.get(id));
  const playlist = useSignal<Playlist | undefined>(playlistOf(id));
  const error = useSignal<unknown>(undefined);
  const newer = useSignal<{ text: string; version: string | undefined } | undefined>(undefined);
  const load = async () => {
    error.value = undefined;
    try {
      const now = await readRule(id);
      playlist.value = now.answer.playlist;
      if (!draft.value) {
        draft.value = new Draft(now.text, now.version, now.answer.playlist.library);
        drafts.set(id, draft.value);
      } else if (now.version === draft.value.saved.value.version) newer.value = undefined;
      else if (draft.value.isChanged.value) newer.value = now;
      else draft.value.replace(now.text, now.version);
    } catch (failure) {
      if (!isAborted(failure)) error.value = failure;
    }
  };
  useEffect(() => {
    if (draft.peek()) void draft.peek()?.ask();
    else void load();
    return () => leave(id, draft.peek());
  }, [id]);
  // Somebody else has saved it, or it was deleted, or is there again.
  useSignalEffect(() => {
    const now = playlistOf(id)?.version;
    const seen = draft.peek()?.saved.value.version;
    const isGone = error.peek() !== undefined;
    const wasDeleted = now === undefined && playlists.value !== undefined && !isGone;
    if (draft.peek() && (wasDeleted || (now !== undefined && now !== seen))) void load();
    else if (isGone && now !== undefined) void load();
  });
  return { draft, playlist, error, newer, load: () => void load() };
}

function KeptRule({ id }: { id: string }) {
  const { draft, playlist, error, newer, load } = useRuleDraft(id);
  const known = playlistOf(id) ?? playlist.value;
  const name = known?.name ?? "";
  useTitle(name);
  if (error.value) return <Failed error={error.value} retry={load} />;
  if (!draft.value || !known) return null;
  const editing = draft.value;
  const save = async () => {
    if (!editing.isChanged.peek() || editing.wrong.peek()) return;
    try {
      await saveRule(id, name, editing);
      newer.value = undefined;
    } catch (failure) {
      if (!editing.showRefusal(failure)) {
        notifyFailure(t("smart.not_saved", { name }), failure, () => void save());
      }
    }
  };
  const compare = async () => {
    const theirs = newer.peek();
    if (!theirs) return;
    const answer = await askWhichRule(editing.text.peek(), theirs.text);
    if (answer === "theirs") editing.replace(theirs.text, theirs.version);
    if (answer === "mine") editing.saved.value = theirs;
    if (answer) newer.value = undefined;
  };
  return (
    <RulePage save={save}>
      <header class="view-head">
        <div class="view-title">
          <h1 title={name}>{name}</h1>
          <p class="soft small">
            <span role="status">
              {t(editing.isChanged.value ? "smart.state_changed" : "smart.state_saved")}
            </span>
            <ShortCount draft={editing} />
          </p>
        </div>
        <span class="spacer" />
        <KeptButtons draft={editing} playlist={known} />
      </header>
      {newer.value && (
        <p class="rule-newer" role="alert">
          <span>{t("smart.changed_meanwhile")}</span>
          <button type="button" class="link" onClick={() => void compare()}>
            {t("smart.show_both")}
          </button>
        </p>
      )}
      <div class="rule-scroll">
        <RuleBody draft={editing} />
      </div>
    </RulePage>
  );
}

function KeptButtons({ draft, playlist }: { draft: Draft; playlist: Playlist }) {
  const { isChanged, saved } = draft;
  const discard = () => {
    const lost = draft.text.peek();
    draft.setText(saved.peek().text);
    notify({
      text: t("smart.discarded"),
      action: { label: t("undo"), run: () => draft.setText(lost) },
    });
  };
  return (
    <>
      {isChanged.value && (
        <button type="button" class="button" onClick={discard}>
          {t("smart.discard")}
        </button>
      )}
      <button
        type="submit"
        class="button primary"
        disabled={!isChanged.value || draft.wrong.value !== undefined}
      >
        {t("playlists.save")}
      </button>
      <a class="button" href={linkToPlaylist(playlist.id)}>
        <Icon name="music" />
        <span class="button-label">{t("smart.songs")}</span>
      </a>
      <MenuButton
        label={t("playlists.more", { name: playlist.name })}
        open={(button) => showMenu(playlist, button)}
      />
    </>
  );
}

function RuleBody({ draft }: { draft: Draft }) {
  return (
    <div class="rule-parts">
      <section class="rule-part-form" aria-label={t("smart.conditions")}>
        <h2>{t("smart.conditions")}</h2>
        <FormOrWhyNot draft={draft} />
      </section>
      <div class="rule-part-text">
        <section aria-label={t("smart.text")}>
          <h2>{t("smart.text")}</h2>
          <RuleText draft={draft} />
        </section>
        <PreviewPart draft={draft} />
      </div>
    </div>
  );
}

function FormOrWhyNot({ draft }: { draft: Draft }) {
  const rule = draft.rule.value;
  const isWrong = draft.wrong.value !== undefined;
  const unshown = isWrong ? undefined : draft.unshown.value;
  if (unshown) {
    return (
      <div class="rule-unshown soft">
        <p>{t(`smart.unshown_${unshown}`)}</p>
        {unshown === "comments" && (
          <button type="button" class="button" onClick={() => draft.dropComments()}>
            {t("smart.drop_comments")}
          </button>
        )}
      </div>
    );
  }
  return (
    <>
      {isWrong && <p class="soft small rule-waits">{t("smart.form_waits")}</p>}
      {rule && (draft.unshown.value === undefined || !isWrong) && (
        <RuleForm rule={rule} onChange={(changed) => draft.setRule(changed)} disabled={isWrong} />
      )}
    </>
  );
}

function PreviewPart({ draft }: { draft: Draft }) {
  const preview = draft.preview.value;
  const error = draft.previewError.value;
  const isOld = draft.isPreviewing.value || draft.wrong.value !== undefined;
  return (
    <section class={isOld ? "rule-preview old" : "rule-preview"} aria-label={t("smart.preview")}>
      <h2>{t("smart.preview")}</h2>
      {error ? (
        <p class="field-error" role="alert">
          {reasonOf(error)}{" "}
          <button type="button" class="link" onClick={() => void draft.ask()}>
            {t("retry")}
          </button>
        </p>
      ) : (
        <p class="rule-count" aria-live="polite" aria-busy={isOld}>
          {preview && <Count preview={preview} />}
        </p>
      )}
      {preview && <FirstSongs preview={preview} />}
    </section>
  );
}

/** Beside the name, where it stays in view. */
function ShortCount({ draft }: { draft: Draft }) {
  const total = draft.preview.value?.total;
  return total === undefined || draft.wrong.value ? null : (
    <span aria-hidden="true"> · {t("count.songs", { count: total })}</span>
  );
}

function Count({ preview: { total, duration } }: { preview: Preview }) {
  return (
    <>
      <b>{t("count.songs", { count: total })}</b> <span class="soft">{formatDuration(duration)}</span>
    </>
  );
}

function FirstSongs({ preview: { items, total } }: { preview: Preview }) {
  return (
    <>
      <ol class="rule-songs">
        {items.map((song) => (
          <li key={song.id}>
            <span title={song.title}>{song.title}</span>
            <span class="soft" title={song.artist}>
              {song.artist}
            </span>
            <span class="soft rule-duration">{formatDuration(song.duration)}</span>
          </li>
        ))}
      </ol>
      {items.length < total && (
        <p class="soft small">{t("smart.and_more", { count: total - items.length })}</p>
      )}
    </>
  );
}

function Failed({ error, retry }: { error: unknown; retry: () => void }) {
  const isGone = error instanceof RequestError && error.status === 404;
  return (
    <div class="empty" role="alert">
      <Icon name="missing" />
      <p>{isGone ? t("playlists.gone") : reasonOf(error)}</p>
      {!isGone && (
        <button type="button" class="button" onClick={retry}>
          {t("retry")}
        </button>
      )}
    </div>
  );
}
