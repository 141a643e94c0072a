#pragma once
#include "platform/MouseTap.h"

#include <cstdint>

typedef union _GdkEvent GdkEvent;
typedef struct _GdkWindow GdkWindow;
typedef struct _GtkWidget GtkWidget;

namespace marrowleaf {

// Left-button events of the note windows, taken from GDK's event stream
// before GTK dispatches them: a press in a note window, each step while that
// press is held (wherever the pointer goes: the X server's implicit grab
// keeps sending them to the note) and its release. Every other event, and
// every event answered pass, goes on to GTK as usual. The steps are read as
// the X server sends them: GDK itself holds pointer motion back until its
// next frame, which would leave a dragged note a frame behind the pointer.
class GdkAppMouseMonitor : public AppMouseMonitor {
public:
    GdkAppMouseMonitor() = default;
    // GTK dispatches every event itself again.
    ~GdkAppMouseMonitor() override;
    GdkAppMouseMonitor(const GdkAppMouseMonitor&) = delete;
    GdkAppMouseMonitor& operator=(const GdkAppMouseMonitor&) = delete;

    void start(Handler handler) override;

    // Marks a top-level window as a note window: presses in it are watched.
    static void markNoteWindow(GtkWidget* window);
    static bool isNoteWindow(GdkWindow* window);

private:
    Handler handler;
    bool installed = false;
    bool held = false;             // a press in a note window was seen, not yet its release
    bool pressSwallowed = false;   // and that press was swallowed
    int inputOpcode = -1;          // the X input extension's; -1 until known

    static void dispatch(GdkEvent* event, void* monitor);
    static int filter(void* xevent, GdkEvent* event, void* monitor);
    bool stepSeen(void* xevent);
    // Whether the event is swallowed: false sends it on to GTK.
    bool swallows(GdkEvent* event);
    bool onPress(GdkEvent* event);
    bool onMotion(GdkEvent* event);
    bool onRelease(GdkEvent* event);
    MouseAnswer report(MouseEvent::Kind kind, double rootX, double rootY, unsigned state);
    static std::uint32_t mouseModifiers(unsigned state);
};

}
