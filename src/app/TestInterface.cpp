#include "app/TestInterface.h"

#include "platform/linux/GtkNoteWindow.h"

#include "geometry/Spaces.h"
#include "platform/NoteWindow.h"
#include "registry/Stickies.h"
#include "shell/Log.h"

#include <cstdlib>
#include <gio/gio.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

namespace marrowleaf {

namespace {

constexpr const char* introspection = R"(
<node>
  <interface name="org.marrowleaf.Test">
    <method name="Snapshot">
      <arg type="s" name="json" direction="out"/>
    </method>
    <method name="RunScript">
      <arg type="s" name="id" direction="in"/>
      <arg type="s" name="script" direction="in"/>
      <arg type="s" name="json" direction="out"/>
    </method>
    <method name="LoadedPages">
      <arg type="s" name="json" direction="out"/>
    </method>
    <method name="UndoDelete">
      <arg type="s" name="json" direction="out"/>
    </method>
  </interface>
</node>)";

nlohmann::json describe(const std::string& id, const StickyController& controller, const Stickies& registry) {
    const Rect frame = controller.window().frame();
    nlohmann::json note{{"id", id},
                        {"content", controller.content},
                        {"visible", controller.visible},
                        {"placedDesktop", controller.placed ? Locations::desktopNumber(*controller.placed).value_or(0) : 0},
                        {"selected", registry.selection().count(id) > 0},
                        {"window", controller.window().windowNumber()},
                        {"frame", {{"x", frame.x}, {"y", frame.y}, {"w", frame.width}, {"h", frame.height}}},
                        {"level", static_cast<int>(controller.window().level())}};
    if (auto record = registry.appState().stickies.find(id); record != registry.appState().stickies.end())
        note["record"] = ModelJSON::encode(record->second);
    return note;
}

// Whether the note's page has finished loading (its script has run).
bool pageLoaded(const StickyController& controller) {
    auto* window = dynamic_cast<const GtkNoteWindow*>(&controller.window());
    return !window || window->pageLoaded();
}

// Gathers the page texts, which arrive one by one, then answers the call.
struct PendingSnapshot {
    GDBusMethodInvocation* invocation;
    nlohmann::json snapshot;
    std::size_t waiting = 0;

    void finishOne() {
        if (--waiting > 0) return;
        const std::string text = snapshot.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(s)", text.c_str()));
    }
};

}

bool TestInterface::wanted() {
    const char* value = std::getenv("MARROWLEAF_TEST");
    return value && std::string(value) == "1";
}

TestInterface::TestInterface(GDBusConnection* connection)
    : bus(connection ? G_DBUS_CONNECTION(g_object_ref(connection)) : nullptr) {
    if (!bus) return;
    GErrorOut error;
    std::unique_ptr<GDBusNodeInfo, decltype(&g_dbus_node_info_unref)> node(
        g_dbus_node_info_new_for_xml(introspection, &error), g_dbus_node_info_unref);
    static const GDBusInterfaceVTable vtable{
        +[](GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant* parameters,
            GDBusMethodInvocation* invocation, gpointer self) {
            static_cast<TestInterface*>(self)->methodCall(method, parameters, invocation);
        },
        nullptr, nullptr, {}};
    if (node)
        registration = g_dbus_connection_register_object(bus.get(), objectPath, node->interfaces[0], &vtable, this,
                                                         nullptr, &error);
    if (!registration)
        Log::error(std::string("can't export the test interface: ") + (error ? error.message() : "unknown error"));
}

TestInterface::~TestInterface() {
    if (bus && registration) g_dbus_connection_unregister_object(bus.get(), registration);
}

void TestInterface::methodCall(const char* method, GVariant* parameters, GDBusMethodInvocation* invocation) {
    if (g_strcmp0(method, "Snapshot") == 0) {
        snapshot(invocation);
    } else if (g_strcmp0(method, "RunScript") == 0) {
        const char* id = nullptr;
        const char* script = nullptr;
        g_variant_get(parameters, "(&s&s)", &id, &script);
        runScript(id, script, invocation);
    } else if (g_strcmp0(method, "LoadedPages") == 0) {
        loadedPages(invocation);
    } else if (g_strcmp0(method, "UndoDelete") == 0) {
        // What the status menu's undo will do; until it exists, tests ask for it here.
        Stickies::shared().undoDelete();
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(s)", "true"));
    }
}

void TestInterface::snapshot(GDBusMethodInvocation* invocation) {
    Stickies& registry = Stickies::shared();
    auto pending = std::make_shared<PendingSnapshot>();
    pending->invocation = invocation;
    pending->snapshot = {{"notes", nlohmann::json::array()},
                         {"state", ModelJSON::encode(registry.appState())},
                         {"activeDesktops", nlohmann::json::array()}};
    for (SpaceId space : Spaces::active())
        pending->snapshot["activeDesktops"].push_back(Locations::desktopNumber(space).value_or(0));
    pending->waiting = 1;   // held until every page was asked
    for (const auto& [id, controller] : registry.controllers()) {
        const std::size_t index = pending->snapshot["notes"].size();
        pending->snapshot["notes"].push_back(describe(id, *controller, registry));
        // A page not yet asked for has nothing to say. One still loading is
        // asked all the same: it answers once it runs, and whether its load
        // has finished is the engine's bookkeeping, not the page's.
        if (!controller->pageRequested()) {
            pending->snapshot["notes"][index]["page"] = nullptr;
            continue;
        }
        ++pending->waiting;
        controller->window().evaluate("currentText()", [pending, index](std::optional<std::string> result) {
            auto& note = pending->snapshot["notes"][index];
            note["page"] = nullptr;
            if (result) {
                auto parsed = nlohmann::json::parse(*result, nullptr, false);
                if (!parsed.is_discarded()) note["page"] = parsed;
            }
            pending->finishOne();
        });
    }
    pending->finishOne();
}

void TestInterface::loadedPages(GDBusMethodInvocation* invocation) {
    // Asks no page anything, so it can be called often without slowing the pages down.
    nlohmann::json ids = nlohmann::json::array();
    for (const auto& [id, controller] : Stickies::shared().controllers()) {
        if (pageLoaded(*controller)) ids.push_back(id);
    }
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(s)", ids.dump().c_str()));
}

void TestInterface::runScript(const char* id, const char* script, GDBusMethodInvocation* invocation) {
    StickyController* controller = Stickies::shared().controller(id);
    if (!controller) {
        g_dbus_method_invocation_return_error(invocation, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS, "no note %s", id);
        return;
    }
    controller->window().evaluate(script, [invocation](std::optional<std::string> result) {
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(s)", result.value_or("null").c_str()));
    });
}

}
