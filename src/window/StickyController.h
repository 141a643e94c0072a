#pragma once
#include "platform/NoteWindow.h"
#include "platform/WindowServer.h"
#include "storage/Model.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace marrowleaf {

// One note on screen: owns the note's window and page, builds the page from
// the page template, checks every message the page posts and hands the good
// ones on, and keeps the small per-note state the registry's refresh drives.
// Made only by the registry, which keeps it until the note's file is gone.
class StickyController {
public:
    // Hears every page message whose body is a JSON object with a text "t":
    // that text (the message type) and the whole body.
    using MessageSink = std::function<void(StickyController& controller, const std::string& type,
                                           const nlohmann::json& body)>;

    // When the page is loaded: with the window, or when `loadPage` is called.
    enum class PageLoad { now, later };

    // Makes the window (hidden, at the record's frame, floating when pinned)
    // and loads the note's page, unless told to wait. `pageTemplate` must
    // outlive the controller: the page is built from it again if the page is lost.
    StickyController(std::string id, std::string content, const Record& record, bool editNow,
                     const std::string& pageTemplate, MessageSink sink, PageLoad load = PageLoad::now);
    ~StickyController();
    StickyController(const StickyController&) = delete;
    StickyController& operator=(const StickyController&) = delete;

    const std::string id;
    // The note text as last loaded or saved; the registry compares file text against it.
    std::string content;
    // The window is ordered in.
    bool visible = false;
    // The desktop the window was shown on.
    std::optional<SpaceId> placed;
    // The desktop the window manager was asked to put the window on, until it answers.
    std::optional<SpaceId> moving;
    // Putting the window on a desktop that is not in front failed once.
    bool remoteTried = false;
    // For a sync tool's conflicting copy, the id of the note it conflicts with.
    std::optional<std::string> copyOf;
    // Width of the page's button strip at the right of the header, in points,
    // as the page reports it; hit testing keeps presses there out of the drag strip.
    double buttonsWidth = defaultButtonsWidth;
    // How many texts `sendContent` gave the page since it was last loaded. The
    // page counts them too and says in a "save" how many it had seen, so a
    // save typed before the latest text arrived can be told apart.
    int contentVersion = 0;

    static constexpr double defaultButtonsWidth = 90;
    // The level of a note while it is dragged: above the trash target and
    // every other window.
    static constexpr WindowLevel levelDrag = WindowLevel::drag;
    // The level of a note at rest.
    static WindowLevel level(bool pinned) { return pinned ? WindowLevel::floating : WindowLevel::normal; }

    NoteWindow& window() const { return *noteWindow; }

    // Loads the page of a controller made with `PageLoad::later`, from the
    // note's current text and colour; nothing once the page was asked for.
    void loadPage();
    bool pageRequested() const { return requested; }

    // Stops listening to the page, orders the window out and closes it; the
    // window stays valid until the controller goes. For a note whose file is gone.
    void close();

    // Calls into the page. None waits for or reads a result.
    void sendContent(const std::string& text);
    void sendColor(const StickyColor& color);
    void sendPaste(const std::string& text);
    void sendSelected(bool on);
    void sendFlash();
    void sendTrash(bool on);
    // Shows the conflicting-copy banner naming the original's title, or drops
    // it (absent); the page keeps it across a reload.
    void sendConflict(const std::optional<std::string>& originalTitle);
    const std::optional<std::string>& conflictTitle() const { return shownConflict; }

    // Checks the shape of one message from the page and hands it to the sink.
    // Returns whether it was handed on; anything else is dropped silently.
    bool receive(const nlohmann::json& body);

    // The page for a note: one pass over the template replacing each
    // placeholder "__NAME__" found in the table (BG, FG, BAR, COLOR, COLORS,
    // CONTENT, EDIT, CONFLICT) and copying any other one unchanged. Values are
    // never scanned again, so a note holding a placeholder stays as it is.
    static std::string page(const std::string& pageTemplate, const Record& record, const std::string& content,
                            bool editNow, const std::optional<std::string>& conflictTitle = std::nullopt);

    // `text` as a one-element JSON array with every "</" written "<\/", so no
    // text can end a script element; "null" when it can't be serialised.
    static std::string scriptArgument(const std::string& text);
    static std::string setContentScript(const std::string& text);
    static std::string setColorScript(const StickyColor& color);
    static std::string pasteTextScript(const std::string& text);
    static std::string setSelectedScript(bool on);
    static std::string setTrashScript(bool on);
    static std::string setConflictScript(const std::optional<std::string>& originalTitle);
    static std::string flashScript() { return "flash()"; }

private:
    const std::string* pageTemplate;
    MessageSink sink;
    // The colour the page shows, so a lost page comes back in it.
    std::string shownColor;
    std::optional<std::string> shownConflict;
    std::unique_ptr<NoteWindow> noteWindow;
    bool requested = false;

    void reloadPage();
};

}
