#include "export/PngReader.h"

#include <spng.h>

#include <algorithm>
#include <memory>
#include <string>

Outcome ReadPng(std::span<const uint8_t> bytes, RgbaPicture& picture) {
    picture.Resize(0, 0);
    static constexpr uint8_t Signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (bytes.size() < 8 || !std::equal(Signature, Signature + 8, bytes.begin())) {
        return Outcome::Failure(Fault::NotThisKind, "is not a PNG file");
    }
    const std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)> context(spng_ctx_new(0), &spng_ctx_free);
    if (!context) return Outcome::Failure(Fault::OutOfLimits, "out of memory");
    spng_ctx* png = context.get();
    // Text and other ancillary chunks are skipped past, but none may ask for more than 16 MiB, nor all
    // of them kept for more than 64 MiB.
    spng_set_chunk_limits(png, size_t{16} << 20, size_t{64} << 20);
    spng_set_image_limits(png, MaxSheetSide, MaxSheetSide);
    spng_set_crc_action(png, SPNG_CRC_ERROR, SPNG_CRC_ERROR);
    spng_set_png_buffer(png, bytes.data(), bytes.size());

    const auto damaged = [](int error) { return Outcome::Failure(Fault::Damaged, std::string("is a damaged PNG file: ") + spng_strerror(error)); };
    spng_ihdr header{};
    if (const int error = spng_get_ihdr(png, &header); error != 0) {
        if (error == SPNG_EWIDTH || error == SPNG_EHEIGHT || error == SPNG_EUSER_WIDTH || error == SPNG_EUSER_HEIGHT) {
            return Outcome::Failure(Fault::OutOfLimits, "is a picture larger than " + std::to_string(MaxSheetSide) + " pixels on a side");
        }
        return damaged(error);
    }
    if (int64_t{header.width} * header.height > MaxReadPixels) {
        return Outcome::Failure(Fault::OutOfLimits, "is a picture of " + std::to_string(header.width) + " x " + std::to_string(header.height) +
                                                         " pixels, more than Brindle reads");
    }
    size_t size = 0;
    if (const int error = spng_decoded_image_size(png, SPNG_FMT_RGBA8, &size); error != 0) return damaged(error);
    picture.Resize(int32_t(header.width), int32_t(header.height));
    if (size != picture.Pixels.size()) return damaged(SPNG_EINTERNAL);
    if (const int error = spng_decode_image(png, picture.Pixels.data(), size, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS); error != 0) {
        picture.Resize(0, 0);
        return damaged(error);
    }
    return Outcome::Success();
}
