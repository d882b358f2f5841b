#include "handler/audio_playlist.h"

int main() { return PlaylistHandler().Process(); }
