#include "LogCapture.h"
#include "integration/Harness.h"
#include "integration/Processes.h"
#include "platform/Platform.h"
#include "platform/linux/GtkNoteWindow.h"
#include "window/StickyController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

// After the test framework: Xlib's macros (None, Bool…) clash with its names.
#include <gdk/gdkx.h>
#include <gtk/gtk.h>
#include <webkit2/webkit2.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <sstream>
#include <dirent.h>
#include <fstream>
#include <signal.h>

using namespace marrowleaf;
using namespace marrowleaf::testing;
using nlohmann::json;
namespace fs = std::filesystem;

namespace {

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
        if (!gtk_init_check(nullptr, nullptr)) throw std::runtime_error("can't open GTK on " + session.display());
        session.run({"xsetroot", "-solid", background});
        pageTemplate = readFile(builtPage());
        if (pageTemplate.empty()) throw std::runtime_error("can't read the built page " + builtPage().string());
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

    static fs::path builtPage() { return fs::path(MARROWLEAF_BINARY).parent_path() / "Resources" / "sticky.html"; }
};

class NoteDeskEnvironment : public ::testing::Environment {
public:
    void TearDown() override { NoteDesk::tearDown(); }
};

[[maybe_unused]] auto* const deskEnvironment = ::testing::AddGlobalTestEnvironment(new NoteDeskEnvironment);

// ---------------------------------------------------------------- talking to a page

// Runs `script` in the page and returns its value as JSON; nothing when it
// threw or gave no JSON value.
std::optional<json> evaluate(WebKitWebView* view, const std::string& script) {
    struct Outcome {
        bool done = false;
        std::optional<json> value;
    };
    auto outcome = std::make_shared<Outcome>();
    webkit_web_view_evaluate_javascript(
        view, script.c_str(), -1, nullptr, nullptr, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            auto* holder = static_cast<std::shared_ptr<Outcome>*>(data);
            GError* error = nullptr;
            JSCValue* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error);
            if (value) {
                char* text = jsc_value_to_json(value, 0);
                if (text) {
                    json parsed = json::parse(text, nullptr, false);
                    if (!parsed.is_discarded()) (*holder)->value = parsed;
                }
                g_free(text);
                g_object_unref(value);
            }
            if (error) g_error_free(error);
            (*holder)->done = true;
            delete holder;
        },
        new std::shared_ptr<Outcome>(outcome));
    runMainContextUntil([&] { return outcome->done; }, 5s);
    return outcome->value;
}

// Lets the main loop run for a while: for checking that something does NOT happen.
void settle(std::chrono::milliseconds time) {
    runMainContextUntil([] { return false; }, time);
}

// WebKit's web processes started by this test process.
std::vector<pid_t> webProcesses() {
    std::vector<pid_t> found;
    for (pid_t pid : processTree(getpid()))
        if (processName(pid).rfind("WebKitWebProces", 0) == 0) found.push_back(pid);
    return found;
}

// The X server's view of one window.
struct XWindowState {
    bool exists = false;
    bool viewable = false;
    Rect frame;         // root coordinates
    int depth = 0;
};

XWindowState xWindowState(XConnection& x, xcb_window_t window) {
    XWindowState state;
    xcb_connection_t* c = x.get();
    auto* attributes = xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr);
    if (!attributes) return state;
    state.exists = true;
    state.viewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    free(attributes);
    if (auto* geometry = xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr)) {
        state.depth = geometry->depth;
        state.frame.width = geometry->width;
        state.frame.height = geometry->height;
        free(geometry);
    }
    if (auto* at = xcb_translate_coordinates_reply(c, xcb_translate_coordinates(c, window, x.root(), 0, 0), nullptr)) {
        state.frame.x = at->dst_x;
        state.frame.y = at->dst_y;
        free(at);
    }
    return state;
}

bool hasAtom(XConnection& x, xcb_window_t window, const std::string& property, const std::string& atom) {
    auto values = x.cardinals(window, property);
    if (!values) return false;
    const xcb_atom_t wanted = x.atom(atom);
    return std::find(values->begin(), values->end(), wanted) != values->end();
}

// What the screen shows, read back from the root window through the harness's
// own X connection.
struct Shot {
    GdkPixbuf* pixels = nullptr;
    Shot(XConnection& x, Rect area) {
        xcb_connection_t* c = x.get();
        const auto width = static_cast<std::uint16_t>(area.width), height = static_cast<std::uint16_t>(area.height);
        auto cookie = xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, x.root(), static_cast<std::int16_t>(area.x),
                                    static_cast<std::int16_t>(area.y), width, height, ~0u);
        xcb_get_image_reply_t* image = xcb_get_image_reply(c, cookie, nullptr);
        if (!image) return;
        // A 24-bit root window comes as 32 bits per pixel, blue first.
        const std::uint8_t* data = xcb_get_image_data(image);
        if (xcb_get_image_data_length(image) >= int(width) * height * 4) {
            pixels = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, width, height);
            guchar* out = gdk_pixbuf_get_pixels(pixels);
            const int stride = gdk_pixbuf_get_rowstride(pixels);
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
    ~Shot() {
        if (pixels) g_object_unref(pixels);
    }
    Shot(const Shot&) = delete;
    Shot& operator=(const Shot&) = delete;

