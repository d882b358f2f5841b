#include "api/browse_query.h"
#include "catalog/browse.h"
#include "text/text.h"

namespace vexo::api {

std::vector<std::string> ReadSortNames(Query &query) {
  constexpr std::size_t kMostNames = 8;
  std::vector<std::string> names = text::Split(query.Text("sort").value_or(""), ",");
  if (names.size() > kMostNames) {
    query.Refuse("sort", "The value has more than " + std::to_string(kMostNames) + " names.");
    names.clear();
  }
  return names;
}

void RefuseSort(Query &query, std::string known) {
  query.Refuse("sort", "The value has other names than these: " + std::move(known) + ".");
}

bool ReadAscending(Query &query) { return query.Choice("dir", {"asc", "desc"}) == "asc"; }

std::string ReadWords(Query &query) {
  // Each word is a search of its own.
  constexpr std::size_t kMostBytes = 1000, kMostWords = 20;
  const std::string_view words = query.Text("q").value_or("");
  if (words.size() > kMostBytes || text::Split(words, " ").size() > kMostWords) {
    query.Refuse("q", "The value has more than " + std::to_string(kMostWords) + " words or " +
                          std::to_string(kMostBytes) + " bytes.");
    return {};
  }
  return std::string(words);
}

Years ReadYears(Query &query) {
  constexpr int64_t kLast = 65'534;
  const auto read = [&](std::string_view name) -> std::optional<int32_t> {
    const int64_t year = query.Number(name, 0, 1, kLast);
    return year == 0 ? std::nullopt : std::optional(static_cast<int32_t>(year));
  };
  return {read("year_from"), read("year_to")};
}

std::optional<int> ReadOwner(Request &request) {
  if (!request.query.Text("library")) {
    return std::nullopt;
  }
  return OwnerOf(request.User(), request.query);
}

std::string IndexETag(const Request &request) {
  // Of how answers look; to be counted up when that changes.
  constexpr const char *kForm = "2-";
  return MakeETag(kForm + std::to_string(index::ProcessIndex().Revision()) + "-" +
                  std::to_string(request.User().id));
}

GroupParameters::GroupParameters(Request &request)
    : request_(request), owner_(ReadOwner(request)) {}

int32_t GroupParameters::Read(std::string_view name, index::GroupKind kind) {
  const std::optional<std::string_view> text = request_.query.Text(name);
  if (!text || problem_) {
    return 0;
  }
  const std::optional<index::Group> group =
      catalog::GroupMeant(request_.User(), kind, *text, owner_);
  if (!group) {
    problem_ = Problem{404, "There is nothing with this id or name.", std::string(name)};
    return 0;
  }
  owner_ = group->owner;
  return group->id;
}

} // namespace vexo::api
