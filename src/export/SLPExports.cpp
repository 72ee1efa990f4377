#include "export/SLPExports.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "colour/Colours.h"
#include "shell/Functions.h"
#include "slp/SLPCodeNew.h"

namespace {

// While an export runs, FrameScroll's changes must not redraw; afterwards they must again, however
// the export ended. The status labels are cleared at the end as well.
class ExportScope {
public:
    explicit ExportScope(Host& host) : host_(host) { host_.SetFrameScrollGate(false); }
    ~ExportScope() {
        host_.SetFrameScrollGate(true);
        host_.SetPictureStatusText("");
        host_.SetStatusText("");
    }
    ExportScope(const ExportScope&) = delete;
    ExportScope& operator=(const ExportScope&) = delete;

private:
    Host& host_;
};

void ShowProgress(Host& host, int32_t frame, int32_t frameCount) {
    host.SetPictureStatusText("Saving frame " + std::to_string(frame) + " of " + std::to_string(frameCount));
    host.SetFrameScrollValue(static_cast<int16_t>(frame));
    if (frame % 5 == 0) host.RepaintMainForm();
}

// The common canvas of a sequence: every frame's pixels relative to its hot spot, from (MinX, MinY)
// to (MaxX, MaxY). The odd start values are the ones the sequence files have always been made with.
struct CanvasBounds {
    int64_t MinX = 10000, MinY = 10000, MaxX = -10000, MaxY = -100000;
    int64_t Width() const { return MaxX - MinX + 1; }
    int64_t Height() const { return MaxY - MinY + 1; }
};

CanvasBounds MeasureCanvas(const std::vector<SLPFrameInfo>& frames) {
    CanvasBounds bounds;
    for (const SLPFrameInfo& frame : frames) {
        bounds.MinX = std::min(bounds.MinX, -int64_t{frame.HotspotX});
        bounds.MinY = std::min(bounds.MinY, -int64_t{frame.HotspotY});
        bounds.MaxX = std::max(bounds.MaxX, int64_t{frame.Width} - frame.HotspotX - 1);
        bounds.MaxY = std::max(bounds.MaxY, int64_t{frame.Height} - frame.HotspotY - 1);
    }
    return bounds;
}

// Paints the whole canvas in MaskColour: one row drawn, the others copied from it.
void ClearCanvas(cDIBSection& canvas) {
    DrawPixelRun(canvas, 0, canvas.Width() - 1, 0, MaskColour);
    const size_t rowBytes = 3 * static_cast<size_t>(canvas.Width());
    for (int32_t y = 1; y < canvas.Height(); ++y) std::memcpy(canvas.RowPointer(y), canvas.RowPointer(0), rowBytes);
}

// Puts the decoded image on the canvas with its hot spot at the canvas's origin; its transparent
// pixels (by colour, 0xFF00FF) take MaskColour.
void CopyFrameToCanvas(const cDIBSection& image, const SLPFrameInfo& frame, const CanvasBounds& bounds,
                       cDIBSection& canvas) {
    if (!image.IsCreated()) return;
    const int64_t dx = -bounds.MinX - frame.HotspotX;
    const int64_t dy = -bounds.MinY - frame.HotspotY;
    const int64_t firstX = std::max<int64_t>(0, -dx);
    const int64_t endX = std::min<int64_t>(image.Width(), canvas.Width() - dx);
    if (firstX >= endX) return;
    const uint8_t background[3] = {static_cast<uint8_t>(MaskColour >> 16), static_cast<uint8_t>(MaskColour >> 8),
                                   static_cast<uint8_t>(MaskColour)};
    for (int32_t y = 0; y < image.Height(); ++y) {
        const int64_t canvasY = y + dy;
        if (canvasY < 0 || canvasY >= canvas.Height()) continue;
        const uint8_t* from = image.RowPointer(y) + 3 * firstX;
        uint8_t* to = canvas.RowPointer(static_cast<int32_t>(canvasY)) + 3 * (firstX + dx);
        for (int64_t x = firstX; x < endX; ++x, from += 3, to += 3) {
            const bool transparent = from[0] == 0xFF && from[1] == 0x00 && from[2] == 0xFF;
            std::memcpy(to, transparent ? background : from, 3);
        }
    }
}

}  // namespace

