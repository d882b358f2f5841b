#include "api/request.h"
#include "catalog/libraries.h"
#include "text/numbers.h"
#include "web/request.h"
#include <algorithm>
#include <limits>
#include <memory>

namespace vexo::api {
namespace {

Problem Bad(std::string detail) { return {400, std::move(detail), {}}; }

std::optional<Problem> UnknownMember(const Json::Value &object,
                                     std::span<const std::string_view> known) {
  for (const std::string &name : object.getMemberNames()) {
    if (std::find(known.begin(), known.end(), name) == known.end()) {
      return Problem{400, "The body has a member that this resource does not know.", name};
    }
  }
  return std::nullopt;
}

} // namespace

std::optional<int32_t> Request::Id(std::size_t variable) const {
  const std::optional<int64_t> id = text::ParseInteger(variables[variable]);
  if (!id || *id <= 0 || *id > std::numeric_limits<int32_t>::max()) {
    return std::nullopt;
  }
  return static_cast<int32_t>(*id);
}

std::variant<std::string, Problem> ReadBody(std::size_t most_bytes) {
  const std::optional<std::size_t> length = web::BodyLength();
  if (!length || *length > most_bytes) {
    return Problem{413,
                   "The body is larger than " + std::to_string(most_bytes) +
                       " bytes, or its length is not told.",
                   {}};
  }
  const web::Buffer body(*length);
  if (!web::ReadInput(body)) {
    return Bad("The body is cut short.");
  }
  return std::string(body.begin(), body.size());
}

std::variant<Json::Value, Problem> ReadJsonBody(std::span<const std::string_view> known,
                                                std::size_t most_bytes) {
  std::variant<std::string, Problem> body = ReadBody(most_bytes);
  if (Problem *problem = std::get_if<Problem>(&body)) {
    return std::move(*problem);
  }
  std::optional<Json::Value> document = ParseJson(std::get<std::string>(body));
  if (!document || !document->isObject()) {
    return Bad("The body is no JSON object.");
  }
  if (std::optional<Problem> problem = UnknownMember(*document, known)) {
    return *std::move(problem);
  }
  return *std::move(document);
}

std::optional<Json::Value> ParseJson(const std::string &text) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["stackLimit"] = 100;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  try {
    Json::Value document;
    const bool is_json = reader->parse(text.data(), text.data() + text.size(), &document, nullptr);
    return is_json ? std::optional(std::move(document)) : std::nullopt;
  } catch (const Json::Exception &) { // what is nested too deeply
    return std::nullopt;
  }
}

int OwnerOf(const accounts::Account &user, Query &query) {
  const std::string_view library = query.Choice("library", {"shared", "personal"});
  const std::optional<int> owner = catalog::OwnerOf(user, library);
  if (!owner) {
    query.Refuse("library", "This user has no personal library.");
  }
  return owner.value_or(0);
}

} // namespace vexo::api
