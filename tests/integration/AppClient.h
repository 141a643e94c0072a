#pragma once
#include "Harness.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

typedef struct _GDBusConnection GDBusConnection;

namespace marrowleaf::testing {

// Talks to the running program's test interface on the session bus (the
// program exports it when MARROWLEAF_TEST=1): what the registry holds and
// what each page shows, and scripts run in a page.
// A new connection to the session's private bus; the caller unrefs it. Throws
// when the bus can't be reached.
GDBusConnection* connectToSessionBus(const XSession& session);

class AppClient {
public:
    explicit AppClient(const XSession& session);
    ~AppClient();
    AppClient(const AppClient&) = delete;
    AppClient& operator=(const AppClient&) = delete;

    // {"notes": [{"id", "content", "page", "visible", "placedDesktop", "selected",
    // "window", "frame", "level", "record"}…], "state": …, "activeDesktops": […]};
    // absent while the program does not answer.
    std::optional<nlohmann::json> snapshot(std::chrono::milliseconds timeout = 5s);
    // The script's result as JSON; absent when the note or the program is not there.
    std::optional<nlohmann::json> runScript(const std::string& id, const std::string& script,
                                            std::chrono::milliseconds timeout = 5s);

    // The ids of the notes whose page has finished loading (their script has
    // run with the note's text); asks no page, so it is cheap to poll.
    std::optional<std::vector<std::string>> loadedPages(std::chrono::milliseconds timeout = 5s);

    // Puts back the notes of the last delete; whether the program answered.
    bool undoDelete(std::chrono::milliseconds timeout = 5s);

    // The snapshot entry of one note; absent when there is none.
    static std::optional<nlohmann::json> note(const nlohmann::json& snapshot, const std::string& id);
    // Waits until a snapshot satisfies `condition`; the last snapshot seen, or absent.
    std::optional<nlohmann::json> waitFor(const std::function<bool(const nlohmann::json&)>& condition,
                                          std::chrono::milliseconds timeout = 10s);

private:
    GDBusConnection* bus = nullptr;
    std::optional<std::string> call(const char* method, void* parameters, std::chrono::milliseconds timeout);
};

}
