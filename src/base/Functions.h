#pragma once
// Small routines on text and numbers that several subsystems share.
// Paths are split at the platform's separator, '/'.

#include <cstdint>
#include <string>
#include <string_view>

inline constexpr char PathSeparator = '/';

// Everything up to and including the last separator; empty text if there is none.
std::string FolderOfPath(std::string_view path);
// Everything behind the last separator; the whole path if there is none.
std::string FileOfPath(std::string_view path);
// What stands between the last separator and the last dot. The whole path when it has no separator or
// no dot; the file name when its only dot stands in a folder name ("/a.b/c" gives "c").
std::string BaseNameOfPath(std::string_view path);

// The base path that the exports add their numbers to: the name without its extension. A name without
// an extension is its own base path.
std::string ExportBasePath(std::string_view fileName);

// 1 to 999 as three digits with leading zeros; larger numbers as they are.
std::string PadFrameNumber(int32_t Number);

int16_t MaxInteger(int16_t a, int16_t b);

// Numbers as the files store them: little-endian, signed. The caller has checked that the bytes are there.
inline int32_t LoadI32(const uint8_t* p) {
    return static_cast<int32_t>(uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24);
}
inline int16_t LoadI16(const uint8_t* p) { return static_cast<int16_t>(uint16_t{p[0]} | uint16_t(p[1] << 8)); }

// The text with A to Z as a to z, and every other byte as it is: names and tags, never words.
std::string AsciiLowerCase(std::string text);

// Appends code point `code` (below 0x110000) to out as UTF-8.
void AppendUtf8(char32_t code, std::string& out);

// The program's texts are in the Windows-1252 code page; the window and the terminal want UTF-8.
// The five bytes that code page leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) stand for U+0081 and so
// on, so every byte survives the trip there and back.
std::string Windows1252ToUtf8(std::string_view text);
// The code point of one Windows-1252 byte.
char32_t Windows1252CodePoint(uint8_t byte);
// Characters without a Windows-1252 byte, and broken UTF-8, become '?' (one per broken sequence).
std::string Utf8ToWindows1252(std::string_view text);

// Control characters (bytes below 0x20, and 0x7F) as \t, \n, \r or \xHH, so that a terminal shows them
// instead of obeying them, and a one-line message stays one line. A backslash stays as it is, so that a
// text without controls, a Windows path too, prints unchanged; the escapes can then be misread only
// where the text itself holds such a sequence.
std::string EscapeControls(std::string_view text);

// The program's file name without folder and extension ("brindle", "brindle-cli").
std::string ProgramFileName();
