#pragma once
#include "platform/NoteWindow.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace marrowleaf {

// A note window that only remembers what was asked of it, in order, so a test
// asserts on what a person would have seen. The test plays the page: it
// delivers messages and can make the page go away as a renderer crash would.
class FakeNoteWindow : public NoteWindow {
public:
    FakeNoteWindow(Rect frame, WindowLevel level, WindowNumber number);

    Rect frame() const override { return current; }
    void setFrame(Rect frame) override;
    void orderFront() override;
    void orderOut() override;
    void setAlpha(double alpha) override;
    WindowLevel level() const override { return currentLevel; }
    void setLevel(WindowLevel level) override;
    void focus() override;
    void close() override;
    WindowNumber windowNumber() const override { return number; }
    void loadPage(const std::string& html) override;
    void runScript(const std::string& script) override;
    // Answers with `evaluationResult` at once.
    void evaluate(const std::string& script, std::function<void(std::optional<std::string>)> done) override {
        scripts.push_back(script);
        done(evaluationResult);
    }
    std::optional<std::string> evaluationResult;
    void setMessageHandler(MessageHandler handler) override { messageHandler = std::move(handler); }
    void setPageLostHandler(PageLostHandler handler) override { pageLostHandler = std::move(handler); }

    // Posts `body` from the page, as the page's script would. Returns false when
    // nobody listens.
    bool deliver(const nlohmann::json& body);
    // Posts the JSON text (which must parse).
    bool deliverJSON(const std::string& jsonText) { return deliver(nlohmann::json::parse(jsonText)); }
    // The page's renderer went away. Returns false when nobody listens.
    bool losePage();
    bool hasMessageHandler() const { return static_cast<bool>(messageHandler); }

    // Every call that changes what is on screen, in order: "frame", "orderFront",
    // "orderOut", "alpha 0", "level floating", "focus", "close".
    std::vector<std::string> calls;
    std::vector<Rect> frames;            // every frame set after creation
    std::vector<double> alphas;
    std::vector<WindowLevel> levels;     // every level set after creation
    std::vector<std::string> pages;      // every page loaded
    std::vector<std::string> scripts;    // every script run
    int focusCount = 0;
    int closeCount = 0;
    bool orderedIn = false;
    double alpha = 1;
    const Rect createdFrame;
    const WindowLevel createdLevel;

private:
    Rect current;
    WindowLevel currentLevel;
    WindowNumber number;
    MessageHandler messageHandler;
    PageLostHandler pageLostHandler;
};

// Makes fake note windows numbered 1, 2, 3… and keeps track of the live ones.
class FakeNoteWindowFactory : public NoteWindowFactory {
public:
    std::unique_ptr<NoteWindow> create(Rect frame, WindowLevel level) override;

    // The windows made so far that still exist, oldest first.
    std::vector<FakeNoteWindow*> windows() const;
    // The newest live window; null when there is none.
    FakeNoteWindow* last() const;
    // The live window with that number; null when there is none.
    FakeNoteWindow* window(WindowNumber number) const;
    int createdCount() const { return static_cast<int>(nextNumber - 1); }

    // Records the page to keep ready; a window asked for with that page counts in `readyUsed`.
    void keepReady(const std::string& html) override { readyPage = html; }
    std::unique_ptr<NoteWindow> createWithPage(Rect frame, WindowLevel level, const std::string& html) override {
        if (readyPage == html) ++readyUsed;
        return NoteWindowFactory::createWithPage(frame, level, html);
    }
    std::optional<std::string> readyPage;
    int readyUsed = 0;

private:
    class Tracked;
    std::shared_ptr<std::vector<FakeNoteWindow*>> live = std::make_shared<std::vector<FakeNoteWindow*>>();
    WindowNumber nextNumber = 1;
};

std::string toString(WindowLevel level);

}
