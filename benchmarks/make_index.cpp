// make_index FILE SONGS FOLDER: a new index with so many songs of the shared library in FOLDER, the
// same ones each time. Exactly 100 of them (all, when there are fewer), spread evenly, hold the
// text "zyx rare" in one of their texts. No file is made.

#include "index/media_index.h"
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace {

using vexo::index::Song;

constexpr int64_t kRareSongs = 100;
constexpr const char *kRareText = "Zyx Rare";

/// Words of two to four syllables, the early ones by far the most frequent, as in any language.
class Words {
public:
  Words() {
    constexpr std::array kSyllables = {"ba", "cor", "del", "en",  "fi",  "gra", "hol",     "in",
                                       "ju", "kel", "lo",  "mar", "nes", "or",  "pi",      "qua",
                                       "ri", "san", "tel", "un",  "ve",  "wil", "\u00f6l", "ter"};
    for (int i = 0; i < 20'000; ++i) {
      std::string word;
      for (auto syllables = 2 + generator_() % 3; syllables > 0; --syllables) {
        word += kSyllables.at(generator_() % kSyllables.size());
      }
      words_.push_back(word);
    }
  }

  std::string Some(std::size_t count) {
    std::string text;
    for (; count > 0; --count) {
      const double chance = std::uniform_real_distribution<>(0, 1)(generator_);
      const auto rank =
          static_cast<std::size_t>(chance * chance * chance * static_cast<double>(words_.size()));
      text += (text.empty() ? "" : " ") + words_[std::min(rank, words_.size() - 1)];
    }
    return text;
  }

private:
  std::mt19937_64 generator_{20261121};
  std::vector<std::string> words_;
};

/// Albums of twelve songs, artists of ten albums.
class Collection {
public:
  Collection(std::string folder, int64_t songs)
      : folder_(std::move(folder)), rare_step_(std::max<int64_t>(1, songs / kRareSongs)) {}

  Song Make(int64_t number) {
    if (number % 120 == 0) {
      artist_ = words_.Some(2);
      genre_ = words_.Some(1);
    }
    if (number % 12 == 0) {
      album_ = words_.Some(3);
    }
    Song song;
    song.title = words_.Some(3);
    song.artist = artist_;
    song.album = album_;
    song.genre = genre_;
    song.track = static_cast<int32_t>(number % 12 + 1);
    song.year = static_cast<int32_t>(1960 + number / 120 % 65);
    song.duration_seconds = static_cast<double>(120 + number % 240);
    song.bitrate = 320'000;
    song.sample_rate = 44'100;
    song.channels = 2;
    song.size_bytes = 4'000'000 + static_cast<uint64_t>(number);
    song.type = "mp3";
    song.time_added = song.time_modified = song.time_changed = 1'700'000'000 + number;
    song.path = folder_ + "/" + artist_ + " " + std::to_string(number / 120) + "/" + album_ + "/" +
                std::to_string(number) + " " + song.title + ".mp3";
    MakeRare(number, song);
    return song;
  }

private:
  void MakeRare(int64_t number, Song &song) {
    if (number % rare_step_ == 0 && number / rare_step_ < kRareSongs) {
      (number / rare_step_ % 2 == 0 ? song.title : song.artist) += " " + std::string(kRareText);
    }
  }

  std::string folder_;
  int64_t rare_step_;
  Words words_;
  std::string artist_, album_, genre_;
};

void MakeIndex(const std::string &file, int64_t songs, const std::string &folder) {
  constexpr std::size_t kBatch = 20'000;
  const auto index = vexo::index::OpenSqliteIndex(file);
  Collection collection(folder, songs);
  std::vector<Song> batch;
  for (int64_t number = 0; number < songs; ++number) {
    batch.push_back(collection.Make(number));
    if (batch.size() == kBatch || number + 1 == songs) {
      index->WriteSongs(batch, {});
      batch.clear();
    }
  }
  index->Optimize();
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 4) {
    std::cerr << "usage: make_index FILE SONGS FOLDER\n";
    return 2;
  }
  try {
    MakeIndex(argv[1], std::strtoll(argv[2], nullptr, 10), argv[3]);
  } catch (const std::exception &error) {
    std::cerr << "make_index: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
