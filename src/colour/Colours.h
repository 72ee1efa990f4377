#pragma once
// The colours of the layers that the palette does not reach: background, shadow and the two outlines.
// Read directly by the viewer and the exports; changed only by the user's choices.

#include <cstdint>

inline constexpr uint32_t DefaultMaskColour = 0x000000;
inline constexpr uint32_t DefaultShadowColour = 0x7F7F7F;
inline constexpr uint32_t DefaultOutlineInnerColour = 0xFF0000;
inline constexpr uint32_t DefaultOutlineOuterColour = 0x00FFFF;

extern uint32_t MaskColour;
extern uint32_t ShadowColour;
extern uint32_t OutlineInnerColour;
extern uint32_t OutlineOuterColour;
extern int16_t PlayerNumber;  // 0 to 7; no drawing reads it

// Sets the four colours and PlayerNumber to their start values.
void ResetColourChoices();

// The teams a sprite's player pixels can be drawn in: player N takes the palette's band from 16 N,
// 1 blue, 2 red, 3 green, 4 yellow, 5 orange, 6 cyan, 7 purple, 8 grey in the default palette.
inline constexpr int32_t FirstPlayer = 1;
inline constexpr int32_t LastPlayer = 8;
inline constexpr int32_t TeamCount = LastPlayer - FirstPlayer + 1;

// The colours that the image surface gets for the layers the palette does not reach, and the team
// whose band of the palette player pixels take. Colour pixels always take their palette colour.
struct LayerColours {
    uint32_t Transparent;
    uint32_t Shadow;
    uint32_t OutlineInner;
    uint32_t OutlineOuter;
    int32_t Player = FirstPlayer;  // a player byte c is drawn in palette[c + 16 * Player]
};

// As a decode leaves the image surface, and as the sequence and SLX exports take it.
inline constexpr LayerColours DecodedColours{0xFF00FF, 0x0000FF, 0xFF00FF, 0xFF00FF};

// On screen and in "Save as BMP": the user's four choices as they stand now, and player 1.
LayerColours ScreenColours();

// How far apart two colours are: the sum of the squares of the differences of their three bytes (red,
// green and blue in either order), for the nearest colour where a picture holds one a palette lacks.
constexpr int32_t ColourDistance(uint32_t a, uint32_t b) {
    int32_t sum = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        const int32_t d = int32_t(a >> shift & 0xFF) - int32_t(b >> shift & 0xFF);
        sum += d * d;
    }
    return sum;
}
