#pragma once
// What the fuzz targets share: a scratch folder of this process's own, a file in it holding the input,
// and a host that answers every question with OK, so that an archive of unknown flavour is read too.

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/Host.h"

namespace fuzzing {

// A folder for this process alone, made at first use; ends in '/'.
const std::string& ScratchFolder();

// Writes the input to ScratchFolder() + name and gives back the path.
std::string WriteInput(const std::string& name, const uint8_t* data, size_t size);

class AgreeingHost : public QuietHost {
public:
    MessageAnswer ShowMessage(std::string_view, MessageStyle, std::string_view) override { return MessageAnswer::OK; }
};

}  // namespace fuzzing

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
