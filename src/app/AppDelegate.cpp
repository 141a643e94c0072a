#include "app/AppDelegate.h"

#include "app/LinuxDesktop.h"
#include "app/TestInterface.h"
#include "input/Hotkeys.h"
#include "input/StickyDrag.h"
#include "menubar/Permissions.h"
#include "menubar/StatusMenu.h"
#include "geometry/Geo.h"
#include "registry/SearchItems.h"
#include "registry/Stickies.h"
#include "shell/Config.h"
#include "shell/Log.h"
#include "storage/Files.h"
#include "storage/Store.h"

#include <glib-unix.h>
#include <gtk/gtk.h>
#include <signal.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace marrowleaf {

namespace {

// Parsed by GApplication into the options dictionary; --help comes with it.
const GOptionEntry optionEntries[] = {
    {"notes-dir", 0, G_OPTION_FLAG_NONE, G_OPTION_ARG_FILENAME, nullptr,
     "Keep notes in PATH (the first instance decides)", "PATH"},
    {"new", 0, G_OPTION_FLAG_NONE, G_OPTION_ARG_NONE, nullptr, "Make a note at the pointer", nullptr},
    {"toggle", 0, G_OPTION_FLAG_NONE, G_OPTION_ARG_NONE, nullptr, "Hide or show the notes of this desktop", nullptr},
    {"jump", 0, G_OPTION_FLAG_NONE, G_OPTION_ARG_STRING, nullptr, "Bring the note ID forward", "ID"},
    {"list", 0, G_OPTION_FLAG_NONE, G_OPTION_ARG_NONE, nullptr,
     "Print each note's id, desktop and title, tab-separated", nullptr},
    {"quit", 0, G_OPTION_FLAG_NONE, G_OPTION_ARG_NONE, nullptr, "Quit the running Marrowleaf", nullptr},
    {"version", 0, G_OPTION_FLAG_NONE, G_OPTION_ARG_NONE, nullptr, "Print the version and exit", nullptr},
    {}};

// A command line GApplication could not parse ends with its generic failure status.
constexpr int parseFailure = EXIT_FAILURE;
constexpr int usageError = 2;

gboolean onTerminationSignal(gpointer application) {
    g_application_quit(G_APPLICATION(application));
    return G_SOURCE_CONTINUE;
}

// Whether an instance owns the application's name on the session bus; asks
// without registering, so nothing starts.
bool instanceRunning() {
    GErrorOut error;
    GObjectPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error));
    if (!bus) return false;
    GVariantPtr answer(g_dbus_connection_call_sync(
        bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
        g_variant_new("(s)", AppDelegate::applicationId), G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
        nullptr));
    if (!answer) return false;
    gboolean owned = FALSE;
    g_variant_get(answer.get(), "(b)", &owned);
    return owned;
}

// The notes, one line each, as `--list` prints them.
std::string listing(const std::vector<NoteSummary>& notes) {
    std::string text;
    for (const auto& line : SearchItems::listing(notes))
        text += line + "\n";
    return text;
}

// The running registry's notes, placed on the desktops they show on.
std::vector<NoteSummary> openNotes() {
    std::vector<NoteSummary> notes;
    Stickies& stickies = Stickies::shared();
    const auto& records = stickies.appState().stickies;
    for (const auto& item : stickies.searchItems()) {
        const StickyController* note = stickies.controller(item.id);
        auto record = records.find(item.id);
        if (!note || record == records.end()) continue;
        NoteSummary summary{item.id, note->content, std::nullopt, std::nullopt};
        if (item.snoozed)
            summary.sleepsUntil = record->second.snoozeLabel.value_or("later");
        else if (auto where = stickies.resolve(record->second))
            summary.desktop = where->desktop;
        notes.push_back(std::move(summary));
    }
    return notes;
}

// A new note from the command line goes under the pointer, or centred on the
// screen when the pointer is on no monitor.
void newStickyFromCommandLine() {
    const bool onMonitor = Geo::screenContaining(Geo::mouse()).has_value();
    Stickies::shared().newSticky(onMonitor ? Stickies::Placement::mouse : Stickies::Placement::screen);
}

std::optional<std::string> notesDirOption(GVariantDict* options) {
    const char* folder = nullptr;
    if (!g_variant_dict_lookup(options, "notes-dir", "^&ay", &folder) || !folder) return std::nullopt;
    return std::string(folder);
}

}

AppDelegate::AppDelegate()
    : application(gtk_application_new(applicationId, G_APPLICATION_HANDLES_COMMAND_LINE)) {
    g_application_add_main_option_entries(gApplication(), optionEntries);
    g_application_set_option_context_summary(gApplication(), "Sticky notes on the Linux desktop.");
    g_signal_connect_swapped(application.get(), "handle-local-options",
                             G_CALLBACK(+[](AppDelegate* self, GVariantDict* options) {
                                 return self->onHandleLocalOptions(options);
                             }),
                             this);
    g_signal_connect_swapped(application.get(), "startup", G_CALLBACK(+[](AppDelegate* self) { self->onStartup(); }),
                             this);
    g_signal_connect_swapped(application.get(), "shutdown", G_CALLBACK(+[](AppDelegate* self) { self->onShutdown(); }),
                             this);
    g_signal_connect_swapped(application.get(), "command-line",
                             G_CALLBACK(+[](AppDelegate* self, GApplicationCommandLine* line) {
                                 return self->onCommandLine(line);
                             }),
                             this);
}

