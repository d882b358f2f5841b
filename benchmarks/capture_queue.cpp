// capture_queue ROUNDS PLAYER: captures the queue of a player, and fetches as many pages as that
// takes without doing anything with them, in turn, so many times. Prints the median seconds of
// each, a line each, and the number of entries.

#include "model/song_json.h"
#include "player/info.h"
#include "player/queue.h"
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kPageSize = 5;

template <typename Work> double SecondsOf(Work work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

[[noreturn]] void Fail(const char *what) {
  fprintf(stderr, "%s\n", what);
  std::exit(2);
}

int Capture(const char *player) {
  VEXOPlaylistRec *head = nullptr;
  WebMan request;
  const int total = LoadPlayerQueue(request, player, &head);
  const SongList songs(head);
  if (total < 0) {
    Fail("the queue was not captured");
  }
  return total;
}

void FetchPages(int total) {
  static char reply[40960];
  for (int offset = 0; offset < total; offset += kPageSize) {
    if (PlayerQueueGet(offset, std::min(kPageSize, total - offset), reply, sizeof reply) != 0) {
      Fail("a page was not fetched");
    }
  }
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 3) {
    Fail("usage: capture_queue ROUNDS PLAYER");
  }
  const int total = Capture(argv[2]);
  std::vector<double> captures;
  std::vector<double> fetches;
  for (int round = std::atoi(argv[1]); round > 0; --round) {
    captures.push_back(SecondsOf([&] { Capture(argv[2]); }));
    fetches.push_back(SecondsOf([&] { FetchPages(total); }));
  }
  printf("%.9f\n%.9f\n%d\n", Median(captures), Median(fetches), total);
}
