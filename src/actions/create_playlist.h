#pragma once

/// The code of the field that a search looks in, by its exact name; 0: none.
[[nodiscard]] int SearchFieldFromName(const char *category);
