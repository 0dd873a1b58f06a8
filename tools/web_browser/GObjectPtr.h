// Owns one reference of a GObject.
#ifndef TOOLS_WEB_BROWSER_GOBJECTPTR_H
#define TOOLS_WEB_BROWSER_GOBJECTPTR_H

#include <glib-object.h>

#include <memory>

struct GObjectUnref
{
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename Object>
using GObjectPtr = std::unique_ptr<Object, GObjectUnref>;

#endif  // TOOLS_WEB_BROWSER_GOBJECTPTR_H
