// The conditions of a rule as a form.
import type { ComponentChildren } from "preact";
import { formatDuration, formatSize, type TextKey, t } from "../text/index.ts";
import { Icon } from "../ui/icon.tsx";
import {
  type Condition,
  DATE_OPERATORS,
  DATE_WORDS,
  type DateTest,
  type DateWord,
  FIELDS,
  firstTest,
  type Group,
  isGroup,
  NUMBER_OPERATORS,
  type NumberTest,
  type OrderField,
  type Rule,
  type RuleDate,
  TEXT_OPERATORS,
  type Test,
  type TextTest,
  UNITS,
  withField,
} from "./rule.ts";

interface SelectProps<T extends string> {
  label: string;
  value: T;
  options: readonly (readonly [T, string])[];
  onChange: (value: T) => void;
}

function Select<T extends string>({ label, value, options, onChange }: SelectProps<T>) {
  return (
    <select
      class="input"
      aria-label={label}
      value={value}
      onChange={(event) => onChange(event.currentTarget.value as T)}
    >
      {options.map(([name, text]) => (
        <option key={name} value={name}>
          {text}
        </option>
      ))}
    </select>
  );
}

/** A number from 0 on; what is none is left alone until it is one. */
function NumberInput(props: { label: string; value: string; onChange: (digits: string) => void }) {
  return (
    <input
      class="input rule-number"
      type="text"
      inputMode="numeric"
      pattern="[0-9]+"
      aria-label={props.label}
      value={props.value}
      onInput={(event) => {
        const digits = event.currentTarget.value.trim();
        if (/^\d{1,18}$/.test(digits)) props.onChange(String(BigInt(digits)));
      }}
      onBlur={(event) => {
        event.currentTarget.value = props.value;
      }}
    />
  );
}

const fieldKey = (field: OrderField): TextKey => `smart.field_${field}`;
const wordsOf = <T extends string>(names: readonly T[], text: (name: T) => string) =>
  names.map((name) => [name, text(name)] as const);

const TEXT_CHOICES = TEXT_OPERATORS.flatMap((operator) => [
  { operator, not: false },
  { operator, not: true },
]);

function TextFields({ test, onChange }: { test: TextTest; onChange: (test: Test) => void }) {
  const nameOf = ({ operator, not }: Pick<TextTest, "operator" | "not">) => `${not ? "not " : ""}${operator}`;
  const keys = {
    is: "is",
    includes: "includes",
    "starts with": "starts",
    "ends with": "ends",
    "is empty": "empty",
  } as const;
  return (
    <>
      <Select
        label={t("smart.operator")}
        value={nameOf(test)}
        options={TEXT_CHOICES.map((choice) => [
          nameOf(choice),
          t(`smart.${choice.not ? "not_" : ""}${keys[choice.operator]}`),
        ])}
        onChange={(name) => {
          const choice = TEXT_CHOICES.find((other) => nameOf(other) === name);
          if (choice) onChange({ ...test, ...choice });
        }}
      />
      {test.operator !== "is empty" && (
        <input
          class="input rule-value"
          type="text"
          aria-label={t("smart.value")}
          value={test.value}
          onInput={(event) => onChange({ ...test, value: event.currentTarget.value })}
        />
      )}
    </>
  );
}

const NUMBER_TEXTS = {
  "=": "smart.equal",
  "!=": "smart.not_equal",
  "<": "smart.less",
  "<=": "smart.at_most",
  ">": "smart.more",
  ">=": "smart.at_least",
} as const;

/** What a number means, where that is not plain. */
function meaningOf({ field, value }: NumberTest) {
  if (field === "song_length") return t("smart.seconds", { duration: formatDuration(Number(value)) });
  if (field === "file_size") return t("smart.bytes", { size: formatSize(Number(value)) });
  if (field === "bitrate") return t("smart.bits");
  return field === "samplerate" ? "Hz" : undefined;
}

function NumberFields({ test, onChange }: { test: NumberTest; onChange: (test: Test) => void }) {
  const isChoice = test.field === "compilation" && /^[01]$/.test(test.value);
  const meaning = meaningOf(test);
  return (
    <>
      <Select
        label={t("smart.operator")}
        value={test.operator}
        options={wordsOf(NUMBER_OPERATORS, (sign) => t(NUMBER_TEXTS[sign]))}
        onChange={(operator) => onChange({ ...test, operator })}
      />
      {isChoice ? (
        <Select
          label={t("smart.value")}
          value={test.value}
          options={[
            ["1", t("smart.yes")],
            ["0", t("smart.no")],
          ]}
          onChange={(value) => onChange({ ...test, value })}
        />
      ) : (
        <NumberInput
          label={t("smart.value")}
          value={test.value}
          onChange={(value) => onChange({ ...test, value })}
        />
      )}
      {meaning && <span class="soft small">{meaning}</span>}
    </>
  );
}

