#include "export/ImageExports.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/Functions.h"
#include "base/Threads.h"
#include "export/ImageFiles.h"

namespace {

std::string SheetJsonName(const std::string& out) { return ExportBasePath(out) + ".json"; }
std::string SheetLayersName(const std::string& out) { return ExportBasePath(out) + ".layers.png"; }

// The extension of out's file, lower case, without its dot; empty when it has none.
std::string ExtensionOf(const std::string& out) {
    const std::string file = FileOfPath(out);
    const size_t dot = file.rfind('.');
    return dot == std::string::npos ? std::string() : AsciiLowerCase(file.substr(dot + 1));
}

// The window's dialog hands back NAME.png, in whatever case was typed: that name is kept.
std::string SheetPngName(const std::string& out) { return ExtensionOf(out) == "png" ? out : ExportBasePath(out) + ".png"; }

nlohmann::ordered_json Rect(int64_t x, int64_t y, int64_t w, int64_t h) { return {{"x", x}, {"y", y}, {"w", w}, {"h", h}}; }
nlohmann::ordered_json Size(int64_t w, int64_t h) { return {{"w", w}, {"h", h}}; }

Outcome ExportSheet(const SLPFile& sprite, const std::vector<SLPFrameInfo>& frames, const ImageExportOptions& options,
                    const std::string& out, std::vector<NamedFile>& files, Host& host, std::vector<int32_t>* leftOut) {
    CanvasBounds canvas;
    if (Outcome measured = CheckedCanvas(frames, canvas); !measured) return measured;
    for (size_t i = 0; i < frames.size(); ++i) {
        if (frames[i].Width > MaxSheetSide || frames[i].Height > MaxSheetSide) {
            return Outcome::Failure(Fault::OutOfLimits, "frame " + std::to_string(i + 1) + " is " + std::to_string(frames[i].Width) + " x " +
                                    std::to_string(frames[i].Height) + " pixels, larger than a sheet of 16384 on a side");
        }
    }
    const SheetLayout layout = options.AllPlayers ? LayOutTeamSheet(frames) : LayOutSheet(frames);
    if (layout.Width > MaxSheetSide || layout.Height > MaxSheetSide) {
        return Outcome::Failure(Fault::OutOfLimits, "a sheet of " + std::to_string(layout.Width) + " x " + std::to_string(layout.Height) +
                                " pixels is larger than 16384 on a side");
    }
    if (int64_t{layout.Width} * layout.Height > int64_t{MaxSheetSide} * MaxSheetSide / 4) {
        return Outcome::Failure(Fault::OutOfLimits, "a sheet of " + std::to_string(layout.Width) + " x " + std::to_string(layout.Height) +
                                " pixels is larger than Brindle writes");
    }

    RgbaPicture sheet, frame, layers, frameLayers;
    sheet.Resize(std::max(layout.Width, 1), std::max(layout.Height, 1));
    if (options.SheetLayers) layers.Resize(sheet.Width, sheet.Height);
    const std::string base = FileOfPath(ExportBasePath(out));
    nlohmann::ordered_json list = options.SheetHash ? nlohmann::ordered_json::object() : nlohmann::ordered_json::array();
    // Every frame's hot spot stands at the same place of the canvas; engines take it as a fraction of
    // the untrimmed frame (sourceSize): Phaser as "pivot", PixiJS as "anchor".
    const nlohmann::ordered_json pivot = {{"x", double(-canvas.MinX) / double(canvas.Width())},
                                          {"y", double(-canvas.MinY) / double(canvas.Height())}};
    RgbaOptions rgba = options.Rgba;
    const size_t cells = layout.Places.size();  // a frame's cell for each team drawn
    for (size_t cell = 0; cell < cells; ++cell) {
        const auto number = int32_t(cell % frames.size()) + 1;
        std::string name = base + "_";
        if (options.AllPlayers) {
            rgba.Player = int32_t(cell / frames.size()) + FirstPlayer;
            name += 'p';
            name += std::to_string(rgba.Player);
            name += '_';
        }
        if (Outcome decoded = DecodeRgbaFrame(sprite, frames, number, rgba, frame, host, options.SheetLayers ? &frameLayers : nullptr);
            !decoded) {
            if (!leftOut) return decoded;
            if (cell < frames.size()) leftOut->push_back(number);  // once, not for every team
            continue;  // its cell stays empty, and the JSON has no entry for it
        }
        const auto [x, y] = layout.Places[cell];
        for (int32_t row = 0; row < frame.Height; ++row) {
            std::memcpy(sheet.Row(y + row) + 4 * size_t(x), frame.Row(row), 4 * size_t(frame.Width));
            if (options.SheetLayers) std::memcpy(layers.Row(y + row) + 4 * size_t(x), frameLayers.Row(row), 4 * size_t(frame.Width));
        }
        const SLPFrameInfo& info = frames[size_t(number - 1)];
        const int64_t onCanvasX = -canvas.MinX - info.HotspotX, onCanvasY = -canvas.MinY - info.HotspotY;
        const bool trimmed = onCanvasX != 0 || onCanvasY != 0 || frame.Width != canvas.Width() || frame.Height != canvas.Height();
        name += PadFrameNumber(number);
        nlohmann::ordered_json entry = nlohmann::ordered_json::object();
        if (!options.SheetHash) entry["filename"] = name;  // a hash names it by its key
        entry["frame"] = Rect(x, y, frame.Width, frame.Height);
        entry["rotated"] = false;
        entry["trimmed"] = trimmed;
        entry["spriteSourceSize"] = Rect(onCanvasX, onCanvasY, frame.Width, frame.Height);
        entry["sourceSize"] = Size(canvas.Width(), canvas.Height());
        entry["pivot"] = pivot;
        entry["anchor"] = pivot;
        entry["duration"] = std::lround(1000.0 / std::clamp(options.Fps, 1, 1000));
        entry["hotspot"] = {{"x", info.HotspotX}, {"y", info.HotspotY}};
        if (options.SheetHash) list[name] = std::move(entry);
        else list.push_back(std::move(entry));
    }
    nlohmann::ordered_json json;
    json["frames"] = std::move(list);
    json["meta"] = {{"app", "brindle"},        {"version", BRINDLE_VERSION},
                    {"image", FileOfPath(SheetPngName(out))}, {"format", "RGBA8888"},
                    {"size", Size(sheet.Width, sheet.Height)}, {"scale", "1"}};
    if (options.SheetLayers) json["meta"]["layers"] = FileOfPath(SheetLayersName(out));

    NamedFile png{SheetPngName(out), {}};
    if (Outcome encoded = EncodePng(sheet, png.Bytes); !encoded) return encoded;
    // A name need not be UTF-8, as file systems take any bytes: what JSON can't hold shows as U+FFFD.
    const std::string text = json.dump(1, '\t', false, nlohmann::json::error_handler_t::replace) + "\n";
    files.push_back(std::move(png));
    files.push_back({SheetJsonName(out), std::vector<uint8_t>(text.begin(), text.end())});
    if (options.SheetLayers) {
        files.push_back({SheetLayersName(out), {}});
        return EncodePng(layers, files.back().Bytes);
    }
    return Outcome::Success();
}

}  // namespace

