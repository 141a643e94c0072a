#include "RegistryFixture.h"

using namespace marrowleaf;
using namespace marrowleaf::support;
using nlohmann::json;

namespace {

class StickiesMessages : public RegistryFixture {
protected:
    void SetUp() override {
        RegistryFixture::SetUp();
        writeNote("a", "text");
        registry->start();
    }
};

}

TEST_F(StickiesMessages, saveWritesTheTextAndKeepsItAsContent) {
    post("a", {{"t", "save"}, {"c", "typed"}});
    EXPECT_EQ(noteText("a"), "typed");
    EXPECT_EQ(controller("a").content, "typed");
}

TEST_F(StickiesMessages, saveOfTheTextOnDiskStillWritesAndTheWatcherSyncLeavesThePageAlone) {
    support::FaultyFiles counting;
    Store::useFiles(&counting);
    post("a", {{"t", "save"}, {"c", "text"}});
    EXPECT_EQ(counting.writes, 1);
    folderChanged({"a.md"});
    EXPECT_TRUE(window("a").scripts.empty());
}

TEST_F(StickiesMessages, aSaveWithoutTextDoesNothing) {
    post("a", {{"t", "save"}, {"c", 42}});
    EXPECT_EQ(noteText("a"), "text");
}

TEST_F(StickiesMessages, aTypeThatDiffersOnlyInCaseDoesNothing) {
    post("a", {{"t", "Save"}, {"c", "typed"}});
    post("a", {{"t", "PIN"}});
    EXPECT_EQ(noteText("a"), "text");
    EXPECT_EQ(registry->appState().stickies.at("a").pinned, std::nullopt);
}

TEST_F(StickiesMessages, focusGivesTheNoteTheKeyboard) {
    post("a", {{"t", "focus"}});
    EXPECT_EQ(window("a").focusCount, 1);
}

TEST_F(StickiesMessages, barStoresTheButtonStripWidth) {
    post("a", {{"t", "bar"}, {"w", 112.5}});
    EXPECT_EQ(controller("a").buttonsWidth, 112.5);
    post("a", {{"t", "bar"}, {"w", "wide"}});
    EXPECT_EQ(controller("a").buttonsWidth, 112.5);
}

TEST_F(StickiesMessages, clearSelectionDeselectsEveryNote) {
    registry->setSelected("a", true);
    post("a", {{"t", "clearSelection"}});
    EXPECT_TRUE(registry->selection().empty());
    EXPECT_EQ(window("a").scripts.back(), "setSelected(false)");
}

