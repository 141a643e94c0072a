#include "menubar/Permissions.h"

#include "input/HUD.h"
#include "platform/fake/FakePlatform.h"
#include "shell/Config.h"

#include <gmock/gmock.h>

using namespace marrowleaf;
using ::testing::ElementsAre;

namespace {

class PermissionsTest : public ::testing::Test {
protected:
    FakePlatform platform;
    std::unique_ptr<Permissions> permissions = std::make_unique<Permissions>();

    void SetUp() override {
        HUD::reset();
        Config::configure({});
        platform.screens.screens = {FakeScreens::display(1, "MAIN", {0, 0, 1440, 900})};
        platform.screens.pointerAt = {700, 400};
    }
    void TearDown() override {
        permissions.reset();
        HUD::reset();
    }

    // A session where the desktop does not let the program see its clicks.
    void withoutDesktopFeatures() { platform.accessibility.isTrusted = false; }
    void secondLaunch() { platform.defaults.setFlag("WelcomeShown", true); }
    // The desktop starts letting the program see its clicks.
    void desktopFeaturesBecomePossible() {
        platform.accessibility.isTrusted = true;
        platform.mouseTap.refuse = false;
    }
    std::string hudText() {
        auto* pill = platform.hud.onScreen();
        return pill ? pill->text : "";
    }
    const WelcomeContent& shown() { return platform.welcome.content; }
};

// The explanation with its bold marks taken out: the text a person reads.
std::string plain(std::string text) {
    for (auto mark = text.find("**"); mark != std::string::npos; mark = text.find("**"))
        text.erase(mark, 2);
    return text;
}

}

// ---------------------------------------------------------------- at launch

TEST_F(PermissionsTest, desktopFeaturesAvailableAtLaunchStartTheTapWithoutWelcomeOrPoll) {
    permissions->start();
    EXPECT_TRUE(permissions->trusted());
    EXPECT_TRUE(platform.mouseTap.started());
    EXPECT_FALSE(permissions->polling());
    platform.clock.advance(10);
    EXPECT_EQ(platform.welcome.shows, 0);
    EXPECT_FALSE(platform.defaults.flag("WelcomeShown"));
}

TEST_F(PermissionsTest, aTapTheDesktopRefusesLeavesTheFeaturesOffAndPolls) {
    platform.mouseTap.refuse = true;
    permissions->start();
    EXPECT_FALSE(permissions->trusted());
    EXPECT_FALSE(platform.mouseTap.started());
    EXPECT_TRUE(permissions->polling());
}

TEST_F(PermissionsTest, theFirstLaunchWithoutTheFeaturesShowsTheWelcomeAfterEightTenthsOfASecond) {
    withoutDesktopFeatures();
    permissions->start();
    EXPECT_EQ(platform.defaults.flag("WelcomeShown"), true);
    platform.clock.advance(0.79);
    EXPECT_FALSE(platform.welcome.open);
    platform.clock.advance(0.02);
    EXPECT_TRUE(platform.welcome.open);
    EXPECT_EQ(platform.welcome.windowsMade, 1);
    EXPECT_EQ(platform.workspace.activations, 1);
}

TEST_F(PermissionsTest, aSecondLaunchShowsNoWelcomeByItselfButStillPolls) {
    withoutDesktopFeatures();
    secondLaunch();
    permissions->start();
    platform.clock.advance(10);
    EXPECT_EQ(platform.welcome.shows, 0);
    EXPECT_TRUE(permissions->polling());

    desktopFeaturesBecomePossible();
    platform.clock.advance(2);
    EXPECT_TRUE(permissions->trusted());
    EXPECT_TRUE(platform.mouseTap.started());
}

TEST_F(PermissionsTest, aSecondLaunchStillOpensTheWelcomeWhenAskedFromTheTray) {
    withoutDesktopFeatures();
    secondLaunch();
    permissions->start();
    platform.clock.advance(5);
    permissions->showWelcome();
    EXPECT_TRUE(platform.welcome.open);
    EXPECT_EQ(shown().title, "Welcome to Marrowleaf");
}

// ---------------------------------------------------------------- the poll

TEST_F(PermissionsTest, thePollChecksEveryTwoSecondsAndDoesNothingWhileTheFeaturesAreMissing) {
    withoutDesktopFeatures();
    secondLaunch();
    permissions->start();
    platform.clock.advance(60);
    EXPECT_FALSE(permissions->trusted());
    EXPECT_TRUE(permissions->polling());
    EXPECT_EQ(hudText(), "");
    EXPECT_TRUE(platform.hud.pills.empty());
}

