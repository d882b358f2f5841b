#pragma once
// A song's name in an archive: the base name of its file, made unique by a number before it.

#include <string>
#include <unordered_map>

/// The next number to try for each base name. Links are never removed, so lower numbers stay taken.
using TakenNumbers = std::unordered_map<std::string, int>;

/// Makes the song reachable in the current directory, by a symbolic link, and gives its name there;
/// empty for a path without '/'. The address of a stream is its own name and is not linked. A link
/// that cannot be made is logged, and the name is given all the same.
std::string LinkSongIntoDir(TakenNumbers &taken, const char *path);
