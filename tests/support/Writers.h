#pragma once
// Writers for the files Brindle reads: DRS archives, SLP sprites, palettes and WAV sounds.
// The tests build every fixture with these, in code, and the demo archive is made with them too.

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "slp/SLPCodeNew.h"
#include "slp/SLPEncode.h"

namespace fixtures {

using Bytes = std::vector<uint8_t>;

// The bytes of a text, as a file holds them.
inline Bytes BytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

// A little-endian store into a byte vector, growing it as needed; for patching fixtures.
void PutI32(Bytes& bytes, size_t offset, int32_t value);

enum class Flavour { Year2001, Year1997, Unknown };

// The four bytes of a table tag as stored: a first byte that nobody reads, then the name backwards.
// StoredTag("slp") gives " pls", which ReverseTypeTag reads as "SLP".
std::array<char, 4> StoredTag(std::string_view name, char first = ' ');

struct EntryFixture {
    int32_t ID = 0;
    Bytes Data;
};

struct TableFixture {
    std::array<char, 4> TypeTag{};
    std::vector<EntryFixture> Entries;
};

struct ArchiveFixture {
    Flavour Kind = Flavour::Year1997;
    std::vector<TableFixture> Tables;
};

// Where the parts of a written archive stand, for tests that damage them.
struct ArchiveLayout {
    int32_t HeaderAt = 0;                     // DRSHeaderRecord
    int32_t TablesAt = 0;                     // first DRSTableRecord
    std::vector<int32_t> EntryRecordsAt;      // first DRSEntryRecord of each table
    std::vector<std::vector<int32_t>> DataAt; // data of each entry, per table
};

// Magic, header, table records, entry records, then the entries' data, in that order.
Bytes WriteArchive(const ArchiveFixture& contents, ArchiveLayout* layout = nullptr);

inline constexpr int16_t BlankRow = -32768;

// One row: its margins and its command stream, end-of-row byte included. A row whose Left is
// BlankRow gets no stream, and its command table entry is 0.
struct RowFixture {
    int16_t Left = 0, Right = 0;
    Bytes Commands;
};

struct FrameFixture {
    int32_t Width = 0, Height = 0, HotspotX = 0, HotspotY = 0, PaletteOffset = 0, Properties = 0;
    std::vector<RowFixture> Rows;  // Height rows
};

// Where the parts of a written sprite stand, per frame.
struct SpriteLayout {
    std::vector<int32_t> OutlineTableAt;
    std::vector<int32_t> CommandTableAt;
    std::vector<std::vector<int32_t>> RowStreamAt;  // 0 for blank rows
};

// Header, frame table, then per frame its outline table, command table and row streams.
Bytes WriteSprite(const std::vector<FrameFixture>& frames, std::string_view version = "2.0N",
                  std::string_view comment = "", SpriteLayout* layout = nullptr);

// A crafted sprite of one frame whose rows all start at column left and share one command stream:
// every entry of the command table points at it.
Bytes WriteSharedStreamSprite(int32_t width, int32_t height, int16_t left, const Bytes& stream);

// A picture drawn in layers, from which EncodeFrame makes the command streams.
enum class Layer : uint8_t { Transparent, Colour, Player, Shadow, OutlineInner, OutlineOuter };

struct ArtPixel {
    Layer Kind = Layer::Transparent;
    uint8_t Index = 0;  // palette index for Colour; player byte (0 to 239) for Player
};

struct Art {
    int32_t Width = 0, Height = 0;
    std::vector<ArtPixel> Pixels;  // row by row from the top

    Art() = default;
    Art(int32_t width, int32_t height) : Width(width), Height(height), Pixels(size_t(width) * size_t(height)) {}
    ArtPixel& At(int32_t x, int32_t y) { return Pixels[size_t(y) * size_t(Width) + size_t(x)]; }
    const ArtPixel& At(int32_t x, int32_t y) const { return Pixels[size_t(y) * size_t(Width) + size_t(x)]; }
};

// A picture of random runs, each of one layer, short or long, of one index or of many; for round trips,
// benchmarks and fuzz seeds. The same seed draws the same picture.
Art RandomArt(int32_t width, int32_t height, uint32_t seed);

// Encodes a picture as an SLP frame, using every command form where it fits: margins for transparent
// ends, blank rows, colour lists and fills, player lists and fills, shadow runs, outline pixels and runs.
FrameFixture EncodeFrame(const Art& art, int32_t hotspotX = 0, int32_t hotspotY = 0);

// A sprite of one to four random frames for round trips: pictures of runs of every layer (RandomArt),
// some repeated under another hot spot, and some rows cut short, which leaves the rest of them undrawn.
Bytes RandomSprite(uint32_t seed);

// A frame as the decoder leaves it, in the decoded colours and the palette in force: its record and
// both surfaces as BMP files.
struct DecodedFrame {
    SLPFrameInfo Info;
    Bytes Image, Mask;
};
// Every frame of a sprite, none when its headers don't parse; with `pixels`, each also turned back into
// the encoder's pixels (a width of -1 where the surfaces would not turn).
std::vector<DecodedFrame> DecodeFrames(const Bytes& sprite, std::vector<FramePixels>* pixels = nullptr);
// How two sprites' frames differ, in sizes, hot spots or either surface: the first difference, or
// nothing when they decode alike.
std::string DecodedDifference(const std::vector<DecodedFrame>& got, const std::vector<DecodedFrame>& want);

// The colour values a frame of art must decode to, surface by surface (row by row from the top).
std::vector<uint32_t> ExpectedImage(const Art& art, std::span<const uint32_t, 256> palette);
std::vector<uint32_t> ExpectedMask(const Art& art);

// "JASC-PAL", version, count, then one "R G B" line per colour value, each line ending in CR LF.
std::string WriteJascPal(std::span<const uint32_t> colours, std::string_view version = "0100",
                         std::string_view count = "256");

// "RIFF" size "PAL ", a 3-byte "note" chunk with its pad byte, then the "data" chunk: palVersion
// 0x0300, the count, and red, green, blue and flags of each colour.
Bytes WriteRiffPal(std::span<const uint32_t> colours);
// "GIMP Palette", name and columns, a comment, then "R G B" a colour, every other one with a name.
std::string WriteGimpPal(std::span<const uint32_t> colours);
// An Adobe colour table: 256 colours of three bytes, black past the ones given; with a count (big-endian)
// and a transparent index, 772 bytes.
Bytes WriteAct(std::span<const uint32_t> colours, bool withCount);

// A 16-bit mono PCM WAV file of a sine tone.
Bytes WriteWavTone(int32_t sampleRate, double seconds, double frequency);

}  // namespace fixtures
