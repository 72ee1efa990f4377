#pragma once
// Encoders of RGBA pictures: PNG (libspng), animated PNG (its acTL, fcTL and fdAT chunks written here
// over zlib) and animated GIF (giflib). Each builds the file in memory.

#include <cstdint>
#include <string>
#include <vector>

#include "base/Outcome.h"
#include "export/Rgba.h"

Outcome EncodePng(const RgbaPicture& picture, std::vector<uint8_t>& png);

// Frames of one size, shown fps times a second and looping forever. Each frame replaces the whole
// canvas, alpha included, so none shows through to the one before it. A viewer that knows nothing of
// APNG shows the first frame. Up to frameCount frames are added; fewer, where a caller left some out,
// are counted as they are.
class ApngWriter {
public:
    ApngWriter(int32_t width, int32_t height, int32_t frameCount, int fps);
    Outcome Add(const RgbaPicture& frame);
    Outcome Finish(std::vector<uint8_t>& png);

private:
    void Chunk(const char* type, const std::vector<uint8_t>& data);
    int32_t width_, height_, frameCount_, added_ = 0;
    int fps_;
    uint32_t sequence_ = 0;
    std::vector<uint8_t> png_;
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
