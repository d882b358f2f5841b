#include "playlistctl/scan/song_packet.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <type_traits>

namespace vexo::tools {
namespace {

/// Calls `visit` with every field that travels, always in this order.
template <typename AnySong, typename Visitor> void VisitFields(AnySong &song, Visitor &&visit) {
  visit(song.path), visit(song.title), visit(song.artist), visit(song.album);
  visit(song.album_artist), visit(song.genre), visit(song.composer), visit(song.comment);
  visit(song.type), visit(song.track), visit(song.disc), visit(song.year);
  visit(song.duration_seconds), visit(song.bitrate), visit(song.sample_rate);
  visit(song.channels), visit(song.compilation);
}

template <typename Value> void Append(std::string &bytes, const Value &value) {
  if constexpr (std::is_same_v<Value, std::string>) {
    Append(bytes, static_cast<uint32_t>(value.size()));
    bytes += value;
  } else {
    bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
  }
}

std::string_view Take(std::string_view &bytes, std::size_t size) {
  if (bytes.size() < size) {
    throw std::runtime_error("a song's packet was cut short");
  }
  const std::string_view taken = bytes.substr(0, size);
  bytes.remove_prefix(size);
  return taken;
}

template <typename Value> void Extract(std::string_view &bytes, Value &value) {
  if constexpr (std::is_same_v<Value, std::string>) {
    uint32_t size = 0;
    Extract(bytes, size);
    value = Take(bytes, size);
  } else {
    std::memcpy(&value, Take(bytes, sizeof value).data(), sizeof value);
  }
}

} // namespace

std::string EncodeSong(const std::optional<index::Song> &song) {
  std::string bytes;
  if (song) {
    VisitFields(*song, [&](const auto &field) { Append(bytes, field); });
  }
  return bytes;
}

std::optional<index::Song> DecodeSong(std::string_view bytes) {
  if (bytes.empty()) {
    return std::nullopt;
  }
  index::Song song;
  VisitFields(song, [&](auto &field) { Extract(bytes, field); });
  if (!bytes.empty()) {
    throw std::runtime_error("a song's packet is too long");
  }
  return song;
}

} // namespace vexo::tools
