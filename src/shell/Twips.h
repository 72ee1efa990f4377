#pragma once
// The window's unit: twips, 1,440 to the inch. Places are kept in twips and turned into the pixels of
// the screen the window is on.

#include <cmath>
#include <cstdint>

struct TwipsRect {
    int Left = 0, Top = 0, Width = 0, Height = 0;
    bool operator==(const TwipsRect&) const = default;
};

inline double TwipsPerPixel(int dotsPerInch) { return 1440.0 / dotsPerInch; }
inline int TwipsToPixels(double twips, double twipsPerPixel) { return static_cast<int>(std::lround(twips / twipsPerPixel)); }
inline int PixelsToTwips(double pixels, double twipsPerPixel) { return static_cast<int>(std::lround(pixels * twipsPerPixel)); }

// A length worked out in floating point, rounded to the nearest whole number that 16 bits hold.
inline int16_t RoundToInteger(double value) {
    const double rounded = std::nearbyint(value);
    if (!(rounded >= INT16_MIN)) return INT16_MIN;
    if (rounded > INT16_MAX) return INT16_MAX;
    return static_cast<int16_t>(rounded);
}