    // "#rrggbb" of the pixel at (x, y) of the area.
    std::string at(int x, int y) const {
        if (!pixels || x < 0 || y < 0 || x >= gdk_pixbuf_get_width(pixels) || y >= gdk_pixbuf_get_height(pixels))
            return "outside";
        const guchar* p = gdk_pixbuf_get_pixels(pixels) + y * gdk_pixbuf_get_rowstride(pixels) +
                          x * gdk_pixbuf_get_n_channels(pixels);
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
    bool save(const fs::path& file) const {
        return pixels && gdk_pixbuf_save(pixels, file.c_str(), "png", nullptr, nullptr);
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

    StickyController& open(const std::string& content, const Record& record = defaultRecord(), bool editNow = false) {
        notes.push_back(std::make_unique<StickyController>(
            "sticky-" + std::to_string(notes.size() + 1), content, record, editNow, desk.pageTemplate,
            [this](StickyController&, const std::string& type, const json& body) { received.push_back({type, body}); }));
        return *notes.back();
    }

    static GtkNoteWindow& gtkWindow(StickyController& note) { return dynamic_cast<GtkNoteWindow&>(note.window()); }
    static WebKitWebView* view(StickyController& note) { return gtkWindow(note).webView(); }
    static xcb_window_t xid(StickyController& note) { return static_cast<xcb_window_t>(note.window().windowNumber()); }

    bool started(StickyController& note) {
        if (!gtkWindow(note).pageLoaded()) return false;
        auto ready = evaluate(view(note), "document.readyState === 'complete' && typeof window.setContent === 'function'");
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
        for (const auto& m : received) types.insert(m.type);
        return types;
    }

    bool waitForMessage(const std::string& type, std::chrono::milliseconds timeout = 5s) {
        return runMainContextUntil([&] { return !messagesOfType(type).empty(); }, timeout);
    }

    // The text of the last "save", once one has come.
    std::optional<std::string> lastSaved() const {
        auto saves = messagesOfType("save");
        if (saves.empty() || !saves.back().body["c"].is_string()) return std::nullopt;
        return saves.back().body["c"].get<std::string>();
    }

    bool waitForSave(const std::string& text, std::chrono::milliseconds timeout = 5s) {
        return runMainContextUntil([&] { return lastSaved() == text; }, timeout);
    }

    // Runs `script` once the page shows the HTML of its latest text: the
    // rendering is asked for when the text changes and arrives a moment later.
    json run(StickyController& note, const std::string& script) {
        runMainContextUntil(
            [&] {
                return evaluate(view(note), "!document.getElementById('view').hasAttribute('aria-busy')") ==
                       json(true);
            },
            5s);
        return evaluate(view(note), script).value_or(json());
    }

    std::string viewText(StickyController& note) {
        return run(note, "document.getElementById('view').textContent").get<std::string>();
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
    void clickAt(Point p) { xdotool({"mousemove", std::to_string(int(p.x)), std::to_string(int(p.y)), "click", "1"}); }

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
            return runMainContextUntil(
                [&] { return run(note, std::string("document.getElementById('") + id + "').hidden") == false; });
        };
        return click(note, "#snoozeButton") && shown("snoozeMenu") &&
               click(note, "#snoozeChoices .menu-item:last-child") && shown("picker");
    }

    void type(const std::string& text) { xdotool({"type", "--delay", "15", "--", text}); }
    void key(const std::string& keys) { xdotool({"key", keys}); }

    xcb_window_t activeWindow() {
        auto active = desk.session.x().rootCardinals("_NET_ACTIVE_WINDOW");
        return active && !active->empty() ? (*active)[0] : XCB_NONE;
    }
};

}

// ---------------------------------------------------------------- what the page shows

TEST_F(NotePage, loadsTheBuiltPageAndReportsItsButtonStrip) {
    StickyController& note = openLoaded("hello");
    ASSERT_TRUE(waitForMessage("bar"));
    const json bar = messagesOfType("bar").front().body;
    ASSERT_TRUE(bar["w"].is_number());
    EXPECT_GT(bar["w"].get<double>(), 20);
    EXPECT_EQ(run(note, "document.getElementById('view').innerText.trim()"), "hello");
}

TEST_F(NotePage, showsTheNoteAsRenderedMarkdown) {
    StickyController& note = openLoaded("# Shopping\n\n- milk\n- **bread**");
    EXPECT_EQ(run(note, "document.querySelector('#view h1').textContent"), "Shopping");
    EXPECT_EQ(run(note, "document.querySelectorAll('#view li').length"), 2);
    EXPECT_EQ(run(note, "document.querySelector('#view li strong').textContent"), "bread");
}

TEST_F(NotePage, showsItsTextAsItIsWhenNoMarkdownPageWasGiven) {
    // A factory of its own, never given the Markdown page.
    GtkNoteWindowFactory bare;
    const Platform::Services shared = Platform::current();
    Platform::Services platform = shared;
    platform.noteWindowFactory = &bare;
    Platform::install(platform);
    const std::string text = "# Shopping\n\n- milk <b>now</b>";
    {
        StickyController note("sticky-bare", text, defaultRecord(), false, NoteDesk::get().pageTemplate,
                              [](StickyController&, const std::string&, const json&) {});
        Platform::install(shared);
        ASSERT_TRUE(loaded(note));
        EXPECT_EQ(run(note, "document.querySelector('#view .plain').textContent"), text);
        EXPECT_EQ(run(note, "document.querySelectorAll('#view h1, #view li, #view b').length"), 0);
        EXPECT_EQ(run(note, "currentText()"), text);
    }
    Platform::install(shared);
}

TEST_F(NotePage, showsAClosingScriptTagInTheNoteLiterally) {
    const std::string text = "before </script><script>window.__pwned = 1</script> after";
    StickyController& note = openLoaded(text);
    EXPECT_EQ(run(note, "document.getElementById('view').innerText.trim()"), text);
    EXPECT_EQ(run(note, "typeof window.__pwned"), "undefined");
    EXPECT_EQ(run(note, "document.querySelectorAll('script').length"), 2);   // the page's own two
}

TEST_F(NotePage, keepsAPlaceholderWrittenInTheNoteAsTheNoteSaysIt) {
    const std::string text = "__CONTENT__ and __BG__ and __EDIT__";
    StickyController& note = openLoaded(text, defaultRecord(), true);
    EXPECT_EQ(run(note, "document.getElementById('editor').value"), text);
    run(note, "document.getElementById('editor').blur()");
    // Rendered as Markdown (double underscores make bold), never filled in.
    EXPECT_EQ(run(note, "document.getElementById('view').innerText.trim()"), "CONTENT and BG and EDIT");
    EXPECT_EQ(run(note, "document.querySelectorAll('#view strong').length"), 3);
}

TEST_F(NotePage, showsAnHtmlCommentOpenerBeforeAScriptTagLiterally) {
    const std::string text = "<!--<script> still text";
    StickyController& note = openLoaded(text);
    EXPECT_EQ(run(note, "document.getElementById('view').innerText.trim()"), text);
    note.sendContent("changed");
    EXPECT_TRUE(runMainContextUntil([&] { return run(note, "document.getElementById('view').innerText.trim()") == "changed"; }));
}

TEST_F(NotePage, opensTheEditorAtOnceForANewNote) {
    StickyController& note = openLoaded("draft", defaultRecord(), true);
    EXPECT_EQ(run(note, "!document.getElementById('editor').hidden"), true);
    EXPECT_EQ(run(note, "document.getElementById('editor').value"), "draft");
}