TEST_F(StickiesMessages, colorStoresTheNameAsSentAndSendsThePaletteValues) {
    post("a", {{"t", "color"}, {"name", "blue"}});
    EXPECT_EQ(stateOnDisk().stickies.at("a").color, "blue");
    EXPECT_EQ(window("a").scripts.back(),
              R"(setColor(["blue"][0],["#cfe6ff"][0],["#18304a"][0],["#acd2fb"][0]))");
}

TEST_F(StickiesMessages, anUnknownColorIsStoredAsSentAndShownYellow) {
    post("a", {{"t", "color"}, {"name", "Teal"}});
    EXPECT_EQ(stateOnDisk().stickies.at("a").color, "Teal");
    EXPECT_EQ(window("a").scripts.back(),
              R"(setColor(["yellow"][0],["#fff4a3"][0],["#3b3415"][0],["#f3e27a"][0]))");
}

TEST_F(StickiesMessages, pinFloatsTheNoteAndSavesIt) {
    post("a", {{"t", "pin"}});
    EXPECT_EQ(window("a").level(), WindowLevel::floating);
    EXPECT_EQ(stateOnDisk().stickies.at("a").pinned, true);
}

TEST_F(StickiesMessages, pinTwiceLeavesTheNoteUnpinnedAtTheNormalLevelWithPinnedFalse) {
    post("a", {{"t", "pin"}});
    post("a", {{"t", "pin"}});
    EXPECT_EQ(window("a").level(), WindowLevel::normal);
    EXPECT_EQ(stateOnDisk().stickies.at("a").pinned, false);
    EXPECT_NE(readFile(notes / ".stickies.json").find("\"pinned\": false"), std::string::npos);
}

TEST_F(StickiesMessages, snoozeDividesMillisecondsByAThousandRoundingDown) {
    post("a", {{"t", "snooze"}, {"at", 2500}, {"label", "soon"}});
    const Record r = stateOnDisk().stickies.at("a");
    EXPECT_EQ(r.snoozeUntil, 2.0);
    EXPECT_EQ(r.snoozeLabel, "soon");
}

TEST_F(StickiesMessages, snoozeHidesTheNoteAndSaysUntilWhen) {
    post("a", {{"t", "snooze"}, {"at", (morning + 3600) * 1000}, {"label", "in 1 hour"}});
    EXPECT_FALSE(shown("a"));
    EXPECT_EQ(hudText(), "😴 Snoozed until in 1 hour");
}

TEST_F(StickiesMessages, snoozeWithoutALabelSaysLater) {
    post("a", {{"t", "snooze"}, {"at", (morning + 3600) * 1000}});
    EXPECT_EQ(hudText(), "😴 Snoozed until later");
    EXPECT_EQ(stateOnDisk().stickies.at("a").snoozeLabel, std::nullopt);
}

TEST_F(StickiesMessages, snoozeWithoutAUsableTimeLeavesTheNoteAsItWas) {
    post("a", {{"t", "snooze"}, {"at", "tomorrow"}});
    EXPECT_TRUE(shown("a"));
    EXPECT_EQ(registry->appState().stickies.at("a").snoozeUntil, std::nullopt);
}

TEST_F(StickiesMessages, closeDeletesTheNoteAfterTheMessageHandlerReturned) {
    post("a", {{"t", "close"}});
    EXPECT_TRUE(registry->controllers().count("a"));
    platform.clock.runPending();
    EXPECT_FALSE(registry->controllers().count("a"));
    EXPECT_TRUE(std::filesystem::exists(notes / ".trash/a.md"));
    EXPECT_EQ(platform.sounds.trashPlayed, 0);
}

TEST_F(StickiesMessages, linkOpensTheAddressWithTheDefaultHandler) {
    post("a", {{"t", "link"}, {"url", "https://example.org/a?b=c"}});
    EXPECT_EQ(platform.workspace.opened, (std::vector<std::string>{"https://example.org/a?b=c"}));
}

TEST_F(StickiesMessages, aLinkThatIsNotAnAddressDoesNothing) {
    post("a", {{"t", "link"}, {"url", "not an address"}});
    post("a", {{"t", "link"}});
    EXPECT_TRUE(platform.workspace.opened.empty());
}

TEST_F(StickiesMessages, copyPutsTheTextOnTheClipboard) {
    post("a", {{"t", "copy"}, {"text", "copied"}});
    EXPECT_EQ(platform.pasteboard.text, "copied");
}

TEST_F(StickiesMessages, pasteSendsTheClipboardTextToThePage) {
    platform.pasteboard.text = "pasted </b>";
    post("a", {{"t", "paste"}});
    EXPECT_EQ(window("a").scripts.back(), R"(pasteText(["pasted <\/b>"][0]))");
}

TEST_F(StickiesMessages, pasteWithAnEmptyClipboardDoesNothing) {
    post("a", {{"t", "paste"}});
    EXPECT_TRUE(window("a").scripts.empty());
}

// --- the page's typing against other programs' writes

TEST_F(StickiesMessages, aSaveThatHadNotSeenTheNewerFileCannotOverwriteIt) {
    post("a", {{"t", "save"}, {"c", "typed"}, {"v", 0}});
    writeNote("a", "written elsewhere");
    folderChanged({"a.md"});
    post("a",
         {{"t", "save"}, {"c", "typed more"}, {"v", 0}});   // was on its way before the page got the file
    EXPECT_EQ(noteText("a"), "written elsewhere");
    post("a", {{"t", "save"}, {"c", "typed after"}, {"v", 1}});
    EXPECT_EQ(noteText("a"), "typed after");
}

TEST_F(StickiesMessages, aFailedWriteKeepsTheTextAndTriesAgain) {
    support::FaultyFiles full;
    full.failWrite = "No space left on device";
    Store::useFiles(&full);
    post("a", {{"t", "save"}, {"c", "typed on a full disk"}});
    EXPECT_EQ(log.count("ERROR can't save a: No space left on device"), 1u);
    EXPECT_EQ(controller("a").content, "typed on a full disk");
    folderChanged({"a.md"});   // the old file must not come back into the page
    EXPECT_TRUE(window("a").scripts.empty());
    full.failWrite.reset();
    folderChanged({"a.md"});
    EXPECT_EQ(noteText("a"), "typed on a full disk");
}

TEST_F(StickiesMessages, textStillUnsavedAtQuitIsWrittenThen) {
    support::FaultyFiles full;
    full.failWrite = "No space left on device";
    Store::useFiles(&full);
    post("a", {{"t", "save"}, {"c", "last words"}});
    full.failWrite.reset();
    registry->saveAll();
    EXPECT_EQ(noteText("a"), "last words");
}
