// The ESC key, read from the X server's keymap. Kept apart: the X headers define macros that clash
// with Qt's names, so they come last and go nowhere else.

#include <QGuiApplication>

#include "shell/QtPlatform.h"

#if QT_CONFIG(xcb)
#include <X11/Xlib.h>
#include <X11/keysym.h>
#endif

bool X11EscapeKey::IsDown() {
#if QT_CONFIG(xcb)
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    Display* display = x11 ? x11->display() : nullptr;
    if (!display) return false;
    const KeyCode escape = XKeysymToKeycode(display, XK_Escape);
    if (escape == 0) return false;
    char keys[32] = {};
    XQueryKeymap(display, keys);
    return (keys[escape / 8] & (1 << (escape % 8))) != 0;
#else
    return false;
#endif
}
