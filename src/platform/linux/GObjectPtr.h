#pragma once
#include <glib-object.h>

#include <memory>

namespace marrowleaf {

// Owners of GLib handles, each released once by its destructor, the way an
// XcbReply owns a reply.
template <class T>
struct GObjectDeleter {
    void operator()(T* object) const {
        if (object) g_object_unref(object);
    }
};
template <class T>
using GObjectPtr = std::unique_ptr<T, GObjectDeleter<T>>;

struct GFreeDeleter {
    void operator()(void* memory) const { g_free(memory); }
};
// A string or block that GLib hands over to be freed with g_free.
using GCharPtr = std::unique_ptr<char, GFreeDeleter>;

struct GStrvDeleter {
    void operator()(char** strings) const { g_strfreev(strings); }
};
using GStrvPtr = std::unique_ptr<char*, GStrvDeleter>;

struct GErrorDeleter {
    void operator()(GError* error) const {
        if (error) g_error_free(error);
    }
};
using GErrorPtr = std::unique_ptr<GError, GErrorDeleter>;

struct GVariantDeleter {
    void operator()(GVariant* value) const {
        if (value) g_variant_unref(value);
    }
};
using GVariantPtr = std::unique_ptr<GVariant, GVariantDeleter>;

// Takes a GError out of the out-parameter GLib filled in.
class GErrorOut {
public:
    ~GErrorOut() { GErrorDeleter{}(error); }
    GError** operator&() { return &error; }
    explicit operator bool() const { return error != nullptr; }
    const char* message() const { return error ? error->message : ""; }

private:
    GError* error = nullptr;
};

}
