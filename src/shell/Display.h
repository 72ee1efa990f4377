#pragma once
// Whether the window has a display to open on, asked before Qt is started: Qt ends the program with
// a plugin failure and a core dump when there is none, which tells a user nothing.

#include <string>

// Empty text when the platform the window will use has a display to show it on, or needs none
// (offscreen, a framebuffer, VNC). Otherwise one line for the user: what is missing and how to run
// `program` on a virtual display instead.
std::string MissingDisplayMessage(int argc, char* argv[], const std::string& program);
