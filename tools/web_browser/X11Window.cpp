#include "tools/web_browser/X11Window.h"

#include <X11/Xutil.h>
#include <glib-unix.h>
#include <wpe/wpe.h>

#include <stdexcept>
#include <utility>

#include "tools/web_browser/ViewBackend.h"

namespace {
constexpr int kWheelUp = 4;  // the wheel's turns are buttons
constexpr int kWheelDown = 5;
constexpr int kWheelStep = 40;  // pixels
constexpr long kEvents = KeyPressMask | KeyReleaseMask | ButtonPressMask | ButtonReleaseMask |
                         PointerMotionMask | ExposureMask;

Display* OpenDisplay()
{
    Display* const display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        throw std::runtime_error("There is no X display to show a window on: use --headless");
    }
    return display;
}

std::uint32_t Modifiers(unsigned state)
{
    std::uint32_t modifiers = 0;
    if ((state & ControlMask) != 0) {
        modifiers |= wpe_input_keyboard_modifier_control;
    }
    if ((state & ShiftMask) != 0) {
        modifiers |= wpe_input_keyboard_modifier_shift;
    }
    if ((state & Mod1Mask) != 0) {
        modifiers |= wpe_input_keyboard_modifier_alt;
    }
    return modifiers;
}
}  // namespace

X11Window::X11Window(ViewBackend& backend, int width, int height, std::function<void()> onClose)
    : mBackend(backend),
      mOnClose(std::move(onClose)),
      mDisplay(OpenDisplay()),
      mWindow(XCreateSimpleWindow(mDisplay, DefaultRootWindow(mDisplay), 0, 0,
                                  static_cast<unsigned>(width), static_cast<unsigned>(height), 0, 0,
                                  0)),
      mContext(DefaultGC(mDisplay, DefaultScreen(mDisplay))),
      mDeleteWindow(XInternAtom(mDisplay, "WM_DELETE_WINDOW", False)),
      mSource(g_unix_fd_add(ConnectionNumber(mDisplay), G_IO_IN, OnEvents, this))
{
    XSizeHints fixed = {};
    fixed.flags = PMinSize | PMaxSize;
    fixed.min_width = fixed.max_width = width;
    fixed.min_height = fixed.max_height = height;
    XSetWMNormalHints(mDisplay, mWindow, &fixed);
    XStoreName(mDisplay, mWindow, "html5-video-web-browser");
    XSetWMProtocols(mDisplay, mWindow, &mDeleteWindow, 1);
    XSelectInput(mDisplay, mWindow, kEvents);
    XMapWindow(mDisplay, mWindow);
    XFlush(mDisplay);
    mBackend.SetTaker([this](const Picture& picture) { Show(picture); });
}

X11Window::~X11Window()
{
    mBackend.SetTaker(nullptr);
    g_source_remove(mSource);
    XCloseDisplay(mDisplay);
}

gboolean X11Window::OnEvents(gint /*descriptor*/, GIOCondition /*condition*/, gpointer self)
{
    auto* const window = static_cast<X11Window*>(self);
    while (XPending(window->mDisplay) > 0) {
        XEvent event;
        XNextEvent(window->mDisplay, &event);
        window->Handle(event);
    }
    return G_SOURCE_CONTINUE;
}

void X11Window::Show(const Picture& picture)
{
    XImage image = {};
    image.width = picture.width;
    image.height = picture.height;
    image.format = ZPixmap;
    image.data = reinterpret_cast<char*>(const_cast<std::uint32_t*>(picture.pixels.data()));
    image.byte_order = image.bitmap_bit_order = LSBFirst;
    image.bitmap_unit = image.bitmap_pad = 32;
    image.depth = DefaultDepth(mDisplay, DefaultScreen(mDisplay));
    image.bits_per_pixel = 32;
    image.bytes_per_line = picture.width * 4;
    if (XInitImage(&image) != 0) {
        XPutImage(mDisplay, mWindow, mContext, &image, 0, 0, 0, 0,
                  static_cast<unsigned>(picture.width), static_cast<unsigned>(picture.height));
        XFlush(mDisplay);
    }
}

void X11Window::Handle(XEvent& event)
{
    switch (event.type) {
        case Expose:
            if (!mBackend.LastPicture().pixels.empty()) {
                Show(mBackend.LastPicture());
            }
            break;
        case KeyPress:
        case KeyRelease:
            SendKey(event.xkey);
            break;
        case ButtonPress:
        case ButtonRelease:
            SendButton(event.xbutton);
            break;
        case MotionNotify:
            SendMotion(event.xmotion);
            break;
        case ClientMessage:
            if (static_cast<Atom>(event.xclient.data.l[0]) == mDeleteWindow) {
                mOnClose();
            }
            break;
        default:
            break;
    }
}

// The engine's key codes are the X server's key symbols.
void X11Window::SendKey(XKeyEvent& key)
{
    KeySym symbol = NoSymbol;
    XLookupString(&key, nullptr, 0, &symbol, nullptr);
    wpe_input_keyboard_event event = {static_cast<std::uint32_t>(key.time),
                                      static_cast<std::uint32_t>(symbol), key.keycode,
                                      key.type == KeyPress, Modifiers(key.state)};
    wpe_view_backend_dispatch_keyboard_event(mBackend.Get(), &event);
}

void X11Window::SendButton(const XButtonEvent& button)
{
    const auto time = static_cast<std::uint32_t>(button.time);
    if (button.button == kWheelUp || button.button == kWheelDown) {
        if (button.type == ButtonPress) {
            const int step = button.button == kWheelUp ? kWheelStep : -kWheelStep;
            wpe_input_axis_event event = {
                wpe_input_axis_event_type_motion, time, button.x, button.y, 0, step,
                Modifiers(button.state)};
            wpe_view_backend_dispatch_axis_event(mBackend.Get(), &event);
        }
        return;
    }
    // Left, middle, right here; left, right, middle there.
    const std::uint32_t number = button.button == 1 ? 1 : button.button == 2 ? 3 : 2;
    wpe_input_pointer_event event = {wpe_input_pointer_event_type_button,
                                     time,
                                     button.x,
                                     button.y,
                                     number,
                                     button.type == ButtonPress ? 1U : 0U,
                                     Modifiers(button.state)};
    wpe_view_backend_dispatch_pointer_event(mBackend.Get(), &event);
}

void X11Window::SendMotion(const XMotionEvent& motion)
{
    wpe_input_pointer_event event = {wpe_input_pointer_event_type_motion,
                                     static_cast<std::uint32_t>(motion.time),
                                     motion.x,
                                     motion.y,
                                     0,
                                     0,
                                     Modifiers(motion.state)};
    wpe_view_backend_dispatch_pointer_event(mBackend.Get(), &event);
}
