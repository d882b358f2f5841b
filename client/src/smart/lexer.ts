// The words and signs of a rule's text. A stretch of text is told by offsets from `begin` on, before `end`.

export type TokenKind =
  | "word"
  | "string"
  | "open string"
  | "integer"
  | "date"
  | "("
  | ")"
  | "and"
  | "or"
  | "not"
  | "="
  | "!="
  | "<"
  | "<="
  | ">"
  | ">="
  | "unknown"
  | "end";

export interface Token {
  kind: TokenKind;
  begin: number;
  end: number;
  text: string;
}

const BLANKS = /[ \t\v\f\r\n]+/y;
const COMMENT = /#[^\n]*/y;
// What may stand there, the longest sign first.
const TOKENS: [TokenKind, RegExp][] = [
  ["string", /"(?:\\[^\r\n]|[^"\\\r\n])*"/y],
  ["open string", /"[^\r\n]*/y],
  ["date", /\d{4}-\d\d-\d\d(?!\d)/y],
  ["integer", /\d+/y],
  ["word", /[A-Za-z_][A-Za-z_0-9]*/y],
  ["(", /\(/y],
  [")", /\)/y],
  ["and", /&&/y],
  ["or", /\|\|/y],
  ["!=", /!=/y],
  ["not", /!/y],
  ["<=", /<=/y],
  ["<", /</y],
  [">=", />=/y],
  [">", />/y],
  ["=", /=/y],
  ["unknown", /./suy],
];

function matchAt(pattern: RegExp, text: string, at: number) {
  pattern.lastIndex = at;
  return pattern.exec(text)?.[0];
}

export class Lexer {
  private at = 0;
  /** Whether a comment was passed by. */
  hasComments = false;

  constructor(private readonly text: string) {}

  next(): Token {
    this.skip();
    const begin = this.at;
    for (const [kind, pattern] of TOKENS) {
      const text = matchAt(pattern, this.text, begin);
      if (text === undefined) continue;
      this.at += text.length;
      return { kind, begin, end: this.at, text };
    }
    return { kind: "end", begin, end: begin, text: "" };
  }

  private skip() {
    for (;;) {
      const comment = matchAt(COMMENT, this.text, this.at);
      const skipped = matchAt(BLANKS, this.text, this.at) ?? comment;
      if (skipped === undefined) return;
      this.hasComments ||= comment !== undefined;
      this.at += skipped.length;
    }
  }
}

/** What a string says; undefined when it has an escape that there is not. */
export function stringValue(quoted: string): string | undefined {
  const raw = quoted.slice(1, -1);
  if (/\\[^"\\]/su.test(raw.replace(/\\["\\]/g, ""))) return undefined;
  return raw.replace(/\\(["\\])/g, "$1");
}

export function quoted(value: string) {
  return `"${value.replace(/["\\]/g, "\\$&")}"`;
}