AppDelegate::~AppDelegate() {
    testInterface.reset();
    // The registry's note windows live until the process ends, and so must the
    // desktop services they stand on.
    (void)desktop.release();
}

int AppDelegate::run(int argc, char** argv) {
    const int status = g_application_run(gApplication(), argc, argv);
    // GApplication ends a command line it could not parse with its generic
    // failure status, before it asks about the options.
    return status == parseFailure && !optionsParsed ? usageError : status;
}

int AppDelegate::onHandleLocalOptions(GVariantDict* options) {
    optionsParsed = true;
    if (g_variant_dict_contains(options, "version")) {
        g_print("%s %s\n", Config::appName().c_str(), Config::version().c_str());
        return EXIT_SUCCESS;
    }
    if (auto folder = notesDirOption(options)) Config::useNotesDirOption(*folder);
    if (g_variant_dict_contains(options, "quit") && !instanceRunning()) {
        g_printerr("%s is not running\n", Config::appName().c_str());
        return EXIT_SUCCESS;
    }
    // Listing needs no running instance: the folder and the state file say it all.
    if (g_variant_dict_contains(options, "list") && !instanceRunning()) {
        g_print("%s", listing(SearchItems::inFolder()).c_str());
        return EXIT_SUCCESS;
    }
    return -1;   // go on: become the instance, or hand the command line to it
}

void AppDelegate::onStartup() {
    launched = true;
    Log::setFile(Config::logFile());
    Log::info("launching " + Config::appName() + " " + Config::version() + ", notes in " +
              Config::notesDir().string());
    desktop = std::make_unique<LinuxDesktop>();
    desktop->install();
    desktop->noteWindows.setApplication(application.get());
    loadMarkdownPage();
    installMainMenu();
    Stickies::shared().start();
    StatusMenu::shared().install([this] { quit(); });
    // After the menu that shows the same three keys; a key another program holds is only logged.
    Hotkeys::shared().install({
        .newSticky = [] { Stickies::shared().newSticky(Stickies::Placement::mouse); },
        .toggleHere = [] { Stickies::shared().toggleHere(); },
        // Ctrl+Alt+L is held from the start but opens nothing until the search panel exists.
        .search = {},
    });
    StickyDrag::shared().start();
    // Starts the desktop mouse when the desktop lets it, else explains why once.
    Permissions::shared().start();
    if (TestInterface::wanted())
        testInterface = std::make_unique<TestInterface>(g_application_get_dbus_connection(gApplication()));

    // No window of its own: the application lives until it is told to quit.
    g_application_hold(gApplication());
    g_unix_signal_add(SIGTERM, onTerminationSignal, application.get());
    g_unix_signal_add(SIGINT, onTerminationSignal, application.get());
}

// The page that renders every note's Markdown ships beside the note page.
void AppDelegate::loadMarkdownPage() {
    const auto notePage = Config::stickyHTML();
    if (!notePage) return;   // the registry reports the missing note page
    const auto page = notePage->parent_path() / "markdown.html";
    std::string html;
    if (Store::files().read(page, html).failed()) {
        Log::error("markdown.html not found beside " + notePage->string() + "; notes show their text unrendered");
        return;
    }
    desktop->noteWindows.setMarkdownPage(std::move(html));
}

void AppDelegate::onShutdown() {
    if (!launched) return;
    Stickies::shared().saveAll();
    Log::info("quitting");
    Log::flush();
}

void AppDelegate::installMainMenu() {
    // The editing keys are the page's own; the application adds only Ctrl+Q.
    GObjectPtr<GSimpleAction> quitAction(g_simple_action_new("quit", nullptr));
    g_signal_connect_swapped(quitAction.get(), "activate", G_CALLBACK(+[](AppDelegate* self) { self->quit(); }), this);
    g_action_map_add_action(G_ACTION_MAP(application.get()), G_ACTION(quitAction.get()));
    const char* quitAccels[] = {"<Control>q", nullptr};
    gtk_application_set_accels_for_action(application.get(), "app.quit", quitAccels);
}

void AppDelegate::quit() { g_application_quit(gApplication()); }

// Runs in the instance, for its own command line and for those later launches hand over.
int AppDelegate::onCommandLine(GApplicationCommandLine* line) {
    GVariantDict* options = g_application_command_line_get_options_dict(line);
    const auto asked = notesDirOption(options);
    if (asked && g_application_command_line_get_is_remote(line) && Config::expandTilde(*asked) != Config::notesDir())
        g_application_command_line_printerr(line, "marrowleaf is already running with notes in %s\n",
                                            Config::notesDir().c_str());
    if (g_variant_dict_contains(options, "list"))
        g_application_command_line_print(line, "%s", listing(openNotes()).c_str());
    if (g_variant_dict_contains(options, "new")) newStickyFromCommandLine();
    if (g_variant_dict_contains(options, "toggle")) Stickies::shared().toggleHere();
    if (g_variant_dict_contains(options, "quit")) quit();
    const char* jumpTo = nullptr;
    if (!g_variant_dict_lookup(options, "jump", "&s", &jumpTo) || !jumpTo) return EXIT_SUCCESS;
    if (!Stickies::shared().appState().stickies.count(jumpTo)) {
        g_application_command_line_printerr(line, "there is no note %s\n", jumpTo);
        return EXIT_FAILURE;
    }
    Stickies::shared().jump(jumpTo, true);
    return EXIT_SUCCESS;
}

}
