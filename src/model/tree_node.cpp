#include "model/tree_node.h"

#include "model/field_text.h"
#include "vexo/users.h"

namespace {

std::string NodeId(const WebMan &request, const std::string &name, const std::string &database_id,
                   bool is_shared) {
  const bool has_database_id =
      is_shared || IsPersonalLibEnabled(request.GetLoginUserName().c_str()) != 0;
  return CutToField(std::string(LibraryRootId(is_shared)) + "/playlist/" +
                        (has_database_id ? database_id : name),
                    kNodeIdSize);
}

} // namespace

const char *LibraryRootId(bool is_shared) {
  return is_shared ? "musiclib_music_shared" : "musiclib_music_personal";
}

void SetLeafMembers(Json::Value &node) {
  for (const char *key : {"allowDrag", "allowDrop", "draggable", "expanded"}) {
    node[key] = false;
  }
  node["leaf"] = true;
}

void PlaylistNodeToJson(const WebMan &request, const std::string &name,
                        const std::string &database_id, bool is_shared, Json::Value &node) {
  const std::string text = WebUtils::EncodeHtml(name, false);
  node["text"] = text;
  node["qtip"] = text;
  node["id"] = NodeId(request, name, database_id, is_shared);
  node["pid"] = "musiclib_root";
  SetLeafMembers(node);
}
