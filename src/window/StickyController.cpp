#include "window/StickyController.h"

#include "window/PageNames.h"

#include "platform/Platform.h"
#include "shell/Log.h"

#include <array>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

namespace marrowleaf {

namespace {

constexpr std::string_view nullValue = "null";
constexpr std::string_view placeholderEdge = "__";

// "</" inside a value would end the page's script element early.
std::string escapeClosingTags(std::string text) {
    for (std::size_t at = text.find("</"); at != std::string::npos; at = text.find("</", at + 3))
        text.replace(at, 2, "<\\/");
    return text;
}

// JSON text of `value` with "</" escaped, or "null" when it can't be written
// (text that is not UTF-8).
template <class Json> std::string safeJSON(const Json& value, std::string_view what) {
    try {
        return escapeClosingTags(value.dump());
    } catch (const nlohmann::json::exception& error) {
        Log::error("can't pass " + std::string(what) + " to a note page: " + error.what());
        return std::string(nullValue);
    }
}

std::string paletteJSON() {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& color : StickyColor::all())
        list.push_back({{"name", color.name}, {"bg", color.bg}, {"fg", color.fg}, {"bar", color.bar}});
    return safeJSON(list, "the palette");
}

struct Placeholder {
    std::string_view name;   // between the double underscores
    std::string value;
};

bool isCapital(char c) { return c >= 'A' && c <= 'Z'; }

// The length of the placeholder "__[A-Z]+__" starting at `at`, or 0 when none does.
std::size_t placeholderLength(std::string_view text, std::size_t at) {
    if (text.substr(at, 2) != placeholderEdge) return 0;
    std::size_t end = at + 2;
    while (end < text.size() && isCapital(text[end]))
        ++end;
    if (end == at + 2 || text.substr(end, 2) != placeholderEdge) return 0;
    return end + 2 - at;
}

template <std::size_t N>
std::string fillPlaceholders(std::string_view pageTemplate, const std::array<Placeholder, N>& table) {
    std::string page;
    page.reserve(pageTemplate.size() + 1024);
    std::size_t copied = 0;
    for (std::size_t at = pageTemplate.find(placeholderEdge); at != std::string_view::npos;) {
        const std::size_t length = placeholderLength(pageTemplate, at);
        if (length == 0) {
            at = pageTemplate.find(placeholderEdge, at + 1);
            continue;
        }
        const std::string_view name = pageTemplate.substr(at + 2, length - 4);
        for (const auto& entry : table) {
            if (entry.name != name) continue;
            page.append(pageTemplate, copied, at - copied);
            page += entry.value;
            copied = at + length;
            break;
        }
        at = pageTemplate.find(placeholderEdge, at + length);
    }
    page.append(pageTemplate, copied);
    return page;
}

std::string flag(bool on) { return on ? "true" : "false"; }

}

StickyController::StickyController(std::string id, std::string content, const Record& record, bool editNow,
                                   const std::string& pageTemplate, MessageSink sink, PageLoad load)
    : id(std::move(id)), content(std::move(content)), pageTemplate(&pageTemplate), sink(std::move(sink)),
      shownColor(StickyColor::named(record.color).name) {
    auto& factory = Platform::noteWindowFactory();
    const WindowLevel startLevel = level(record.pinned.value_or(false));
    if (load == PageLoad::now) {
        requested = true;
        noteWindow = factory.createWithPage(record.frame.rect(), startLevel,
                                            page(pageTemplate, record, this->content, editNow));
    } else {
        noteWindow = factory.create(record.frame.rect(), startLevel);
    }
    noteWindow->setMessageHandler([this](const nlohmann::json& body) { receive(body); });
    noteWindow->setPageLostHandler([this] { reloadPage(); });
}

void StickyController::loadPage() {
    if (!requested) reloadPage();
}

StickyController::~StickyController() = default;

void StickyController::close() {
    noteWindow->setMessageHandler(nullptr);
    noteWindow->setPageLostHandler(nullptr);
    noteWindow->orderOut();
    noteWindow->close();
}

bool StickyController::receive(const nlohmann::json& body) {
    if (!body.is_object()) return false;
    const auto type = body.find(page::message::type);
    if (type == body.end() || !type->is_string()) return false;
    if (sink) sink(*this, type->get<std::string>(), body);
    return true;
}

void StickyController::reloadPage() {
    Record look;
    look.color = shownColor;
    contentVersion = 0;
    requested = true;
    noteWindow->loadPage(page(*pageTemplate, look, content, false, shownConflict));
}

void StickyController::sendContent(const std::string& text) {
    ++contentVersion;
    noteWindow->runScript(setContentScript(text));
}

void StickyController::sendColor(const StickyColor& color) {
    shownColor = color.name;
    noteWindow->runScript(setColorScript(color));
}

void StickyController::sendPaste(const std::string& text) { noteWindow->runScript(pasteTextScript(text)); }
void StickyController::sendSelected(bool on) { noteWindow->runScript(setSelectedScript(on)); }
void StickyController::sendFlash() { noteWindow->runScript(flashScript()); }
void StickyController::sendTrash(bool on) { noteWindow->runScript(setTrashScript(on)); }

void StickyController::sendConflict(const std::optional<std::string>& originalTitle) {
    if (originalTitle == shownConflict) return;
    shownConflict = originalTitle;
    // A page not asked for yet gets the banner when it loads.
    if (requested) noteWindow->runScript(setConflictScript(originalTitle));
}

std::string StickyController::page(const std::string& pageTemplate, const Record& record,
                                   const std::string& content, bool editNow,
                                   const std::optional<std::string>& conflictTitle) {
    const StickyColor& color = StickyColor::named(record.color);
    const std::array<Placeholder, 8> table{{
        {"BG", color.bg},
        {"FG", color.fg},
        {"BAR", color.bar},
        {"COLOR", safeJSON(nlohmann::json(color.name), "a colour name")},
        {"COLORS", paletteJSON()},
        {"CONTENT", safeJSON(nlohmann::json(content), "a note's text")},
        {"EDIT", flag(editNow)},
        {"CONFLICT",
         conflictTitle ? safeJSON(nlohmann::json(*conflictTitle), "a note's title") : std::string(nullValue)},
    }};
    return fillPlaceholders(pageTemplate, table);
}

std::string StickyController::scriptArgument(const std::string& text) {
    return safeJSON(nlohmann::json::array({text}), "text");
}

std::string StickyController::setContentScript(const std::string& text) {
    return "setContent(" + scriptArgument(text) + "[0])";
}

std::string StickyController::setColorScript(const StickyColor& color) {
    return "setColor(" + scriptArgument(color.name) + "[0]," + scriptArgument(color.bg) + "[0]," +
           scriptArgument(color.fg) + "[0]," + scriptArgument(color.bar) + "[0])";
}

std::string StickyController::pasteTextScript(const std::string& text) {
    return "pasteText(" + scriptArgument(text) + "[0])";
}

std::string StickyController::setSelectedScript(bool on) { return "setSelected(" + flag(on) + ")"; }
std::string StickyController::setTrashScript(bool on) { return "setTrash(" + flag(on) + ")"; }

std::string StickyController::setConflictScript(const std::optional<std::string>& originalTitle) {
    if (!originalTitle) return "setConflict(null)";
    return "setConflict(" + scriptArgument(*originalTitle) + "[0])";
}

}
