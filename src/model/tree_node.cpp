#include "model/tree_node.h"

#include "model/field_text.h"
#include "vexo/users.h"

namespace {

std::string NodeId(const WebMan &request, const std::string &name, const std::string &databaseId,
                   bool isShared) {
  const bool has_database_id =
      isShared || IsPersonalLibEnabled(request.GetLoginUserName().c_str()) != 0;
  return CutToField(std::string(LibraryRootId(isShared)) + "/playlist/" +
                        (has_database_id ? databaseId : name),
                    kNodeIdSize);
}

} // namespace

const char *LibraryRootId(bool isShared) {
  return isShared ? "musiclib_music_shared" : "musiclib_music_personal";
}

void SetLeafMembers(Json::Value &node) {
  for (const char *key : {"allowDrag", "allowDrop", "draggable", "expanded"}) {
    node[key] = false;
  }
  node["leaf"] = true;
}

void PlaylistNodeToJson(const WebMan &request, const std::string &name,
                        const std::string &databaseId, bool isShared, Json::Value &node) {
  const std::string text = WebUtils::EncodeHtml(name, false);
  node["text"] = text;
  node["qtip"] = text;
  node["id"] = NodeId(request, name, databaseId, isShared);
  node["pid"] = "musiclib_root";
  SetLeafMembers(node);
}
