#pragma once
// What `brindle-cli encode` is given, told by its content in this one place: the inputs it reads
// become FramePixels (slp/SLPEncode.h), each by a reader of its own, and only this tells which reader.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

enum class EncodeInputKind {
    Unknown,    // none that encode reads
    SLXBundle,  // the text of an SLX bundle: first line "SLX 0.5" (export/SLXBundle.h)
    Sheet,      // a sprite sheet's JSON: '{' first (export/PictureInputs.h)
    Picture,    // a PNG file: its signature (export/PictureInputs.h)
};

// The most of an input encode reads into memory; an SLX bundle's bitmaps are read one by one beside it.
inline constexpr size_t MaxEncodeInputBytes = size_t{64} << 20;

// The kind of an input from its first bytes.
EncodeInputKind TellEncodeInput(std::span<const uint8_t> head);

// The kinds encode reads, in one line, for the refusal of any other.
inline constexpr std::string_view EncodeInputKinds =
    "SLX bundles (the .slx text that brindle-cli slx writes, its bitmaps beside it), sprite sheets (the .json that "
    "export --format sheet writes, its pictures beside it) and PNG files";
