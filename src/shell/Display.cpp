#include "shell/Display.h"

#include <cstdlib>
#include <string_view>

#include <X11/Xlib.h>

namespace {

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// The value of Qt's option "-name VALUE" on the command line, else of the environment variable.
std::string Setting(int argc, char* argv[], std::string_view option, const char* variable) {
    for (int i = 1; i + 1 < argc; ++i)
        if (argv[i] == option) return argv[i + 1];
    return Environment(variable);
}

bool CanOpenX11Display(const std::string& name) {
    Display* display = XOpenDisplay(name.c_str());
    if (!display) return false;
    XCloseDisplay(display);
    return true;
}

}  // namespace

std::string MissingDisplayMessage(int argc, char* argv[], const std::string& program) {
    const std::string platform = Setting(argc, argv, "-platform", "QT_QPA_PLATFORM");  // empty: Qt's default
    const bool x11 = platform.empty() || platform.starts_with("xcb");
    const bool wayland = platform.empty() || platform.starts_with("wayland");
    if (!x11 && !wayland) return {};  // offscreen, a framebuffer, VNC, ...: no desktop display needed
    if (wayland && !Environment("WAYLAND_DISPLAY").empty()) return {};

    const std::string hint = "; to run it on a virtual display: xvfb-run -a " + program;
    const std::string display = Setting(argc, argv, "-display", "DISPLAY");
    if (x11 && !display.empty()) {
        if (CanOpenX11Display(display)) return {};
        return "brindle: cannot open the display \"" + display + "\"" + hint;
    }
    const char* unset = !wayland ? "DISPLAY is not set" : !x11 ? "WAYLAND_DISPLAY is not set"
                                                          : "neither DISPLAY nor WAYLAND_DISPLAY is set";
    return std::string("brindle: no display to show the window on (") + unset + ")" + hint;
}
