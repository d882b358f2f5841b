#include "index/postgres_cursor.h"

#include <algorithm>
#include <bit>
#include <charconv>

namespace vexo::index {

std::string ToPostgres(std::string_view sql) {
  std::string translated(sql);
  std::replace(translated.begin(), translated.end(), '?', '$');
  return translated;
}

PostgresValue &PostgresCursor::At(int parameter) {
  const auto position = static_cast<std::size_t>(parameter);
  if (query_.parameters.size() < position) {
    query_.parameters.resize(position, ToValue(int64_t{0}));
  }
  return query_.parameters[position - 1];
}

bool PostgresCursor::Step() {
  if (!result_) {
    result_ = session_.Read(query_);
  }
  return ++row_ < PQntuples(result_.get());
}

int64_t PostgresCursor::Change() {
  const PostgresResult result = session_.Write(query_);
  const std::string_view count = PQcmdTuples(result.get());
  int64_t rows = 0;
  std::from_chars(count.data(), count.data() + count.size(), rows);
  return rows;
}

namespace {

std::string_view BytesOf(const PostgresResult &result, int row, int column) {
  return {PQgetvalue(result.get(), row, column),
          static_cast<std::size_t>(PQgetlength(result.get(), row, column))};
}

uint64_t BigEndian(std::string_view bytes) {
  uint64_t number = 0;
  for (const char c : bytes) {
    number = number << 8 | static_cast<unsigned char>(c);
  }
  return number;
}

} // namespace

int64_t NumberIn(const PostgresResult &result, int row, int column) {
  const std::string_view bytes = BytesOf(result, row, column);
  const uint64_t number = BigEndian(bytes);
  return bytes.size() == sizeof(int32_t) ? static_cast<int32_t>(static_cast<uint32_t>(number))
                                         : static_cast<int64_t>(number);
}

int64_t PostgresCursor::Int64(int column) const { return NumberIn(result_, row_, column); }

double PostgresCursor::Double(int column) const {
  return std::bit_cast<double>(BigEndian(View(column)));
}

std::string_view PostgresCursor::View(int column) const { return BytesOf(result_, row_, column); }

} // namespace vexo::index