Outcome ExportSequence(const std::string& SLPPath, const std::string& BasePath, Host& host) {
    SLPFile file;
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    ExportScope scope(host);
    if (Outcome read = ReadSLPHeaders(SLPPath, file, header, frames); !read) return read;
    host.SetStatusText("Exporting to image sequence...");

    const CanvasBounds bounds = MeasureCanvas(frames);
    if (bounds.Width() < 1 || bounds.Height() < 1 || bounds.Width() > MaxFrameWidth ||
        bounds.Width() * bounds.Height() > MaxSurfacePixels) {
        return Outcome::Failure("the frames' hot spots spread them over " + std::to_string(bounds.Width()) + " x " +
                                std::to_string(bounds.Height()) + " pixels, more than Brindle exports");
    }
    cDIBSection canvas;
    canvas.Create(static_cast<int32_t>(bounds.Width()), static_cast<int32_t>(bounds.Height()));

    cDIBSection image;
    cDIBSection mask;
    std::string writeFailures;
    for (int32_t i = 1; i <= header.NumFrames; ++i) {
        ShowProgress(host, i, header.NumFrames);
        const SLPFrameInfo& frame = frames[static_cast<size_t>(i - 1)];
        if (const DecodeResult decoded = DecodeSLPFrame(file, frame, image, mask, false, host);
            decoded.Code == DecodeDamaged) {
            return Outcome::Failure("frame " + std::to_string(i) + ": " + decoded.Detail);
        }
        ClearCanvas(canvas);
        CopyFrameToCanvas(image, frame, bounds, canvas);

        const std::string name = BasePath + PadFrameNumber(i) + ".bmp";
        const SavePictureResult saved = canvas.SavePicture(name);
        if (saved.ErrorNumber == SavePictureErrorNumber) return Outcome::Failure("cannot create " + name + ": " + saved.ErrorDescription);
        if (!saved.Written) writeFailures += (writeFailures.empty() ? "" : ", ") + name;  // the export goes on
    }
    if (!writeFailures.empty()) return Outcome::Failure("could not write all of " + writeFailures);
    return Outcome::Success();
}

Outcome ExportSLX(const std::string& SLPPath, const std::string& BasePath, Host& host) {
    SLPFile file;
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    ExportScope scope(host);
    if (Outcome read = ReadSLPHeaders(SLPPath, file, header, frames); !read) return read;

    const std::string listPath = BasePath + ".slx";
    std::FILE* list = std::fopen(listPath.c_str(), "wb");
    if (!list) return Outcome::Failure("cannot create " + listPath);
    std::string text;
    auto writeLine = [&text](const std::string& line) { text += line + "\r\n"; };
    auto finish = [&](Outcome outcome) {
        const bool written = std::fwrite(text.data(), 1, text.size(), list) == text.size();
        const bool closed = std::fclose(list) == 0;
        if (outcome && (!written || !closed)) return Outcome::Failure("cannot write " + listPath);
        return outcome;
    };

    writeLine("SLX 0.5");
    writeLine(std::to_string(header.NumFrames));
    host.SetStatusText("Exporting all frames...");

    cDIBSection image;
    cDIBSection mask;
    std::string writeFailures;
    for (int32_t i = 1; i <= header.NumFrames; ++i) {
        ShowProgress(host, i, header.NumFrames);
        const SLPFrameInfo& frame = frames[static_cast<size_t>(i - 1)];
        writeLine(std::to_string(frame.HotspotX) + "," + std::to_string(frame.HotspotY));
        if (const DecodeResult decoded = DecodeSLPFrame(file, frame, image, mask, false, host);
            decoded.Code == DecodeDamaged) {
            return finish(Outcome::Failure("frame " + std::to_string(i) + ": " + decoded.Detail));
        }
        const std::string colourName = BasePath + std::to_string(i) + "c.bmp";
        const std::string maskName = BasePath + std::to_string(i) + "d.bmp";
        for (const auto& [surface, name] : {std::pair{&image, colourName}, std::pair{&mask, maskName}}) {
            const SavePictureResult saved = surface->SavePicture(name);
            if (saved.ErrorNumber == SavePictureErrorNumber) {
                return finish(Outcome::Failure("cannot create " + name + ": " + saved.ErrorDescription));
            }
            if (!saved.Written) writeFailures += (writeFailures.empty() ? "" : ", ") + name;
        }
        writeLine(FileOfPath(maskName));
        writeLine(FileOfPath(colourName));
    }
    if (!writeFailures.empty()) return finish(Outcome::Failure("could not write all of " + writeFailures));
    return finish(Outcome::Success());
}
