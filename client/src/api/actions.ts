// The actions of audio_playlist.cgi that edit playlists.
import {
  address,
  notUnderstood,
  type Options,
  RequestError,
  readJson,
  refusals,
  send,
  versionOf,
} from "./http.ts";

/** A song: its id, or for what the index does not know, what a list's file says of it. */
export type SongReference =
  | string
  | { res: string; title?: string; artist?: string; album?: string; duration?: number };

export interface Edited {
  /** The playlist's node id, where the action makes one. */
  id: string | undefined;
  /** The list's new version; undefined where the answer does not tell. */
  version: string | undefined;
}

interface ActionAnswer {
  success?: boolean;
  error?: { section: string; key: string };
  node?: { id: string };
  id?: string;
}

type Parameters = Record<string, string | number | boolean>;

async function act(
  action: string,
  parameters: Parameters,
  options: Pick<Options, "ifMatch" | "signal"> = {},
): Promise<Edited> {
  const form = new URLSearchParams({ action });
  for (const [name, value] of Object.entries(parameters)) form.set(name, String(value));
  const response = await send(address("audio_playlist.cgi"), { ...options, method: "POST", body: form });
  const body = (await readJson(response)) as ActionAnswer | undefined;
  if (response.ok && body?.success) return { id: body.node?.id ?? body.id, version: versionOf(response) };
  if (response.status === 401) refusals.value++;
  const key = body?.error ? `${body.error.section}/${body.error.key}` : "";
  if (response.ok && body?.success === undefined) throw notUnderstood();
  throw new RequestError(response.ok ? 500 : response.status, undefined, key);
}

export interface NewPlaylist {
  name: string;
  library: "shared" | "personal";
  songs: SongReference[];
  overwrite?: boolean;
}

export function add({ name, library, songs, overwrite = false }: NewPlaylist) {
  return act("add", { name, type: library, id_info_list: JSON.stringify(songs), overwrite });
}

export function addPlaying(name: string, library: "shared" | "personal", target: string, overwrite = false) {
  return act("addplaying", { name, type: library, target, overwrite });
}

/** Appends. */
export function addSongs(playlist: string, songs: SongReference[], ifMatch?: string) {
  return act("addsongs", { playlist, id_info_list: JSON.stringify(songs) }, { ifMatch });
}

/** Puts songs in the place of `limit` entries from position `start` on; either may be none. */
export function update(
  playlist: string,
  start: number,
  limit: number,
  songs: SongReference[],
  ifMatch?: string,
) {
  return act("update", { playlist, start, limit, id_info_list: JSON.stringify(songs) }, { ifMatch });
}

export function removeSongs(playlist: string, positions: number[], ifMatch?: string) {
  return act("removesongs", { playlist, seq_list: positions.join(",") }, { ifMatch });
}

export function removeMissing(playlist: string, ifMatch?: string) {
  return act("remove_missing", { playlist_id: playlist }, { ifMatch });
}

export function rename(id: string, name: string, ifMatch?: string) {
  return act("saveplsname", { id, name }, { ifMatch });
}

/** Lists, of one library. */
export function remove(ids: string[], ifMatch?: string) {
  return act("delete", { playlists: ids.join(",") }, { ifMatch });
}

/** To the other library. */
export function duplicate(id: string, overwrite = false) {
  return act("duplicate", { id, overwrite });
}

/** Where a browser loads a playlist's archive from. */
export function downloadAddress(playlist: string, name: string) {
  return address("audio_playlist.cgi", { action: "download", playlist, filename: `${name}.zip` });
}

/** Loads songs into the browser's downloads; however many, as a form has room for all. */
export function songsDownload(ids: number[], name: string) {
  const form = document.createElement("form");
  form.method = "post";
  form.action = address("audio_playlist.cgi");
  form.target = "_blank"; // so that the page stays, should it be refused
  const values = { action: "download", id_info_list: JSON.stringify(ids.map(String)), filename: name };
  for (const [key, value] of Object.entries(values)) {
    if (value === "") continue;
    const input = document.createElement("input");
    input.type = "hidden";
    input.name = key;
    input.value = value;
    form.append(input);
  }
  document.body.append(form);
  form.submit();
  form.remove();
}
