#pragma once
// What the preview pane is given: rich text for a text entry, and fixed notices for the entries it
// does not show as text. Bytes go through as they stand; the pane converts them from the code page.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Outcome.h"

inline constexpr std::string_view SpriteNoticeRTF = R"({\rtf1{\colortbl ;\red128\green0\blue0;}\cf1 (displaying graphic)})";
inline constexpr std::string_view SoundNoticeRTF = R"({\rtf1{\colortbl ;\red0\green128\blue0;}\cf1 (playing sound file)})";
inline constexpr std::string_view UnknownNoticeRTF = R"({\rtf1{\colortbl ;\red255\green0\blue0;}\cf1 Unknown resource type!})";

// Entries are at most 32 MiB; the cap only keeps a stray huge file from being read whole.
inline constexpr size_t MaxPreviewFileBytes = size_t{64} << 20;

// Both come out of one pass over the text, so the window never scans it twice.
struct TextPreview {
    std::string Rtf;
    bool IsPalette = false;  // the text begins with "JASC-PAL": the window offers it as a palette
};

// The preview of a text entry: a red "File <id>:" line, then each line of text escaped and ended by \par.
// "\r\n", "\n" and a lone "\r" end a line; a last line without a line end still counts.
TextPreview TextPreviewOfText(std::string_view text, int32_t id);

// As TextPreviewOfText, on the file at path. A file that can't be read (or is past the cap) gives a
// failure and leaves preview empty: the window then shows nothing rather than a half preview.
Outcome TextPreviewRTF(const std::string& path, int32_t id, TextPreview& preview);

// Whether the escaped lines (what stands after "\cf0 ") begin with exactly "JASC-PAL".
bool IsPaletteText(std::string_view escapedText);
