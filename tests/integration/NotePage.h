#pragma once
// What the note page tests stand on: one private X session per test process
// with GTK opened on it, a note window factory, ways to run script in a page
// and to read what the X server shows, and the fixture that opens notes.
#include "LogCapture.h"
#include "integration/Harness.h"
#include "integration/PageScript.h"
#include "platform/Platform.h"
#include "platform/linux/GObjectPtr.h"
#include "platform/linux/GtkNoteWindow.h"
#include "window/StickyController.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

// After the test framework: Xlib's macros (None, Bool…) clash with its names.
#include <gdk/gdkx.h>
#include <gtk/gtk.h>
#include <webkit2/webkit2.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace marrowleaf::testing {

using nlohmann::json;

// ---------------------------------------------------------------- the desk the notes stand on

// One private X session per test process with GTK opened on it and the note
// window factory installed; GTK can be opened only once per process. Torn
// down after the last test.
class NoteDesk {
public:
    static NoteDesk& get() {
        if (!desk) desk = new NoteDesk();
        return *desk;
    }
    static void tearDown() {
        delete desk;
        desk = nullptr;
    }

    XSession session;
    std::unique_ptr<GtkNoteWindowFactory> factory;
    std::string pageTemplate;

    // The desktop's colour, so a screenshot tells margin from note.
    static constexpr const char* background = "#7f8ea3";

private:
    static inline NoteDesk* desk = nullptr;
    Platform::Services previous;

    NoteDesk() : session(XSession::Options{}) {
        setenv("DISPLAY", session.display().c_str(), 1);
        setenv("DBUS_SESSION_BUS_ADDRESS", session.busAddress().c_str(), 1);
        setenv("GDK_BACKEND", "x11", 1);
        unsetenv("WAYLAND_DISPLAY");
        if (!gtk_init_check(nullptr, nullptr))
            throw std::runtime_error("can't open GTK on " + session.display());
        session.run({"xsetroot", "-solid", background});
        pageTemplate = readFile(builtPage());
        if (pageTemplate.empty())
            throw std::runtime_error("can't read the built page " + builtPage().string());
        factory = std::make_unique<GtkNoteWindowFactory>();
        const std::string markdownPage = readFile(builtPage().parent_path() / "markdown.html");
        if (markdownPage.empty()) throw std::runtime_error("can't read the built Markdown page");
        factory->setMarkdownPage(markdownPage);
        previous = Platform::current();
        Platform::Services platform = previous;
        platform.noteWindowFactory = factory.get();
        Platform::install(platform);
    }

    ~NoteDesk() {
        Platform::install(previous);
        factory.reset();
        // Let WebKit tell its helpers goodbye before the display goes.
        runMainContextUntil([] { return false; }, 200ms);
        gdk_display_close(gdk_display_get_default());
    }

    static std::filesystem::path builtPage() {
        return std::filesystem::path(MARROWLEAF_BINARY).parent_path() / "Resources" / "sticky.html";
    }
};

// ---------------------------------------------------------------- talking to a page

// Runs `script` in the page and returns its value as JSON; nothing when it
// threw or gave no JSON value.
std::optional<json> evaluate(WebKitWebView* view, const std::string& script);

// Lets the main loop run for a while: for checking that something does NOT happen.
void settle(std::chrono::milliseconds time);

// WebKit's web processes started by this test process.
std::vector<pid_t> webProcesses();

// The X server's view of one window.
struct XWindowState {
    bool exists = false;
    bool viewable = false;
    Rect frame;   // root coordinates
    int depth = 0;
};

XWindowState xWindowState(XConnection& x, xcb_window_t window);

bool hasAtom(XConnection& x, xcb_window_t window, const std::string& property, const std::string& atom);