TEST_F(NotePage, keepsTheEditorClosedForANoteThatIsNotNew) {
    StickyController& note = openLoaded("draft");
    EXPECT_EQ(run(note, "document.getElementById('editor').hidden"), true);
}

TEST_F(NotePage, paintsTheNoteInItsColour) {
    StickyController& note = openLoaded("x", recordAt({200, 150, 260, 220}, "blue"));
    EXPECT_EQ(run(note, "getComputedStyle(document.getElementById('note')).backgroundColor"), "rgb(207, 230, 255)");
    EXPECT_EQ(run(note, "getComputedStyle(document.getElementById('header')).backgroundColor"), "rgb(172, 210, 251)");
}

TEST_F(NotePage, paintsANoteWithAnUnknownColourYellow) {
    StickyController& note = openLoaded("x", recordAt({200, 150, 260, 220}, "teal"));
    EXPECT_EQ(run(note, "getComputedStyle(document.getElementById('note')).backgroundColor"), "rgb(255, 244, 163)");
}

// ---------------------------------------------------------------- calls into the page

TEST_F(NotePage, setContentReplacesTheTextWithoutSavingIt) {
    StickyController& note = openLoaded("old");
    note.sendContent("new **text** </script>");
    EXPECT_TRUE(runMainContextUntil(
        [&] { return run(note, "document.getElementById('view').innerText.trim()") == "new text </script>"; }));
    settle(400ms);
    EXPECT_TRUE(messagesOfType("save").empty());
}

TEST_F(NotePage, aSaveSaysHowManyTextsThePageHadBeenSent) {
    StickyController& note = openLoaded("one", defaultRecord(), true);
    note.sendContent("two");
    note.sendContent("three");
    run(note, "document.getElementById('editor').value += ' and more'; "
              "document.getElementById('editor').dispatchEvent(new Event('input')); 1");
    ASSERT_TRUE(waitForSave("three and more"));
    EXPECT_EQ(messagesOfType("save").back().body["v"], note.contentVersion);
    EXPECT_EQ(note.contentVersion, 2);
}

TEST_F(NotePage, setColorRepaintsTheNote) {
    StickyController& note = openLoaded("x");
    note.sendColor(StickyColor::named("mocha"));
    EXPECT_TRUE(runMainContextUntil([&] {
        return run(note, "getComputedStyle(document.getElementById('note')).backgroundColor") == "rgb(49, 50, 68)";
    }));
    EXPECT_EQ(run(note, "getComputedStyle(document.getElementById('header')).backgroundColor"), "rgb(69, 71, 90)");
    EXPECT_EQ(run(note, "getComputedStyle(document.getElementById('view')).color"), "rgb(205, 214, 244)");
}

TEST_F(NotePage, pasteTextInsertsAtTheCaretAndSavesTheText) {
    StickyController& note = openLoaded("one  three", defaultRecord(), true);
    run(note, "document.getElementById('editor').setSelectionRange(4, 4)");
    note.sendPaste("two");
    EXPECT_TRUE(waitForSave("one two three"));
}

TEST_F(NotePage, setSelectedShowsAndDropsTheSelectedRing) {
    StickyController& note = openShown("x");
    const std::string shadow = "getComputedStyle(document.getElementById('note')).boxShadow";
    const std::string before = run(note, shadow);
    note.sendSelected(true);
    EXPECT_TRUE(runMainContextUntil([&] { return run(note, shadow).get<std::string>().find("47, 124, 246") != std::string::npos; }));
    note.sendSelected(false);
    EXPECT_TRUE(runMainContextUntil([&] { return run(note, shadow) == before; }));
}

TEST_F(NotePage, flashPlaysAnAnimationOnTheNote) {
    StickyController& note = openLoaded("x");
    EXPECT_EQ(run(note, "document.getElementById('note').getAnimations().length"), 0);
    note.sendFlash();
    EXPECT_TRUE(runMainContextUntil([&] { return run(note, "document.getElementById('note').getAnimations().length") != 0; }));
}

TEST_F(NotePage, setTrashShowsAndDropsTheDeleteLook) {
    StickyController& note = openShown("x");
    const std::string transform = "getComputedStyle(document.getElementById('note')).transform";
    EXPECT_EQ(run(note, transform), "none");
    note.sendTrash(true);
    EXPECT_TRUE(runMainContextUntil([&] { return run(note, transform) == "matrix(0.94, 0, 0, 0.94, 0, 0)"; }));
    note.sendTrash(false);
    EXPECT_TRUE(runMainContextUntil([&] { return run(note, transform) == "none"; }));
}

// ---------------------------------------------------------------- the note window

TEST_F(NotePage, isAn32BitUndecoratedWindowOutOfTaskBarsAndPagers) {
    StickyController& note = openShown("x");
    XConnection& x = desk.session.x();
    EXPECT_EQ(xWindowState(x, xid(note)).depth, 32);
    EXPECT_TRUE(hasAtom(x, xid(note), "_NET_WM_STATE", "_NET_WM_STATE_SKIP_TASKBAR"));
    EXPECT_TRUE(hasAtom(x, xid(note), "_NET_WM_STATE", "_NET_WM_STATE_SKIP_PAGER"));
    auto motif = x.cardinals(xid(note), "_MOTIF_WM_HINTS");
    ASSERT_TRUE(motif && motif->size() >= 3);
    EXPECT_TRUE((*motif)[0] & 2u);    // decorations given…
    EXPECT_EQ((*motif)[2], 0u);       // …and there are none
}

TEST_F(NotePage, hasItsWindowNumberBeforeItIsFirstShown) {
    StickyController& note = openLoaded("x");
    ASSERT_NE(note.window().windowNumber(), 0);
    const auto state = xWindowState(desk.session.x(), xid(note));
    EXPECT_TRUE(state.exists);
    EXPECT_FALSE(state.viewable);
}

TEST_F(NotePage, showsAtItsFrameAndMovesWhenTheFrameIsSet) {
    StickyController& note = openShown("x", recordAt({300, 200, 280, 240}));
    EXPECT_EQ(xWindowState(desk.session.x(), xid(note)).frame, (Rect{300, 200, 280, 240}));
    note.window().setFrame({420, 260, 300, 250});
    EXPECT_EQ(note.window().frame(), (Rect{420, 260, 300, 250}));
    EXPECT_TRUE(runMainContextUntil(
        [&] { return xWindowState(desk.session.x(), xid(note)).frame == Rect{420, 260, 300, 250}; }));
    settle(100ms);
    EXPECT_EQ(note.window().frame(), (Rect{420, 260, 300, 250}));
}

