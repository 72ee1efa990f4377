#pragma once
// The one registry read the program makes at start-up, served on Linux from the text files a Wine
// prefix keeps its registry in (system.reg for the machine, user.reg for the user).

#include <cstdint>
#include <string>
#include <string_view>

inline constexpr uint32_t HKEY_CURRENT_USER = 0x80000001;
inline constexpr uint32_t HKEY_LOCAL_MACHINE = 0x80000002;

// Behaves like opening the key, querying the value into a 1024-byte buffer and closing the key.
// Key and value names match without regard to ASCII case. A value under "Software\" is looked for
// first under "Software\Wow6432Node\", where a 32-bit installer in a 64-bit prefix puts it, then
// under the key as named: value by value, so a key there with other values doesn't hide it.
// Strings (expandable ones unexpanded) come back as UTF-8 up to their first NUL, DWORDs as signed
// decimal. Returns empty text when anything fails, for other value types, and for a value that
// does not fit the buffer (its UTF-8 bytes plus a terminating NUL over 1024).
std::string ReadRegistryValue(uint32_t root, std::string_view keyPath, std::string_view valueName);

// The Wine prefix folder: $WINEPREFIX if set and not empty, else $HOME/.wine; no trailing separator.
// Empty when neither variable helps.
std::string WinePrefixFolder();

// "C:\Games\Foo\" as a Linux path inside the prefix: the drive is "<prefix>/dosdevices/c:" with its
// links resolved when that exists, else "<prefix>/drive_c" for drive C. Backslashes become '/', a
// trailing one included. Empty for text that is not "X:\..." and for another drive with no link.
std::string LinuxPathOfWindowsPath(std::string_view windowsPath);
