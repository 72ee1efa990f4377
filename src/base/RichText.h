#pragma once
// Reads back the rich text the program hands the preview pane, as runs of one colour each, so the window
// can insert them without a rich text engine of its own. Only what the program writes is understood:
// groups, the colour table, \cf, \par and the escapes \\ \{ \} (and \'hh); every other control word or
// symbol is skipped. Junk input gives some runs, never a crash, and costs linear time.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct RichTextRun {
    std::string Text;           // bytes as they stand in the source, paragraph breaks as '\n'
    bool DefaultColour = true;  // \cf0, or no \cf yet: the view's own text colour
    uint32_t Colour = 0;        // otherwise: red in bits 0-7, green 8-15, blue 16-23; 0 with the default colour

    bool operator==(const RichTextRun&) const = default;
};

// Neighbouring text of one colour comes out as one run; no run is empty.
std::vector<RichTextRun> ReadRichText(std::string_view rtf);