TEST_F(NotePage, keepsTheFrameAskedForWhileTheWindowManagerPlacesTheWindow) {
    StickyController& note = openLoaded("x", recordAt({340, 230, 260, 220}));
    note.window().orderFront();
    std::vector<Rect> seen;
    runMainContextUntil([&] {
        seen.push_back(note.window().frame());
        return false;
    }, 600ms);
    EXPECT_TRUE(xWindowState(desk.session.x(), xid(note)).viewable);
    for (const Rect& frame : seen) ASSERT_EQ(frame, (Rect{340, 230, 260, 220}));
}

TEST_F(NotePage, ordersOutAndBackIn) {
    StickyController& note = openShown("x");
    note.window().orderOut();
    EXPECT_TRUE(runMainContextUntil([&] { return !xWindowState(desk.session.x(), xid(note)).viewable; }));
    EXPECT_TRUE(show(note));
}

TEST_F(NotePage, closingHidesTheWindowWithoutDestroyingIt) {
    StickyController& note = openShown("x");
    const auto number = note.window().windowNumber();
    note.close();
    EXPECT_TRUE(runMainContextUntil([&] { return !xWindowState(desk.session.x(), xid(note)).viewable; }));
    settle(100ms);
    EXPECT_TRUE(xWindowState(desk.session.x(), static_cast<xcb_window_t>(number)).exists);
    EXPECT_EQ(note.window().windowNumber(), number);
}

TEST_F(NotePage, aPinnedNoteStaysAboveOtherWindows) {
    StickyController& pinned = openShown("x", recordAt({200, 150, 260, 220}, "yellow", true));
    StickyController& plain = openShown("y", recordAt({500, 150, 260, 220}));
    XConnection& x = desk.session.x();
    EXPECT_TRUE(hasAtom(x, xid(pinned), "_NET_WM_STATE", "_NET_WM_STATE_ABOVE"));
    EXPECT_FALSE(hasAtom(x, xid(plain), "_NET_WM_STATE", "_NET_WM_STATE_ABOVE"));
    pinned.window().setLevel(WindowLevel::normal);
    EXPECT_TRUE(runMainContextUntil([&] { return !hasAtom(x, xid(pinned), "_NET_WM_STATE", "_NET_WM_STATE_ABOVE"); }));
    EXPECT_EQ(pinned.window().level(), WindowLevel::normal);
}

TEST_F(NotePage, aDraggedNoteIsKeptAboveAndRaisedOverTheOthers) {
    StickyController& dragged = openShown("x", recordAt({200, 150, 260, 220}));
    StickyController& pinned = openShown("y", recordAt({300, 200, 260, 220}, "yellow", true));
    XConnection& x = desk.session.x();
    dragged.window().setLevel(StickyController::levelDrag);
    EXPECT_TRUE(runMainContextUntil([&] {
        auto stacking = x.rootCardinals("_NET_CLIENT_LIST_STACKING");
        return hasAtom(x, xid(dragged), "_NET_WM_STATE", "_NET_WM_STATE_ABOVE") && stacking && !stacking->empty() &&
               stacking->back() == xid(dragged);
    }));
    (void)pinned;
}

TEST_F(NotePage, alphaZeroMakesTheWindowFullyTransparent) {
    StickyController& note = openShown("x");
    XConnection& x = desk.session.x();
    note.window().setAlpha(0);
    EXPECT_TRUE(runMainContextUntil([&] {
        auto opacity = x.cardinals(xid(note), "_NET_WM_WINDOW_OPACITY");
        return opacity && !opacity->empty() && (*opacity)[0] == 0;
    }));
    note.window().setAlpha(1);
    EXPECT_TRUE(runMainContextUntil([&] {
        auto opacity = x.cardinals(xid(note), "_NET_WM_WINDOW_OPACITY");
        return !opacity || opacity->empty() || (*opacity)[0] == 0xffffffffu;
    }));
}

// ---------------------------------------------------------------- what a person does in the page

TEST_F(NotePage, clickingTheNoteSendsFocusAndClearSelection) {
    StickyController& note = openShown("some text");
    ASSERT_TRUE(click(note, "#view"));
    EXPECT_TRUE(waitForMessage("focus"));
    EXPECT_TRUE(waitForMessage("clearSelection"));
}

TEST_F(NotePage, pressingTheDragStripSendsFocusButKeepsTheSelection) {
    StickyController& note = openShown("some text");
    ASSERT_TRUE(click(note, "#drag"));
    EXPECT_TRUE(waitForMessage("focus"));
    settle(300ms);
    EXPECT_TRUE(messagesOfType("clearSelection").empty());
}

TEST_F(NotePage, typingThenLeavingTheEditorAlwaysSavesTheFinalText) {
    for (const std::string text : {"first words", "Second, with punctuation: (a) [b] {c}!", "- [ ] a task"}) {
        received.clear();
        notes.clear();
        StickyController& note = openShown("");
        ASSERT_TRUE(click(note, "#body"));
        ASSERT_TRUE(runMainContextUntil([&] { return run(note, "document.activeElement.id") == "editor"; }));
        type(text);
        key("Escape");
        EXPECT_TRUE(waitForSave(text)) << "typed \"" << text << "\", last saved " << lastSaved().value_or("(nothing)");
        EXPECT_EQ(run(note, "document.getElementById('editor').hidden"), true);
    }
}

TEST_F(NotePage, typingSavesAfterAShortPauseWithoutLeavingTheEditor) {
    StickyController& note = openShown("", defaultRecord(), true);
    note.window().focus();
    ASSERT_TRUE(runMainContextUntil([&] { return activeWindow() == xid(note); }));
    type("kept while typing");
    EXPECT_TRUE(waitForSave("kept while typing"));
    EXPECT_EQ(run(note, "document.getElementById('editor').hidden"), false);
}