TEST_F(PermissionsTest, featuresArrivingBetweenTicksComeOnAtTheNextTick) {
    withoutDesktopFeatures();
    secondLaunch();
    permissions->start();
    platform.clock.advance(2.5);
    desktopFeaturesBecomePossible();
    platform.clock.advance(1.4);
    EXPECT_FALSE(permissions->trusted());
    platform.clock.advance(0.2);
    EXPECT_TRUE(permissions->trusted());
    EXPECT_FALSE(permissions->polling());
    EXPECT_EQ(hudText(), "\u2705 Desktop features on");
}

TEST_F(PermissionsTest, featuresArrivingWhileTheWelcomeIsOpenCloseItWithinTwoSecondsAndSaySo) {
    withoutDesktopFeatures();
    permissions->start();
    platform.clock.advance(1);
    ASSERT_TRUE(platform.welcome.open);

    desktopFeaturesBecomePossible();
    platform.clock.advance(1);   // the poll's first tick
    EXPECT_FALSE(platform.welcome.open);
    EXPECT_TRUE(platform.mouseTap.started());
    EXPECT_EQ(hudText(), "\u2705 Desktop features on");
    platform.clock.advance(1.39);
    EXPECT_EQ(hudText(), "\u2705 Desktop features on");
    platform.clock.advance(0.02);
    EXPECT_EQ(hudText(), "");
}

TEST_F(PermissionsTest, theTapTheDesktopRefusedIsTriedAgainAtEachTick) {
    platform.mouseTap.refuse = true;
    permissions->start();
    platform.clock.advance(4);
    EXPECT_EQ(platform.mouseTap.startsAsked, 3);
    platform.mouseTap.refuse = false;
    platform.clock.advance(2);
    EXPECT_TRUE(platform.mouseTap.started());
    EXPECT_TRUE(permissions->trusted());
}

TEST_F(PermissionsTest, theChangeHandlerHearsTheStartAndTheFeaturesComingOn) {
    int heard = 0;
    permissions->setChangeHandler([&] { ++heard; });
    withoutDesktopFeatures();
    secondLaunch();
    EXPECT_FALSE(permissions->started());
    permissions->start();
    EXPECT_TRUE(permissions->started());
    EXPECT_EQ(heard, 1);
    platform.clock.advance(4);
    EXPECT_EQ(heard, 1);
    desktopFeaturesBecomePossible();
    platform.clock.advance(2);
    EXPECT_EQ(heard, 2);
    platform.clock.advance(10);
    EXPECT_EQ(heard, 2);
}

TEST_F(PermissionsTest, theChangeHandlerHearsOfFeaturesThatRunFromTheStart) {
    int heard = 0;
    permissions->setChangeHandler([&] { ++heard; });
    permissions->start();
    EXPECT_EQ(heard, 1);
    EXPECT_TRUE(permissions->trusted());
}

TEST_F(PermissionsTest, aPollThatOutlivesItsOwnerDoesNothing) {
    withoutDesktopFeatures();
    permissions->start();
    permissions.reset();
    desktopFeaturesBecomePossible();
    platform.clock.advance(4);
    EXPECT_FALSE(platform.welcome.open);
    EXPECT_FALSE(platform.mouseTap.started());
    EXPECT_TRUE(platform.hud.pills.empty());
}

// ---------------------------------------------------------------- the welcome window

TEST_F(PermissionsTest, showingTheWelcomeWhileItIsOpenBringsTheSameWindowForward) {
    withoutDesktopFeatures();
    permissions->start();
    platform.clock.advance(1);
    permissions->showWelcome();
    EXPECT_EQ(platform.welcome.shows, 2);
    EXPECT_EQ(platform.welcome.windowsMade, 1);
    EXPECT_TRUE(platform.welcome.open);
}

TEST_F(PermissionsTest, laterClosesTheWelcome) {
    permissions->showWelcome();
    platform.welcome.pressLater();
    EXPECT_FALSE(platform.welcome.open);
    EXPECT_TRUE(platform.workspace.opened.empty());
}

// Linux has no system prompt to ask for first: each press opens the page that
// says what the features need.
TEST_F(PermissionsTest, learnMoreOpensTheExplanationEachTimeAndRestartsThePoll) {
    withoutDesktopFeatures();
    secondLaunch();
    permissions->start();
    permissions->showWelcome();
    platform.clock.advance(1.5);
    platform.welcome.pressAllow();
    platform.clock.advance(1.5);
    platform.welcome.pressAllow();
    EXPECT_THAT(platform.workspace.opened, ElementsAre("https://marrowleaf.app/#desktop-features",
                                                       "https://marrowleaf.app/#desktop-features"));
    EXPECT_EQ(platform.workspace.opened.front(), Config::desktopFeaturesURL());
    EXPECT_TRUE(platform.welcome.open);
    EXPECT_TRUE(permissions->polling());

    // 3 s after start. The poll of the launch would tick at 4, the one of the
    // first press at 3.5; the one of the second press ticks at 5.
    desktopFeaturesBecomePossible();
    platform.clock.advance(1.9);
    EXPECT_FALSE(permissions->trusted());
    platform.clock.advance(0.2);
    EXPECT_TRUE(permissions->trusted());
    EXPECT_FALSE(platform.welcome.open);
}

