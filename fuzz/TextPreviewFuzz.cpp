// Any bytes shown as a text entry: escaped into the preview's rich text and read back, which must give
// the lines again. Any bytes also go straight to the rich text reader, which gives no empty run and
// never more text than it was given.

#include <cstdlib>
#include <string>

#include "archive/Preview.h"
#include "base/RichText.h"
#include "FuzzSupport.h"

namespace {

std::string TextOf(const std::vector<RichTextRun>& runs) {
    std::string text;
    for (const RichTextRun& run : runs) text += run.Text;
    return text;
}

// The text as the preview shows it: each line ended by one line break, whichever ended it before.
std::string LinesOf(std::string_view text) {
    std::string lines;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' || text[i] == '\n') {
            if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
            lines += '\n';
        } else {
            lines += text[i];
        }
    }
    if (!lines.empty() && lines.back() != '\n') lines += '\n';
    return lines;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    size_t read = 0;
    for (const RichTextRun& run : ReadRichText(bytes)) {
        if (run.Text.empty()) std::abort();
        read += run.Text.size();
    }
    if (read > size) std::abort();
    const TextPreview preview = TextPreviewOfText(bytes, 7);
    if (TextOf(ReadRichText(preview.Rtf)) != "File 7:\n" + LinesOf(bytes)) std::abort();
    return 0;
}