TEST_F(NotePage, choosingAColourSendsItsName) {
    StickyController& note = openShown("x");
    ASSERT_TRUE(click(note, "#colorButton"));
    ASSERT_TRUE(runMainContextUntil([&] { return run(note, "document.getElementById('colorMenu').hidden") == false; }));
    ASSERT_TRUE(click(note, "#swatches button[data-name='green']"));
    ASSERT_TRUE(waitForMessage("color"));
    EXPECT_EQ(messagesOfType("color").back().body, json({{"t", "color"}, {"name", "green"}}));
}

TEST_F(NotePage, thePinButtonSendsPin) {
    StickyController& note = openShown("x");
    ASSERT_TRUE(click(note, "#pinButton"));
    ASSERT_TRUE(waitForMessage("pin"));
    EXPECT_EQ(messagesOfType("pin").back().body, json({{"t", "pin"}}));
}

TEST_F(NotePage, theDeleteButtonSendsClose) {
    StickyController& note = openShown("x");
    ASSERT_TRUE(click(note, "#closeButton"));
    ASSERT_TRUE(waitForMessage("close"));
    EXPECT_EQ(messagesOfType("close").back().body, json({{"t", "close"}}));
}

TEST_F(NotePage, snoozingForAnHourSendsTheWakeTimeInMillisecondsAndItsWords) {
    StickyController& note = openShown("x", recordAt({200, 150, 300, 260}));
    ASSERT_TRUE(click(note, "#snoozeButton"));
    ASSERT_TRUE(runMainContextUntil([&] { return run(note, "document.getElementById('snoozeMenu').hidden") == false; }));
    const double now = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    ASSERT_TRUE(click(note, "#snoozeChoices .menu-item"));
    ASSERT_TRUE(waitForMessage("snooze"));
    const json body = messagesOfType("snooze").back().body;
    ASSERT_TRUE(body["at"].is_number());
    EXPECT_NEAR(body["at"].get<double>() / 1000, now + 3600, 10);
    ASSERT_TRUE(body["label"].is_string());
    EXPECT_FALSE(body["label"].get<std::string>().empty());
}

// Opens the snooze menu's date and time picker and fills it with the local
// time `daysAhead` days from now at 07:30; returns that time in milliseconds.
static const char* const fillPicker =
    "(() => { const d = new Date(Date.now() + DAYS * 86400000); d.setHours(7, 30, 0, 0);"
    " const pad = (n) => String(n).padStart(2, '0');"
    " document.getElementById('pickDate').value = `${d.getFullYear()}-${pad(d.getMonth() + 1)}-${pad(d.getDate())}`;"
    " document.getElementById('pickTime').value = '07:30'; return d.getTime(); })()";

static std::string fillPickerScript(int daysAhead) {
    std::string script = fillPicker;
    script.replace(script.find("DAYS"), 4, std::to_string(daysAhead));
    return script;
}

TEST_F(NotePage, snoozingUntilAPickedDateAndTimeSendsThatTime) {
    StickyController& note = openShown("x", recordAt({200, 150, 300, 260}));
    ASSERT_TRUE(openPicker(note));
    const json expected = run(note, fillPickerScript(2));
    ASSERT_TRUE(expected.is_number());
    ASSERT_TRUE(click(note, "#pickGo"));
    ASSERT_TRUE(waitForMessage("snooze"));
    const json body = messagesOfType("snooze").back().body;
    EXPECT_EQ(body["at"], expected);
    ASSERT_TRUE(body["label"].is_string());
    EXPECT_NE(body["label"].get<std::string>().find("7:30"), std::string::npos) << body["label"];
}

TEST_F(NotePage, aPickedTimeInThePastIsRefusedWithAMessage) {
    StickyController& note = openShown("x", recordAt({200, 150, 300, 260}));
    ASSERT_TRUE(openPicker(note));
    ASSERT_TRUE(run(note, fillPickerScript(-2)).is_number());
    ASSERT_TRUE(click(note, "#pickGo"));
    EXPECT_TRUE(runMainContextUntil([&] { return run(note, "document.getElementById('pickError').hidden") == false; }));
    settle(300ms);
    EXPECT_TRUE(messagesOfType("snooze").empty());
}

TEST_F(NotePage, clickingALinkSendsItsAddressAndNeverNavigatesTheNote) {
    StickyController& note = openShown("see [the site](https://example.org/page?q=1) now");
    ASSERT_TRUE(click(note, "#view a"));
    ASSERT_TRUE(waitForMessage("link"));
    EXPECT_EQ(messagesOfType("link").back().body, json({{"t", "link"}, {"url", "https://example.org/page?q=1"}}));
    settle(300ms);
    EXPECT_STREQ(webkit_web_view_get_uri(view(note)), "about:blank");
    EXPECT_EQ(run(note, "document.querySelector('#view a').textContent"), "the site");
}

TEST_F(NotePage, aScriptThatSetsTheLocationNeverNavigatesTheNote) {
    StickyController& note = openLoaded("x");
    run(note, "location.href = 'https://example.org/'; 1");
    run(note, "window.open('https://example.org/') === null");
    settle(500ms);
    EXPECT_STREQ(webkit_web_view_get_uri(view(note)), "about:blank");
    EXPECT_EQ(run(note, "typeof window.setContent"), "function");
}

TEST_F(NotePage, copyingSendsTheSelectedText) {
    StickyController& note = openShown("copy me please", defaultRecord(), true);
    note.window().focus();
    ASSERT_TRUE(runMainContextUntil([&] { return activeWindow() == xid(note); }));
    key("ctrl+a");
    key("ctrl+c");
    ASSERT_TRUE(waitForMessage("copy"));
    EXPECT_EQ(messagesOfType("copy").back().body, json({{"t", "copy"}, {"text", "copy me please"}}));
}

TEST_F(NotePage, pastingAsksTheAppForTheClipboardAndInsertsItsAnswer) {
    StickyController& note = openShown("start ", defaultRecord(), true);
    note.window().focus();
    ASSERT_TRUE(runMainContextUntil([&] { return activeWindow() == xid(note); }));
    key("End");
    key("ctrl+v");
    ASSERT_TRUE(waitForMessage("paste"));
    EXPECT_EQ(messagesOfType("paste").back().body, json({{"t", "paste"}}));
    note.sendPaste("pasted");
    EXPECT_TRUE(waitForSave("start pasted"));
}

// ---------------------------------------------------------------- focus and the first click

