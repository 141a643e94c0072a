#pragma once
#include "platform/MouseTap.h"

#include <filesystem>
#include <optional>

typedef struct _GtkWidget GtkWidget;
typedef struct _cairo cairo_t;

namespace marrowleaf {

// The round trash target as an undecorated GTK window with an alpha channel:
// kept above other windows, on every desktop, out of task bars and pagers,
// never focused, and with an empty input shape, so clicks go to whatever lies
// beneath. Without a compositing manager the window is cut to the circle.
class GtkTrashTargetView : public TrashTargetView {
public:
    // `icons`: the program's icons folder, for the trash icon.
    explicit GtkTrashTargetView(std::optional<std::filesystem::path> icons);
    ~GtkTrashTargetView() override;
    GtkTrashTargetView(const GtkTrashTargetView&) = delete;
    GtkTrashTargetView& operator=(const GtkTrashTargetView&) = delete;

    void show(Rect frame) override;
    void setLit(bool lit) override;
    void hide() override;

    // The frame it stands in while shown (global top-left points).
    std::optional<Rect> shownFrame() const;
    bool lit() const { return isLit; }
    // The window once made, for tests.
    GtkWidget* widget() const { return window; }

private:
    std::optional<std::filesystem::path> icons;
    GtkWidget* window = nullptr;
    Rect frame;
    bool shown = false;
    bool isLit = false;

    void make();
    void place();
    void applyShapes();
    void draw(cairo_t* cr) const;
};

}
