// Reads the text of a rule as the server does, which has the last word: it tells at once where it is wrong, and
// gives the form its conditions.
import { Lexer, stringValue, type Token, type TokenKind } from "./lexer.ts";
import {
  type Condition,
  DATE_WORDS,
  type DateTest,
  type Group,
  isDateField,
  isField,
  isGroup,
  isNumberField,
  isTextField,
  NUMBER_OPERATORS,
  type NumberField,
  type NumberOperator,
  type NumberTest,
  type OrderField,
  type Rule,
  type RuleDate,
  type Test,
  type TextField,
  type TextTest,
  UNITS,
  type Unit,
} from "./rule.ts";

/** What is wrong: the key of a text, and what it speaks of. */
export type Fault =
  | "open_string"
  | "string"
  | "escape"
  | "integer"
  | "too_large"
  | "too_deep"
  | "too_many"
  | "field"
  | "text_operator"
  | "number_operator"
  | "date_operator"
  | "with"
  | "unit"
  | "direction"
  | "date"
  | "no_such_day"
  | "by"
  | "order"
  | "close"
  | "end";

export class RuleError extends Error {
  constructor(
    readonly fault: Fault,
    readonly begin: number,
    readonly end: number,
  ) {
    super(fault);
  }
}

export interface Parsed {
  rule: Rule;
  hasComments: boolean;
}

const DEEPEST = 100;
const MOST_TESTS = 10_000;
const LARGEST = 9_223_372_036_854_775_807n;
const LARGEST_COUNT = 1_000_000;

const INVERSE: Record<NumberOperator, NumberOperator> = {
  "=": "!=",
  "!=": "=",
  "<": ">=",
  ">=": "<",
  ">": "<=",
  "<=": ">",
};

function negated(condition: Condition): Condition {
  if (condition.kind === "number") return { ...condition, operator: INVERSE[condition.operator] };
  if (condition.kind !== "date") return { ...condition, not: !condition.not };
  return { ...condition, operator: condition.operator === "before" ? "after" : "before" };
}

/** A group of one is what is in it. */
function joined(kind: Group["kind"], parts: Condition[]): Condition {
  const [first] = parts;
  return parts.length === 1 && first ? first : { kind, not: false, parts };
}

/** The day itself, or undefined where the calendar has none. */
function isDay(text: string) {
  const [year = 0, month = 0, day = 0] = text.split("-").map(Number);
  const date = new Date(Date.UTC(2000, month - 1, day));
  date.setUTCFullYear(year, month - 1, day);
  return date.getUTCMonth() === month - 1 && date.getUTCDate() === day;
}

class Parser {
  private readonly lexer: Lexer;
  private token: Token;
  private tests = 0;

  constructor(text: string) {
    this.lexer = new Lexer(text);
    this.token = this.lexer.next();
  }

  parse(): Parsed {
    const conditions = this.parseOr(0);
    const rule: Rule = {
      conditions: isGroup(conditions) ? conditions : { kind: "and", not: false, parts: [conditions] },
    };
    const order = this.parseOrder();
    if (order) rule.order = order;
    if (this.acceptWord("limit")) rule.limit = this.takeInteger();
    if (this.token.kind !== "end") this.fail("end");
    return { rule, hasComments: this.lexer.hasComments };
  }

  private fail(fault: Fault): never {
    const { kind, begin, end } = this.token;
    throw new RuleError(kind === "open string" ? "open_string" : fault, begin, end);
  }

  private advance(): Token {
    const { token } = this;
    this.token = this.lexer.next();
    return token;
  }

  private accept(kind: TokenKind) {
    const is = this.token.kind === kind;
    if (is) this.advance();
    return is;
  }

  private isWord(word: string) {
    return this.token.kind === "word" && this.token.text.toLowerCase() === word;
  }

  private acceptWord(word: string) {
    const is = this.isWord(word);
    if (is) this.advance();
    return is;
  }

  private acceptNot() {
    return this.accept("not") || this.acceptWord("not");
  }

  private deeper(depth: number) {
    if (depth === DEEPEST) this.fail("too_deep");
    return depth + 1;
  }

  private parseOr(depth: number): Condition {
    const parts = [this.parseAnd(depth)];
    while (this.accept("or") || this.acceptWord("or")) parts.push(this.parseAnd(depth));
    return joined("or", parts);
  }

  private parseAnd(depth: number): Condition {
    const parts = [this.parseOperand(depth)];
    while (this.accept("and") || this.acceptWord("and")) parts.push(this.parseOperand(depth));
    return joined("and", parts);
  }

  private parseOperand(depth: number): Condition {
    if (this.acceptNot()) return negated(this.parseOperand(this.deeper(depth)));
    if (!this.accept("(")) return this.parseTest(depth);
    const inside = this.parseOr(this.deeper(depth));
    if (!this.accept(")")) this.fail("close");
    return inside;
  }

