#pragma once
// A user's record of what an entry is: three choices from the fixed lists and a free text.

#include <array>
#include <cstdint>
#include <string>

struct ResourceDescription {
    std::array<int32_t, 3> Choices{};  // row indexes of RenameLists(0) to (2)
    std::string Text;
};