// What the screen shows, read back from the root window through the harness's
// own X connection.
struct Shot {
    GObjectPtr<GdkPixbuf> pixels;
    Shot(XConnection& x, Rect area) {
        xcb_connection_t* c = x.get();
        const auto width = static_cast<std::uint16_t>(area.width),
                   height = static_cast<std::uint16_t>(area.height);
        auto cookie = xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, x.root(), static_cast<std::int16_t>(area.x),
                                    static_cast<std::int16_t>(area.y), width, height, ~0u);
        xcb_get_image_reply_t* image = xcb_get_image_reply(c, cookie, nullptr);
        if (!image) return;
        // A 24-bit root window comes as 32 bits per pixel, blue first.
        const std::uint8_t* data = xcb_get_image_data(image);
        if (xcb_get_image_data_length(image) >= int(width) * height * 4) {
            pixels.reset(gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, width, height));
            guchar* out = gdk_pixbuf_get_pixels(pixels.get());
            const int stride = gdk_pixbuf_get_rowstride(pixels.get());
            for (int row = 0; row < height; ++row)
                for (int col = 0; col < width; ++col) {
                    const std::uint8_t* in = data + (row * width + col) * 4;
                    guchar* px = out + row * stride + col * 3;
                    px[0] = in[2];
                    px[1] = in[1];
                    px[2] = in[0];
                }
        }
        free(image);
    }
    Shot(const Shot&) = delete;
    Shot& operator=(const Shot&) = delete;

    // "#rrggbb" of the pixel at (x, y) of the area.
    std::string at(int x, int y) const {
        if (!pixels || x < 0 || y < 0 || x >= gdk_pixbuf_get_width(pixels.get()) ||
            y >= gdk_pixbuf_get_height(pixels.get()))
            return "outside";
        const guchar* p = gdk_pixbuf_get_pixels(pixels.get()) + y * gdk_pixbuf_get_rowstride(pixels.get()) +
                          x * gdk_pixbuf_get_n_channels(pixels.get());
        char hex[8];
        std::snprintf(hex, sizeof hex, "#%02x%02x%02x", p[0], p[1], p[2]);
        return hex;
    }
    // Whether the pixel is within `tolerance` of `hex` ("#rrggbb") in every channel.
    bool near(int x, int y, const std::string& hex, int tolerance = 6) const {
        const std::string seen = at(x, y);
        if (seen.size() != 7 || seen[0] != '#' || hex.size() != 7 || hex[0] != '#') return false;
        for (int channel = 0; channel < 3; ++channel) {
            const int a = std::stoi(seen.substr(1 + 2 * channel, 2), nullptr, 16);
            const int b = std::stoi(hex.substr(1 + 2 * channel, 2), nullptr, 16);
            if (std::abs(a - b) > tolerance) return false;
        }
        return true;
    }
    bool save(const std::filesystem::path& file) const {
        return pixels && gdk_pixbuf_save(pixels.get(), file.c_str(), "png", nullptr, nullptr);
    }
};

struct Received {
    std::string type;
    json body;
};

// ---------------------------------------------------------------- a note on the desk

class NotePage : public ::testing::Test {
protected:
    NoteDesk& desk = NoteDesk::get();
    std::vector<Received> received;
    std::vector<std::unique_ptr<StickyController>> notes;

    void TearDown() override {
        notes.clear();
        settle(50ms);
    }

    static Record recordAt(Rect frame, const std::string& color = "yellow", bool pinned = false) {
        Record record;
        record.color = color;
        if (pinned) record.pinned = true;
        record.frame = {frame.x, frame.y, frame.width, frame.height};
        return record;
    }
    static Record defaultRecord() { return recordAt({200, 150, 260, 220}); }

    StickyController& open(const std::string& content, const Record& record = defaultRecord(),
                           bool editNow = false) {
        notes.push_back(std::make_unique<StickyController>(
            "sticky-" + std::to_string(notes.size() + 1), content, record, editNow, desk.pageTemplate,
            [this](StickyController&, const std::string& type, const json& body) {
                received.push_back({type, body});
            }));
        return *notes.back();
    }

    static GtkNoteWindow& gtkWindow(StickyController& note) {
        return dynamic_cast<GtkNoteWindow&>(note.window());
    }
    static WebKitWebView* view(StickyController& note) { return gtkWindow(note).webView(); }
    static xcb_window_t xid(StickyController& note) {
        return static_cast<xcb_window_t>(note.window().windowNumber());
    }

    bool started(StickyController& note) {
        if (!gtkWindow(note).pageLoaded()) return false;
        auto ready = evaluate(
            view(note), "document.readyState === 'complete' && typeof window.setContent === 'function'");
        return ready && *ready == true;
    }

    // Waits until the page has loaded and its script has started.
    bool loaded(StickyController& note, std::chrono::milliseconds timeout = 10s) {
        return runMainContextUntil([&] { return started(note); }, timeout);
    }

    StickyController& openLoaded(const std::string& content, const Record& record = defaultRecord(),
                                 bool editNow = false) {
        StickyController& note = open(content, record, editNow);
        EXPECT_TRUE(loaded(note)) << "the page did not load";
        return note;
    }

