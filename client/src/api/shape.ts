// Whether an answer has what whoever asked goes on with: something else may answer in the place of the server.

type Kind = "string" | "boolean" | "object" | "number" | "count" | "rows";
type Shape = Readonly<Record<string, Kind>>;

/** Of a list, which is what is asked for in stretches. */
const PAGE: Shape = { total: "count", offset: "count", items: "rows" };

/** What the answers at other addresses below api/ cannot do without; the first one that fits holds. */
const SHAPES: readonly (readonly [RegExp, Shape])[] = [
  [/^$/, { libraries: "rows", revision: "number" }],
  [/^session$/, { name: "string" }],
  [/^scan$/, { running: "boolean" }],
  [/^(players|import|smart\/preview)$/, PAGE],
  [/^players\/\d+\/queue$/, { added: "count", refused: "count" }],
  [/^players\/\d+/, { state: "string" }],
  [/^songs\/\d+\/mark$/, { rating: "number" }],
  [/^songs\/\d+$/, { id: "number", title: "string" }],
  [/^smart(\/|$)/, { playlist: "object", rule: "string" }],
];

/** The name of what an address with an id is of: "albums/12" has an "album". */
const ONE = /^(album|artist|genre|composer|year|folder|playlist)s\/./;

function isObject(value: unknown) {
  return typeof value === "object" && value !== null && !Array.isArray(value);
}

function isOf(kind: Kind, value: unknown) {
  if (kind === "count") return Number.isSafeInteger(value) && (value as number) >= 0;
  if (kind === "rows") return Array.isArray(value) && value.every(isObject);
  return kind === "object" ? isObject(value) : typeof value === kind;
}

function shapeOf(path: string, isPage: boolean): Shape {
  const one = ONE.exec(path)?.[1];
  const shape = isPage ? PAGE : SHAPES.find(([pattern]) => pattern.test(path))?.[1];
  return { ...shape, ...(one !== undefined && { [one]: "object" as const }) };
}

/** Whether a path may answer this. */
export function isAnswer(path: string, isPage: boolean, body: unknown) {
  const fields = (body ?? {}) as Record<string, unknown>;
  return Object.entries(shapeOf(path, isPage)).every(([name, kind]) => isOf(kind, fields[name]));
}