TEST_F(NotePage, focusMakesTheNoteTheActiveWindowAndTypingReachesThePage) {
    StickyController& note = openShown("", defaultRecord(), true);
    note.window().focus();
    EXPECT_TRUE(runMainContextUntil([&] { return activeWindow() == xid(note); }));
    type("abc");
    key("Escape");
    EXPECT_TRUE(waitForSave("abc"));
}

TEST_F(NotePage, theFirstClickOnANoteOfABackgroundApplicationActivatesItAndReachesThePage) {
    StickyController& note = openShown("hello");
    ChildProcess::Options otherProgram;
    otherProgram.argv = {"xmessage", "-geometry", "+700+500", "another program"};
    otherProgram.environment = inheritedEnvironment(desk.session.environment());
    ChildProcess other(otherProgram);
    xcb_window_t otherWindow = XCB_NONE;
    ASSERT_TRUE(runMainContextUntil([&] {
        otherWindow = activeWindow();
        auto windowClass = otherWindow == XCB_NONE ? std::nullopt : desk.session.x().text(otherWindow, "WM_CLASS");
        return windowClass && windowClass->find("xmessage") != std::string::npos;
    })) << "the other program did not take the focus";
    received.clear();
    ASSERT_TRUE(click(note, "#view"));
    EXPECT_TRUE(runMainContextUntil([&] { return activeWindow() == xid(note); }))
        << "active " << activeWindow() << ", note " << xid(note) << ", other " << otherWindow;
    EXPECT_TRUE(waitForMessage("focus"));
    EXPECT_TRUE(runMainContextUntil([&] { return run(note, "document.activeElement.id") == "editor"; }));
}

// ---------------------------------------------------------------- notes that try to run code

namespace {

// Note texts that would run a script, post a message or navigate if the page
// ever treated a note as markup. Each one that succeeded would set
// window.__pwned or post "close".
const std::vector<std::string> injections = {
    R"x(<script>window.__pwned = 1</script>)x",
    R"x(<img src=x onerror="window.__pwned = 2">)x",
    R"x(<svg onload="window.__pwned = 3"></svg>)x",
    R"x(<svg><script>window.__pwned = 4</script></svg>)x",
    R"x(<iframe src="javascript:parent.__pwned = 5"></iframe>)x",
    R"x(<iframe srcdoc="<script>parent.__pwned = 6</script>"></iframe>)x",
    R"x(<a href="javascript:window.__pwned = 7">raw link</a>)x",
    R"x([md link](javascript:window.__pwned=8))x",
    R"x([mixed case](JaVaScRiPt:window.__pwned=9))x",
    R"x([entity](&#106;avascript:window.__pwned=10))x",
    R"x([tab](java&#x09;script:window.__pwned=11))x",
    R"x([colon entity](javascript&colon;window.__pwned=12))x",
    R"x(![md image](javascript:window.__pwned=13))x",
    R"x(![quote break](x" onerror="window.__pwned=14))x",
    R"x([data html](data:text/html,<script>parent.__pwned=15</script>))x",
    R"x([data base64](data:text/html;base64,PHNjcmlwdD5wYXJlbnQuX19wd25lZD0xNjwvc2NyaXB0Pg==))x",
    R"x(![svg data image](data:image/svg+xml,<svg onload="parent.__pwned=17"/>))x",
    R"x(<a href="data:text/html,<script>parent.__pwned=18</script>">data link</a>)x",
    R"x(<body onload="window.__pwned = 19">)x",
    R"x(<details open ontoggle="window.__pwned = 20">x</details>)x",
    R"x(<input autofocus onfocus="window.__pwned = 21">)x",
    R"x(<style>@import "javascript:window.__pwned = 22";</style>)x",
    R"x(<object data="javascript:window.__pwned = 23"></object>)x",
    R"x(<embed src="javascript:window.__pwned = 24">)x",
    R"x(<math><mtext><table><mglyph><style><img src=x onerror="window.__pwned = 25">)x",
    R"x(<noscript><p title="</noscript><img src=x onerror=window.__pwned=26>">)x",
    R"x(<form action="javascript:window.__pwned = 27"><button>go</button></form>)x",
    R"x(<meta http-equiv="refresh" content="0;url=javascript:window.__pwned = 28">)x",
    "<base href=\"javascript:window.__pwned=29//\">\n\n[relative](/path)x",
    R"x([vb](vbscript:msgbox(30)))x",
    "`<script>window.__pwned = 31</script>`",
    R"x(<div style="background:url(javascript:window.__pwned=32)">styled</div>)x",
    "[ref link][evil]\n\n[evil]: javascript:window.__pwned=33",
    R"x(<javascript:window.__pwned=34>)x",
    R"x(https://example.org/"><script>window.__pwned = 35</script>)x",
    R"x(<img src=x onerror="window.webkit.messageHandlers.sticky.postMessage({t: 'close'})">)x",
    R"x(<svg><a xlink:href="javascript:window.__pwned = 37"><text x="20" y="20">svg link</text></a></svg>)x",
    R"x(</script><script>window.__pwned = 38</script>)x",
    R"x(<!--<script>window.__pwned = 39</script>-->)x",
    R"x("]}</script><script>window.__pwned = 40</script>)x",
    "line\u2028window.__pwned = 41\u2029",
    R"x(<a href="&#x6A;avascript:window.__pwned = 42">hex entity</a>)x",
    R"x(<template><script>window.__pwned = 43</script></template>)x",
    R"x(<link rel="stylesheet" href="data:text/css,*{}"><img src="x" onerror="window.__pwned = 44">)x",
    "- [ ] <img src=x onerror=\"window.__pwned = 45\">",
    R"x(> <iframe src="javascript:parent.__pwned = 46"></iframe>)x",
    R"x([link](https://example.org/" onclick="window.__pwned=47))x",
    R"x(![image](https://example.org/x.png" onload="window.__pwned=48))x",
    R"x(<a href="https://example.org/" onclick="window.__pwned = 49">plain link with a handler</a>)x",
    R"x(__CONTENT__ __BG__ </script><script>window.__pwned = 50</script>)x",
};

