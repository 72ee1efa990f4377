#include "slp/SLPCode.h"

Outcome ShowImage(const std::string& Path, int16_t Frame, bool Saving, const std::string& OutPath, Host& host,
                  int32_t Player) {
    if (!Saving) {
        host.SetPictureStatusText("Loading image...");
        host.SetBusyPointer(true);
    }
    auto fail = [&](Outcome failure) {
        if (!Saving) host.SetBusyPointer(false);
        return failure;
    };

    SLPFile file;
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (Outcome read = ReadSLPHeaders(Path, file, header, frames); !read) {
        // A refused file is on show all the same: redraws and exports now find it and fail, rather than
        // work on the sprite before it, and the scroll bar offers no frames of that one.
        if (!Saving) {
            host.SetPictureSource(Path);
            host.SetFrameScrollGate(false);
            host.SetFrameScrollMax(1);
            host.SetFrameScrollValue(1);
        }
        return fail(std::move(read));
    }
    if (Frame < 1 || Frame > header.NumFrames) {
        return fail(Outcome::Failure(Fault::Missing, "has no frame " + std::to_string(Frame), Path));
    }
    const SLPFrameInfo& info = frames[static_cast<size_t>(Frame - 1)];

    if (!Saving) {
        host.SetPictureSource(Path);
        host.SetFrameScrollGate(false);  // keeps the changes below from drawing the frame again
        host.SetFrameScrollMax(static_cast<int16_t>(header.NumFrames));
        host.SetFrameScrollValue(Frame);
        host.SetPictureSize(info.Width, info.Height);
    }

    cDIBSection image;
    cDIBSection mask;
    // The colours are read now, so that every decode shows the user's current choice. ESC ends the
    // decode early; the rows done so far are shown or saved as they are, the others stay black.
    LayerColours colours = ScreenColours();
    colours.Player = Player;
    const DecodeResult decoded = DecodeSLPFrame(file, info, image, mask, true, host, colours);
    const Outcome damage = decoded.Code == Fault::Damaged
                               ? Outcome::Failure(Fault::Damaged, "frame " + std::to_string(Frame) + ": " + decoded.Detail)
                               : Outcome::Success();

    if (Saving) {
        // A damaged frame is saved as far as it decoded; the caller still learns of the damage.
        if (SavePictureResult saved = image.SavePicture(OutPath); !saved) return fail(std::move(saved));
        return damage;
    }

    host.PaintPicture(image);
    host.SetFrameScrollGate(true);
    host.SetPictureStatusText("Showing frame " + std::to_string(Frame) + " of " + std::to_string(header.NumFrames));
    host.SetBusyPointer(false);
    return damage;
}
