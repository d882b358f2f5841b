// A rule while it is edited, as text and as conditions, and what it would choose.
import { computed, type Signal, signal } from "@preact/signals";
import { ask, isAborted, RequestError } from "../api/http.ts";
import type { LibraryName, Page, Song } from "../api/types.ts";
import { type Fault, offsetOf, parseRule, placeOf, RuleError, wordAt } from "./parser.ts";
import { printRule } from "./printer.ts";
import { type Condition, firstTest, isGroup, isPlainDate, type Rule } from "./rule.ts";

export const FIRST_SONGS = 20;

/** Where the text is wrong, and why: as the client knows it, or as the server says it. */
export interface Wrong {
  begin: number;
  end: number;
  line: number;
  column: number;
  why: { fault: Fault } | { detail: string };
}

export type Preview = Page<Song> & { duration: number };

/** Why the form does not show a rule that can be read. */
export type Unshown = "comments" | "dates";

function hasOtherDates(condition: Condition): boolean {
  if (isGroup(condition)) return condition.parts.some(hasOtherDates);
  return condition.kind === "date" && !isPlainDate(condition.date);
}

export function ruleOfAll(): Rule {
  return { conditions: { kind: "and", not: false, parts: [firstTest()] } };
}

export class Draft {
  readonly text: Signal<string>;
  /** The last one that could be read. */
  readonly rule: Signal<Rule | undefined> = signal(undefined);
  readonly wrong: Signal<Wrong | undefined> = signal(undefined);
  readonly unshown: Signal<Unshown | undefined> = signal(undefined);
  readonly preview: Signal<Preview | undefined> = signal(undefined);
  /** Why there is none. */
  readonly previewError: Signal<RequestError | undefined> = signal(undefined);
  readonly isPreviewing = signal(false);
  /** As it was loaded or saved: there is nothing to lose while it is the same. */
  readonly saved: Signal<{ text: string; version: string | undefined }>;
  readonly isChanged = computed(() => this.text.value !== this.saved.value.text);
  private asked: AbortController | undefined;

  constructor(
    text: string,
    version: string | undefined,
    private library: LibraryName,
  ) {
    this.text = signal(text);
    this.saved = signal({ text, version });
    this.setText(text);
  }

  setText(text: string) {
    this.text.value = text;
    try {
      const { rule, hasComments } = parseRule(text);
      this.rule.value = rule;
      this.unshown.value = hasComments ? "comments" : hasOtherDates(rule.conditions) ? "dates" : undefined;
      this.wrong.value = undefined;
      void this.ask();
    } catch (error) {
      if (!(error instanceof RuleError)) throw error;
      const { fault, begin, end } = error;
      this.show({ begin, end, ...placeOf(text, begin), why: { fault } });
    }
  }

  /** By the form. A group of one keeps its kind there, though the text does not tell it. */
  setRule(rule: Rule) {
    this.rule.value = rule;
    this.text.value = printRule(rule);
    this.wrong.value = undefined;
    void this.ask();
  }

  dropComments() {
    const { value } = this.rule;
    if (value) this.setText(printRule(value));
  }

  setLibrary(library: LibraryName) {
    this.library = library;
    void this.ask();
  }

  /** What the server has now, when nothing here would be lost by it. */
  replace(text: string, version: string | undefined) {
    this.saved.value = { text, version };
    this.setText(text);
  }

  /** The server did not take the text; another problem is not one of the text. */
  showRefusal(error: unknown) {
    const problem = error instanceof RequestError && error.status === 422 ? error.problem : undefined;
    if (!problem) return false;
    const { line = 1, column = 1, detail } = problem;
    const word = wordAt(this.text.peek(), offsetOf(this.text.peek(), line, column));
    this.show({ ...word, line, column, why: { detail } });
    return true;
  }

  stop() {
    this.asked?.abort();
  }

  private show(wrong: Wrong) {
    this.asked?.abort();
    this.isPreviewing.value = false;
    this.wrong.value = wrong;
  }

  /** What it would choose now; whatever was asked before does not matter any more. */
  async ask() {
    this.asked?.abort();
    const stop = new AbortController();
    this.asked = stop;
    this.isPreviewing.value = true;
    const body = { rule: this.text.peek(), library: this.library, limit: FIRST_SONGS };
    try {
      const answer = await ask<Preview>("smart/preview", {}, { method: "POST", body, signal: stop.signal });
      this.preview.value = answer.body;
      this.previewError.value = undefined;
    } catch (error) {
      if (isAborted(error) || stop.signal.aborted) return;
      if (!(error instanceof RequestError)) throw error;
      if (!this.showRefusal(error)) this.previewError.value = error;
    }
    this.isPreviewing.value = false;
  }
}
