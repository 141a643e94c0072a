#pragma once
#include "platform/MouseTap.h"

#include <optional>

typedef struct _GtkWidget GtkWidget;
typedef struct _cairo cairo_t;

namespace marrowleaf {

// The rubber band as an override-redirect GTK window with an alpha channel:
// the window manager never frames, focuses or moves it, so it follows the
// pointer step for step and shows on whichever desktop is in front. Its input
// shape is empty, so clicks go to whatever lies beneath. It is filled with the
// theme's selection colour, see-through, inside a one-pixel edge of the same
// colour; without a compositing manager the window is cut to that edge.
class GtkSelectionBoxView : public SelectionBoxView {
public:
    GtkSelectionBoxView() = default;
    ~GtkSelectionBoxView() override;
    GtkSelectionBoxView(const GtkSelectionBoxView&) = delete;
    GtkSelectionBoxView& operator=(const GtkSelectionBoxView&) = delete;

    void show(Rect box) override;
    void hide() override;

    // The box it covers while shown (global top-left points).
    std::optional<Rect> shownBox() const;
    // The window once made, for tests.
    GtkWidget* widget() const { return window; }

private:
    GtkWidget* window = nullptr;
    Rect box;
    int width = 1, height = 1;   // the window's size, whole pixels
    bool shown = false;

    void make();
    void place();
    void applyShapes();
    void draw(cairo_t* cr) const;
};

}
