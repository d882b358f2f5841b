#include "vexo/media_info.h"

#include <cstdlib>
#include <utility>

void VEXOPlaylistRecFree(VEXOPlaylistRec *head) {
  while (head != nullptr) {
    std::free(std::exchange(head, head->next));
  }
}

VEXOPlaylistRec *PlaylistRecReverse(VEXOPlaylistRec *head) {
  VEXOPlaylistRec *reversed = nullptr;
  while (head != nullptr) {
    VEXOPlaylistRec *const node = head;
    head = node->next;
    node->next = reversed;
    reversed = node;
  }
  return reversed;
}
