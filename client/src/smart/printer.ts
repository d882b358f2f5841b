// Writes a rule as text.
import { quoted } from "./lexer.ts";
import { type Condition, type Group, isGroup, type Rule, type RuleDate, type Test } from "./rule.ts";

function printDate(date: RuleDate): string {
  switch (date.kind) {
    case "day":
      return date.day;
    case "word":
      return date.word;
    case "ago":
      return `${printCount(date)} ago`;
    case "shifted":
      return `${printCount(date)} ${date.direction} ${printDate(date.from)}`;
  }
}

function printCount({ count, unit }: { count: number; unit: string }) {
  return `${count} ${count === 1 ? unit.slice(0, -1) : unit}`;
}

function printTest(test: Test): string {
  if (test.kind === "date") return `${test.field} ${test.operator} ${printDate(test.date)}`;
  if (test.kind === "number") return `${test.field} ${test.operator} ${test.value}`;
  const operator = `${test.not ? "not " : ""}${test.operator}`;
  const value = test.operator === "is empty" ? "" : ` ${quoted(test.value)}`;
  return `${test.field} ${operator}${value}`;
}

/** `within`: it stands beside others, so that a group needs parentheses. */
function printCondition(condition: Condition, within: boolean): string {
  if (!isGroup(condition)) return printTest(condition);
  const { kind, not, parts } = condition;
  if (!not && parts.length === 1 && parts[0]) return printCondition(parts[0], within);
  const text = parts.map((part) => printCondition(part, parts.length > 1)).join(` ${kind} `);
  if (not) return `not (${text})`;
  return within ? `(${text})` : text;
}

/** One condition a line. */
function printConditions({ kind, not, parts }: Group): string {
  if (not) return printCondition({ kind, not, parts }, false);
  return parts.map((part) => printCondition(part, parts.length > 1)).join(`\n${kind} `);
}

export function printRule({ conditions, order, limit }: Rule): string {
  const lines = [printConditions(conditions)];
  if (order) lines.push(`order by ${order.field}${order.down ? " desc" : ""}`);
  if (limit !== undefined) lines.push(`limit ${limit}`);
  return lines.join("\n");
}
