#include "playlists/entry_paths.h"
#include "accounts/accounts.h"
#include "accounts/libraries.h"
#include "playlists/m3u.h"
#include "playlists/readable_text.h"
#include "text/text.h"
#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace vexo::playlists {

namespace {

bool IsThere(const std::string &path) { return access(path.c_str(), F_OK) == 0; }

bool IsSchemeCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' ||
         c == '-' || c == '.';
}

std::string FolderOf(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

/// A library's folder, as it is named and as it is.
struct Library {
  std::string named, real;
};

std::vector<Library> Libraries() {
  std::vector<Library> libraries;
  const auto add = [&](const std::string &named) {
    if (auto real = accounts::RealPath(named)) {
      libraries.push_back({named, *std::move(real)});
    }
  };
  if (const auto shared = accounts::SharedLibraryFolder()) {
    add(*shared);
  }
  for (const accounts::Account &account : accounts::ListAccounts()) {
    if (account.personal_library) {
      add(account.personal_folder);
    }
  }
  return libraries;
}

std::string Joined(const std::string &folder, std::string_view relative) {
  return (std::filesystem::path(folder) / relative).lexically_normal().string();
}

} // namespace

bool IsStreamAddress(std::string_view entry) {
  const std::size_t colon = entry.find("://");
  return colon != std::string_view::npos && colon > 0 &&
         std::all_of(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(colon),
                     IsSchemeCharacter);
}

const EntryPaths::Bases &EntryPaths::KnownBases() {
  if (bases_) {
    return *bases_;
  }
  bases_ = Bases{FolderOf(playlist_path_), accounts::SharedLibraryFolder().value_or("")};
  const auto real_folder = accounts::RealPath(bases_->folder + "/");
  for (const Library &library : Libraries()) {
    if (real_folder && accounts::IsWithin(*real_folder, library.real)) {
      bases_->folder = library.named + real_folder->substr(library.real.size());
      bases_->root = library.named;
      break;
    }
  }
  return *bases_;
}

std::vector<std::string> EntryPaths::Candidates(std::string_view entry) {
  const std::string_view path = UnprotectPath(entry);
  std::vector<std::string> texts{std::string(path)};
  if (!text::IsUtf8(path)) {
    if (auto decoded = FromHostCodePage(path)) {
      texts.push_back(*std::move(decoded));
    }
  }
  if (path.starts_with('/')) {
    return texts;
  }
  std::vector<std::string> candidates;
  for (const std::string &base : {KnownBases().folder, KnownBases().root}) {
    for (const std::string &text : texts) {
      if (!base.empty()) {
        candidates.push_back(Joined(base, text));
      }
    }
  }
  return candidates;
}

std::string EntryPaths::Resolve(std::string_view entry) {
  const std::string_view path = UnprotectPath(entry);
  const bool is_utf8 = text::IsUtf8(path);
  if (is_utf8 && (path.starts_with('/') || IsStreamAddress(path))) {
    return std::string(path);
  }
  if (!IsStreamAddress(path)) {
    for (std::string &candidate : Candidates(entry)) {
      if (IsThere(candidate)) {
        return std::move(candidate);
      }
    }
  }
  return is_utf8 ? std::string(path) : FromHostCodePage(path).value_or(std::string(path));
}

} // namespace vexo::playlists
