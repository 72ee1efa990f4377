#pragma once
// The frame viewer's road, ShowImage, with the recolouring by layer.

#include <cstdint>
#include <string>

#include "base/Host.h"
#include "base/Outcome.h"
#include "colour/Colours.h"
#include "slp/SLPCodeNew.h"

// Reads frame Frame (from 1) of the SLP file at Path and decodes it in the colours of the screen: the
// palette's, player pixels in the team colours of Player, and the user's four for background, shadow
// and outlines (ScreenColours). Then either shows it through the host or, with Saving, writes it as a
// BMP file to OutPath and touches nothing on the window.
Outcome ShowImage(const std::string& Path, int16_t Frame, bool Saving, const std::string& OutPath, Host& host,
                  int32_t Player = FirstPlayer);
