#include "registry/Locations.h"
#include "geometry/Spaces.h"
#include "platform/fake/FakePlatform.h"

#include <gtest/gtest.h>

using namespace marrowleaf;

namespace {

class LocationsTest : public ::testing::Test {
protected:
    FakePlatform platform;

    void SetUp() override {
        Spaces::reset();
        platform.screens.screens = {FakeScreens::display(1, "LEFT", {0, 0, 1440, 900}),
                                    FakeScreens::display(2, "RIGHT", {1440, 0, 1280, 800})};
        platform.screens.pointerAt = {700, 400};
        platform.windowServer.shareDesktops({"LEFT", "RIGHT"}, 3, 2);
        Spaces::update();
    }
    void TearDown() override { Spaces::reset(); }

    Record on(const std::string& screen, std::int64_t desktop) {
        Record record;
        record.screen = screen;
        record.desktop = desktop;
        return record;
    }
};

}

TEST_F(LocationsTest, theCurrentLocationIsTheDisplayUnderThePointerAndTheDesktopItShows) {
    EXPECT_EQ(Locations::current(), (Location{"LEFT", 2, 2}));
    platform.screens.pointerAt = {2000, 300};
    EXPECT_EQ(Locations::current(), (Location{"RIGHT", 2, 2}));
}

TEST_F(LocationsTest, aRecordResolvesToItsDisplayAndDesktop) {
    EXPECT_EQ(Locations::resolve(on("RIGHT", 3)), (Location{"RIGHT", 3, 3}));
}

TEST_F(LocationsTest, aDesktopNumberPastTheLastIsHeldToTheLastAndBelowOneToTheFirst) {
    EXPECT_EQ(Locations::resolve(on("LEFT", 9)), (Location{"LEFT", 3, 3}));
    EXPECT_EQ(Locations::resolve(on("LEFT", 0)), (Location{"LEFT", 1, 1}));
}

TEST_F(LocationsTest, aRecordOfADisplayNotAttachedResolvesToThePrimaryDisplay) {
    EXPECT_EQ(Locations::resolve(on("GONE", 2)), (Location{"LEFT", 2, 2}));
}

TEST_F(LocationsTest, desktopNumbersCountOrdinaryDesktopsFromOne) {
    EXPECT_EQ(Locations::desktopNumber(SpaceId{1}), 1);
    EXPECT_EQ(Locations::desktopNumber(SpaceId{3}), 3);
    EXPECT_EQ(Locations::desktopNumber(SpaceId{42}), std::nullopt);
}

TEST_F(LocationsTest, keysNameTheDisplayAndTheDesktop) {
    EXPECT_EQ((Location{"LEFT", 2, 2}).key(), "LEFT:2");
}
