// A sync tool's conflicting copy in the real program: it shows beside its
// note with a banner, and the banner's buttons settle the conflict.
#include "integration/RegistrySession.h"

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

constexpr const char* originalId = "sticky-20240101-090000";
constexpr const char* copyId = "sticky-20240101-090000 (conflicted copy 2026-11-22)";

const std::string bannerScript = "(() => { const banner = " + byId(element::conflict) +
                                 "; return banner.hidden ? null : " + byId(element::conflictText) +
                                 ".textContent; })()";

class ConflictCopy : public RegistrySession {
protected:
    void SetUp() override {
        Record record = recordOn(1, 300, 200);
        record.color = "blue";
        seed(originalId, "# Groceries\nmilk", record);
        ASSERT_NO_FATAL_FAILURE(start());
        writeAtomically(noteFile(copyId), "# Groceries\nmilk\neggs");
        ASSERT_TRUE(waitForPage(copyId, "# Groceries\nmilk\neggs", 15s)) << diagnostics();
    }

    std::optional<json> banner() { return client.runScript(copyId, bannerScript); }
};

}

TEST_F(ConflictCopy, aConflictingCopyShowsBesideItsNoteWithABannerNamingIt) {
    auto copy = waitForNote(copyId, [](const json& note) { return note["visible"] == true; });
    ASSERT_TRUE(copy) << diagnostics();
    EXPECT_EQ((*copy)["record"]["color"], "blue");
    EXPECT_EQ((*copy)["record"]["frame"], (json{{"x", 324}, {"y", 224}, {"w", 260}, {"h", 220}}));
    EXPECT_EQ((*copy)["placedDesktop"], 1);
    EXPECT_EQ(banner(), json("Conflicting copy of \u201cGroceries\u201d"));
    EXPECT_EQ(client.runScript(originalId, bannerScript), json(nullptr));
    const std::string warning =
        "WARN " + std::string(copyId) + ".md is a sync tool's conflicting copy of " + originalId + ".md";
    EXPECT_TRUE(waitUntil([&] {
        return std::ranges::any_of(
            app.logLines(), [&](const std::string& line) { return line.find(warning) != std::string::npos; });
    }));
}

TEST_F(ConflictCopy, keepThisGivesTheNoteTheCopysTextAndUndoPutsBothBack) {
    ASSERT_TRUE(client.runScript(copyId, byId(element::keepCopy) + ".click(), true"));
    EXPECT_TRUE(waitForPage(originalId, "# Groceries\nmilk\neggs")) << diagnostics();
    EXPECT_TRUE(client.waitFor([&](const json& s) { return !AppClient::note(s, copyId); })) << diagnostics();
    EXPECT_EQ(readFile(noteFile(originalId)), "# Groceries\nmilk\neggs");
    EXPECT_EQ(readFile(notes() / ".trash" / (std::string(copyId) + ".md")), "# Groceries\nmilk\neggs");

    ASSERT_TRUE(client.undoDelete()) << diagnostics();
    EXPECT_TRUE(waitForPage(originalId, "# Groceries\nmilk")) << diagnostics();
    EXPECT_TRUE(waitForPage(copyId, "# Groceries\nmilk\neggs")) << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return banner() == json("Conflicting copy of \u201cGroceries\u201d"); }));
}

TEST_F(ConflictCopy, dismissPutsTheCopyInTheTrashAndLeavesTheNote) {
    ASSERT_TRUE(client.runScript(copyId, byId(element::dismissCopy) + ".click(), true"));
    EXPECT_TRUE(client.waitFor([&](const json& s) { return !AppClient::note(s, copyId); })) << diagnostics();
    EXPECT_TRUE(fs::exists(notes() / ".trash" / (std::string(copyId) + ".md")));
    EXPECT_EQ(readFile(noteFile(originalId)), "# Groceries\nmilk");
}