    // Orders the note front and waits until the X server shows it where its frame says.
    bool show(StickyController& note) {
        note.window().orderFront();
        const Rect wanted = note.window().frame();
        return runMainContextUntil([&] {
            const auto state = xWindowState(desk.session.x(), xid(note));
            return state.viewable && state.frame == wanted;
        });
    }

    StickyController& openShown(const std::string& content, const Record& record = defaultRecord(),
                                bool editNow = false) {
        StickyController& note = openLoaded(content, record, editNow);
        EXPECT_TRUE(show(note)) << "the window did not show at its frame";
        return note;
    }

    std::vector<Received> messagesOfType(const std::string& type) const {
        std::vector<Received> found;
        for (const auto& m : received)
            if (m.type == type) found.push_back(m);
        return found;
    }

    std::set<std::string> typesReceived() const {
        std::set<std::string> types;
        for (const auto& m : received)
            types.insert(m.type);
        return types;
    }

    bool waitForMessage(const std::string& type, std::chrono::milliseconds timeout = 5s) {
        return runMainContextUntil([&] { return !messagesOfType(type).empty(); }, timeout);
    }

    // The text of the last "save", once one has come.
    std::optional<std::string> lastSaved() const {
        auto saves = messagesOfType(page::message::save);
        if (saves.empty() || !saves.back().body[page::field::text].is_string()) return std::nullopt;
        return saves.back().body[page::field::text].get<std::string>();
    }

    bool waitForSave(const std::string& text, std::chrono::milliseconds timeout = 5s) {
        return runMainContextUntil([&] { return lastSaved() == text; }, timeout);
    }

    // Runs `script` once the page shows the HTML of its latest text: the
    // rendering is asked for when the text changes and arrives a moment later.
    json run(StickyController& note, const std::string& script) {
        runMainContextUntil(
            [&] {
                return evaluate(view(note), "!" + byId(element::view) + ".hasAttribute('aria-busy')") ==
                       json(true);
            },
            5s);
        return evaluate(view(note), script).value_or(json());
    }

    std::string viewText(StickyController& note) {
        return run(note, byId(element::view) + ".textContent").get<std::string>();
    }

    // The centre of the first element matching `selector`, in screen coordinates.
    std::optional<Point> centreOf(StickyController& note, const std::string& selector) {
        const json at = run(note, "(() => { const e = document.querySelector(" + json(selector).dump() +
                                      "); if (!e) return null; const b = e.getBoundingClientRect();"
                                      " return [b.left + b.width / 2, b.top + b.height / 2]; })()");
        if (!at.is_array()) return std::nullopt;
        const Rect frame = note.window().frame();
        return Point{frame.x + at[0].get<double>(), frame.y + at[1].get<double>()};
    }

    void xdotool(const std::vector<std::string>& arguments) {
        std::vector<std::string> argv{"xdotool"};
        argv.insert(argv.end(), arguments.begin(), arguments.end());
        const auto result = desk.session.run(argv);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    // No --sync: xdotool waits forever when the pointer is already there. The
    // server handles the move before the click all the same.
    void clickAt(Point p) {
        xdotool({"mousemove", std::to_string(int(p.x)), std::to_string(int(p.y)), "click", "1"});
    }

    // A real click on the element, through the X server.
    bool click(StickyController& note, const std::string& selector) {
        auto at = centreOf(note, selector);
        if (!at) return false;
        clickAt(*at);
        return true;
    }

    // Opens the snooze menu, then its date and time picker, with clicks.
    bool openPicker(StickyController& note) {
        auto shown = [&](const char* id) {
            return runMainContextUntil([&] { return run(note, byId(id) + ".hidden") == false; });
        };
        return click(note, selector(element::snoozeButton)) && shown(element::snoozeMenu) &&
               click(note, selector(element::snoozeChoices, ".menu-item:last-child")) &&
               shown(element::picker);
    }

    void type(const std::string& text) { xdotool({"type", "--delay", "15", "--", text}); }
    void key(const std::string& keys) { xdotool({"key", keys}); }

    // Gives the note the focus and waits until the window manager has made it the active window.
    bool focus(StickyController& note) {
        note.window().focus();
        return runMainContextUntil([&] { return activeWindow() == xid(note); });
    }

    xcb_window_t activeWindow() {
        auto active = desk.session.x().rootCardinals("_NET_ACTIVE_WINDOW");
        return active && !active->empty() ? (*active)[0] : XCB_NONE;
    }
};

}
