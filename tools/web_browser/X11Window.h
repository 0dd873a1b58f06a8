// A window of the X server that shows what the engine draws, and gives it keys and the pointer.
// Used by the main loop's thread.
#ifndef TOOLS_WEB_BROWSER_X11WINDOW_H
#define TOOLS_WEB_BROWSER_X11WINDOW_H

#include <X11/Xlib.h>
#include <glib.h>

#include <functional>

#include "tools/web_browser/Picture.h"

class ViewBackend;

class X11Window
{
public:
    // Throws std::runtime_error without a display to show it on. onClose is called when it is
    // closed by its user. The backend must outlive this.
    X11Window(ViewBackend& backend, int width, int height, std::function<void()> onClose);
    X11Window(const X11Window&) = delete;
    X11Window& operator=(const X11Window&) = delete;
    ~X11Window();

private:
    static gboolean OnEvents(gint descriptor, GIOCondition condition, gpointer self);

    void Show(const Picture& picture);
    void Handle(XEvent& event);
    void SendKey(XKeyEvent& key);
    void SendButton(const XButtonEvent& button);
    void SendMotion(const XMotionEvent& motion);

    ViewBackend& mBackend;
    const std::function<void()> mOnClose;
    Display* const mDisplay;
    Window mWindow;
    GC mContext;
    Atom mDeleteWindow;
    guint mSource;
};

#endif  // TOOLS_WEB_BROWSER_X11WINDOW_H
