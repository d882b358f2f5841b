#include "model/tree_node.h"

#include "recording_platform/host_test.h"

namespace {

class TreeNode : public recording::HostTest {
protected:
  Json::Value Node(const std::string &name, const std::string &id, bool shared) {
    Json::Value node;
    PlaylistNodeToJson(request_, name, id, shared, node);
    return node;
  }
  WebMan request_;
};

TEST_F(TreeNode, OfASharedPlaylistHasItsDatabaseId) {
  const Json::Value node = Node("Road", "12", true);
  EXPECT_EQ(node.size(), 9U);
  EXPECT_EQ(node["text"], "Road");
  EXPECT_EQ(node["qtip"], "Road");
  EXPECT_EQ(node["id"], "musiclib_music_shared/playlist/12");
  EXPECT_EQ(node["pid"], "musiclib_root");
  for (const char *key : {"allowDrag", "allowDrop", "draggable", "expanded"}) {
    EXPECT_EQ(node[key], Json::Value(false)) << key;
  }
  EXPECT_EQ(node["leaf"], Json::Value(true));
}

TEST_F(TreeNode, OfAPersonalLibraryHasItsDatabaseId) {
  host().personal_library = true;
  EXPECT_EQ(Node("Road", "12", false)["id"], "musiclib_music_personal/playlist/12");
}

TEST_F(TreeNode, OfAPreferenceFolderHasItsName) {
  EXPECT_EQ(Node("Road", "12", false)["id"], "musiclib_music_personal/playlist/Road");
}

TEST_F(TreeNode, EscapesTheNameButNotTheId) {
  const Json::Value node = Node("a<b", "12", false);
  EXPECT_EQ(node["text"], "a&lt;b");
  EXPECT_EQ(node["qtip"], "a&lt;b");
  EXPECT_EQ(node["id"], "musiclib_music_personal/playlist/a<b");
  EXPECT_THAT(host().Calls("EncodeHtml"), ::testing::ElementsAre("EncodeHtml(\"a<b\", false)"));
  EXPECT_EQ(Node("a<b", "12", true)["id"], "musiclib_music_shared/playlist/12");
}

TEST_F(TreeNode, CutsAnIdThatIsTooLong) {
  EXPECT_EQ(Node(std::string(5000, 'n'), "", false)["id"].asString().size(), 4095U);
}

} // namespace
