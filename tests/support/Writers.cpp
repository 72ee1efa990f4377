// Writers for DRS archives, SLP sprites, palettes and WAV sounds.

#include "Writers.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace fixtures {

namespace {

void AppendText(Bytes& bytes, std::string_view text, size_t width) {
    for (size_t i = 0; i < width; ++i) bytes.push_back(i < text.size() ? static_cast<uint8_t>(text[i]) : 0);
}

void AppendBytes(Bytes& bytes, std::span<const uint8_t> more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

int32_t At(const Bytes& bytes) { return static_cast<int32_t>(bytes.size()); }

void AppendI16(Bytes& bytes, int16_t value) {
    bytes.insert(bytes.end(), {static_cast<uint8_t>(value), static_cast<uint8_t>(static_cast<uint16_t>(value) >> 8)});
}

}  // namespace

void PutI32(Bytes& bytes, size_t offset, int32_t value) {
    if (bytes.size() < offset + 4) bytes.resize(offset + 4);
    for (size_t i = 0; i < 4; ++i) bytes[offset + i] = static_cast<uint8_t>(static_cast<uint32_t>(value) >> (8 * i));
}

static void AppendI32(Bytes& bytes, int32_t value) { PutI32(bytes, bytes.size(), value); }

// ---- DRS archives ----------------------------------------------------------------------------

std::array<char, 4> StoredTag(std::string_view name, char first) {
    std::array<char, 4> tag{first, ' ', ' ', ' '};
    for (size_t i = 0; i < 3 && i < name.size(); ++i) tag[3 - i] = name[i];
    return tag;
}

Bytes WriteArchive(const ArchiveFixture& archive, ArchiveLayout* layout) {
    // The copyright block: the magic, then padding up to the header.
    const bool year2001 = archive.Kind == Flavour::Year2001;
    const std::string_view magic = year2001                            ? "Copyright (c) 2001 Quillmark"
                                   : archive.Kind == Flavour::Year1997 ? "Copyright (c) 1997 Sandbank "
                                                                       : "Resource pack, home-made v2.";
    const size_t headerAt = year2001 ? 60 : 40;
    Bytes bytes;
    AppendText(bytes, magic, headerAt);

    const auto tableCount = static_cast<int32_t>(archive.Tables.size());
    int32_t entryCount = 0;
    for (const TableFixture& table : archive.Tables) entryCount += static_cast<int32_t>(table.Entries.size());
    const int32_t tablesAt = static_cast<int32_t>(headerAt) + 24;
    const int32_t dataAt = tablesAt + 12 * tableCount + 12 * entryCount;

    AppendText(bytes, "1.00", 4);
    AppendText(bytes, "tribe", 12);
    AppendI32(bytes, tableCount);
    AppendI32(bytes, dataAt);

    ArchiveLayout where;
    where.HeaderAt = static_cast<int32_t>(headerAt);
    where.TablesAt = tablesAt;

    // Entry records follow the table records, one run per table, and the data follow those.
    int32_t recordsAt = tablesAt + 12 * tableCount;
    for (const TableFixture& table : archive.Tables) {
        const auto count = static_cast<int32_t>(table.Entries.size());
        AppendText(bytes, std::string_view(table.TypeTag.data(), 4), 4);
        AppendI32(bytes, recordsAt);
        AppendI32(bytes, count);
        where.EntryRecordsAt.push_back(recordsAt);
        recordsAt += 12 * count;
    }
    int32_t nextData = dataAt;
    for (const TableFixture& table : archive.Tables) {
        where.DataAt.emplace_back();
        for (const EntryFixture& entry : table.Entries) {
            AppendI32(bytes, entry.ID);
            AppendI32(bytes, nextData);
            AppendI32(bytes, static_cast<int32_t>(entry.Data.size()));
            where.DataAt.back().push_back(nextData);
            nextData += static_cast<int32_t>(entry.Data.size());
        }
    }
    for (const TableFixture& table : archive.Tables)
        for (const EntryFixture& entry : table.Entries) AppendBytes(bytes, entry.Data);

    if (layout) *layout = std::move(where);
    return bytes;
}

// ---- SLP sprites -----------------------------------------------------------------------------

Bytes WriteSprite(const std::vector<FrameFixture>& frames, std::string_view version, std::string_view comment,
                  SpriteLayout* layout) {
    Bytes bytes;
    AppendText(bytes, version, 4);
    AppendI32(bytes, static_cast<int32_t>(frames.size()));
    AppendText(bytes, comment, 24);

    // The frame table is patched once each frame's tables have found their place.
    const size_t frameTableAt = bytes.size();
    bytes.resize(frameTableAt + 32 * frames.size());

    SpriteLayout where;
    for (size_t f = 0; f < frames.size(); ++f) {
        const FrameFixture& frame = frames[f];
        const auto rows = static_cast<int32_t>(frame.Rows.size());
        const int32_t outlineAt = At(bytes);
        const int32_t commandsAt = outlineAt + 4 * rows;
        for (const RowFixture& row : frame.Rows) {
            AppendI16(bytes, row.Left);
            AppendI16(bytes, row.Right);
        }
        bytes.resize(bytes.size() + 4 * frame.Rows.size());  // command table, filled below

        std::vector<int32_t> streams;
        for (size_t r = 0; r < frame.Rows.size(); ++r) {
            const RowFixture& row = frame.Rows[r];
            const int32_t streamAt = row.Left == BlankRow ? 0 : At(bytes);
            if (row.Left != BlankRow) AppendBytes(bytes, row.Commands);
            PutI32(bytes, size_t(commandsAt) + 4 * r, streamAt);
            streams.push_back(streamAt);
        }

        const int32_t record[] = {commandsAt,   outlineAt,    frame.PaletteOffset, frame.Properties,
                                  frame.Width, frame.Height, frame.HotspotX,      frame.HotspotY};
        for (size_t i = 0; i < 8; ++i) PutI32(bytes, frameTableAt + 32 * f + 4 * i, record[i]);

        where.OutlineTableAt.push_back(outlineAt);
        where.CommandTableAt.push_back(commandsAt);
        where.RowStreamAt.push_back(std::move(streams));
    }
    if (layout) *layout = std::move(where);
    return bytes;
}

Bytes WriteSharedStreamSprite(int32_t width, int32_t height, int16_t left, const Bytes& stream) {
    std::vector<RowFixture> rows(size_t(height), {left, 0, {}});
    rows[0].Commands = stream;
    SpriteLayout at;
    Bytes bytes = WriteSprite({{.Width = width, .Height = height, .Rows = rows}}, "2.0N", "", &at);
    for (size_t row = 1; row < rows.size(); ++row) PutI32(bytes, size_t(at.CommandTableAt[0]) + 4 * row, at.RowStreamAt[0][0]);
    return bytes;
}

// ---- palettes and WAV sounds ----------------------------------------------------------------

std::string WriteJascPal(std::span<const uint32_t> colours, std::string_view version, std::string_view count) {
    std::string text = "JASC-PAL\r\n";
    text.append(version).append("\r\n");
    text.append(count).append("\r\n");
    for (uint32_t colour : colours) {
        text += std::to_string(colour & 0xFF) + ' ' + std::to_string((colour >> 8) & 0xFF) + ' ' +
                std::to_string((colour >> 16) & 0xFF) + "\r\n";
    }
    return text;
}

Bytes WriteRiffPal(std::span<const uint32_t> colours) {
    Bytes bytes;
    AppendText(bytes, "RIFF", 4);
    AppendI32(bytes, int32_t(4 + 12 + 8 + 4 + 4 * colours.size()));
    AppendText(bytes, "PAL note", 8);
    AppendI32(bytes, 3);
    AppendText(bytes, "ab", 4);
    AppendText(bytes, "data", 4);
    AppendI32(bytes, int32_t(4 + 4 * colours.size()));
    AppendI16(bytes, 0x0300);
    AppendI16(bytes, int16_t(colours.size()));
    for (uint32_t colour : colours) AppendI32(bytes, int32_t(colour | 0x01000000));  // flags 1
    return bytes;
}

std::string WriteGimpPal(std::span<const uint32_t> colours) {
    std::string text = "GIMP Palette\r\nName: fixture\r\nColumns: 16\r\n# made in code\r\n";
    for (size_t i = 0; i < colours.size(); ++i) {
        const uint32_t c = colours[i];
        text += std::to_string(c & 0xFF) + '\t' + std::to_string((c >> 8) & 0xFF) + "  " + std::to_string((c >> 16) & 0xFF);
        if (i % 2) text.append("\tcolour ").append(std::to_string(i));
        text += "\r\n";
    }
    return text;
}

Bytes WriteAct(std::span<const uint32_t> colours, bool withCount) {
    Bytes bytes(768, 0);
    for (size_t i = 0; i < std::min<size_t>(colours.size(), 256); ++i)
        for (size_t c = 0; c < 3; ++c) bytes[i * 3 + c] = uint8_t(colours[i] >> (8 * c));
    if (withCount) bytes.insert(bytes.end(), {uint8_t(colours.size() >> 8), uint8_t(colours.size()), 0xFF, 0xFF});
    return bytes;
}

Bytes WriteWavTone(int32_t sampleRate, double seconds, double frequency) {
    const auto samples = static_cast<int32_t>(std::lround(sampleRate * seconds));
    const int32_t dataBytes = 2 * samples;

    Bytes bytes;
    AppendText(bytes, "RIFF", 4);
    AppendI32(bytes, 36 + dataBytes);
    AppendText(bytes, "WAVE", 4);
    AppendText(bytes, "fmt ", 4);
    AppendI32(bytes, 16);
    AppendI16(bytes, 1);               // PCM
    AppendI16(bytes, 1);               // mono
    AppendI32(bytes, sampleRate);
    AppendI32(bytes, sampleRate * 2);  // bytes a second
    AppendI16(bytes, 2);               // bytes a sample frame
    AppendI16(bytes, 16);              // bits a sample
    AppendText(bytes, "data", 4);
    AppendI32(bytes, dataBytes);

    // Half volume, with a short fade at both ends so that the tone doesn't click.
    const double fade = 0.01 * sampleRate;
    for (int32_t i = 0; i < samples; ++i) {
        const double edge = std::min({1.0, (i + 1) / fade, (samples - i) / fade});
        const double value = 0.5 * edge * std::sin(2 * std::numbers::pi * frequency * i / sampleRate);
        AppendI16(bytes, static_cast<int16_t>(std::lround(value * 32767)));
    }
    return bytes;
}

}  // namespace fixtures
