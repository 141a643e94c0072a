#include "AppClient.h"

#include <gio/gio.h>
#include <stdexcept>

namespace marrowleaf::testing {

namespace {
constexpr const char* busName = "org.marrowleaf.Marrowleaf";
constexpr const char* objectPath = "/org/marrowleaf/Marrowleaf/Test";
constexpr const char* interfaceName = "org.marrowleaf.Test";
}

GDBusConnection* connectToSessionBus(const XSession& session) {
    GError* error = nullptr;
    GDBusConnection* bus = g_dbus_connection_new_for_address_sync(
        session.busAddress().c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error);
    if (!bus) {
        std::string message = error ? error->message : "unknown error";
        g_clear_error(&error);
        throw std::runtime_error("can't reach the session bus: " + message);
    }
    return bus;
}

AppClient::AppClient(const XSession& session) : bus(connectToSessionBus(session)) {}

AppClient::~AppClient() {
    if (bus) g_object_unref(bus);
}

std::optional<std::string> AppClient::call(const char* method, void* parameters, std::chrono::milliseconds timeout) {
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(bus, busName, objectPath, interfaceName, method,
                                                  static_cast<GVariant*>(parameters), G_VARIANT_TYPE("(s)"),
                                                  G_DBUS_CALL_FLAGS_NONE, static_cast<int>(timeout.count()),
                                                  nullptr, &error);
    if (!reply) {
        g_clear_error(&error);
        return std::nullopt;
    }
    const char* text = nullptr;
    g_variant_get(reply, "(&s)", &text);
    std::string result = text;
    g_variant_unref(reply);
    return result;
}

std::optional<nlohmann::json> AppClient::snapshot(std::chrono::milliseconds timeout) {
    auto text = call("Snapshot", nullptr, timeout);
    if (!text) return std::nullopt;
    auto parsed = nlohmann::json::parse(*text, nullptr, false);
    if (parsed.is_discarded()) return std::nullopt;
    return parsed;
}

std::optional<std::vector<std::string>> AppClient::loadedPages(std::chrono::milliseconds timeout) {
    auto text = call("LoadedPages", nullptr, timeout);
    if (!text) return std::nullopt;
    auto parsed = nlohmann::json::parse(*text, nullptr, false);
    if (!parsed.is_array()) return std::nullopt;
    std::vector<std::string> ids;
    for (const auto& id : parsed)
        if (id.is_string()) ids.push_back(id.get<std::string>());
    return ids;
}

std::optional<nlohmann::json> AppClient::runScript(const std::string& id, const std::string& script,
                                                   std::chrono::milliseconds timeout) {
    auto text = call("RunScript", g_variant_new("(ss)", id.c_str(), script.c_str()), timeout);
    if (!text) return std::nullopt;
    auto parsed = nlohmann::json::parse(*text, nullptr, false);
    if (parsed.is_discarded()) return std::nullopt;
    return parsed;
}

bool AppClient::undoDelete(std::chrono::milliseconds timeout) {
    return call("UndoDelete", nullptr, timeout).has_value();
}

std::optional<nlohmann::json> AppClient::note(const nlohmann::json& snapshot, const std::string& id) {
    for (const auto& entry : snapshot.value("notes", nlohmann::json::array()))
        if (entry.value("id", "") == id) return entry;
    return std::nullopt;
}

std::optional<nlohmann::json> AppClient::waitFor(const std::function<bool(const nlohmann::json&)>& condition,
                                                 std::chrono::milliseconds timeout) {
    std::optional<nlohmann::json> last;
    const bool held = waitUntil(
        [&] {
            last = snapshot(1s);
            return last && condition(*last);
        },
        timeout, 50ms);
    return held ? last : std::nullopt;
}

}
