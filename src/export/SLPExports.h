#pragma once
// The two exports of a whole sprite: a numbered BMP sequence on one canvas, and the SLX bundle.

#include <string>

#include "shell/Host.h"
#include "shell/Outcome.h"

// Writes every frame as BasePath + "001.bmp", ... on one canvas, hot spots on the same pixel, with
// MaskColour for the background. Leaves the gate of FrameScroll "on" however it ends.
Outcome ExportSequence(const std::string& SLPPath, const std::string& BasePath, Host& host);

// Writes BasePath + ".slx" and, per frame i, BasePath + i + "c.bmp" (image) and "d.bmp" (mask).
Outcome ExportSLX(const std::string& SLPPath, const std::string& BasePath, Host& host);
