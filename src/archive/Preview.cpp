#include "archive/Preview.h"

#include <vector>

#include "base/Files.h"

namespace {

constexpr std::string_view LineEnd = "\\par ";

bool IsLineEnd(char c) { return c == '\r' || c == '\n'; }
bool NeedsEscape(char c) { return c == '\\' || c == '{' || c == '}'; }

// The exact size of the escaped lines: lets the result be reserved once, so a 32 MiB entry
// costs one allocation instead of a chain of regrowths.
size_t EscapedSize(std::string_view text) {
    size_t size = text.size();
    bool lineOpen = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (IsLineEnd(c)) {
            if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i, --size;
            size += LineEnd.size() - 1;
            lineOpen = false;
        } else {
            size += NeedsEscape(c) ? 1 : 0;
            lineOpen = true;
        }
    }
    return size + (lineOpen ? LineEnd.size() : 0);
}

// Backslashes, opening and closing braces each get one backslash in front. One pass over the bytes
// gives the same result as replacing backslashes first and braces after: no added backslash is seen again.
void AppendEscapedLines(std::string_view text, std::string& out) {
    size_t plainStart = 0;  // start of the bytes not yet copied
    bool lineOpen = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (!IsLineEnd(c) && !NeedsEscape(c)) {
            lineOpen = true;
            continue;
        }
        out.append(text.substr(plainStart, i - plainStart));
        if (IsLineEnd(c)) {
            if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
            out.append(LineEnd);
            lineOpen = false;
        } else {
            out.push_back('\\');
            out.push_back(c);
            lineOpen = true;
        }
        plainStart = i + 1;
    }
    out.append(text.substr(plainStart));
    if (lineOpen) out.append(LineEnd);
}

}  // namespace

bool IsPaletteText(std::string_view escapedText) { return escapedText.starts_with("JASC-PAL"); }

TextPreview TextPreviewOfText(std::string_view text, int32_t id) {
    const std::string head = R"({\rtf1{\colortbl ;\red255\green0\blue0;}\cf1 File )" + std::to_string(id) + R"(:\par \cf0 )";
    TextPreview preview;
    preview.Rtf.reserve(head.size() + EscapedSize(text) + 1);
    preview.Rtf.append(head);
    AppendEscapedLines(text, preview.Rtf);
    preview.IsPalette = IsPaletteText(std::string_view(preview.Rtf).substr(head.size()));
    preview.Rtf.push_back('}');
    return preview;
}

Outcome TextPreviewRTF(const std::string& path, int32_t id, TextPreview& preview) {
    preview = {};
    std::vector<uint8_t> bytes;
    if (Outcome read = ReadWholeFile(path, MaxPreviewFileBytes, bytes); !read) return read;
    preview = TextPreviewOfText(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), id);
    return Outcome::Success();
}
