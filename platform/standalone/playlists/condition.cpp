#include "playlists/condition.h"

#include "playlists/version.h"
#include <algorithm>
#include <utility>

namespace vexo::playlists {
namespace {

/// Of this process's request.
struct RequestState {
  std::optional<Condition> condition;
  std::optional<std::string> noted;
  bool has_failed = false;
  bool is_met = false;
};

/// Never destroyed: lists that are held back are written as the process ends.
RequestState &Here() {
  static auto *const state = new RequestState;
  return *state;
}

bool Allows(const Condition &condition, const std::string &version) {
  return condition.any_version || version == Here().noted ||
         std::find(condition.versions.begin(), condition.versions.end(), version) !=
             condition.versions.end();
}

/// Of a content this large the version is told only to who demanded one: everybody else's edit
/// would take some percent longer for it.
constexpr std::size_t kLargeBytes = std::size_t{1} << 20U;

std::size_t SizeOf(const files::Pieces &pieces) {
  std::size_t size = 0;
  for (const std::string_view piece : pieces) {
    size += piece.size();
  }
  return size;
}

/// Notes the version of what an edit has made.
void NoteVersionOf(const files::Pieces &content) {
  if (HasCondition() || SizeOf(content) < kLargeBytes) {
    NoteVersion(ContentVersion(content));
  } else {
    Here().noted.reset();
  }
}

} // namespace

void SetCondition(Condition condition) { Here().condition = std::move(condition); }

bool HasCondition() noexcept { return Here().condition.has_value(); }

void RequireVersion(std::optional<std::string_view> content) {
  RequestState &here = Here();
  if (!here.condition) {
    return;
  }
  if (!content || !Allows(*here.condition, ContentVersion(*content))) {
    here.has_failed = true;
    throw VersionError(content ? "the playlist has another version" : "the playlist is not there");
  }
  here.is_met = true;
}

bool HasConditionFailed() noexcept { return Here().has_failed; }

bool IsConditionMet() noexcept { return Here().is_met; }

files::Edit Versioned(files::Edit edit) {
  return [edit = std::move(edit)](std::string_view content, const std::string &path) mutable {
    RequireVersion(content);
    std::optional<files::Pieces> changed = edit(content, path);
    NoteVersionOf(changed ? *changed : files::Pieces{content});
    return changed;
  };
}

void NoteVersion(std::string version) { Here().noted = std::move(version); }

std::optional<std::string> NotedVersion() { return Here().noted; }

void ForgetCondition() noexcept { Here() = {}; }

} // namespace vexo::playlists
