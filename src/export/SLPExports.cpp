#include "export/SLPExports.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>

#include "base/FileWriter.h"
#include "base/Files.h"
#include "base/Functions.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "slp/SLPCodeNew.h"

namespace {

// What both exports share: the sprite read once and held for the whole export, the progress shown,
// and the rules for damage and for files that fail. While an export runs, FrameScroll's changes must
// not redraw; afterwards they must again, however the export ended, and the status labels are cleared.
class SpriteExport {
public:
    SpriteExport(Host& host, int32_t player) : host_(host), player_(player) { host_.SetFrameScrollGate(false); }
    ~SpriteExport() {
        host_.SetFrameScrollGate(true);
        host_.SetPictureStatusText("");
        host_.SetStatusText("");
    }
    SpriteExport(const SpriteExport&) = delete;
    SpriteExport& operator=(const SpriteExport&) = delete;

    Outcome Open(const std::string& path) { return ReadSLPHeaders(path, owned_, header_, frames_); }
    Outcome Use(const SLPFile& sprite) {
        file_ = &sprite;
        return ParseSLPHeaders(sprite, header_, frames_);
    }
    int32_t FrameCount() const { return header_.NumFrames; }
    const std::vector<SLPFrameInfo>& Frames() const { return frames_; }
    const SLPFrameInfo& Frame(int32_t number) const { return frames_[static_cast<size_t>(number - 1)]; }

    // Shows that frame `number` is being saved. Only the calling thread may do this: it talks to the host.
    void ShowProgress(int32_t number) {
        host_.SetPictureStatusText("Saving frame " + std::to_string(number) + " of " + std::to_string(FrameCount()));
        host_.SetFrameScrollValue(static_cast<int16_t>(number));
        if (number % 5 == 0) host_.RepaintMainForm();
    }

    // Decodes frame `number` into image and mask, in the decoded colours and the export's team; any
    // thread may, as the decoder asks the host nothing without ESC. A damaged frame is decoded as far
    // as it goes and exported like the others.
    DecodeResult DecodeInto(int32_t number, cDIBSection& image, cDIBSection& mask, LayerColours colours = DecodedColours,
                            const std::array<uint32_t, 256>& palette = Palette) const {
        QuietHost nobody;
        colours.Player = player_;
        return DecodeSLPFrame(*file_, Frame(number), image, mask, false, nobody, colours, palette);
    }

    // The damage is noted for the end of the export, so that the files written stay a whole set.
    void NoteDamage(int32_t number, const DecodeResult& decoded) {
        if (decoded.Code != Fault::Damaged) return;
        if (damage_.empty()) damage_ = "frame " + std::to_string(number) + ": " + decoded.Detail;
        damaged_.push_back(number);
    }

    // A file that cannot be created ends the export; one that cannot be written to its end is noted,
    // and the export goes on with the next.
    Outcome Save(const cDIBSection& surface, const std::string& name) {
        const SavePictureResult saved = surface.SavePicture(name);
        if (saved.ErrorNumber == SavePictureErrorNumber) {
            return Outcome::Failure(Fault::CannotWrite, "cannot create " + name + ": " + saved.Detail);
        }
        if (!saved) Unfinished(name);
        return Outcome::Success();
    }
    void Unfinished(const std::string& name) { unfinished_.push_back(name); }
    const std::vector<std::string>& UnfinishedFiles() const { return unfinished_; }
    void Report(ExportReport* report) const {
        if (report) *report = {unfinished_, damaged_};
    }
    // The window's bundle lists a frame whose bitmap stopped halfway, as it always has; a caller that
    // drops such files asks for a list without them.
    void ListWholeFramesOnly() { wholeFramesOnly_ = true; }
    bool ListsWholeFramesOnly() const { return wholeFramesOnly_; }

