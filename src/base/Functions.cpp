#include "base/Functions.h"

#include <array>
#include <filesystem>

namespace {

// What the bytes 0x80 to 0x9F stand for; the rest of the code page is Latin-1.
constexpr std::array<char32_t, 32> Windows1252High = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

char Windows1252Byte(char32_t code) {
    if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) return static_cast<char>(code);
    for (size_t i = 0; i < Windows1252High.size(); ++i) {
        if (Windows1252High[i] == code) return static_cast<char>(0x80 + i);
    }
    return '?';
}

// Decodes the UTF-8 sequence at text[i] and moves i past it. A broken sequence gives U+FFFD and moves i
// past as much of it as was well formed, at least one byte, so one fault costs one '?'.
char32_t NextCodePoint(std::string_view text, size_t& i) {
    const auto lead = static_cast<uint8_t>(text[i++]);
    if (lead < 0x80) return lead;
    int more = 0;
    char32_t code = 0;
    uint8_t low = 0x80, high = 0xBF;  // the second byte's range: narrower where overlong forms or surrogates lurk
    if (lead >= 0xC2 && lead <= 0xDF) {
        more = 1;
        code = lead & 0x1Fu;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        more = 2;
        code = lead & 0x0Fu;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        more = 3;
        code = lead & 0x07u;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return U'\uFFFD';
    }
    for (int k = 0; k < more; ++k) {
        if (i >= text.size()) return U'\uFFFD';
        const auto next = static_cast<uint8_t>(text[i]);
        if (next < low || next > high) return U'\uFFFD';
        code = (code << 6) | (next & 0x3Fu);
        low = 0x80;
        high = 0xBF;
        ++i;
    }
    return code;
}

}  // namespace

std::string FolderOfPath(std::string_view path) {
    const size_t separator = path.rfind(PathSeparator);
    return separator == std::string_view::npos ? std::string() : std::string(path.substr(0, separator + 1));
}

std::string FileOfPath(std::string_view path) {
    const size_t separator = path.rfind(PathSeparator);
    return std::string(separator == std::string_view::npos ? path : path.substr(separator + 1));
}

std::string BaseNameOfPath(std::string_view path) {
    const size_t separator = path.rfind(PathSeparator);
    const size_t dot = path.rfind('.');
    if (separator == std::string_view::npos || dot == std::string_view::npos) return std::string(path);
    if (dot < separator) return std::string(path.substr(separator + 1));  // the only dot is in a folder name
    return std::string(path.substr(separator + 1, dot - separator - 1));
}

std::string ExportBasePath(std::string_view fileName) {
    const std::string file = FileOfPath(fileName);
    if (file.find('.') == std::string::npos) return std::string(fileName);
    return FolderOfPath(fileName) + file.substr(0, file.rfind('.'));
}

std::string PadFrameNumber(int32_t Number) {
    std::string digits = std::to_string(Number);
    if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
    return digits;
}

int16_t MaxInteger(int16_t a, int16_t b) { return a > b ? a : b; }

std::string EscapeControls(std::string_view text) {
    constexpr char Hex[] = "0123456789abcdef";
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte >= 0x20 && byte != 0x7F) {
            out.push_back(c);
        } else if (c == '\t' || c == '\n' || c == '\r') {
            out.push_back('\\');
            out.push_back(c == '\t' ? 't' : c == '\n' ? 'n' : 'r');
        } else {
            out.append("\\x").push_back(Hex[byte >> 4]);
            out.push_back(Hex[byte & 0x0F]);
        }
    }
    return out;
}

std::string ProgramFileName() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error || self.empty()) return "brindle";
    return self.stem().string();
}

char32_t Windows1252CodePoint(uint8_t byte) { return byte >= 0x80 && byte < 0xA0 ? Windows1252High[byte - 0x80] : char32_t{byte}; }

std::string Windows1252ToUtf8(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 2);
    for (size_t i = 0; i < text.size();) {
        // Plain ASCII, nearly all of a text, goes over as it stands, a stretch at a time.
        size_t ascii = i;
        while (ascii < text.size() && static_cast<uint8_t>(text[ascii]) < 0x80) ++ascii;
        out.append(text.substr(i, ascii - i));
        if (ascii == text.size()) break;
        const auto byte = static_cast<uint8_t>(text[ascii]);
        AppendUtf8(byte < 0xA0 ? Windows1252High[byte - 0x80] : char32_t{byte}, out);
        i = ascii + 1;
    }
    return out;
}

std::string Utf8ToWindows1252(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) out.push_back(Windows1252Byte(NextCodePoint(text, i)));
    return out;
}

void AppendUtf8(char32_t code, std::string& out) {
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
        return;
    }
    static constexpr uint32_t leads[] = {0, 0xC0, 0xE0, 0xF0};
    const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;  // continuation bytes after the lead
    out.push_back(static_cast<char>(leads[more] | (code >> (6 * more))));
    for (int shift = 6 * (more - 1); shift >= 0; shift -= 6) out.push_back(static_cast<char>(0x80 | ((code >> shift) & 0x3F)));
}

std::string AsciiLowerCase(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}