SheetLayout LayOutSheet(const std::vector<SLPFrameInfo>& frames) {
    // A side beyond the largest sheet makes the sheet too large whatever the rest; held there, the sums
    // below stay far inside 64 bits.
    auto width = [](const SLPFrameInfo& f) { return int64_t{std::clamp(f.Width, 0, MaxSheetSide + 1)}; };
    auto height = [](const SLPFrameInfo& f) { return int64_t{std::clamp(f.Height, 0, MaxSheetSide + 1)}; };
    int64_t area = 0, widest = 0;
    for (const SLPFrameInfo& f : frames) {
        area += width(f) * height(f);
        widest = std::max(widest, width(f));
    }
    const int64_t rowWidth = std::max<int64_t>(widest, int64_t(std::ceil(std::sqrt(double(area)))));

    SheetLayout layout;
    int64_t x = 0, y = 0, rowHeight = 0, sheetWidth = 0;
    for (const SLPFrameInfo& f : frames) {
        if (x > 0 && x + width(f) > rowWidth) {  // a new row
            y += rowHeight;
            x = 0;
            rowHeight = 0;
        }
        layout.Places.emplace_back(int32_t(std::min<int64_t>(x, INT32_MAX)), int32_t(std::min<int64_t>(y, INT32_MAX)));
        x += width(f);
        rowHeight = std::max(rowHeight, height(f));
        sheetWidth = std::max(sheetWidth, x);
    }
    layout.Width = int32_t(std::min<int64_t>(sheetWidth, INT32_MAX));
    layout.Height = int32_t(std::min<int64_t>(y + rowHeight, INT32_MAX));
    return layout;
}

