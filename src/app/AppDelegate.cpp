#include "app/AppDelegate.h"

#include "app/LinuxDesktop.h"
#include "app/TestInterface.h"
#include "registry/Stickies.h"
#include "shell/Config.h"
#include "shell/Log.h"
#include "storage/Files.h"
#include "storage/Store.h"

#include <glib-unix.h>
#include <gtk/gtk.h>
#include <signal.h>

namespace marrowleaf {

namespace {

constexpr const char* usage =
    "Usage: marrowleaf [--notes-dir PATH] [--quit]\n"
    "  --notes-dir PATH  keep notes in PATH (read by the first instance only)\n"
    "  --quit            quit the running Marrowleaf\n";

gboolean onTerminationSignal(gpointer self) {
    g_application_quit(G_APPLICATION(self));
    return G_SOURCE_CONTINUE;
}

}

AppDelegate::AppDelegate()
    : application(gtk_application_new(applicationId, G_APPLICATION_HANDLES_COMMAND_LINE)) {
    g_signal_connect_swapped(application, "startup",
                             G_CALLBACK(+[](AppDelegate* self) { self->applicationDidFinishLaunching(); }), this);
    g_signal_connect_swapped(application, "shutdown",
                             G_CALLBACK(+[](AppDelegate* self) { self->applicationWillTerminate(); }), this);
    g_signal_connect_swapped(application, "command-line",
                             G_CALLBACK(+[](AppDelegate* self, GApplicationCommandLine* line) {
                                 return self->commandLine(line);
                             }),
                             this);
}

AppDelegate::~AppDelegate() {
    testInterface.reset();
    // The registry's note windows live until the process ends, and so must the
    // desktop services they stand on.
    (void)desktop.release();
    g_object_unref(application);
}

int AppDelegate::run(int argc, char** argv) { return g_application_run(G_APPLICATION(application), argc, argv); }

void AppDelegate::applicationDidFinishLaunching() {
    launched = true;
    Log::setFile(Config::logFile());
    Log::info("launching " + Config::appName() + " " + Config::version() + ", notes in " +
              Config::notesDir().string());
    desktop = std::make_unique<LinuxDesktop>();
    desktop->install();
    desktop->noteWindows.setApplication(application);
    loadMarkdownPage();
    installMainMenu();
    Stickies::shared().start();
    if (TestInterface::wanted())
        testInterface = std::make_unique<TestInterface>(g_application_get_dbus_connection(G_APPLICATION(application)));

    // No window of its own: the application lives until it is told to quit.
    g_application_hold(G_APPLICATION(application));
    g_unix_signal_add(SIGTERM, onTerminationSignal, application);
    g_unix_signal_add(SIGINT, onTerminationSignal, application);
}

// The page that renders every note's Markdown ships beside the note page.
void AppDelegate::loadMarkdownPage() {
    const auto notePage = Config::stickyHTML();
    if (!notePage) return;   // the registry reports the missing note page
    const auto page = notePage->parent_path() / "markdown.html";
    std::string html;
    if (Store::files().read(page, html)) {
        Log::error("markdown.html not found beside " + notePage->string() + "; notes show their text unrendered");
        return;
    }
    desktop->noteWindows.setMarkdownPage(std::move(html));
}

void AppDelegate::applicationWillTerminate() {
    if (!launched) return;
    Stickies::shared().saveAll();
    Log::info("quitting");
    Log::flush();
}

void AppDelegate::installMainMenu() {
    // The editing keys are the page's own; the application adds only Ctrl+Q.
    GSimpleAction* quitAction = g_simple_action_new("quit", nullptr);
    g_signal_connect_swapped(quitAction, "activate", G_CALLBACK(+[](AppDelegate* self) { self->quit(); }), this);
    g_action_map_add_action(G_ACTION_MAP(application), G_ACTION(quitAction));
    g_object_unref(quitAction);
    const char* quitAccels[] = {"<Control>q", nullptr};
    gtk_application_set_accels_for_action(application, "app.quit", quitAccels);
}

void AppDelegate::quit() { g_application_quit(G_APPLICATION(application)); }

int AppDelegate::commandLine(GApplicationCommandLine* line) {
    gint argc = 0;
    gchar** argv = g_application_command_line_get_arguments(line, &argc);
    std::vector<std::string> args(argv, argv + argc);
    g_strfreev(argv);
    const bool remote = g_application_command_line_get_is_remote(line);

    int status = 0;
    for (std::size_t i = 1; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--notes-dir" && i + 1 < args.size()) {
            const auto asked = Config::expandTilde(args[++i]);
            if (remote && asked != Config::notesDir())
                g_application_command_line_printerr(line, "marrowleaf is already running with notes in %s\n",
                                                    Config::notesDir().c_str());
        } else if (arg == "--quit") {
            quit();
        } else if (arg == "--help" || arg == "-h") {
            g_application_command_line_print(line, "%s", usage);
        } else {
            g_application_command_line_printerr(line, "marrowleaf: unknown option %s\n%s", arg.c_str(), usage);
            status = 2;
        }
    }
    return status;
}

}