    // Success only when every frame decoded whole and every file was written to its end.
    Outcome Result() const {
        if (!damage_.empty()) return Outcome::Failure(Fault::Damaged, damage_);
        std::string names;
        for (const std::string& name : unfinished_) names += (names.empty() ? "" : ", ") + name;
        return unfinished_.empty() ? Outcome::Success() : Outcome::Failure(Fault::CannotWrite, "could not write all of " + names);
    }

private:
    Host& host_;
    int32_t player_;
    SLPFile owned_;  // the sprite read by Open
    const SLPFile* file_ = &owned_;
    SLPHeader header_;
    std::vector<SLPFrameInfo> frames_;
    std::vector<std::string> unfinished_;
    bool wholeFramesOnly_ = false;
    std::string damage_;  // what was wrong with the first damaged frame
    std::vector<int32_t> damaged_;
};

// A sequence's colours: a pixel decoded as 0xFF00FF takes MaskColour, by its colour and not its layer,
// so that transparent and outline pixels do, and so does a palette colour that happens to be
// 0xFF00FF; shadows keep their decoded 0x0000FF. Decoding straight in these colours leaves every pixel
// as the canvas wants it.
LayerColours SequenceColours() { return {MaskColour, DecodedColours.Shadow, MaskColour, MaskColour}; }

std::array<uint32_t, 256> SequencePalette() {
    std::array<uint32_t, 256> palette = Palette;
    std::replace(palette.begin(), palette.end(), DecodedColours.Transparent, MaskColour);
    return palette;
}

// Draws one frame, decoded in the sequence's colours, on the canvas: with the hot spot at the
// canvas's origin, and MaskColour wherever the frame is not. Each canvas pixel is written once:
// `background` is one canvas row of MaskColour to copy from.
void DrawFrameOnCanvas(const cDIBSection& image, const SLPFrameInfo& frame, const CanvasBounds& bounds,
                       const std::vector<uint8_t>& background, cDIBSection& canvas) {
    const int64_t dx = -bounds.MinX - frame.HotspotX;
    const int64_t dy = -bounds.MinY - frame.HotspotY;
    const int64_t imageHeight = image.IsCreated() ? image.Height() : 0;
    // The columns of the canvas that the frame covers, [coveredFrom, coveredTo).
    const int64_t coveredFrom = std::clamp<int64_t>(dx, 0, canvas.Width());
    const int64_t coveredTo = std::clamp<int64_t>(dx + (image.IsCreated() ? image.Width() : 0), coveredFrom, canvas.Width());
    for (int32_t y = 0; y < canvas.Height(); ++y) {
        uint8_t* to = canvas.RowPointer(y);
        const int64_t imageY = y - dy;
        if (imageY < 0 || imageY >= imageHeight || coveredFrom == coveredTo) {
            std::memcpy(to, background.data(), background.size());
            continue;
        }
        std::memcpy(to, background.data(), static_cast<size_t>(3 * coveredFrom));
        const uint8_t* from = image.RowPointer(static_cast<int32_t>(imageY)) + 3 * (coveredFrom - dx);
        std::memcpy(to + 3 * coveredFrom, from, static_cast<size_t>(3 * (coveredTo - coveredFrom)));
        std::memcpy(to + 3 * coveredTo, background.data(), static_cast<size_t>(3 * (canvas.Width() - coveredTo)));
    }
}

}  // namespace

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

Outcome CheckedCanvas(const std::vector<SLPFrameInfo>& frames, CanvasBounds& bounds) {
    bounds = MeasureCanvas(frames);
    if (bounds.Width() < 1 || bounds.Height() < 1 || bounds.Width() > MaxFrameWidth ||
        bounds.Width() * bounds.Height() > MaxSurfacePixels) {
        return Outcome::Failure(Fault::OutOfLimits, "the frames' hot spots spread them over " + std::to_string(bounds.Width()) + " x " +
                                std::to_string(bounds.Height()) + " pixels, more than Brindle exports");
    }
    return Outcome::Success();
}

