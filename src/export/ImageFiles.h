#pragma once
// Encoders of RGBA pictures: PNG and animated PNG (chunks written here, compressed by libdeflate) and
// animated GIF (giflib). Each builds the file in memory.
//
// A PNG is a palette picture (8 bits an index, tRNS for the alphas) when its pixels hold at most 256
// distinct RGBA values, as a sprite's do, and RGBA beyond that; an APNG the same, with one palette for
// all its frames. Either way a reader gets the same RGBA pixels.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Outcome.h"
#include "export/Rgba.h"

Outcome EncodePng(const RgbaPicture& picture, std::vector<uint8_t>& png);


// Frames of one size, shown fps times a second and looping forever. Each frame after the first is
// stored as the rectangle where it differs from the one before, so that the canvas a viewer shows is
// each frame exactly, alpha included, with nothing of the one before showing through. A viewer that knows nothing of
// APNG shows the first frame. Up to frameCount frames are added; fewer, where a caller left some out,
// are counted as they are. The frames are held until Finish, which compresses them on up to `threads`
// threads; an animation whose frames would take more than maxHeldBytes to hold as RGBA rows is refused
// (OutOfLimits) at the frame that passes it, as a sprite of thousands of large frames would be.
inline constexpr size_t MaxApngHeldBytes = size_t{1} << 30;
class PngPixels;
class ApngWriter {
public:
    ApngWriter(int32_t width, int32_t height, int32_t frameCount, int fps, int threads = 1,
               size_t maxHeldBytes = MaxApngHeldBytes);
    ~ApngWriter();
    ApngWriter(const ApngWriter&) = delete;
    ApngWriter& operator=(const ApngWriter&) = delete;

    Outcome Add(const RgbaPicture& frame);
    Outcome Finish(std::vector<uint8_t>& png);

private:
    int32_t width_, height_, frameCount_;
    int fps_, threads_;
    size_t maxHeldBytes_;
    std::unique_ptr<PngPixels> pixels_;
};

// A GIF's delays are whole hundredths, and browsers slow those under 2 to a tenth of a second.
inline constexpr int MaxGifFps = 50;

// Frames of one size, fps times a second (1 to MaxGifFps), looping forever, each cleared to the background before the
// next. Each delay is whole hundredths, chosen so that frame n ends at the hundredth nearest n / fps
// seconds: the film keeps its pace however long it runs. A pixel with alpha below 128 is transparent; the others are opaque in their colour. Colours
// are exact while a frame has at most 255 of them; beyond that the rarest are drawn in the nearest
// colour kept, and Notes says so.
class GifWriter {
public:
    GifWriter(int32_t width, int32_t height, int fps);
    ~GifWriter();
    GifWriter(const GifWriter&) = delete;
    GifWriter& operator=(const GifWriter&) = delete;

    Outcome Add(const RgbaPicture& frame);
    Outcome Finish(std::vector<uint8_t>& gif);
    const std::vector<std::string>& Notes() const { return notes_; }

private:
    struct Impl;
    Impl* impl_;
    std::vector<std::string> notes_;
};
