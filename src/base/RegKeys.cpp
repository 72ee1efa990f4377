#include "base/RegKeys.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <vector>

#include "base/Files.h"
#include "base/Functions.h"

namespace {

constexpr size_t MaxRegistryFileBytes = size_t{256} << 20;  // a fresh prefix's system.reg is a few MiB
constexpr size_t QueryBufferBytes = 1024;                   // what the program hands the query
constexpr uint32_t StringType = 1, ExpandStringType = 2, BinaryType = 3, DwordType = 4;

// A value as Windows stores it: its type and its bytes, strings as UTF-16LE with their NUL.
struct RawValue {
    uint32_t Type = 0;
    std::vector<uint8_t> Bytes;
};

char FoldCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameIgnoringCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, FoldCase, FoldCase);
}

int DigitValue(char c, uint32_t base) {
    const size_t value = std::string_view("0123456789abcdef").find(FoldCase(c));
    return value < base ? static_cast<int>(value) : -1;
}

// Reads up to maxDigits digits in base from pos into value; returns how many there were.
size_t ReadDigits(std::string_view text, size_t pos, uint32_t base, size_t maxDigits, uint32_t& value) {
    size_t count = 0;
    value = 0;
    for (; count < maxDigits && pos + count < text.size(); ++count) {
        const int digit = DigitValue(text[pos + count], base);
        if (digit < 0) break;
        value = value * base + static_cast<uint32_t>(digit);
    }
    return count;
}

// The unit an escape stands for; pos is on the character behind the backslash and moves past the
// escape. Wine writes "\x" with up to four hex digits (four when a hex digit follows) and octal with
// up to three; any other escaped character stands for itself.
char16_t ReadEscape(std::string_view line, size_t& pos) {
    static constexpr std::string_view letters = "abtnvfre", controls = "\a\b\t\n\v\f\r\x1b";
    const char c = line[pos];
    uint32_t value = 0;
    if (c == 'x') {
        const size_t digits = ReadDigits(line, pos + 1, 16, 4, value);
        pos += 1 + digits;
        return digits ? static_cast<char16_t>(value) : u'x';
    }
    if (const size_t digits = ReadDigits(line, pos, 8, 3, value)) {
        pos += digits;
        return static_cast<char16_t>(value);
    }
    ++pos;
    const size_t letter = letters.find(c);
    if (letter != std::string_view::npos) return static_cast<char16_t>(controls[letter]);
    return static_cast<char16_t>(static_cast<unsigned char>(c));  // Wine writes only ASCII; other bytes as Latin-1
}

// Escaped text from pos, just behind its opening delimiter, up to the unescaped closing one; pos ends
// behind that. Nothing when the line ends first.
std::optional<std::u16string> ReadEscapedText(std::string_view line, size_t& pos, char closing) {
    std::u16string units;
    while (pos < line.size()) {
        const char c = line[pos++];
        if (c == closing) return units;
        if (c != '\\') units += static_cast<char16_t>(static_cast<unsigned char>(c));
        else if (pos < line.size()) units += ReadEscape(line, pos);
    }
    return std::nullopt;
}

// UTF-16 as UTF-8; half a surrogate pair becomes '?', as the conversion to ANSI text would make it.
std::string Utf8OfUnits(std::u16string_view units) {
    std::string text;
    for (size_t i = 0; i < units.size(); ++i) {
        uint32_t c = units[i];
        const bool paired = c >= 0xD800 && c < 0xDC00 && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
                            units[i + 1] < 0xE000;
        if (paired) c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00u);
        else if (c >= 0xD800 && c < 0xE000) c = '?';
        AppendUtf8(c, text);
    }
    return text;
}

// Hands out the line at pos without its line break and moves pos to the next; false at the end.
bool TakeLine(std::string_view text, size_t& pos, std::string_view& line) {
    if (pos >= text.size()) return false;
    const size_t end = std::min(text.find('\n', pos), text.size());
    line = text.substr(pos, end - pos);
    if (line.ends_with('\r')) line.remove_suffix(1);
    pos = end + 1;
    return true;
}

