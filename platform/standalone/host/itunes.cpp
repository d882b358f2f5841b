// The DAAP service: whole blocks of its smart-playlist files are read and written, so that a copy
// keeps what its author wrote; and its restart, the command of `[daap] restart=`.
#include "vexo/itunes.h"

#include "files/edit_file.h"
#include "host/arguments.h"
#include "host/core.h"
#include "host/guard.h"
#include "host/records.h"
#include "playlists/condition.h"
#include "playlists/version.h"
#include "smart/block_scanner.h"
#include "smart/rule_edits.h"
#include "smart/rule_file.h"
#include "smart/smart_playlist.h"
#include "system/daap_service.h"
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

using namespace vexo;
using namespace vexo::host;

/// The rules of one playlist as they are written.
struct iTunesPLNode {
  std::string name;  ///< whole, where the record's may be cut
  std::string block; ///< from the name to the closing brace
  iTunesPLNode *next = nullptr;
};

namespace {

void FillPlaylist(iTunesPlaylist &playlist, std::unique_ptr<iTunesPLNode> node) {
  playlist = {};
  CopyText(playlist.name, node->name);
  playlist.nodes = node.release();
}

std::string RecordName(const iTunesPlaylist &playlist) {
  return {playlist.name, strnlen(playlist.name, sizeof playlist.name)};
}

/// Whether a record still has the name that it was read with.
bool KeepsName(const iTunesPlaylist &playlist, const iTunesPLNode &node) {
  iTunesPlaylist as_read{};
  CopyText(as_read.name, node.name);
  return RecordName(playlist) == RecordName(as_read);
}

/// What a record is to be written as.
struct NewBlock {
  std::string name;
  std::string text;
};

NewBlock MakeNewBlock(const iTunesPlaylist &playlist) {
  if (playlist.nodes == nullptr) {
    throw std::invalid_argument("a smart playlist without rules");
  }
  const iTunesPLNode &node = *playlist.nodes;
  if (KeepsName(playlist, node)) {
    return {node.name, node.block};
  }
  return {RecordName(playlist), smart::RenameBlock(node.block, RecordName(playlist))};
}

void RequireFree(std::string_view rules, const std::string &name) {
  if (smart::FindBlock(rules, name)) {
    throw std::runtime_error("there is a smart playlist of this name: " + name);
  }
}

/// The version of a smart playlist is that of its own block: edits of others in the file change it
/// not.
void RequireVersionOfBlock(std::string_view rules, const std::string &name) {
  const std::optional<smart::Block> block = smart::FindBlock(rules, name);
  playlists::RequireVersion(block ? std::optional(smart::BlockText(rules, *block)) : std::nullopt);
}

void AddPlaylist(const char *file, const NewBlock &block) {
  const files::TextEdit edit = [&](std::string_view rules) {
    playlists::RequireVersion(std::nullopt);
    RequireFree(rules, block.name);
    return std::optional(smart::AppendBlock(rules, block.text));
  };
  smart::EditRuleFile(file, edit, true);
  playlists::NoteVersion(playlists::ContentVersion(block.text));
}

void ReplacePlaylist(const char *file, const std::string &name, const NewBlock &block) {
  const files::TextEdit edit = [&](std::string_view rules) {
    RequireVersionOfBlock(rules, name);
    if (block.name != name) {
      RequireFree(rules, block.name);
    }
    std::optional<std::string> changed = smart::ReplaceBlock(rules, name, block.text);
    if (!changed) {
      throw std::runtime_error("there is no smart playlist of this name: " + name);
    }
    return changed;
  };
  smart::EditRuleFile(file, edit, false);
  playlists::NoteVersion(playlists::ContentVersion(block.text));
}

} // namespace

int iTunesPlaylistGetByFilename(const char *file, const char *name, iTunesPlaylist *playlist) {
  return Guarded(-1, [&] {
    if (file == nullptr || name == nullptr || playlist == nullptr) {
      throw std::invalid_argument("null argument");
    }
    std::optional<smart::PlaylistSource> source = smart::FindPlaylist(file, name);
    if (!source) {
      return -1;
    }
    auto node = std::make_unique<iTunesPLNode>();
    node->name = std::move(source->playlist.name);
    node->block = std::move(source->block);
    FillPlaylist(*playlist, std::move(node));
    return 0;
  });
}

int iTunesPlaylistSetByFilename(const char *file, const char *name,
                                const iTunesPlaylist *playlist) {
  return Guarded(-1, [&] {
    if (file == nullptr || playlist == nullptr) {
      throw std::invalid_argument("null argument");
    }
    const NewBlock block = MakeNewBlock(*playlist);
    if (name == nullptr) {
      AddPlaylist(file, block);
    } else {
      ReplacePlaylist(file, name, block);
    }
    return 0;
  });
}

int IsiTunesPlaylistExistByFilename(const char *file, const char *name) {
  return Guarded(0, [&] {
    if (file == nullptr || name == nullptr) {
      throw std::invalid_argument("null argument");
    }
    const std::optional<std::string> rules = smart::ReadRuleFile(file);
    return rules && smart::FindBlock(*rules, name) ? 1 : 0;
  });
}

int iTunesPlaylistDeleteByFilename(const char *file, PSZLIST names) {
  return Guarded(-1, [&] {
    if (file == nullptr || names == nullptr) {
      throw std::invalid_argument("null argument");
    }
    const files::TextEdit edit = [&](std::string_view rules) {
      for (const std::string &name : names->texts) {
        RequireVersionOfBlock(rules, name);
      }
      return smart::RemoveBlocks(rules, names->texts);
    };
    smart::EditRuleFile(file, edit, false);
    return 0;
  });
}

void iTunesPLNodesFree(iTunesPLNode *nodes) {
  while (nodes != nullptr) {
    const std::unique_ptr<iTunesPLNode> node(nodes);
    nodes = node->next;
  }
}

int iTunesServiceCheckAndReStart() {
  return Guarded(-1, [] {
    system::RestartDaapService();
    return 0;
  });
}
