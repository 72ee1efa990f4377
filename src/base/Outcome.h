#pragma once
// What a core routine hands back when it can fail: success, or a code saying what kind of failure and a
// short developer's sentence saying why ("frame 3: row table past end of file"). Callers decide what to
// do from the code alone; the words are for people and may be reworded freely. The window and
// brindle-cli turn a failure into the program's own words; the core never shows anything and never
// throws past its boundary.

#include <cstdint>
#include <string>
#include <utility>

enum class Fault : uint8_t {
    None,         // it worked
    CannotOpen,   // the file is missing, or may not be opened
    CannotRead,   // reading stopped before the end
    CannotWrite,  // a file could not be created or written whole: no room, no permission, a bad name
    HeldOpen,     // the target is a file the program holds open for reading
    Damaged,      // the bytes break their format: cut off, out of range, contradictory
    NotThisKind,  // a file of another kind than the routine reads
    OutOfLimits,  // past one of the program's limits: a size or a count too large or too small, memory
    Missing,      // what was asked for is not there: a frame, an entry, an open archive
    Escaped,      // the user pressed ESC; what was done before stands
};

struct [[nodiscard]] Outcome {
    Fault Code = Fault::None;
    std::string Detail;  // for people; nothing may depend on its words
    std::string File;    // the file the failure concerns, when there is one; a caller that names it need not parse Detail

    bool Ok() const { return Code == Fault::None; }
    explicit operator bool() const { return Ok(); }

    static Outcome Success() { return {}; }
    static Outcome Failure(Fault code, std::string detail, std::string file = {}) {
        return {code, std::move(detail), std::move(file)};
    }
};