// What an injected note left behind in the page: a global, an element that
// runs code or navigates, an event handler, or a link that isn't a web, mail
// or file address.
const char* leftovers = R"js((() => {
  const view = document.getElementById('view');
  const found = [];
  if (typeof window.__pwned !== 'undefined') found.push('global ' + window.__pwned);
  const active = ['script', 'iframe', 'object', 'embed', 'svg', 'math', 'style', 'link', 'meta', 'base', 'form',
                  'frame', 'frameset', 'template', 'noscript', 'body', 'button', 'details'];
  for (const e of view.querySelectorAll('*')) {
    const tag = e.tagName.toLowerCase();
    if (active.includes(tag)) found.push('element ' + tag);
    for (const a of e.attributes) {
      if (a.name.startsWith('on')) found.push('handler ' + a.name);
      const safeImage = tag === 'img' && a.name === 'src' && /^data:image\/(gif|png|jpeg|webp);/i.test(a.value);
      if (/^\s*(javascript|vbscript|data):/i.test(a.value) && !safeImage) found.push('address ' + a.value);
    }
  }
  for (const a of view.querySelectorAll('a[href]'))
    if (!/^(https?|mailto|file):$/.test(a.protocol)) found.push('link ' + a.href);
  if (document.querySelectorAll('script').length !== 2) found.push('scripts ' + document.querySelectorAll('script').length);
  return found;
})())js";

// Hovers, focuses and clicks everything the note shows, as a curious person would.
const char* poke = R"js((() => {
  const view = document.getElementById('view');
  for (const e of view.querySelectorAll('*')) {
    for (const type of ['mouseover', 'mouseenter', 'mousemove', 'focus', 'animationstart', 'toggle'])
      e.dispatchEvent(new Event(type, { bubbles: true }));
  }
  for (const a of view.querySelectorAll('a')) a.click();
  return true;
})())js";

}

TEST_F(NotePage, aNoteThatTriesToRunCodeShowsAsTextAndRunsNothing) {
    ASSERT_GE(injections.size(), 30u);
    std::vector<StickyController*> opened;
    for (const auto& text : injections) opened.push_back(&open(text));
    for (std::size_t i = 0; i < opened.size(); ++i) ASSERT_TRUE(loaded(*opened[i])) << injections[i];
    settle(500ms);   // images fail, timers run out
    for (std::size_t i = 0; i < opened.size(); ++i) {
        EXPECT_EQ(run(*opened[i], leftovers), json::array()) << injections[i];
        run(*opened[i], poke);
    }
    settle(500ms);
    for (std::size_t i = 0; i < opened.size(); ++i) {
        EXPECT_EQ(run(*opened[i], "typeof window.__pwned"), "undefined") << injections[i];
        EXPECT_STREQ(webkit_web_view_get_uri(view(*opened[i])), "about:blank") << injections[i];
    }
    for (const auto& m : received) {
        EXPECT_TRUE(m.type == "bar" || m.type == "link") << m.body.dump();
        if (m.type == "link") {
            EXPECT_THAT(m.body["url"].get<std::string>(), ::testing::StartsWith("https://example.org/"));
        }
    }
}

TEST_F(NotePage, textThatTriesToRunCodeArrivingFromTheFileRunsNothing) {
    StickyController& note = openLoaded("start");
    for (const auto& text : injections) {
        note.sendContent(text);
        run(note, poke);
    }
    settle(500ms);
    note.sendContent(injections.front());
    settle(200ms);
    EXPECT_EQ(run(note, leftovers), json::array());
    EXPECT_EQ(run(note, "typeof window.__pwned"), "undefined");
    EXPECT_STREQ(webkit_web_view_get_uri(view(note)), "about:blank");
    for (const auto& m : received) EXPECT_TRUE(m.type == "bar" || m.type == "link") << m.body.dump();
}

TEST_F(NotePage, pastedTextThatTriesToRunCodeStaysText) {
    StickyController& note = openLoaded("", defaultRecord(), true);
    std::string all;
    for (const auto& text : injections) all += text + "\n";
    note.sendPaste(all);
    ASSERT_TRUE(waitForSave(all));
    run(note, "document.getElementById('editor').blur()");
    run(note, poke);
    settle(500ms);
    EXPECT_EQ(run(note, leftovers), json::array());
    for (const auto& m : received) EXPECT_TRUE(m.type == "bar" || m.type == "link" || m.type == "save") << m.body.dump();
}

// ---------------------------------------------------------------- the web process

TEST_F(NotePage, allNotesShareOneWebProcess) {
    for (int i = 0; i < 4; ++i) openLoaded("note " + std::to_string(i), recordAt({100.0 + 60 * i, 100, 260, 220}));
    EXPECT_EQ(webProcesses().size(), 1u);
}

TEST_F(NotePage, whenTheWebProcessDiesEveryPageComesBackWithinASecondWithItsCurrentText) {
    support::LogCapture log;
    StickyController& first = openLoaded("# first note");
    StickyController& second = openLoaded("second note", recordAt({500, 150, 260, 220}, "pink"));
    second.content = "second note, saved since";
    second.sendColor(StickyColor::named("green"));
    const auto processes = webProcesses();
    ASSERT_EQ(processes.size(), 1u);

    const auto killedAt = SteadyClock::now();
    ASSERT_EQ(kill(processes[0], SIGKILL), 0);
    ASSERT_TRUE(runMainContextUntil([&] { return log.count("ERROR the note pages' web process crashed") == 1; }));
    ASSERT_TRUE(runMainContextUntil([&] { return started(first) && started(second); }, 5s));
    const auto back = std::chrono::duration_cast<std::chrono::milliseconds>(SteadyClock::now() - killedAt);
    EXPECT_LT(back.count(), 1000) << "the pages took " << back.count() << " ms to come back";

    // Rendered again too: the Markdown page came back with them.
    EXPECT_EQ(run(first, "document.querySelector('#view h1')?.textContent ?? null"), "first note");
    EXPECT_EQ(run(second, "document.getElementById('view').innerText.trim()"), "second note, saved since");
    EXPECT_EQ(run(second, "getComputedStyle(document.getElementById('note')).backgroundColor"), "rgb(212, 245, 207)");
    EXPECT_THAT(log.lines(), ::testing::Contains("ERROR the note pages' web process crashed; reloading 2 note pages"));
    EXPECT_EQ(webProcesses().size(), 1u);
}

TEST_F(NotePage, aPageThatCameBackStillTalksToTheApp) {
    StickyController& note = openShown("x");
    const auto processes = webProcesses();
    ASSERT_EQ(processes.size(), 1u);
    kill(processes[0], SIGKILL);
    ASSERT_TRUE(runMainContextUntil([&] { return webProcesses() != processes && started(note); }));
    received.clear();
    ASSERT_TRUE(click(note, "#pinButton"));
    EXPECT_TRUE(waitForMessage("pin"));
}