namespace {

// A 24-bit BMP file of that size: the headers, then rows padded to 4 bytes.
int64_t BitmapFileBytes(int64_t width, int64_t height) {
    return 54 + (3 * std::max<int64_t>(width, 0) + 3) / 4 * 4 * std::max<int64_t>(height, 0);
}

}  // namespace

int64_t SequenceFileBytes(const std::vector<SLPFrameInfo>& frames) {
    CanvasBounds bounds;
    if (!CheckedCanvas(frames, bounds)) return 0;
    return static_cast<int64_t>(frames.size()) * BitmapFileBytes(bounds.Width(), bounds.Height());
}

int64_t BundleFileBytes(const std::vector<SLPFrameInfo>& frames) {
    int64_t bytes = 0;
    for (const SLPFrameInfo& frame : frames) bytes += 2 * BitmapFileBytes(frame.Width, frame.Height) + 64;  // and its lines
    return bytes;
}

namespace {

// What a helper thread makes of one frame for the calling thread to write.
struct FrameSlot {
    cDIBSection Image, Mask, Canvas;
    DecodeResult Decoded;
};

// Runs make(i, slot) for frames 1 to count on a helper thread and use(i, slot) on the calling thread,
// in frame order, with two slots taking turns: the next frame is decoded while the one before is
// written. Only use may talk to the host. The first failure of use stops both.
Outcome Pipeline(int32_t count, FrameSlot (&slots)[2], const std::function<void(int32_t, FrameSlot&)>& make,
                 const std::function<Outcome(int32_t, FrameSlot&)>& use) {
    std::mutex turns;
    std::condition_variable changed;
    int32_t made = 0, used = 0;
    bool stop = false;
    auto makeAll = [&] {
        for (int32_t i = 1; i <= count; ++i) {
            {
                std::unique_lock<std::mutex> lock(turns);
                changed.wait(lock, [&] { return stop || used >= i - 2; });  // its slot is free again
                if (stop) return;
            }
            make(i, slots[i % 2]);
            const std::lock_guard<std::mutex> lock(turns);
            made = i;
            changed.notify_all();
        }
    };
    Outcome outcome = Outcome::Success();
    std::thread maker;
    try {
        maker = std::thread(makeAll);
    } catch (const std::system_error&) {
        // No thread to be had, under a limit on processes: each frame is made and used in turn.
        for (int32_t i = 1; i <= count && outcome; ++i) {
            make(i, slots[i % 2]);
            outcome = use(i, slots[i % 2]);
        }
        return outcome;
    }
    for (int32_t i = 1; i <= count && outcome; ++i) {
        {
            std::unique_lock<std::mutex> lock(turns);
            changed.wait(lock, [&] { return made >= i; });
        }
        outcome = use(i, slots[i % 2]);
        const std::lock_guard<std::mutex> lock(turns);
        used = i;
        stop = !outcome;
        changed.notify_all();
    }
    maker.join();
    return outcome;
}

Outcome ExportSequence(SpriteExport& sprite, const std::string& BasePath, Host& host) {
    host.SetStatusText("Exporting to image sequence...");

    CanvasBounds bounds;
    if (Outcome measured = CheckedCanvas(sprite.Frames(), bounds); !measured) return measured;
    FrameSlot slots[2];
    for (FrameSlot& slot : slots) slot.Canvas.Create(static_cast<int32_t>(bounds.Width()), static_cast<int32_t>(bounds.Height()));
    std::vector<uint8_t> background(3 * static_cast<size_t>(bounds.Width()));
    FillPixels(background.data(), static_cast<size_t>(bounds.Width()), MaskColour);
    const LayerColours colours = SequenceColours();
    const std::array<uint32_t, 256> palette = SequencePalette();

    const Outcome outcome = Pipeline(
        sprite.FrameCount(), slots,
        [&](int32_t i, FrameSlot& slot) {
            slot.Decoded = sprite.DecodeInto(i, slot.Image, slot.Mask, colours, palette);
            DrawFrameOnCanvas(slot.Image, sprite.Frame(i), bounds, background, slot.Canvas);
        },
        [&](int32_t i, FrameSlot& slot) {
            sprite.ShowProgress(i);
            sprite.NoteDamage(i, slot.Decoded);
            return sprite.Save(slot.Canvas, BasePath + PadFrameNumber(i) + ".bmp");
        });
    return outcome ? sprite.Result() : outcome;
}

Outcome ExportSLX(SpriteExport& sprite, const std::string& BasePath, Host& host) {
    const std::string listPath = BasePath + ".slx";
    FileWriter list(listPath, WritePolicy::InPlace);
    if (Outcome opened = list.Open(); !opened) return opened;
    // The frames' lines are gathered, and the text is written when the export ends, however it ends.
    // It counts only the frames it lists, and lists a frame once both its bitmaps exist.
    std::string frameLines;
    int32_t listed = 0;
    auto finish = [&](Outcome outcome) {
        const std::string text = "SLX 0.5\r\n" + std::to_string(listed) + "\r\n" + frameLines;
        Outcome written = list.Write({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
        if (written) written = list.Finish();
        if (written) return outcome;
        sprite.Unfinished(listPath);
        return outcome ? written : outcome;
    };

    host.SetStatusText("Exporting all frames...");
    FrameSlot slots[2];
    const Outcome outcome = Pipeline(
        sprite.FrameCount(), slots,
        [&](int32_t i, FrameSlot& slot) { slot.Decoded = sprite.DecodeInto(i, slot.Image, slot.Mask); },
        [&](int32_t i, FrameSlot& slot) {
            sprite.ShowProgress(i);
            sprite.NoteDamage(i, slot.Decoded);
            const std::string colourName = BasePath + std::to_string(i) + "c.bmp";
            const std::string maskName = BasePath + std::to_string(i) + "d.bmp";
            const size_t unfinished = sprite.UnfinishedFiles().size();
            if (Outcome saved = sprite.Save(slot.Image, colourName); !saved) return saved;
            if (Outcome saved = sprite.Save(slot.Mask, maskName); !saved) return saved;
            // A caller that keeps only whole files gets a list of only those.
            if (sprite.ListsWholeFramesOnly() && sprite.UnfinishedFiles().size() != unfinished) return Outcome::Success();
            const SLPFrameInfo& frame = sprite.Frame(i);
            frameLines += std::to_string(frame.HotspotX) + "," + std::to_string(frame.HotspotY) + "\r\n" +
                          FileOfPath(maskName) + "\r\n" + FileOfPath(colourName) + "\r\n";
            ++listed;
            return Outcome::Success();
        });
    return finish(outcome ? sprite.Result() : outcome);
}

}  // namespace

Outcome ExportSequence(const std::string& SLPPath, const std::string& BasePath, Host& host) {
    SpriteExport sprite(host, FirstPlayer);
    if (Outcome read = sprite.Open(SLPPath); !read) return read;
    return ExportSequence(sprite, BasePath, host);
}

Outcome ExportSequence(const SLPFile& sprite, const std::string& BasePath, Host& host, int32_t player, ExportReport* report) {
    SpriteExport opened(host, player);
    if (Outcome read = opened.Use(sprite); !read) return read;
    Outcome outcome = ExportSequence(opened, BasePath, host);
    opened.Report(report);
    return outcome;
}

Outcome ExportSLX(const std::string& SLPPath, const std::string& BasePath, Host& host) {
    SpriteExport sprite(host, FirstPlayer);
    if (Outcome read = sprite.Open(SLPPath); !read) return read;
    return ExportSLX(sprite, BasePath, host);
}

Outcome ExportSLX(const SLPFile& sprite, const std::string& BasePath, Host& host, int32_t player, ExportReport* report) {
    SpriteExport opened(host, player);
    if (Outcome read = opened.Use(sprite); !read) return read;
    if (report) opened.ListWholeFramesOnly();
    Outcome outcome = ExportSLX(opened, BasePath, host);
    opened.Report(report);
    return outcome;
}
