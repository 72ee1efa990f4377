#include "colour/Colours.h"

uint32_t MaskColour = DefaultMaskColour;
uint32_t ShadowColour = DefaultShadowColour;
uint32_t OutlineInnerColour = DefaultOutlineInnerColour;
uint32_t OutlineOuterColour = DefaultOutlineOuterColour;
int16_t PlayerNumber = 0;

void ResetColourChoices() {
    MaskColour = DefaultMaskColour;
    ShadowColour = DefaultShadowColour;
    OutlineInnerColour = DefaultOutlineInnerColour;
    OutlineOuterColour = DefaultOutlineOuterColour;
    PlayerNumber = 0;
}

LayerColours ScreenColours() { return {MaskColour, ShadowColour, OutlineInnerColour, OutlineOuterColour}; }
