#pragma once
#include <random>

namespace vexo::index {

/// A generator that starts somewhere else at each call.
inline std::mt19937_64 RandomGenerator() {
  std::random_device seed;
  std::seed_seq seeds{seed(), seed(), seed(), seed()};
  return std::mt19937_64(seeds);
}

} // namespace vexo::index