  private parseTest(depth: number): Condition {
    if (this.tests++ === MOST_TESTS) this.fail("too_many");
    const field = this.token.text.toLowerCase();
    if (this.token.kind !== "word" || !isField(field)) this.fail("field");
    this.advance();
    const not = this.acceptNot();
    if (not) this.deeper(depth);
    const test = this.parseTestOf(field);
    return not ? negated(test) : test;
  }

  private parseTestOf(field: string): Test {
    if (isTextField(field)) return this.parseText(field);
    if (isNumberField(field)) return this.parseNumber(field);
    if (isDateField(field)) return this.parseDateTest(field);
    return this.fail("field");
  }

  private parseText(field: TextField): TextTest {
    const test: TextTest = { kind: "text", not: false, field, operator: "is", value: "" };
    if (this.acceptWord("is")) {
      if (this.acceptWord("empty")) return { ...test, operator: "is empty" };
    } else if (this.acceptWord("includes")) test.operator = "includes";
    else if (this.isWord("starts") || this.isWord("ends")) {
      test.operator = this.isWord("starts") ? "starts with" : "ends with";
      this.advance();
      if (!this.acceptWord("with")) this.fail("with");
    } else this.fail("text_operator");
    test.value = this.takeString();
    return test;
  }

  private parseNumber(field: NumberField): NumberTest {
    const operator = NUMBER_OPERATORS.find((sign) => sign === this.token.kind);
    if (!operator) this.fail("number_operator");
    this.advance();
    return { kind: "number", field, operator, value: this.takeInteger() };
  }

  private parseDateTest(field: DateTest["field"]): DateTest {
    const operator = this.isWord("before") ? "before" : "after";
    if (!this.isWord(operator)) this.fail("date_operator");
    this.advance();
    return { kind: "date", field, operator, date: this.parseDate(0) };
  }

  private parseDate(depth: number): RuleDate {
    if (this.token.kind !== "integer") return this.parseAnchor();
    this.deeper(depth);
    const { begin, end } = this.token;
    const count = Number(this.takeInteger());
    if (count > LARGEST_COUNT) throw new RuleError("too_large", begin, end);
    const unit = this.takeUnit();
    if (this.acceptWord("ago")) return { kind: "ago", count, unit };
    const direction = this.isWord("before") ? "before" : "after";
    if (!this.isWord(direction)) this.fail("direction");
    this.advance();
    return { kind: "shifted", count, unit, direction, from: this.parseDate(depth + 1) };
  }

  private takeUnit(): Unit {
    for (const unit of UNITS) if (this.acceptWord(unit) || this.acceptWord(unit.slice(0, -1))) return unit;
    return this.fail("unit");
  }

  private parseAnchor(): RuleDate {
    if (this.token.kind === "date") {
      if (!isDay(this.token.text)) this.fail("no_such_day");
      return { kind: "day", day: this.advance().text };
    }
    const first = this.token;
    const [single] = DATE_WORDS.filter((word) => this.isWord(word));
    if (single) {
      this.advance();
      return { kind: "word", word: single };
    }
    if (!this.isWord("this") && !this.isWord("last")) this.fail("date");
    this.advance();
    const words = `${first.text} ${this.token.text}`.toLowerCase();
    const word = DATE_WORDS.find((known) => known === words);
    if (!word) throw new RuleError("date", first.begin, first.end);
    this.advance();
    return { kind: "word", word };
  }

  private parseOrder(): Rule["order"] {
    if (!this.acceptWord("order")) return undefined;
    if (!this.acceptWord("by")) this.fail("by");
    const word = this.token.text.toLowerCase();
    if (this.token.kind !== "word" || !(word === "random" || isField(word))) this.fail("order");
    this.advance();
    const down = this.acceptWord("desc");
    if (!down) this.acceptWord("asc");
    return { field: word as OrderField, down };
  }

  private takeString() {
    if (this.token.kind !== "string") this.fail("string");
    const value = stringValue(this.token.text);
    if (value === undefined) this.fail("escape");
    this.advance();
    return value;
  }

  private takeInteger() {
    if (this.token.kind !== "integer") this.fail("integer");
    if (BigInt(this.token.text) > LARGEST) this.fail("too_large");
    return this.advance().text;
  }
}

/** Throws a RuleError where it cannot be read. */
export function parseRule(text: string): Parsed {
  return new Parser(text).parse();
}

/** Line and column of an offset, both from 1; columns are characters. */
export function placeOf(text: string, offset: number) {
  const before = text.slice(0, offset).split("\n");
  return { line: before.length, column: [...(before.at(-1) ?? "")].length + 1 };
}

/** The offset of a line and a column. */
export function offsetOf(text: string, line: number, column: number) {
  const lines = text.split("\n");
  const above = lines.slice(0, line - 1).reduce((sum, { length }) => sum + length + 1, 0);
  const inLine = [...(lines[line - 1] ?? "")].slice(0, column - 1).join("");
  return Math.min(text.length, above + inLine.length);
}

/** The word that an error at an offset stands under. */
export function wordAt(text: string, offset: number) {
  const { length } = /^(?:[\w-]+|[^\n])?/u.exec(text.slice(offset))?.[0] ?? "";
  return { begin: offset, end: offset + length };
}
