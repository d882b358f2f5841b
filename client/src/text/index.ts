// The language of the page. A language is a file beside this one; see client/README.md.
import { computed, signal } from "@preact/signals";
import { en } from "./en.ts";
import type { parts } from "./en_parts.ts";

/** A text, or one for each plural category of its number `count` (CLDR's, as Intl.PluralRules has them). */
export type Text = string | { one: string; other: string; few?: string; many?: string };
export type TextKey = keyof typeof en | keyof typeof parts;
export type Catalogue = Record<TextKey, Text>;

/** All but the English texts of the first page are fetched when somebody reads them. */
const catalogues: Record<string, () => Promise<Catalogue>> = {
  en: async () => ({ ...en, ...(await import("./en_parts.ts")).parts }),
  de: async () => (await import("./de.ts")).de,
};
export const languages = Object.keys(catalogues);

const KEPT = "language";

function preferred() {
  const wished = [localStorage.getItem(KEPT) ?? "", ...navigator.languages].map((name) => name.split("-")[0]);
  return wished.find((name) => name !== undefined && name in catalogues) ?? "en";
}

export const language = signal("en");
const catalogue = signal<Partial<Catalogue>>(en);

async function use(name: string) {
  const texts = await catalogues[name]?.();
  if (!texts) return;
  catalogue.value = texts;
  language.value = name;
}

/** Until it is done, texts are English; where its texts cannot be had, they stay so. */
export async function loadLanguage() {
  if (preferred() !== language.peek()) await use(preferred()).catch(() => {});
}

/** Before something is shown that the first page does without. Fails when the texts cannot be had. */
export async function loadTexts() {
  if (catalogue.peek() === en) await use(language.peek());
}

export function setLanguage(name: string) {
  localStorage.setItem(KEPT, name);
  return use(name).catch(() => {});
}

/** For dates, times and numbers: the browser's own variant of the language, if it has one. */
export const locale = computed(
  () => navigator.languages.find((name) => name.split("-")[0] === language.value) ?? language.value,
);

const plurals = computed(() => new Intl.PluralRules(locale.value));
const numbers = computed(() => new Intl.NumberFormat(locale.value));

type Values = Record<string, string | number>;

/** The text of this name, with the values in the places of {their names}. */
export function t(key: TextKey, values: Values = {}): string {
  const text = catalogue.value[key] ?? "";
  const form = typeof text === "string" ? text : formOf(text, Number(values.count));
  return form.replace(/\{(\w+)\}/g, (_, name: string) => {
    const value = values[name];
    return typeof value === "number" ? numbers.value.format(value) : (value ?? "");
  });
}

function formOf(text: Exclude<Text, string>, count: number) {
  const category = plurals.value.select(count) as keyof typeof text;
  return text[category] ?? text.other;
}

export function formatNumber(value: number) {
  return numbers.value.format(value);
}

const two = (value: number) => String(value).padStart(2, "0");

/** 3:20, 1:03:20; "–" where there is none. */
export function formatDuration(seconds: number | undefined) {
  if (seconds === undefined || !Number.isFinite(seconds)) return "–";
  const whole = Math.round(seconds);
  const hours = Math.floor(whole / 3600);
  const minutes = Math.floor(whole / 60) % 60;
  return hours > 0 ? `${hours}:${two(minutes)}:${two(whole % 60)}` : `${minutes}:${two(whole % 60)}`;
}

/** A day, in the person's way; `seconds` since 1970. */
export function formatDate(seconds: number) {
  return new Intl.DateTimeFormat(locale.value, { dateStyle: "medium" }).format(seconds * 1000);
}

export function formatTime(seconds: number) {
  return new Intl.DateTimeFormat(locale.value, { dateStyle: "medium", timeStyle: "short" }).format(
    seconds * 1000,
  );
}

const UNITS = ["byte", "kilobyte", "megabyte", "gigabyte", "terabyte"];

export function formatSize(bytes: number) {
  const power = bytes > 0 ? Math.min(UNITS.length - 1, Math.floor(Math.log10(bytes) / 3)) : 0;
  const options = { style: "unit", unit: UNITS[power] ?? "byte", maximumFractionDigits: 1 } as const;
  return new Intl.NumberFormat(locale.value, options).format(bytes / 1000 ** power);
}

const collator = computed(() => new Intl.Collator(locale.value, { numeric: true, sensitivity: "base" }));

/** Compares names as people of the language sort them. */
export function compareNames(a: string, b: string) {
  return collator.value.compare(a, b);
}
