// brindle-cli pack and diff as a user runs them.

#include <nlohmann/json.hpp>

#include "CliFixture.h"

using namespace fixtures;
using nlohmann::json;

namespace {

// list without its offsets, which a packed archive may place elsewhere.
std::string WithoutOffsets(const std::string& list) {
    std::string out;
    for (size_t at = 0, end; at < list.size(); at = end + 1) {
        end = list.find('\n', at);
        const std::string line = list.substr(at, end - at);
        const size_t last = line.rfind('\t'), offset = line.rfind('\t', last - 1);
        out += line.substr(0, offset) + line.substr(last) + "\n";
    }
    return out;
}

// Any archive extracted and packed like itself lists as it did and holds the same bytes: duplicate IDs,
// IDs out of order, a table whose folder has no letters, both flavours. Packed without it, an archive
// whose tables hold their IDs in order comes back the same too.
TEST_F(CliTest, AnExtractedArchivePacksBackToTheSame) {
    const struct { std::string Archive, Options; } cases[] = {
        {"test.drs", "--like test.drs"}, {"shared.drs", "--like shared.drs"}, {"sprites.drs", "--like sprites.drs"},
        {"shared.drs", ""}, {"sprites.drs", "--flavour 1997"},
    };
    for (const auto& c : cases) {
        const CliResult packed = Shell("\"$BRINDLE_CLI\" extract-all " + c.Archive + " out/x && \"$BRINDLE_CLI\" pack out/x out/p.drs " +
                                       c.Options + " && \"$BRINDLE_CLI\" extract-all out/p.drs out/y && \"$BRINDLE_CLI\" list out/p.drs");
        ASSERT_TRUE(packed.Code == 0 && packed.Err.empty()) << c.Archive << ' ' << c.Options << ": " << packed.Err;
        EXPECT_EQ(FilesUnder(dir / "out/y"), FilesUnder(dir / "out/x")) << c.Archive;
        EXPECT_EQ(WithoutOffsets(packed.Out), WithoutOffsets(Run("list " + c.Archive).Out)) << c.Archive;
    }
    EXPECT_EQ(Shell("\"$BRINDLE_CLI\" extract-all test.drs x && \"$BRINDLE_CLI\" pack x - --like test.drs | cmp - test.drs").Code, 0);
}

// Nothing is written when the folder breaks the layout or the format's limits, or when the output is an
// input by any name: the archive packed like, through a link too, or a file of the folder.
TEST_F(CliTest, PackRefusesBeforeWritingAnything) {
    ASSERT_EQ(Run("extract-all test.drs x").Code, 0);
    const Bytes archive = ReadFileBytes(dir / "test.drs"), entry = ReadFileBytes(dir / "x/01-SLP/5.slp");
    const struct { std::string Line; int Code; std::string Message; } cases[] = {
        {"\"$BRINDLE_CLI\" pack x out/p.drs", 1, "pack: x/02: the folder's name has no letters for a tag; nothing written"},
        {"touch x/01-SLP/notes.txt; \"$BRINDLE_CLI\" pack x out/p.drs --like test.drs", 1,
         "pack: x/01-SLP/notes.txt: the file's name is no ID; nothing written"},
        {"truncate -s 2G x/03-BIN/12.bin; \"$BRINDLE_CLI\" pack x out/p.drs --like test.drs", 1,
         "pack: x/03-BIN/12.bin: 2147483648 bytes, more than the 2147483647 an entry can have; nothing written"},
        {"\"$BRINDLE_CLI\" pack x test.drs --like test.drs", 1, "pack: test.drs: is one of the input files; nothing written"},
        {"ln -sf test.drs link.drs; \"$BRINDLE_CLI\" pack x link.drs --like test.drs", 1,
         "pack: link.drs: is one of the input files; nothing written"},
        {"\"$BRINDLE_CLI\" pack x x/01-SLP/5.slp --like test.drs", 1, "pack: x/01-SLP/5.slp: is one of the input files; nothing written"},
        {"\"$BRINDLE_CLI\" pack x out/p.drs --like test.drs --remove SLP:6", 1, "pack: x: no entry SLP:6 to remove; nothing written"},
        {"\"$BRINDLE_CLI\" pack x out/p.drs --like test.drs --flavour 1997", 2, "--flavour goes without --like"},
    };
    for (const auto& c : cases) {
        const CliResult r = Shell(c.Line);
        EXPECT_TRUE(r.Code == c.Code && r.SaysInOneLine(c.Message)) << c.Line << ": " << r.Code << ' ' << r.Err;
        EXPECT_EQ(NamesUnder(dir / "out"), std::set<std::string>{}) << c.Line;
        EXPECT_EQ(ReadFileBytes(dir / "x/01-SLP/5.slp"), entry) << c.Line;
        EXPECT_EQ(ReadFileBytes(dir / "test.drs"), archive) << c.Line;
        Shell("rm -f x/01-SLP/notes.txt; truncate -s 2 x/03-BIN/12.bin");
    }
}

// A sprite of one frame, four pixels of colour 5: drawn as a fill, or as a list of the same four.
Bytes FourPixels(bool asList, int32_t hotspotX = 0) {
    const Bytes fill{0x47, 5, 0x0F}, list{4 << 2, 5, 5, 5, 5, 0x0F};
    return WriteSprite({FrameFixture{4, 1, hotspotX, 0, 0, 0, {{0, 0, asList ? list : fill}}}});
}

// A sprite of `count` frames of 4096 x 4096 pixels that all share one table of empty rows: a few
// hundred kilobytes that would take hours to draw.
Bytes HugeSprite(int32_t count, uint8_t comment) {
    constexpr int32_t side = 4096;
    Bytes bytes(32 + 32 * size_t(count) + 8 * side + 1);
    bytes[8] = comment;
    PutI32(bytes, 4, count);
    const auto outlines = static_cast<int32_t>(32 + 32 * count), commands = outlines + 4 * side, stream = commands + 4 * side;
    for (int32_t f = 0; f < count; ++f) {
        const size_t at = 32 + 32 * size_t(f);
        PutI32(bytes, at, commands), PutI32(bytes, at + 4, outlines), PutI32(bytes, at + 16, side), PutI32(bytes, at + 20, side);
    }
    for (int32_t row = 0; row < side; ++row) PutI32(bytes, size_t(outlines + 4 * row), side << 16), PutI32(bytes, size_t(commands + 4 * row), stream);
    bytes.back() = 0x0F;
    return bytes;
}

TEST_F(CliTest, DiffNamesWhatWasAddedRemovedOrChanged) {
    const Bytes walk = ReadFileBytes(dir / "walk.slp");
    std::vector<FrameFixture> frames;
    for (int i = 0; i < 3; ++i) {
        Art art(4 + i, 3);
        art.At(1, 1) = {Layer::Colour, 40}, art.At(2, 2) = {Layer::Shadow, 0}, art.At(3, 0) = {Layer::Player, 2};
        if (i == 2) art.At(0, 0) = {Layer::OutlineInner, 0};
        frames.push_back(EncodeFrame(art, i, i == 1 ? 2 : 1));  // frame 2's hot spot moved, frame 3 drawn anew
    }
    const Bytes redrawn = WriteSprite(frames);
    frames.pop_back();
    const Bytes shorter = WriteSprite(frames);
    const auto archive = [](std::vector<EntryFixture> sprites, std::vector<TableFixture> more) {
        more.insert(more.begin(), {StoredTag("slp"), std::move(sprites)});
        return WriteArchive({Flavour::Year2001, more});
    };
    WriteFileBytes(dir / "old.drs", archive({{100, walk}, {101, walk}, {102, FourPixels(false)}, {104, walk}, {105, HugeSprite(2000, 1)}},
                                            {{StoredTag("wav"), {{5000, {1}}}}, {StoredTag("bin"), {{12, {1, 2}}}}}));
    WriteFileBytes(dir / "new.drs", archive({{103, {9, 9}}, {100, walk}, {101, redrawn}, {102, FourPixels(true)}, {104, shorter},
                                             {105, HugeSprite(2000, 2)}},
                                            {{StoredTag("bin"), {{12, {1, 2, 3}}, {12, {4}}}}}));
    WriteFileBytes(dir / "list.drs", archive({{100, walk}, {101, walk}, {102, FourPixels(true)}, {104, walk}, {105, HugeSprite(2000, 1)}},
                                             {{StoredTag("wav"), {{5000, {1}}}}, {StoredTag("bin"), {{12, {1, 2}}}}}));
    const CliResult changed = Run("diff old.drs new.drs");
    EXPECT_EQ(changed.Out, "~ SLP 101: frames 2, 3 of 3 differ\n+ SLP 103 2 bytes\n~ SLP 104: 3 frames, now 2\n"
                           "~ SLP 105: bytes differ (too large to compare by frames)\n- WAV 5000\n~ BIN 12: 2 bytes, now 3\n+ BIN 12-2 1 byte\n");
    EXPECT_TRUE(changed.Code == 1 && changed.Err.empty()) << changed.Err;
    // A sprite drawn alike by other commands holds the same; so does an archive and itself.
    for (const char* same : {"diff old.drs list.drs", "diff --json old.drs old.drs"}) EXPECT_EQ(Run(same).Code, 0) << same;
    const json document = json::parse(Run("diff old.drs new.drs --json").Out);
    EXPECT_EQ(document["same"], false);
    EXPECT_EQ(document["differences"][0], (json{{"change", "changed"}, {"table", "SLP"}, {"id", 101}, {"copy", 1}, {"old_size", walk.size()},
                                                {"new_size", redrawn.size()}, {"old_frames", 3}, {"new_frames", 3},
                                                {"frames_differing", {2, 3}}}));
    EXPECT_EQ(document["differences"][6]["copy"], 2);
    // Trouble is 2, as for diff and cmp: a file that is no archive, and entries that overlap to be read again and again.
    ArchiveLayout at;  // 80 records of one megabyte, all of the same bytes
    Bytes overlapping = WriteArchive({Flavour::Year2001, {{StoredTag("bin"), std::vector<EntryFixture>(80, {1, {}})}}}, &at);
    const auto dataAt = static_cast<int32_t>(overlapping.size());
    overlapping.resize(overlapping.size() + (1 << 20));
    for (int i = 0; i < 80; ++i) PutI32(overlapping, size_t(at.EntryRecordsAt[0] + 12 * i + 4), dataAt), PutI32(overlapping, size_t(at.EntryRecordsAt[0] + 12 * i + 8), 1 << 20);
    WriteFileBytes(dir / "overlap.drs", overlapping);
    const struct { std::string Arguments, Message; } troubles[] = {
        {"diff old.drs walk.slp", "diff: walk.slp: not a DRS archive"},
        {"diff overlap.drs overlap.drs", "diff: overlap.drs: its entries overlap so much that comparing them would read it many times over"},
    };
    for (const auto& c : troubles) {
        const CliResult r = Run(c.Arguments);
        EXPECT_TRUE(r.Code == 2 && r.SaysInOneLine(c.Message) && r.Out.empty()) << c.Arguments << ": " << r.Err;
    }
}

}  // namespace
