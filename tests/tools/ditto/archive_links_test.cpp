#include "tools/ditto/archive_links.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace quillmoor::ditto {
namespace {

class DittoLinks : public ::testing::Test {
  protected:
    void add(std::string name) { addEntry(std::move(name), Entry::Kind::File, ""); }
    void link(std::string name, std::string target) {
        addEntry(std::move(name), Entry::Kind::Link, std::move(target));
    }

    // Why the link of this name is refused; "" if it is not.
    std::string objection(std::string_view name, FoldCase foldCase = FoldCase::No) const {
        const EntryTree tree(entries_, foldCase);
        LinkResolver resolver(tree);
        const char* why = resolver.objection(*tree.find(tree.keyFor(name)).node);
        return why == nullptr ? "" : why;
    }

    const std::vector<Entry>& entries() const { return entries_; }

  private:
    void addEntry(std::string name, Entry::Kind kind, std::string target) {
        Entry entry;
        entry.name = texts_.emplace_back(std::move(name));
        entry.kind = kind;
        entry.linkTarget = texts_.emplace_back(std::move(target));
        entries_.push_back(entry);
    }

    std::deque<std::string> texts_;
    std::vector<Entry> entries_;
};

constexpr const char* kOut = "is a link that leads out of the destination";
constexpr const char* kLoop = "is a link that leads through too many others, or round in a circle";
constexpr const char* kNoFolder =
    "is a link that climbs out of something that is not a folder of the archive";

TEST_F(DittoLinks, TargetsInsideAreAccepted) {
    add("a/b/file");
    link("a/b/one", "file");
    link("a/two", "b/../b/./file");
    link("a/b/three", "../..");
    link("four", ".");
    link("five", "missing");
    link("six", "a/b/file/");
    for (const char* name : {"a/b/one", "a/two", "a/b/three", "four", "five", "six"})
        EXPECT_EQ(objection(name), "") << name;
}

TEST_F(DittoLinks, AbsoluteTargetsAreRefused) {
    link("a", "/etc/passwd");
    link("b", "/");
    link("c", "a/x");
    EXPECT_EQ(objection("a"), "is a link to an absolute path");
    EXPECT_EQ(objection("b"), "is a link to an absolute path");
    EXPECT_EQ(objection("c"), "is a link that leads to an absolute path");
}

TEST_F(DittoLinks, TargetsBeyondTheRootAreRefused) {
    add("d/file");
    link("a", "..");
    link("d/b", "../..");
    link("d/c", "../../d/file");
    link("e", "d/../..");
    for (const char* name : {"a", "d/b", "d/c", "e"}) EXPECT_EQ(objection(name), kOut) << name;
}

TEST_F(DittoLinks, ChainsThatLeadOutAreRefused) {
    // Each looks harmless alone: "up/.." is the root's parent, since "up" is the root.
    add("d/e/f");
    link("d/e/up", "../..");
    link("d/e/out", "up/../x");
    EXPECT_EQ(objection("d/e/up"), "");
    EXPECT_EQ(objection("d/e/out"), kOut);
}

TEST_F(DittoLinks, ALinkIntoALinkedFolderIsFollowed) {
    add("Versions/A/lib");
    link("Versions/Current", "A");
    link("lib", "Versions/Current/lib");
    link("back", "Versions/Current/../../Versions/A");
    link("out", "Versions/Current/../../../x");
    EXPECT_EQ(objection("lib"), "");
    EXPECT_EQ(objection("back"), "");
    EXPECT_EQ(objection("out"), kOut);
}

TEST_F(DittoLinks, CirclesAreRefused) {
    link("self", "self");
    link("a", "b");
    link("b", "a");
    link("grow", "grow/x");
    EXPECT_EQ(objection("self"), kLoop);
    EXPECT_EQ(objection("a"), kLoop);
    EXPECT_EQ(objection("grow"), kLoop);
}

TEST_F(DittoLinks, AtMostFortyHopsAreFollowed) {
    add("l0");
    for (int i = 1; i <= 42; ++i) link("l" + std::to_string(i), "l" + std::to_string(i - 1));
    EXPECT_EQ(objection("l41"), "");
    EXPECT_EQ(objection("l42"), kLoop);
}

TEST_F(DittoLinks, ClimbingOutOfSomethingThatIsNotAFolderIsRefused) {
    add("file");
    link("a", "missing/../x");
    link("b", "file/../x");
    EXPECT_EQ(objection("a"), kNoFolder);
    EXPECT_EQ(objection("b"), kNoFolder);
}

TEST_F(DittoLinks, CaseIsFoldedWhereTheFileSystemFoldsIt) {
    add("d/e/f");
    link("Up", "..");
    link("d/e/a", "../../up/x");
    EXPECT_EQ(objection("d/e/a"), "");
    EXPECT_EQ(objection("d/e/a", FoldCase::Yes), kOut);
}

TEST_F(DittoLinks, AllLinksTogetherAreBounded) {
    std::string steps;
    for (int i = 0; i < 2000; ++i) steps += "x/";
    for (int i = 0; i < 600; ++i) link("l" + std::to_string(i), steps);
    const EntryTree tree(entries(), FoldCase::No);
    LinkResolver resolver(tree);
    EXPECT_EQ(resolver.objection(tree.nodes().front()), nullptr);
    const char* last = nullptr;
    for (const EntryTree::Node& node : tree.nodes()) last = resolver.objection(node);
    EXPECT_STREQ(last, "is one of too many links");
}

}  // namespace
}  // namespace quillmoor::ditto
