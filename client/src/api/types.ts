// What /api/ answers, as doc/openapi.yaml tells it. Durations are seconds, times are seconds since 1970.

export type LibraryName = "shared" | "personal";

/** A stretch of a list that has `total` items, from position `offset` on. */
export interface Page<T> {
  total: number;
  offset: number;
  items: T[];
}

export interface Song {
  id: number;
  library: LibraryName;
  title: string;
  artist?: string;
  album?: string;
  album_artist?: string;
  genre?: string;
  type?: string;
  track?: number;
  disc?: number;
  year?: number;
  duration?: number;
  album_id?: number;
  artist_id?: number;
  album_artist_id?: number;
  genre_id?: number;
  folder_id?: number;
  added?: number;
}

export interface WholeSong extends Song {
  path: string;
  size: number;
  composer?: string;
  composer_id?: number;
  comment?: string;
  bitrate?: number;
  sample_rate?: number;
  channels?: number;
  modified?: number;
  compilation?: true;
}

/** What albums, names and folders have in common; `cover_song` has a picture that may stand for it. */
export interface Group {
  id: number;
  library: LibraryName;
  name: string;
  songs: number;
  duration: number;
  size: number;
  cover_song?: number;
}

export interface Album extends Group {
  artist?: string;
  artist_id?: number;
  folder_id?: number;
  discs?: number;
  year?: number;
  year_to?: number;
  added?: number;
  compilation?: true;
}

/** An artist, a genre, a composer or a year. */
export interface Name extends Group {
  albums: number;
}

export interface Folder extends Group {
  path: string;
  parent_id?: number;
}

/** One of the two. */
export interface FolderItem {
  folder?: Folder;
  song?: Song;
}

export interface Playlist {
  id: string;
  name: string;
  kind: "list" | "smart" | "random";
  library: LibraryName;
  count?: number;
  duration?: number;
  size?: number;
  changed?: number;
  version?: string;
  missing?: true;
  unreadable?: true;
}

/** An entry of a playlist: what its file says, and the song or stream that it stands for, or `missing`. */
export interface Entry {
  position: number;
  path?: string;
  title?: string;
  artist?: string;
  duration?: number;
  song?: Song;
  stream?: string;
  missing?: true;
}

export interface Candidate {
  song: Song;
  /** 0 to 1; from 0.6 on it is certain enough to be taken unasked. */
  score: number;
  why: ("file_name" | "folder" | "title" | "artist" | "duration")[];
}

export interface MissingEntry {
  position: number;
  path: string;
  title?: string;
  artist?: string;
  duration?: number;
  candidates: Candidate[];
}

export interface ImportedEntry {
  position: number;
  path: string;
  title?: string;
  artist?: string;
  album?: string;
  duration?: number;
  match: "path" | "tail" | "file_name" | "tags" | "stream" | "none";
  song?: Song;
  score?: number;
  candidates?: Candidate[];
}

export interface Rule {
  playlist: Playlist;
  rule: string;
}

export interface Mark {
  star: boolean;
  /** 0: none. */
  rating: number;
  play_count: number;
  starred?: number;
  played?: number;
}

export interface QueueEntry {
  position: number;
  song?: Song;
  stream?: string;
  missing?: true;
  title?: string;
  duration?: number;
}

export interface Queue extends Page<QueueEntry> {
  position: number;
  elapsed: number;
  updated?: number;
}

export interface PlayerEntry {
  song?: number;
  stream?: string;
  title?: string;
  artist?: string;
  album?: string;
  duration?: number;
  track?: number;
  year?: number;
}

export interface PlayerStatus {
  id: number;
  name: string;
  state: "play" | "pause" | "stop" | "unreachable";
  detail?: string;
  queue_length?: number;
  position?: number;
  song?: PlayerEntry;
  elapsed?: number;
  duration?: number;
  /** 0 to 100; not there when it cannot be set. */
  volume?: number;
  repeat?: boolean;
  random?: boolean;
}

export interface Overview {
  version: string;
  user: string;
  /** Grows with each change of songs in the index. */
  revision: number;
  libraries: {
    name: LibraryName;
    songs: number;
    albums: number;
    artists: number;
    duration: number;
    size: number;
  }[];
  players: number;
  transcoding: boolean;
}

export interface Login {
  name: string;
  id: number;
  admin: boolean;
  personal_library: boolean;
  by: "session" | "web_server";
}

export interface Scan {
  running: boolean;
  started?: number;
  finished?: number;
  complete?: boolean;
  files_read?: number;
  files_to_read?: number;
  songs?: Record<"added" | "changed" | "moved" | "gone" | "unchanged" | "unreadable", number>;
}

/** RFC 9457. `line` and `column` count from 1, in a text that was sent. */
export interface Problem {
  title: string;
  status: number;
  detail: string;
  parameter?: string;
  line?: number;
  column?: number;
}