type DateChoice = DateWord | "day" | "ago";

function today() {
  const now = new Date();
  return new Date(now.getTime() - now.getTimezoneOffset() * 60_000).toISOString().slice(0, 10);
}

function dateOf(choice: DateChoice): RuleDate {
  if (choice === "day") return { kind: "day", day: today() };
  if (choice === "ago") return { kind: "ago", count: 30, unit: "days" };
  return { kind: "word", word: choice };
}

const wordKey = (word: DateWord): TextKey => `smart.${word.replace(" ", "_") as "today"}`;

function DateFields({ test, onChange }: { test: DateTest; onChange: (test: Test) => void }) {
  const { date } = test;
  const set = (changed: RuleDate) => onChange({ ...test, date: changed });
  const options: [DateChoice, string][] = [
    ...DATE_WORDS.map((word): [DateChoice, string] => [word, t(wordKey(word))]),
    ["day", t("smart.day")],
    ["ago", t("smart.ago")],
  ];
  return (
    <>
      <Select
        label={t("smart.operator")}
        value={test.operator}
        options={wordsOf(DATE_OPERATORS, (operator) => t(`smart.${operator}`))}
        onChange={(operator) => onChange({ ...test, operator })}
      />
      <Select
        label={t("smart.date")}
        value={date.kind === "word" ? date.word : (date.kind as DateChoice)}
        options={options}
        onChange={(choice) => set(dateOf(choice))}
      />
      {date.kind === "day" && (
        <input
          class="input"
          type="date"
          aria-label={t("smart.day")}
          value={date.day}
          required
          onChange={(event) => {
            if (/^\d{4}-\d\d-\d\d$/.test(event.currentTarget.value))
              set({ ...date, day: event.currentTarget.value });
          }}
        />
      )}
      {date.kind === "ago" && (
        <>
          <NumberInput
            label={t("smart.value")}
            value={String(date.count)}
            onChange={(digits) => set({ ...date, count: Number(digits) })}
          />
          <Select
            label={t("smart.unit")}
            value={date.unit}
            options={wordsOf(UNITS, (unit) => t(`smart.${unit}`))}
            onChange={(unit) => set({ ...date, unit })}
          />
        </>
      )}
    </>
  );
}

interface PartProps<T> {
  part: T;
  onChange: (part: T) => void;
  /** The last one of a rule stays. */
  onRemove: (() => void) | undefined;
}

function TestRow({ part: test, onChange, onRemove }: PartProps<Test>) {
  return (
    <li class="rule-test">
      <Select
        label={t("smart.field")}
        value={test.field}
        options={wordsOf(FIELDS, (field) => t(fieldKey(field)))}
        onChange={(field) => onChange(withField(test, field))}
      />
      {test.kind === "text" && <TextFields test={test} onChange={onChange} />}
      {test.kind === "number" && <NumberFields test={test} onChange={onChange} />}
      {test.kind === "date" && <DateFields test={test} onChange={onChange} />}
      <RemoveButton label={t("smart.remove")} onRemove={onRemove} />
    </li>
  );
}

function RemoveButton({ label, onRemove }: { label: string; onRemove: (() => void) | undefined }) {
  return (
    <button
      type="button"
      class="icon-button rule-remove"
      aria-label={label}
      title={label}
      disabled={!onRemove}
      onClick={onRemove}
    >
      <Icon name="close" />
    </button>
  );
}

type Mode = "all" | "any" | "none" | "not_all";
const MODES: Record<Mode, Pick<Group, "kind" | "not">> = {
  all: { kind: "and", not: false },
  any: { kind: "or", not: false },
  none: { kind: "or", not: true },
  not_all: { kind: "and", not: true },
};
const MODE_NAMES = ["all", "any", "none", "not_all"] as const;

function modeOf({ kind, not }: Group): Mode {
  return MODE_NAMES.find((name) => MODES[name].kind === kind && MODES[name].not === not) ?? "all";
}

