#pragma once
#include "platform/WelcomeView.h"

#include <filesystem>
#include <optional>
#include <string>

typedef struct _GtkWidget GtkWidget;

namespace marrowleaf {

// The welcome as a small titled GTK window, centred, not resizable, made on
// first show and only hidden when closed, so showing it again brings the
// same window forward. Return presses the default button, Escape the other.
class GtkWelcomeView : public WelcomeView {
public:
    // `icons`: the program's icons folder, for the note icon in the header.
    explicit GtkWelcomeView(std::optional<std::filesystem::path> icons);
    ~GtkWelcomeView() override;
    GtkWelcomeView(const GtkWelcomeView&) = delete;
    GtkWelcomeView& operator=(const GtkWelcomeView&) = delete;

    void show(const WelcomeContent& content, WelcomeActions actions) override;
    void close() override;
    bool isOpen() const override;

    // The window once made, for tests that read what it shows.
    GtkWidget* widget() const { return window; }

    // Text with **bold** parts as Pango markup, everything else escaped.
    static std::string markup(const std::string& text);

    static constexpr int width = 440;

private:
    std::optional<std::filesystem::path> icons;
    GtkWidget* window = nullptr;
    WelcomeActions actions;

    void build(const WelcomeContent& content);
    GtkWidget* header(const WelcomeContent& content) const;
    GtkWidget* buttons(const WelcomeContent& content);
    GtkWidget* footer(const WelcomeContent& content);
    void present();
    // A copy runs: the action may replace the ones held.
    static void run(std::function<void()> action);
};

}