TEST_F(PermissionsTest, theFooterOpensTheTipPageAsTheTraysLeaveATipDoes) {
    permissions->showWelcome();
    platform.welcome.pressFooter();
    EXPECT_THAT(platform.workspace.opened, ElementsAre(Config::supportURL()));
    EXPECT_EQ(platform.defaults.flag("TipLinkOpened"), true);
}

// ---------------------------------------------------------------- what the welcome says

TEST_F(PermissionsTest, theWelcomeIsTitledWithTheProgramsNameAndSaysTheFeaturesAreOptional) {
    const WelcomeContent content = Permissions::welcomeContent();
    EXPECT_EQ(content.title, "Welcome to Marrowleaf");
    EXPECT_EQ(content.headline, "Optional: desktop features");
}

TEST_F(PermissionsTest, theWelcomeExplainsWhatTheFeaturesNeedOnLinuxInTwoParagraphs) {
    const WelcomeContent content = Permissions::welcomeContent();
    ASSERT_EQ(content.paragraphs.size(), 2u);
    EXPECT_EQ(plain(content.paragraphs[0]),
              "To Alt-click the desktop for a new sticky, drag a box to select stickies, and drop stickies on "
              "the trash, Marrowleaf needs an X11 session. It only looks at mouse clicks on the desktop and "
              "never reads what you type.");
    EXPECT_EQ(plain(content.paragraphs[1]),
              "Choose an X11 session at the login screen to turn them on. Meanwhile your desktop's keyboard "
              "settings can bind marrowleaf --new, --toggle and --search to keys.");
}

TEST_F(PermissionsTest, theExplanationMarksWhatToChooseInBold) {
    const WelcomeContent content = Permissions::welcomeContent();
    EXPECT_THAT(content.paragraphs[0], ::testing::HasSubstr("needs an **X11 session**."));
    EXPECT_THAT(content.paragraphs[1], ::testing::StartsWith("Choose an **X11 session** at"));
}

TEST_F(PermissionsTest, theExplanationNamesTheProgramAsItIsCalled) {
    ConfigSources sources;
    sources.appName = "Leafy";
    Config::configure(sources);
    const WelcomeContent content = Permissions::welcomeContent();
    EXPECT_EQ(content.title, "Welcome to Leafy");
    EXPECT_THAT(content.paragraphs[0], ::testing::HasSubstr("the trash, Leafy needs"));
    // The command is the program's file name, whatever the program is called.
    EXPECT_THAT(content.paragraphs[1], ::testing::HasSubstr("bind marrowleaf --new"));
}

TEST_F(PermissionsTest, theWelcomeListsTheThreeHotKeysWithAnIconEach) {
    const WelcomeContent content = Permissions::welcomeContent();
    ASSERT_EQ(content.keys.size(), 3u);
    EXPECT_EQ(content.keys[0].icon, "list-add-symbolic");
    EXPECT_EQ(content.keys[0].keys, "Ctrl+Alt+N");
    EXPECT_EQ(content.keys[0].description, "new sticky at the mouse");
    EXPECT_EQ(content.keys[1].icon, "view-conceal-symbolic");
    EXPECT_EQ(content.keys[1].keys, "Ctrl+Alt+S");
    EXPECT_EQ(content.keys[1].description, "hide / show stickies on this desktop");
    EXPECT_EQ(content.keys[2].icon, "system-search-symbolic");
    EXPECT_EQ(content.keys[2].keys, "Ctrl+Alt+L");
    EXPECT_EQ(content.keys[2].description, "search all stickies");
}

TEST_F(PermissionsTest, theWelcomeEndsWithTheFooterAndItsTwoButtons) {
    const WelcomeContent content = Permissions::welcomeContent();
    EXPECT_EQ(content.footer, "Free, always.");
    EXPECT_EQ(content.laterButton, "Later");
    EXPECT_EQ(content.allowButton, "Learn More\u2026");
}

TEST_F(PermissionsTest, theWindowShowsTheWelcomesContent) {
    permissions->showWelcome();
    const WelcomeContent expected = Permissions::welcomeContent();
    EXPECT_EQ(shown().title, expected.title);
    EXPECT_EQ(shown().paragraphs, expected.paragraphs);
    EXPECT_EQ(shown().allowButton, expected.allowButton);
}
