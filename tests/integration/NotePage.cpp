#include "integration/NotePage.h"

#include "integration/Processes.h"
#include "platform/linux/GObjectPtr.h"

#include <algorithm>
#include <unistd.h>

namespace marrowleaf::testing {

namespace {

class NoteDeskEnvironment : public ::testing::Environment {
public:
    void TearDown() override { NoteDesk::tearDown(); }
};

[[maybe_unused]] auto* const deskEnvironment = ::testing::AddGlobalTestEnvironment(new NoteDeskEnvironment);

}

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
            GErrorOut error;
            GObjectPtr<JSCValue> value(
                webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error));
            if (value) {
                if (GCharPtr text{jsc_value_to_json(value.get(), 0)}) {
                    json parsed = json::parse(text.get(), nullptr, false);
                    if (!parsed.is_discarded()) (*holder)->value = parsed;
                }
            }
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
    if (auto* at = xcb_translate_coordinates_reply(c, xcb_translate_coordinates(c, window, x.root(), 0, 0),
                                                   nullptr)) {
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

}