// Where the lines of the key begin ("[Software\\Name] 1795404891" opens them), npos without the key.
size_t FindKey(std::string_view text, std::string_view keyPath) {
    size_t pos = 0;
    std::string_view line;
    while (TakeLine(text, pos, line)) {
        if (!line.starts_with('[')) continue;
        size_t at = 1;
        const auto name = ReadEscapedText(line, at, ']');
        if (name && SameIgnoringCase(Utf8OfUnits(*name), keyPath)) return pos;
    }
    return std::string_view::npos;
}

// The text behind the value's '=', on to the end of the file since hex data goes on over lines.
// Nothing when the key's lines, which end at the next key, do not have the value; "@" is the default.
std::optional<std::string_view> FindValue(std::string_view text, size_t pos, std::string_view valueName) {
    std::string_view line;
    for (size_t start = pos; TakeLine(text, pos, line); start = pos) {
        if (line.starts_with('[')) break;
        size_t at = 1;
        std::optional<std::u16string> name;
        if (line.starts_with("@=")) name.emplace();
        else if (line.starts_with('"')) name = ReadEscapedText(line, at, '"');
        if (!name || at >= line.size() || line[at] != '=') continue;
        if (SameIgnoringCase(Utf8OfUnits(*name), valueName)) return text.substr(start + at + 1);
    }
    return std::nullopt;
}

// "01,02,\" with indented continuation lines; ends with the first line that does not go on.
std::optional<RawValue> ReadHexData(std::string_view data, uint32_t type) {
    RawValue value{type, {}};
    uint32_t byte = 0;
    for (size_t pos = 0; pos < data.size() && data[pos] != '\n';) {
        if (std::string_view(", \t\r").find(data[pos]) != std::string_view::npos) {
            ++pos;
        } else if (data[pos] == '\\') {
            const size_t lineBreak = data.find_first_not_of('\r', pos + 1);
            if (lineBreak == std::string_view::npos || data[lineBreak] != '\n') return std::nullopt;
            pos = lineBreak + 1;
        } else if (ReadDigits(data, pos, 16, 2, byte) == 2) {
            value.Bytes.push_back(static_cast<uint8_t>(byte));
            pos += 2;
        } else {
            return std::nullopt;
        }
    }
    return value;
}

// Quoted text on one line, stored as Windows keeps it: UTF-16LE with a terminating NUL.
std::optional<RawValue> ReadStringData(std::string_view data, uint32_t type) {
    const std::string_view line = data.substr(0, data.find('\n'));
    size_t pos = 1;
    auto units = line.starts_with('"') ? ReadEscapedText(line, pos, '"') : std::nullopt;
    if (!units) return std::nullopt;
    units->push_back(0);
    RawValue value{type, {}};
    for (const char16_t unit : *units) {
        value.Bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
        value.Bytes.push_back(static_cast<uint8_t>(unit >> 8));
    }
    return value;
}

// The data forms: "text", str(N):"text", dword:hhhhhhhh, hex:bytes and hex(N):bytes, N in hex.
std::optional<RawValue> ReadValueData(std::string_view data) {
    uint32_t type = StringType, number = 0;
    if (data.starts_with("dword:")) {
        if (ReadDigits(data, 6, 16, 8, number) == 0) return std::nullopt;
        RawValue value{DwordType, {}};
        for (int shift = 0; shift < 32; shift += 8) value.Bytes.push_back(static_cast<uint8_t>(number >> shift));
        return value;
    }
    if (data.starts_with("hex:")) return ReadHexData(data.substr(4), BinaryType);
    if (!data.starts_with("hex(") && !data.starts_with("str(")) return ReadStringData(data, type);
    const size_t digits = ReadDigits(data, 4, 16, 8, type);
    if (digits == 0 || data.substr(4 + digits, 2) != "):") return std::nullopt;
    const std::string_view rest = data.substr(6 + digits);
    return data.starts_with('h') ? ReadHexData(rest, type) : ReadStringData(rest, type);
}

