// The tray's row for the desktop features, over a permission flow of the test's own.
#include "menubar/Permissions.h"
#include "menubar/StatusMenu.h"
#include "RegistryFixture.h"

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

// A tray menu over a permission flow of the test's own.
class StatusMenuPermissionsTest : public RegistryFixture {
protected:
    Permissions permissions;
    std::unique_ptr<StatusMenu> menu;

    static constexpr const char* unavailable = "\u26a0\ufe0f Desktop Features Unavailable\u2026";

    void SetUp() override {
        RegistryFixture::SetUp();
        platform.defaults.setFlag(Permissions::welcomeShownKey, true);
        menu = std::make_unique<StatusMenu>(*registry, permissions);
    }
    void TearDown() override {
        menu.reset();
        RegistryFixture::TearDown();
    }
    void start() {
        registry->start();
        menu->install([] {});
        permissions.start();
    }
    const FakeStatusItem& tray() { return platform.statusItem; }
};

}

TEST_F(StatusMenuPermissionsTest, theRowIsAbsentBeforeTheFeaturesWereLookedFor) {
    platform.accessibility.isTrusted = false;
    registry->start();
    menu->install([] {});
    EXPECT_FALSE(tray().has(unavailable));
}

TEST_F(StatusMenuPermissionsTest, theRowShowsWhileTheDesktopDoesNotLetTheFeaturesRun) {
    platform.accessibility.isTrusted = false;
    start();
    platform.clock.runPending();
    EXPECT_TRUE(tray().has(unavailable));
}

TEST_F(StatusMenuPermissionsTest, theRowIsAbsentWhenTheFeaturesRunFromTheStart) {
    start();
    platform.clock.runPending();
    EXPECT_FALSE(tray().has(unavailable));
}

TEST_F(StatusMenuPermissionsTest, theRowOpensTheWelcome) {
    platform.accessibility.isTrusted = false;
    start();
    platform.clock.runPending();
    tray().choose(unavailable);
    EXPECT_TRUE(platform.welcome.open);
    EXPECT_EQ(platform.welcome.content.title, "Welcome to Marrowleaf");
}

TEST_F(StatusMenuPermissionsTest, theRowGoesAsSoonAsTheFeaturesComeOn) {
    platform.accessibility.isTrusted = false;
    start();
    platform.clock.runPending();
    ASSERT_TRUE(tray().has(unavailable));
    platform.accessibility.isTrusted = true;
    platform.clock.advance(Permissions::pollInterval);
    platform.clock.runPending();
    EXPECT_FALSE(tray().has(unavailable));
}
