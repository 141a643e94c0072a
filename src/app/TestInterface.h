#pragma once

typedef struct _GDBusConnection GDBusConnection;
typedef struct _GDBusMethodInvocation GDBusMethodInvocation;
typedef struct _GVariant GVariant;

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
    GDBusConnection* bus;
    unsigned registration = 0;

    static void onMethodCall(GDBusConnection*, const char* sender, const char* path, const char* interface,
                             const char* method, GVariant* parameters, GDBusMethodInvocation* invocation,
                             void* self);
    void snapshot(GDBusMethodInvocation* invocation);
    void loadedPages(GDBusMethodInvocation* invocation);
    void runScript(const char* id, const char* script, GDBusMethodInvocation* invocation);
};

}
