#pragma once
#include "platform/linux/GObjectPtr.h"

#include <filesystem>
#include <optional>
#include <string>

typedef struct _GdkPixbuf GdkPixbuf;
typedef struct _GdkRGBA GdkRGBA;

namespace marrowleaf {

// The program's own icons, found through GTK's icon theme with the shipped
// icons folder on its search path, beside the desktop's freedesktop icons.
struct GtkIcons {
    // Puts `folder` on the icon theme's search path, once however often asked.
    static void addFolder(const std::optional<std::filesystem::path>& folder);
    // A symbolic icon drawn `size` pixels square in `colour`; `fallback` when
    // the theme has no `name`; nothing when it has neither.
    static GObjectPtr<GdkPixbuf> symbolic(const std::string& name, const std::string& fallback, int size,
                                          const GdkRGBA& colour);
};

}
