// What words find, beside a search that looks at every text.

#include "contract/index/catalog_index.h"
#include "text/search_folding.h"
#include "text/text.h"

#include <algorithm>
#include <array>
#include <gmock/gmock.h>
#include <map>
#include <random>
#include <span>
#include <string_view>

namespace vexo::index {
namespace {

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAreArray;

using Texts = std::vector<std::string>;

constexpr std::array kSyllables = {"ba", "rar", "zyx", "en", "ö", "Ma", "É", "ra", "e", "are"};
/// Words begin behind some of these, and lead across others.
constexpr std::array kBetween = {" ", " ", " ", "  ", "-", " (", ") ", "'", " 日", "本", "の ", ""};

class NameMaker {
public:
  std::string Some() {
    std::string name;
    for (auto parts = 1 + random_() % 3; parts > 0; --parts) {
      name += Syllables(3);
      name += Of(kBetween);
    }
    return name;
  }

  /// A part of one of the texts, as people write them.
  std::string PartOf(const Texts &texts) {
    std::string folded = text::FoldForSearch(texts[random_() % texts.size()]);
    std::erase_if(folded, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    const std::size_t begin = random_() % (folded.size() + 1);
    return folded.substr(begin, 1 + random_() % 6);
  }

  std::size_t Below(std::size_t end) { return random_() % end; }

private:
  std::string Syllables(std::size_t most) {
    std::string word;
    for (auto count = 1 + random_() % most; count > 0; --count) {
      word += Of(kSyllables);
    }
    return word;
  }

  const char *Of(std::span<const char *const> some) { return some[random_() % some.size()]; }

  std::mt19937 random_{20261122};
};

/// A word of three characters or more that has only ASCII letters is found anywhere in a text.
bool IsFoundAnywhere(const std::string &word) {
  return word.size() >= 3 &&
         std::all_of(word.begin(), word.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

bool Holds(const Song &song, const std::string &word) {
  const auto &artist = song.album_artist.empty() ? song.artist : song.album_artist;
  const std::array<std::string_view, 4> texts = {song.title, song.artist, song.album, artist};
  return std::any_of(texts.begin(), texts.end(), [&](std::string_view text) {
    return text::FoldForSearch(text).find(word) != std::string::npos;
  });
}

class NaiveSearch {
public:
  void Put(const Song &song) { songs_[song.path] = song; }
  void Remove(const std::string &path) { songs_.erase(path); }
  [[nodiscard]] const std::map<std::string, Song> &songs() const { return songs_; }

  [[nodiscard]] Texts Find(int owner, const Texts &words) const {
    Texts paths;
    for (const auto &[path, song] : songs_) {
      const auto holds = [&, &song = song](const std::string &word) { return Holds(song, word); };
      if (song.owner == owner && std::all_of(words.begin(), words.end(), holds)) {
        paths.push_back(path);
      }
    }
    return paths;
  }

private:
  std::map<std::string, Song> songs_;
};

Song RandomSong(NameMaker &names, const std::string &path) {
  Song song = Track(path, names.Some(), names.Some(), names.Some(), names.Below(8) == 0 ? 1 : 0);
  song.album_artist = names.Below(2) == 0 ? names.Some() : "";
  return song;
}

/// Words that are found anywhere, of one of the songs.
Texts Ask(NameMaker &names, const Song &song) {
  Texts words;
  for (auto count = 1 + names.Below(2); count > 0; --count) {
    for (const auto &word :
         text::Split(names.PartOf({song.title, song.artist, song.album, song.album_artist}), " ")) {
      if (IsFoundAnywhere(word)) {
        words.push_back(word);
      }
    }
  }
  return words;
}

std::string Join(const Texts &words) {
  std::string all;
  for (const std::string &word : words) {
    all += word + " ";
  }
  return all;
}

class RandomCollection : public CatalogTest {
protected:
  void WriteSome(int songs) {
    std::vector<Song> batch;
    for (int i = 0; i < songs; ++i) {
      batch.push_back(RandomSong(names_, "/" + std::to_string(naive_.songs().size())));
      naive_.Put(batch.back());
    }
    Write(batch);
  }

  /// Changes a third of them and removes another.
  void ChangeSome() {
    Texts removed;
    const std::map<std::string, Song> before = naive_.songs();
    for (const auto &[path, song] : before) {
      const std::size_t what = names_.Below(3);
      if (what == 0) {
        naive_.Remove(path);
        removed.push_back(path);
      } else if (what == 1) {
        Rewrite(path, [&](Song &row) {
          row.title = names_.Some();
          row.album = names_.Some();
          naive_.Put(row);
        });
      }
    }
    Remove(removed);
  }

  void Compare(int questions) {
    const std::map<std::string, Song> &songs = naive_.songs();
    for (int i = 0; i < questions; ++i) {
      const auto nth = static_cast<std::ptrdiff_t>(names_.Below(songs.size()));
      const Texts words = Ask(names_, std::next(songs.begin(), nth)->second);
      SongList list;
      list.owner = static_cast<int>(names_.Below(2));
      list.words = Join(words);
      EXPECT_THAT(Paths(list), UnorderedElementsAreArray(naive_.Find(list.owner, words)))
          << list.words;
    }
  }

  NameMaker names_;
  NaiveSearch naive_;
};

VEXO_FOR_EACH_ENGINE(RandomCollection);

TEST_P(RandomCollection, IsFoundAsByLookingAtEachText) {
  WriteSome(150);
  Compare(100);
  ChangeSome();
  Compare(100);
  EXPECT_THAT(index().FindDamage(), IsEmpty());
}

} // namespace
} // namespace vexo::index
