#pragma once
// What a core routine hands back when it can fail: success, or a short developer's sentence saying why
// not ("frame 3: row table past end of file"). The window and brindle-cli turn a failure into the
// program's own words; the core never shows anything and never throws past its boundary.

#include <string>
#include <utility>

struct [[nodiscard]] Outcome {
    bool Ok = true;
    std::string Detail;

    static Outcome Success() { return {}; }
    static Outcome Failure(std::string detail) { return {false, std::move(detail)}; }
    explicit operator bool() const { return Ok; }
};
