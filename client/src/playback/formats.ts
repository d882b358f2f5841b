// How this browser asks for a song: as it is, or in another format where it cannot decode that one.

/** What the browser is asked about, by the song's type, which is the ending of its file's name. */
const MEDIA_TYPES: Record<string, string> = {
  aac: "audio/aac",
  aif: "audio/aiff",
  aiff: "audio/aiff",
  ape: "audio/x-ape",
  dsf: "audio/x-dsf",
  flac: "audio/flac",
  m4a: 'audio/mp4; codecs="mp4a.40.2"',
  m4b: 'audio/mp4; codecs="mp4a.40.2"',
  mp3: "audio/mpeg",
  mp4: 'audio/mp4; codecs="mp4a.40.2"',
  mpc: "audio/x-musepack",
  oga: 'audio/ogg; codecs="vorbis"',
  ogg: 'audio/ogg; codecs="vorbis"',
  opus: 'audio/ogg; codecs="opus"',
  wav: "audio/wav",
  wma: "audio/x-ms-wma",
  wv: "audio/x-wavpack",
};

const OPUS = 'audio/ogg; codecs="opus"';

export interface Abilities {
  canPlay: (mediaType: string) => boolean;
  /** Whether the server gives songs in other formats. */
  transcoding: boolean;
}

export type Format = "as_it_is" | "opus" | "mp3";

/** `failed`: the browser has tried it as it is, in vain. */
export function formatFor(type: string | undefined, can: Abilities, failed = false): Format {
  const mediaType = MEDIA_TYPES[type?.toLowerCase() ?? ""];
  const decodes = !failed && (mediaType === undefined || can.canPlay(mediaType));
  if (decodes || !can.transcoding) return "as_it_is";
  return can.canPlay(OPUS) ? "opus" : "mp3";
}

const PLAYED_AFTER = 240; // seconds of a long song

/** Whether a song counts as played, when so many seconds of it were heard. */
export function isHeard(heard: number, duration: number | undefined) {
  return heard >= Math.min(PLAYED_AFTER, (duration ?? Number.POSITIVE_INFINITY) / 2);
}
