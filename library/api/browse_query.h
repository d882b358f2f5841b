#pragma once
// The parameters of lists that the index answers.

#include "api/answer.h"
#include "api/request.h"
#include "index/media_index.h"
#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::api {

/// What `sort` may name.
template <typename FieldType> struct SortName {
  std::string_view name;
  FieldType field;
};

/// The names in the parameter `sort`, which has commas between them. A problem when there are too
/// many.
std::vector<std::string> ReadSortNames(Query &query);
void RefuseSort(Query &query, std::string known);

/// The parameter `sort`; `usual` when it is not there or wrong.
template <typename FieldType>
std::vector<FieldType> ReadSort(Query &query, std::span<const SortName<FieldType>> known,
                                std::vector<FieldType> usual) {
  std::vector<FieldType> fields;
  for (const std::string &name : ReadSortNames(query)) {
    const auto found = std::find_if(known.begin(), known.end(),
                                    [&](const auto &field) { return field.name == name; });
    if (found != known.end()) {
      fields.push_back(found->field);
      continue;
    }
    std::string names;
    for (const auto &field : known) {
      names.append(names.empty() ? "" : ", ").append(field.name);
    }
    RefuseSort(query, std::move(names));
  }
  return fields.empty() ? std::move(usual) : fields;
}

/// The parameter `dir`: whether it is upwards.
bool ReadAscending(Query &query);

/// The parameter `q`.
std::string ReadWords(Query &query);

/// The parameters `year_from` and `year_to`.
struct Years {
  std::optional<int32_t> from, to;
};
Years ReadYears(Query &query);

/// The library that is asked for; nothing: any that the user sees.
std::optional<int> ReadOwner(Request &request);

/// The ETag of what the index answers this user now.
std::string IndexETag(const Request &request);

/// The groups that parameters of a list mean. The list is of the library that the first one lies
/// in, or that is asked for.
class GroupParameters {
public:
  explicit GroupParameters(Request &request);
  /// The id of the group that the parameter `name` means: 0 when it is not there, and a problem for
  /// one that is none.
  int32_t Read(std::string_view name, index::GroupKind kind);
  [[nodiscard]] int owner() const { return owner_.value_or(0); }
  [[nodiscard]] const std::optional<Problem> &problem() const { return problem_; }

private:
  Request &request_;
  std::optional<int> owner_;
  std::optional<Problem> problem_;
};

} // namespace vexo::api
