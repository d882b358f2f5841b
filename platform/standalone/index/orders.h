#pragma once
// The orders that the index keeps, so that a page of them costs what the page costs.

#include "index/catalog.h"
#include <array>
#include <optional>
#include <span>

namespace vexo::index {

/// A list that is kept: the songs of an owner in one order, or its groups of a kind in one.
template <typename FieldType> struct KeptOrder {
  int number; ///< among the lists of an owner; what has been released is never changed
  std::array<FieldType, 4> all_fields;
  std::size_t count;

  [[nodiscard]] std::span<const FieldType> fields() const {
    return std::span(all_fields).first(count);
  }
  /// Whether the list is in the order of these too: what it sorts by beyond them only tells apart
  /// what they do not.
  [[nodiscard]] bool Serves(std::span<const FieldType> sort) const {
    return sort.size() <= count && std::equal(sort.begin(), sort.end(), all_fields.begin());
  }
};

using SongOrder = KeptOrder<Field>;
using GroupOrder = KeptOrder<GroupField>;

inline constexpr std::array kSongOrders = {
    SongOrder{1, {Field::kArtist, Field::kAlbum, Field::kDisc, Field::kTrack}, 4},
    SongOrder{2, {Field::kTitle}, 1},
    SongOrder{3, {Field::kAlbum, Field::kDisc, Field::kTrack}, 3},
    SongOrder{4, {Field::kYear}, 1},
    SongOrder{5, {Field::kTimeAdded}, 1},
    SongOrder{6, {Field::kSongLength}, 1},
    SongOrder{7, {Field::kGenre}, 1},
};
inline constexpr const SongOrder &kSongsByTitle = kSongOrders[1];
inline constexpr const SongOrder &kSongsByYear = kSongOrders[3];
/// The number of the list of songs by the names of their files, which serves no order.
inline constexpr int kSongsByFileName = 8;

inline constexpr std::array kAlbumOrders = {
    GroupOrder{16, {GroupField::kArtist, GroupField::kYear, GroupField::kName}, 3},
    GroupOrder{17, {GroupField::kName, GroupField::kArtist}, 2},
    GroupOrder{18, {GroupField::kYear, GroupField::kArtist, GroupField::kName}, 3},
    GroupOrder{19, {GroupField::kTimeAdded}, 1},
};
inline constexpr std::array kArtistOrders = {GroupOrder{24, {GroupField::kName}, 1}};
inline constexpr std::array kGenreOrders = {GroupOrder{25, {GroupField::kName}, 1}};
inline constexpr std::array kComposerOrders = {GroupOrder{26, {GroupField::kName}, 1}};
inline constexpr std::array kYearOrders = {GroupOrder{27, {GroupField::kName}, 1}};

/// The orders that are kept of a kind. Of folders, none is: nobody wants all of them in a row.
constexpr std::span<const GroupOrder> OrdersOf(GroupKind kind) {
  switch (kind) {
  case GroupKind::kAlbum:
    return kAlbumOrders;
  case GroupKind::kArtist:
    return kArtistOrders;
  case GroupKind::kGenre:
    return kGenreOrders;
  case GroupKind::kComposer:
    return kComposerOrders;
  case GroupKind::kYear:
    return kYearOrders;
  case GroupKind::kFolder:
    break;
  }
  return {};
}

/// The number of a list among those of all owners.
constexpr int64_t ListNumber(int owner, int order) { return int64_t{owner} * 64 + order; }

/// What a group is to the members that are listed.
enum class Membership {
  kSongs = 1,        ///< their album, artist, genre, composer or folder
  kAlbumArtistSongs, ///< their album artist
  kAlbums,           ///< their artist
  kChildren,         ///< the folder that these folders and albums lie in
  kTitles,           ///< no group: the word that the titles of these songs have
};

/// The number of the list of a group's members. These have no sort keys, and no marks: they are
/// sets.
constexpr int64_t MemberList(int32_t group, Membership membership) {
  return -(int64_t{group} * 8 + static_cast<int64_t>(membership));
}

/// The number of the list of all words of titles, by themselves; a set too.
inline constexpr int64_t kTitleWords = MemberList(0, Membership::kTitles);

} // namespace vexo::index