function GroupPart({
  part: group,
  onChange,
  onRemove,
  children,
}: PartProps<Group> & { children?: ComponentChildren }) {
  const { parts } = group;
  const setParts = (changed: Condition[]) => onChange({ ...group, parts: changed });
  const add = (condition: Condition) => setParts([...parts, condition]);
  const isLast = parts.length === 1;
  const removeAt = (place: number) => () => {
    if (isLast) onRemove?.();
    else setParts(parts.filter((_, other) => other !== place));
  };
  const nested: Group = { kind: group.kind === "and" ? "or" : "and", not: false, parts: [firstTest()] };
  return (
    <div class="rule-group" role="group" aria-label={t("smart.group")}>
      <div class="rule-group-head">
        <Select
          label={t("smart.mode")}
          value={modeOf(group)}
          options={wordsOf(MODE_NAMES, (name) => t(`smart.${name}`))}
          onChange={(mode) => onChange({ ...group, ...MODES[mode] })}
        />
        {children}
        <span class="spacer" />
        {onRemove && <RemoveButton label={t("smart.remove_group")} onRemove={onRemove} />}
      </div>
      <ul>
        {parts.map((part, place) => {
          const change = (changed: Condition) =>
            setParts(parts.map((other, at) => (at === place ? changed : other)));
          const remove = isLast && !onRemove ? undefined : removeAt(place);
          const key = `${place}`;
          if (!isGroup(part)) return <TestRow key={key} part={part} onChange={change} onRemove={remove} />;
          return (
            <li key={key}>
              <GroupPart part={part} onChange={change} onRemove={remove} />
            </li>
          );
        })}
      </ul>
      <div class="rule-add">
        <button type="button" class="button" onClick={() => add(firstTest())}>
          <Icon name="add" />
          {t("smart.add_condition")}
        </button>
        <button type="button" class="button" onClick={() => add(nested)}>
          <Icon name="add" />
          {t("smart.add_group")}
        </button>
      </div>
    </div>
  );
}

const FIRST_LIMIT = "50";

function OrderAndLimit({ rule, onChange }: { rule: Rule; onChange: (rule: Rule) => void }) {
  const { conditions, order, limit } = rule;
  const set = (changed: Pick<Rule, "order" | "limit">) => onChange({ conditions, ...changed });
  const withLimit = limit === undefined ? {} : { limit };
  const withOrder = order === undefined ? {} : { order };
  const orders: [OrderField | "", string][] = [
    ["", t("smart.order_added")],
    ["random", t("smart.field_random")],
    ...FIELDS.map((field): [OrderField, string] => [field, t(fieldKey(field))]),
  ];
  return (
    <div class="rule-end">
      <div class="rule-label">
        <span>{t("smart.order")}</span>
        <Select
          label={t("smart.order")}
          value={order?.field ?? ""}
          options={orders}
          onChange={(field) =>
            set(field === "" ? withLimit : { ...withLimit, order: { field, down: order?.down ?? false } })
          }
        />
      </div>
      {order && order.field !== "random" && (
        <Select
          label={t("smart.direction")}
          value={order.down ? "desc" : "asc"}
          options={[
            ["asc", t("smart.up")],
            ["desc", t("smart.down")],
          ]}
          onChange={(direction) => set({ ...withLimit, order: { ...order, down: direction === "desc" } })}
        />
      )}
      <label class="rule-label">
        <input
          type="checkbox"
          checked={limit !== undefined}
          onChange={() => set(limit === undefined ? { ...withOrder, limit: FIRST_LIMIT } : withOrder)}
        />
        <span>{t("smart.limit")}</span>
      </label>
      {limit !== undefined && (
        <NumberInput
          label={t("smart.limit_songs")}
          value={limit}
          onChange={(digits) => set({ ...withOrder, limit: digits })}
        />
      )}
    </div>
  );
}

export function RuleForm({
  rule,
  onChange,
  disabled,
}: {
  rule: Rule;
  onChange: (rule: Rule) => void;
  disabled: boolean;
}) {
  return (
    <fieldset class="rule-form" disabled={disabled}>
      <legend class="visually-hidden">{t("smart.conditions")}</legend>
      <GroupPart
        part={rule.conditions}
        onChange={(conditions) => onChange({ ...rule, conditions })}
        onRemove={undefined}
      />
      <OrderAndLimit rule={rule} onChange={onChange} />
    </fieldset>
  );
}
