#include "AppClient.h"
#include "Harness.h"

#include <gtest/gtest.h>

using namespace marrowleaf::testing;

namespace {

constexpr const char* noteId = "sticky-20250314-093000";

// The program with one note on screen, its page loaded.
class AppKeys : public ::testing::Test {
protected:
    XSession session;
    AppProcess app{session};
    std::unique_ptr<AppClient> client;

    void SetUp() override {
        writeFile(app.defaultNotesFolder() / (std::string(noteId) + ".md"), "start");
        app.start();
        client = std::make_unique<AppClient>(session);
        auto ready = client->waitFor([](const nlohmann::json& s) {
            auto note = AppClient::note(s, noteId);
            return note && (*note)["visible"] == true && (*note)["page"] == "start";
        });
        ASSERT_TRUE(ready) << app.standardError();
    }

    // Clicks into the note's body, which gives it the keyboard and opens its editor.
    void clickIntoNote() {
        auto note = AppClient::note(*client->snapshot(), noteId);
        ASSERT_TRUE(note);
        const auto& frame = (*note)["frame"];
        const int x = static_cast<int>(frame["x"].get<double>() + frame["w"].get<double>() / 2);
        const int y = static_cast<int>(frame["y"].get<double>() + frame["h"].get<double>() / 2);
        session.run({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"});
        ASSERT_TRUE(waitUntil([&] {
            auto editing = client->runScript(noteId, "document.activeElement && document.activeElement.tagName");
            return editing && *editing == "TEXTAREA";
        }));
    }

    std::string pageText() {
        auto note = AppClient::note(*client->snapshot(), noteId);
        return note && (*note)["page"].is_string() ? (*note)["page"].get<std::string>() : "";
    }
};

}

TEST_F(AppKeys, ctrlQInANoteQuitsAndSavesTheState) {
    clickIntoNote();
    session.run({"xdotool", "key", "ctrl+q"});
    EXPECT_EQ(app.wait(10s), 0);
    EXPECT_NE(readFile(app.defaultNotesFolder() / ".stickies.json").find(noteId), std::string::npos);
}

TEST_F(AppKeys, ctrlZUndoesTypingAndCtrlShiftZRedoesIt) {
    clickIntoNote();
    session.run({"xdotool", "key", "End"});
    session.run({"xdotool", "type", "--delay", "20", " more"});
    ASSERT_TRUE(waitUntil([&] { return pageText() == "start more"; })) << pageText();
    session.run({"xdotool", "key", "ctrl+z"});
    ASSERT_TRUE(waitUntil([&] { return pageText() == "start"; })) << pageText();
    session.run({"xdotool", "key", "ctrl+shift+z"});
    EXPECT_TRUE(waitUntil([&] { return pageText() == "start more"; })) << pageText();
}
