#pragma once
// The window's unit: twips, 1,440 to the inch. Places are kept in twips and turned into the pixels of
// the screen the window is on.

#include <cmath>

struct TwipsRect {
    int Left = 0, Top = 0, Width = 0, Height = 0;
    bool operator==(const TwipsRect&) const = default;
};

inline double TwipsPerPixel(int dotsPerInch) { return 1440.0 / dotsPerInch; }
inline int TwipsToPixels(double twips, double twipsPerPixel) { return static_cast<int>(std::lround(twips / twipsPerPixel)); }
inline int PixelsToTwips(double pixels, double twipsPerPixel) { return static_cast<int>(std::lround(pixels * twipsPerPixel)); }
