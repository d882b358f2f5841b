#include "catalog/smart_edits.h"
#include "catalog/smart_lists.h"
#include "files/folder.h"
#include "playlists/version.h"
#include "smart/block_scanner.h"
#include "smart/rule_edits.h"
#include "smart/rule_file.h"
#include "system/daap_service.h"
#include "system/log.h"
#include "text/utf8.h"
#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>

namespace vexo::catalog {
namespace {

bool IsControl(char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; }

/// The shared rules are those of the DAAP service, which may not be there: the playlist is written
/// all the same.
void TellDaapService(bool is_personal) {
  if (is_personal) {
    return;
  }
  try {
    system::RestartDaapService();
  } catch (const std::exception &error) {
    system::LogFailure("restart of the DAAP service", error.what());
  }
}

/// Edits a rule file; `edit` says what comes of it.
SmartEdit EditRules(const std::string &path, bool is_personal, bool make,
                    const files::TextEdit &edit, const SmartEdit &outcome) {
  try {
    smart::EditRuleFile(path, edit, make);
  } catch (const std::system_error &error) {
    if (error.code().value() == EFBIG) {
      return SmartEdit::kFull;
    }
    if (error.code().value() == ENOENT && !make) {
      return SmartEdit::kNotThere;
    }
    throw;
  }
  if (outcome == SmartEdit::kDone) {
    TellDaapService(is_personal);
  }
  return outcome;
}

/// What comes of an edit of a playlist's block.
struct BlockChange {
  SmartEdit outcome = SmartEdit::kDone;
  std::optional<std::string> rules{}; ///< all of the file; nothing: it stays
};

/// Edits the block of a playlist, if it is there and meant: `change` is told the file and the
/// block.
SmartEdit
EditBlock(const Playlist &playlist, const IsMeant &is_meant,
          const std::function<BlockChange(std::string_view rules, std::string_view old)> &change) {
  SmartEdit outcome = SmartEdit::kDone;
  const files::TextEdit edit = [&](std::string_view rules) -> std::optional<std::string> {
    const std::optional<smart::Block> block = smart::FindBlock(rules, playlist.name);
    const std::string_view old = block ? smart::BlockText(rules, *block) : std::string_view();
    BlockChange made;
    made.outcome = !block                                      ? SmartEdit::kNotThere
                   : !is_meant(playlists::ContentVersion(old)) ? SmartEdit::kStale
                                                               : SmartEdit::kDone;
    if (made.outcome == SmartEdit::kDone) {
      made = change(rules, old);
    }
    outcome = made.outcome;
    return std::move(made.rules);
  };
  return EditRules(playlist.path, playlist.is_personal, false, edit, outcome);
}

} // namespace

bool IsSmartName(std::string_view name) {
  // A server or client may take "." and ".." in an address for folders.
  return !name.empty() && name != "." && name != ".." && name.size() <= kLongestName &&
         text::IsUtf8(name) && name.find('/') == std::string_view::npos &&
         std::none_of(name.begin(), name.end(), IsControl);
}

SmartEdit AddSmart(const accounts::Account &user, bool is_personal, std::string_view name,
                   std::string_view rule) {
  const std::string path = RuleFile(user, is_personal);
  if (is_personal) {
    files::MakeFolders(files::FolderOf(path));
  }
  SmartEdit outcome = SmartEdit::kDone;
  const files::TextEdit edit = [&](std::string_view rules) -> std::optional<std::string> {
    const bool is_taken = smart::FindBlock(rules, name).has_value();
    outcome = is_taken ? SmartEdit::kNameTaken : SmartEdit::kDone;
    return is_taken ? std::nullopt : std::optional(smart::AppendBlock(rules, BlockOf(name, rule)));
  };
  return EditRules(path, is_personal, true, edit, outcome);
}

SmartEdit SetRule(const Playlist &playlist, std::string_view name, std::string_view rule,
                  const IsMeant &is_meant) {
  return EditBlock(playlist, is_meant, [&](std::string_view rules, std::string_view old) {
    BlockChange change;
    const bool is_renamed = name != playlist.name;
    if (is_renamed && smart::FindBlock(rules, name)) {
      change.outcome = SmartEdit::kNameTaken;
    } else if (is_renamed || RuleText(old) != rule) {
      change.rules = smart::ReplaceBlock(rules, playlist.name, BlockOf(name, rule));
    }
    return change;
  });
}

SmartEdit RemoveSmart(const Playlist &playlist, const IsMeant &is_meant) {
  return EditBlock(playlist, is_meant, [&](std::string_view rules, std::string_view /*old*/) {
    return BlockChange{.rules = smart::RemoveBlocks(rules, {playlist.name})};
  });
}

} // namespace vexo::catalog