// ---------------------------------------------------------------- how it looks on the desktop

namespace {

// Points of a note window, relative to its frame, and what they should show.
struct Probe {
    const char* where;
    double x, y;          // from the frame's left / top; negative counts from the right / bottom
    bool onNote;          // the note's body (else the desktop behind the margin)
};

const Probe probes[] = {
    {"top-left corner of the window", 1, 1, false},
    {"inside the rounded top-left corner of the note", 7, 7, false},
    {"left margin", 2, 110, false},
    {"right margin", -3, 110, false},
    {"bottom margin", 130, -1, false},
    {"bottom-right corner of the window", -2, -2, false},
    {"note body", 130, -24, true},
    {"note body near its left edge", 9, 150, true},
};

Point probePoint(const Probe& probe, Rect frame) {
    return {probe.x >= 0 ? frame.x + probe.x : frame.maxX() + probe.x,
            probe.y >= 0 ? frame.y + probe.y : frame.maxY() + probe.y};
}

}

class NoteOnTheDesktop : public NotePage {
protected:
    // Waits until the screen shows the note's body colour, and in its margin
    // what the bare desktop shows just beside the window.
    bool looksRight(StickyController& note, const std::string& bodyColour, std::string& failure) {
        const Rect frame = note.window().frame();
        const bool right = runMainContextUntil([&] {
            const std::string desktop = Shot(desk.session.x(), {frame.x - 3, frame.midY(), 1, 1}).at(0, 0);
            Shot shot(desk.session.x(), frame);
            failure.clear();
            for (const auto& probe : probes) {
                const Point p = probePoint(probe, Rect{0, 0, frame.width, frame.height});
                const std::string wanted = probe.onNote ? bodyColour : desktop;
                if (!shot.near(int(p.x), int(p.y), wanted))
                    failure += std::string(probe.where) + " shows " + shot.at(int(p.x), int(p.y)) + ", not " + wanted + "; ";
            }
            return failure.empty();
        });
        if (!right) {
            std::ostringstream where;
            where << "(frame " << note.window().frame() << ", on the X server "
                  << xWindowState(desk.session.x(), xid(note)).frame << ") ";
            failure = where.str() + failure;
        }
        return right;
    }

    bool composited() { return gdk_screen_is_composited(gdk_screen_get_default()); }
};

TEST_F(NoteOnTheDesktop, withoutACompositorTheMarginShowsTheDesktopAndNotABlackFrame) {
    ASSERT_FALSE(composited());
    StickyController& note = openShown("A note on a plain X server");

    std::string failure;
    EXPECT_TRUE(looksRight(note, "#fff4a3", failure)) << failure;
}

TEST_F(NoteOnTheDesktop, withoutACompositorAClickInTheMarginDoesNotReachThePage) {
    ASSERT_FALSE(composited());
    StickyController& note = openShown("x");
    const Rect frame = note.window().frame();
    clickAt({frame.x + 2, frame.y + 110});
    settle(400ms);
    EXPECT_TRUE(messagesOfType("focus").empty());
    clickAt({frame.x + 40, frame.y + 110});
    EXPECT_TRUE(waitForMessage("focus"));
}

TEST_F(NoteOnTheDesktop, underACompositorEveryColourShowsWithATransparentMargin) {
    ChildProcess::Options compositor;
    compositor.argv = {"xcompmgr"};
    compositor.environment = inheritedEnvironment(desk.session.environment());
    ChildProcess xcompmgr(compositor);
    ASSERT_TRUE(runMainContextUntil([&] { return composited(); })) << "xcompmgr did not start compositing";

    const std::vector<std::string> texts = {
        "# Groceries\n\n- [x] oat milk\n- [ ] coffee beans\n- [ ] lemons",
        "**Call Sam** about the\nweekend bike trip",
        "## Ideas\n\n1. Plant herbs\n2. Fix the bike\n3. Read *Dune*",
        "Standup at **10:30**\n\n> bring the numbers",
        "`git rebase -i HEAD~3`\n\nthen push with `--force-with-lease`",
        "Night mode\n\n[the docs](https://example.org/)",
    };
    const auto& palette = StickyColor::all();
    constexpr double width = 260, height = 220, gap = 24, left = 40, top = 40;
    for (std::size_t i = 0; i < palette.size(); ++i) {
        const Rect frame{left + (i % 3) * (width + gap), top + (i / 3) * (height + gap), width, height};
        openShown(texts[i], recordAt(frame, palette[i].name));
    }
    for (std::size_t i = 0; i < palette.size(); ++i) {
        std::string failure;
        EXPECT_TRUE(looksRight(*notes[i], palette[i].bg, failure)) << palette[i].name << ": " << failure;
    }
    // With MARROWLEAF_SCREENSHOTS set to a folder, the picture is kept there as
    // colors.png (docs/colors.png is made this way).
    if (const char* folder = std::getenv("MARROWLEAF_SCREENSHOTS")) {
        xdotool({"mousemove", "1", "1"});   // no note shows its hover look
        settle(500ms);
        Shot shot(desk.session.x(), {left - gap, top - gap, 3 * width + 4 * gap, 2 * height + 3 * gap});
        EXPECT_TRUE(shot.save(fs::path(folder) / "colors.png"));
    }
    notes.clear();
    xcompmgr.stop();
    EXPECT_TRUE(runMainContextUntil([&] { return !composited(); }));
}

TEST_F(NoteOnTheDesktop, whenTheCompositorGoesTheNoteIsShapedAgain) {
    ChildProcess::Options compositor;
    compositor.argv = {"xcompmgr"};
    compositor.environment = inheritedEnvironment(desk.session.environment());
    auto xcompmgr = std::make_unique<ChildProcess>(compositor);
    ASSERT_TRUE(runMainContextUntil([&] { return composited(); }));
    StickyController& note = openShown("x", recordAt({300, 200, 260, 220}, "blue"));
    std::string failure;
    EXPECT_TRUE(looksRight(note, "#cfe6ff", failure)) << failure;
    xcompmgr->stop();
    ASSERT_TRUE(runMainContextUntil([&] { return !composited(); }));
    EXPECT_TRUE(looksRight(note, "#cfe6ff", failure)) << failure;
}
