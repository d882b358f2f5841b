#pragma once
// Songs as the client and the player daemon name them in JSON, and lists of them for the host.

#include "model/song_list.h"
#include <json/json.h>

/// Fills `record` from a JSON song object: strings for texts, `item_id` and `size`, numbers for the
/// rest. What is missing or null is empty or 0, but 1 for bit rate, sample rate, channels and size;
/// the same goes for a number of another type or one that does not fit. Returns `record`; null when
/// `record` is null, `song` is no object, or a field that must be a string is not one.
[[nodiscard]] __tag_VEXO_MEDIA_INFO *SongFromJson(__tag_VEXO_MEDIA_INFO *record,
                                                  const Json::Value &song);

/// Walks from `list` on to the record with `id` and copies it into `destination`, which stays as it
/// is when there is none. False, with a log line, when an argument is null or `id` is 0.
bool FindRecordById(const VEXOPlaylistRec *list, __tag_VEXO_MEDIA_INFO *destination, long id);

/// Builds the song list of a JSON array of decimal song ids (strings) and song objects, a node an
/// element, in order. Ids are looked up in the shared library with one query; one that is not known
/// leaves its node all zero. `*head` must be null; the list is the caller's, also the part that was
/// built before a failure. False: failed and logged.
[[nodiscard]] bool GetSongsByIdList(const Json::Value &id_info_list, VEXOPlaylistRec **head);

/// The same from the text of such an array; `*count` becomes the number of its elements.
[[nodiscard]] bool GetSongsByText(const char *text, SongList &songs, int *count);
