#pragma once
#include "platform/linux/GObjectPtr.h"

#include <gio/gio.h>

namespace marrowleaf {

// A session-bus interface for the integration tests, exported only when the
// environment says MARROWLEAF_TEST=1: a JSON snapshot of the registry as the
// user would see it, scripts run in a note's page, and the undo of the last
// delete. Tests read it instead of sleeping and guessing.
class TestInterface {
public:
    static constexpr const char* objectPath = "/org/marrowleaf/Marrowleaf/Test";
    static constexpr const char* interfaceName = "org.marrowleaf.Test";

    static bool wanted();

    explicit TestInterface(GDBusConnection* bus);
    ~TestInterface();
    TestInterface(const TestInterface&) = delete;
    TestInterface& operator=(const TestInterface&) = delete;

private:
    GObjectPtr<GDBusConnection> bus;
    unsigned registration = 0;

    void methodCall(const char* method, GVariant* parameters, GDBusMethodInvocation* invocation);
    void snapshot(GDBusMethodInvocation* invocation);
    void loadedPages(GDBusMethodInvocation* invocation);
    void runScript(const char* id, const char* script, GDBusMethodInvocation* invocation);
};

}