// What the query hands the program, as text: see the header.
std::string TextOfValue(const RawValue& value) {
    const auto& bytes = value.Bytes;
    if (value.Type == DwordType) {
        if (bytes.size() != 4) return {};
        return std::to_string(LoadI32(bytes.data()));
    }
    if (value.Type != StringType && value.Type != ExpandStringType) return {};
    std::u16string units;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) units += static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8);
    const std::string text = Utf8OfUnits(units);
    const bool terminated = units.ends_with(u'\0');
    if (text.size() + (terminated ? 0 : 1) > QueryBufferBytes) return {};  // the query fails: more data
    return text.substr(0, text.find('\0'));
}

// "Software\X" as "Software\Wow6432Node\X"; empty for a path that does not start with Software.
std::string Wow6432NodePath(std::string_view keyPath) {
    const size_t separator = keyPath.find('\\');
    if (separator == std::string_view::npos || !SameIgnoringCase(keyPath.substr(0, separator), "software")) {
        return {};
    }
    std::string path(keyPath);
    return path.insert(separator + 1, "Wow6432Node\\");
}

std::string RegistryFileOfRoot(uint32_t root) {
    const std::string prefix = WinePrefixFolder();
    if (prefix.empty()) return {};
    if (root == HKEY_LOCAL_MACHINE) return prefix + "/system.reg";
    if (root == HKEY_CURRENT_USER) return prefix + "/user.reg";
    return {};
}

std::string WithoutTrailingSeparators(std::string folder) {
    while (folder.ends_with('/')) folder.pop_back();
    return folder;
}

// The Linux folder of a drive letter, without a trailing separator ("" for the root folder).
std::optional<std::string> DriveFolder(const std::string& prefix, char letter) {
    std::error_code error;
    const std::filesystem::path link = std::filesystem::path(prefix) / "dosdevices" / std::string{letter, ':'};
    if (std::filesystem::exists(link, error)) {
        const auto target = std::filesystem::canonical(link, error);
        if (!error) return WithoutTrailingSeparators(target.string());
    }
    if (letter == 'c') return prefix + "/drive_c";
    return std::nullopt;
}

}  // namespace

std::string ReadRegistryValue(uint32_t root, std::string_view keyPath, std::string_view valueName) {
    const std::string file = RegistryFileOfRoot(root);
    std::vector<uint8_t> bytes;
    if (file.empty() || !ReadWholeFile(file, MaxRegistryFileBytes, bytes)) return {};
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    // Value by value, the 32-bit view first: it is what a 32-bit program sees in a 64-bit prefix, and
    // where a 32-bit installer writes. The key as named serves a value that view lacks.
    std::optional<std::string_view> data;
    for (const std::string& path : {Wow6432NodePath(keyPath), std::string(keyPath)}) {
        const size_t keyStart = path.empty() ? std::string_view::npos : FindKey(text, path);
        if (keyStart != std::string_view::npos && (data = FindValue(text, keyStart, valueName))) break;
    }
    const auto value = data ? ReadValueData(*data) : std::nullopt;
    return value ? TextOfValue(*value) : std::string();
}

std::string WinePrefixFolder() {
    const char* prefix = std::getenv("WINEPREFIX");
    if (prefix && *prefix) {
        const std::string folder = WithoutTrailingSeparators(prefix);
        return folder.empty() ? "/" : folder;
    }
    const char* home = std::getenv("HOME");
    return home && *home ? WithoutTrailingSeparators(home) + "/.wine" : std::string();
}

std::string LinuxPathOfWindowsPath(std::string_view windowsPath) {
    const bool drivePath = windowsPath.size() >= 3 && windowsPath[1] == ':' && windowsPath[2] == '\\';
    const char letter = drivePath ? FoldCase(windowsPath[0]) : '\0';
    if (letter < 'a' || letter > 'z') return {};
    const std::string prefix = WinePrefixFolder();
    const auto drive = prefix.empty() ? std::nullopt : DriveFolder(prefix, letter);
    if (!drive) return {};
    std::string path = *drive;
    for (const char c : windowsPath.substr(2)) path += c == '\\' ? '/' : c;
    return path;
}
