#include "model/field_text.h"

#include <cstdarg>
#include <cstdio>

std::string CutToField(std::string text, std::size_t size) {
  if (text.size() >= size) {
    text.resize(size - 1);
  }
  return text;
}

void PrintToField(char *field, std::size_t size, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(field, size, format, arguments);
  va_end(arguments);
}
