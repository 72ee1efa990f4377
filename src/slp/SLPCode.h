#pragma once
// The frame viewer's road, ShowImage, with the recolouring by layer; the chief header of the sprite
// code, bringing the colour choices and the exports with it.

#include <cstdint>
#include <string>

#include "colour/Colours.h"
#include "export/SLPExports.h"
#include "shell/Host.h"
#include "shell/Outcome.h"
#include "slp/SLPCodeNew.h"

// Replaces the transparent, shadow and outline pixels of image, as the mask says, by the four colours
// as they stand now. Colour and player pixels, and any other mask value, stay.
void RecolourImage(cDIBSection& image, const cDIBSection& mask);

// Reads frame Frame (from 1) of the SLP file at Path, decodes and recolours it, and either shows it
// through the host or, with Saving, writes it as a BMP file to OutPath and touches nothing on the window.
Outcome ShowImage(const std::string& Path, int16_t Frame, bool Saving, const std::string& OutPath, Host& host);