SheetLayout LayOutTeamSheet(const std::vector<SLPFrameInfo>& frames) {
    // Sides held as in LayOutSheet.
    auto width = [](const SLPFrameInfo& f) { return int64_t{std::clamp(f.Width, 0, MaxSheetSide + 1)}; };
    int64_t rowHeight = 0, rowWidth = 0;
    for (const SLPFrameInfo& f : frames) {
        rowHeight = std::max<int64_t>(rowHeight, std::clamp(f.Height, 0, MaxSheetSide + 1));
        rowWidth += width(f);
    }
    SheetLayout layout;
    for (int64_t player = 0; player < TeamCount; ++player) {
        int64_t x = 0;
        for (const SLPFrameInfo& f : frames) {
            layout.Places.emplace_back(int32_t(std::min<int64_t>(x, INT32_MAX)), int32_t(std::min<int64_t>(player * rowHeight, INT32_MAX)));
            x += width(f);
        }
    }
    layout.Width = int32_t(std::min<int64_t>(rowWidth, INT32_MAX));
    layout.Height = int32_t(std::min<int64_t>(TeamCount * rowHeight, INT32_MAX));
    return layout;
}

std::vector<std::string> ImageExportNames(ImageFormat format, const ImageExportOptions& options, const std::string& out,
                                          int32_t frameCount) {
    switch (format) {
    case ImageFormat::Png: {
        if (options.Frame > 0) return {out};
        std::vector<std::string> names;
        for (int32_t i = 1; i <= frameCount; ++i) names.push_back(ExportBasePath(out) + PadFrameNumber(i) + ".png");
        return names;
    }
    case ImageFormat::Sheet:
        if (options.SheetLayers) return {SheetPngName(out), SheetJsonName(out), SheetLayersName(out)};
        return {SheetPngName(out), SheetJsonName(out)};
    default: return {out};
    }
}

bool SheetNameFits(const std::string& out) {
    const std::string extension = ExtensionOf(out);
    return extension.empty() || extension == "png" || extension == "json";
}

Outcome ExportImages(const SLPFile& sprite, ImageFormat format, const ImageExportOptions& options, const std::string& out,
                     std::vector<NamedFile>& files, std::vector<std::string>& notes, Host& host, std::vector<int32_t>* leftOut) {
    files.clear();
    notes.clear();
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (Outcome read = ParseSLPHeaders(sprite, header, frames); !read) return read;

    if (format == ImageFormat::Sheet) return ExportSheet(sprite, frames, options, out, files, host, leftOut);
    if (format == ImageFormat::Png && options.Frame > 0) {
        RgbaPicture frame;
        if (Outcome decoded = DecodeRgbaFrame(sprite, frames, options.Frame, options.Rgba, frame, host); !decoded) return decoded;
        files.push_back({out, {}});
        return EncodePng(frame, files.back().Bytes);
    }

    CanvasBounds canvas;
    if (Outcome measured = CheckedCanvas(frames, canvas); !measured) return measured;
    const auto width = int32_t(canvas.Width()), height = int32_t(canvas.Height());
    if (format == ImageFormat::Png) {
        // Frames are drawn on this thread, the one that may talk to the host, and encoded a few at a time
        // on the threads asked for.
        const std::vector<std::string> names = ImageExportNames(format, options, out, header.NumFrames);
        std::vector<RgbaPicture> drawn(2 * size_t(std::max(options.Threads, 1)));  // kept, so that copies reuse them
        std::vector<int32_t> numbers;
        auto encode = [&] {
            const size_t first = files.size();
            for (const int32_t number : numbers) files.push_back({names[size_t(number - 1)], {}});
            std::vector<Outcome> outcomes(numbers.size(), Outcome::Success());
            RunOnThreads(numbers.size(), options.Threads, [&](size_t i) { outcomes[i] = EncodePng(drawn[i], files[first + i].Bytes); });
            numbers.clear();
            for (const Outcome& outcome : outcomes)
                if (!outcome) return outcome;
            return Outcome::Success();
        };
        if (Outcome each = ForEachCanvasFrame(sprite, frames, canvas, options.Rgba, host, [&](int32_t number, const RgbaPicture& picture) {
                drawn[numbers.size()] = picture;
                numbers.push_back(number);
                return numbers.size() < drawn.size() ? Outcome::Success() : encode();
            }, leftOut);
            !each) {
            return each;
        }
        return encode();
    }
    if (format == ImageFormat::Apng) {
        ApngWriter writer(width, height, header.NumFrames, options.Fps, options.Threads);
        if (Outcome drawn = ForEachCanvasFrame(sprite, frames, canvas, options.Rgba, host, [&](int32_t, const RgbaPicture& picture) { return writer.Add(picture); }, leftOut);
            !drawn) {
            return drawn;
        }
        files.push_back({out, {}});
        return writer.Finish(files.back().Bytes);
    }
    GifWriter writer(width, height, options.Fps);
    if (Outcome drawn = ForEachCanvasFrame(sprite, frames, canvas, options.Rgba, host, [&](int32_t, const RgbaPicture& picture) { return writer.Add(picture); }, leftOut);
        !drawn) {
        return drawn;
    }
    files.push_back({out, {}});
    notes = writer.Notes();
    return writer.Finish(files.back().Bytes);
}
