#pragma once
// A user's record of what an entry is: three choices from the fixed lists and a free text.

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

struct ResourceDescription {
    std::array<int32_t, 3> Choices{};  // row indexes of RenameLists(0) to (2); 0 is "[N/A]"
    std::string Text;                  // as typed (UTF-8), not trimmed
    bool operator==(const ResourceDescription&) const = default;
};

// The rows of the three fixed lists, RenameLists(0) to (2), from index 0. A description file stores
// row indexes, so these orders are part of the file format.
inline constexpr std::array<std::string_view, 7> CivilisationRows{
    "[N/A]", "Dominion", "Marshfolk", "Insurgents", "Lakeland", "Bazaar Lg.", "Forest Clans"};
inline constexpr std::array<std::string_view, 5> TechLevelRows{"[N/A]", "1 (T1)", "2 (T2)", "3 (T3)", "4 (T4)"};
inline constexpr std::array<std::string_view, 10> GraphicKindRows{
    "[N/A]",          "Building Normal", "Building Shadow", "Building Foundation", "Building Partial",
    "Unit Attacking", "Unit Dying",      "Unit Standing",   "Unit Decaying",       "Unit Walking"};
inline constexpr std::array<std::span<const std::string_view>, 3> RenameListRows{CivilisationRows, TechLevelRows,
                                                                                  GraphicKindRows};
