#include "export/EncodeInputs.h"

#include "export/PictureInputs.h"
#include "export/SLXBundle.h"

EncodeInputKind TellEncodeInput(std::span<const uint8_t> head) {
    const std::string_view text(reinterpret_cast<const char*>(head.data()), head.size());
    if (text.starts_with(SLXFirstLine)) {
        const std::string_view behind = text.substr(SLXFirstLine.size());
        if (behind.empty() || behind[0] == '\r' || behind[0] == '\n') return EncodeInputKind::SLXBundle;
    }
    if (text.starts_with("\x89PNG\r\n\x1A\n")) return EncodeInputKind::Picture;
    if (IsSheetJson(head)) return EncodeInputKind::Sheet;
    return EncodeInputKind::Unknown;
}
