// Requests to the server, and what can go wrong with them.
import { signal } from "@preact/signals";
import { isAnswer } from "./shape.ts";
import type { Problem } from "./types.ts";

/** The key of an answer that is not this server's: a web server on the way may have its own pages. */
export const NOT_UNDERSTOOD = "answer/not_understood";

export function notUnderstood() {
  return new RequestError(502, undefined, NOT_UNDERSTOOD);
}

/** Why a request gave nothing. `status` is 0 when no answer came: no connection, or it broke. */
export class RequestError extends Error {
  constructor(
    readonly status: number,
    readonly problem: Problem | undefined,
    /** Of a refused action: "section/key". */
    readonly key = "",
  ) {
    super(problem?.detail ?? (key || `status ${status}`));
  }

  /** The same request may succeed later without anybody doing anything. */
  get isPassing() {
    return this.status === 0 || this.status === 502 || this.status === 503 || this.status === 504;
  }
}

export function isAborted(error: unknown) {
  return error instanceof DOMException && error.name === "AbortError";
}

/** Whether the last request reached the server. */
export const connected = signal(true);
/** Grows when a request was refused for want of a session. */
export const refusals = signal(0);

const LOGGED_IN = "logged_in";
let speaker: string | undefined;

/** From now on this page asks in the name of this user, and of nobody else; undefined: who was here has logged out. */
export function speakFor(name: string | undefined) {
  speaker = name ?? speaker;
  if (name === undefined) localStorage.removeItem(LOGGED_IN);
  else localStorage.setItem(LOGGED_IN, name);
}

/** All pages of a browser share a session: somebody else may have logged in at another one, or this user out. */
function isSpeakerGone() {
  return speaker !== undefined && localStorage.getItem(LOGGED_IN) !== speaker;
}

/** Calls `run` when somebody logs in or out at another page of this browser. */
export function onOtherLogin(run: () => void) {
  window.addEventListener("storage", ({ key }) => {
    if (key === LOGGED_IN || key === null) run();
  });
}

export interface Answer<T> {
  body: T;
  /** Without quotes; undefined when the answer has none. */
  version: string | undefined;
}

export interface Options {
  method?: "GET" | "HEAD" | "POST" | "PUT" | "DELETE";
  /** Sent as JSON, but for forms and files, which go as they are. */
  body?: unknown;
  /** Only if what is changed still has this version; else 412. */
  ifMatch?: string | undefined;
  /** Only if it has another version; else the answer has no body. */
  ifNoneMatch?: string | undefined;
  signal?: AbortSignal | undefined;
  /** Goes on when the page is left. */
  keepalive?: boolean;
  /** Whoever is logged in may ask it. */
  asAnybody?: boolean;
}

const BASE = new URL(".", document.baseURI);

/** The address of a path such as "api/songs", wherever the client lies on the server. */
export function address(path: string, query: Query = {}) {
  const url = new URL(path, BASE);
  for (const [name, value] of Object.entries(query)) {
    if (value !== undefined && value !== "") url.searchParams.set(name, String(value));
  }
  return url.href;
}

export type Query = Record<string, string | number | boolean | undefined>;

function encode(body: unknown): { content?: BodyInit; type?: string } {
  if (body === undefined) return {};
  if (body instanceof URLSearchParams || body instanceof FormData || body instanceof Blob) {
    return { content: body };
  }
  return { content: JSON.stringify(body), type: "application/json" };
}

export async function send(url: string, options: Options): Promise<Response> {
  if (!options.asAnybody && isSpeakerGone()) {
    refusals.value++;
    throw new RequestError(401, undefined);
  }
  const headers = new Headers();
  const { content, type } = encode(options.body);
  if (type) headers.set("Content-Type", type);
  if (options.ifMatch !== undefined) headers.set("If-Match", `"${options.ifMatch}"`);
  if (options.ifNoneMatch !== undefined) headers.set("If-None-Match", `"${options.ifNoneMatch}"`);
  const init: RequestInit = { method: options.method ?? "GET", headers, credentials: "same-origin" };
  if (content !== undefined) init.body = content;
  if (options.signal) init.signal = options.signal;
  if (options.keepalive) init.keepalive = true;
  try {
    const response = await fetch(url, init);
    connected.value = true;
    return response;
  } catch (error) {
    if (isAborted(error)) throw error;
    connected.value = false;
    throw new RequestError(0, undefined);
  }
}

/** What a body says. One that is not the server's, or breaks off, is none: something else answers on the way. */
export async function readJson(response: Response): Promise<unknown> {
  const text = await textOf(response);
  try {
    const body: unknown = text === "" ? undefined : JSON.parse(text);
    if (body === null || (body !== undefined && typeof body !== "object")) throw new SyntaxError(text);
    return body;
  } catch {
    throw response.ok ? notUnderstood() : new RequestError(response.status, undefined);
  }
}

async function textOf(response: Response) {
  try {
    return await response.text();
  } catch (error) {
    if (isAborted(error)) throw error;
    throw new RequestError(response.ok ? 0 : response.status, undefined);
  }
}

export function versionOf(response: Response) {
  return response.headers
    .get("ETag")
    ?.replace(/^W\//, "")
    .replace(/^"(.*)"$/, "$1");
}

/** Asks a resource below api/; throws a RequestError for anything but success. */
export async function ask<T>(path: string, query: Query = {}, options: Options = {}): Promise<Answer<T>> {
  const response = await send(address(`api/${path}`, query), options);
  const body = await readJson(response);
  const isSame = response.status === 304 && options.ifNoneMatch !== undefined;
  const isRight = isSame || options.method === "DELETE" || isAnswer(path, query.limit !== undefined, body);
  if (response.ok && !isRight) throw notUnderstood();
  if (response.ok || isSame) return { body: body as T, version: versionOf(response) };
  if (response.status === 401) refusals.value++;
  throw new RequestError(response.status, body as Problem | undefined);
}

/** The same, when only the body matters. */
export async function get<T>(path: string, query: Query = {}, signal?: AbortSignal): Promise<T> {
  return (await ask<T>(path, query, { signal })).body;
}
