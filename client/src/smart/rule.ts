// A rule as conditions, which is what the form edits. Its text is read by parser.ts and written by printer.ts.

export const TEXT_FIELDS = [
  "title",
  "artist",
  "album",
  "album_artist",
  "genre",
  "composer",
  "comment",
  "path",
  "type",
] as const;
export const NUMBER_FIELDS = [
  "year",
  "track",
  "disc",
  "bitrate",
  "samplerate",
  "channels",
  "song_length",
  "file_size",
  "rating",
  "play_count",
  "compilation",
] as const;
export const DATE_FIELDS = ["time_added", "time_modified"] as const;
export const FIELDS = [...TEXT_FIELDS, ...NUMBER_FIELDS, ...DATE_FIELDS] as const;

export type TextField = (typeof TEXT_FIELDS)[number];
export type NumberField = (typeof NUMBER_FIELDS)[number];
export type DateField = (typeof DATE_FIELDS)[number];
export type Field = (typeof FIELDS)[number];

export const TEXT_OPERATORS = ["is", "includes", "starts with", "ends with", "is empty"] as const;
export const NUMBER_OPERATORS = ["=", "!=", "<", "<=", ">", ">="] as const;
export const DATE_OPERATORS = ["before", "after"] as const;

export type TextOperator = (typeof TEXT_OPERATORS)[number];
export type NumberOperator = (typeof NUMBER_OPERATORS)[number];
export type DateOperator = (typeof DATE_OPERATORS)[number];

export const DATE_WORDS = [
  "today",
  "yesterday",
  "this week",
  "this month",
  "this year",
  "last week",
  "last month",
  "last year",
] as const;
export const UNITS = ["days", "weeks", "months", "years"] as const;
export type DateWord = (typeof DATE_WORDS)[number];
export type Unit = (typeof UNITS)[number];

/** A day "2024-03-31", a word, or so many units before or after another date, before today when it says "ago". */
export type RuleDate =
  | { kind: "day"; day: string }
  | { kind: "word"; word: DateWord }
  | { kind: "ago"; count: number; unit: Unit }
  | { kind: "shifted"; count: number; unit: Unit; direction: "before" | "after"; from: RuleDate };

export interface TextTest {
  kind: "text";
  not: boolean;
  field: TextField;
  operator: TextOperator;
  /** Nothing for "is empty". */
  value: string;
}
export interface NumberTest {
  kind: "number";
  field: NumberField;
  operator: NumberOperator;
  /** Digits: the server knows larger numbers than a script. */
  value: string;
}
export interface DateTest {
  kind: "date";
  field: DateField;
  operator: DateOperator;
  date: RuleDate;
}
export type Test = TextTest | NumberTest | DateTest;

export interface Group {
  kind: "and" | "or";
  not: boolean;
  /** One at least. */
  parts: Condition[];
}
export type Condition = Test | Group;

export type OrderField = Field | "random";

export interface Rule {
  conditions: Group;
  order?: { field: OrderField; down: boolean };
  /** Digits. */
  limit?: string;
}

export function isGroup(condition: Condition): condition is Group {
  return condition.kind === "and" || condition.kind === "or";
}

const isOf =
  <T extends string>(words: readonly T[]) =>
  (word: string): word is T =>
    (words as readonly string[]).includes(word);

export const isTextField = isOf(TEXT_FIELDS);
export const isNumberField = isOf(NUMBER_FIELDS);
export const isDateField = isOf(DATE_FIELDS);
export const isField = isOf(FIELDS);

/** What the form begins with. */
export function firstTest(field: Field = "title"): Test {
  if (isNumberField(field)) return { kind: "number", field, operator: "=", value: "0" };
  if (isDateField(field))
    return { kind: "date", field, operator: "after", date: { kind: "word", word: "last month" } };
  return { kind: "text", not: false, field, operator: "includes", value: "" };
}

/** Whether the form has places for all of a date. */
export function isPlainDate(date: RuleDate) {
  return date.kind !== "shifted";
}

/** The same test of another field: what can stay of it stays. */
export function withField(test: Test, field: Field): Test {
  if (test.kind === "text" && isTextField(field)) return { ...test, field };
  if (test.kind === "number" && isNumberField(field)) return { ...test, field };
  if (test.kind === "date" && isDateField(field)) return { ...test, field };
  return firstTest(field);
}
