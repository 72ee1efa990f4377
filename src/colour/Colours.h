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
