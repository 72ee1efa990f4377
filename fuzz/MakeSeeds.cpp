// make-fuzz-seeds DIR: valid files for every fuzz target, written by the same writers as the tests'
// fixtures, so that fuzzing starts from inputs that reach deep into each reader.

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "colour/Palettes.h"
#include "export/ImageExports.h"
#include "RecordingHost.h"
#include "Writers.h"

using namespace fixtures;
namespace fs = std::filesystem;

namespace {

Bytes Sprite(int32_t frames, int32_t size) {
    std::vector<FrameFixture> encoded;
    for (int32_t f = 0; f < frames; ++f) encoded.push_back(EncodeFrame(RandomArt(size + f, size - f / 2, uint32_t(f)), f - 2, 3 - f));
    return WriteSprite(encoded);
}

// The SLX bundle target's input: the lengths of the text and the layer bitmap, then the text and the
// two bitmaps of a real frame.
Bytes BundleInput(const Bytes& sprite) {
    const std::vector<DecodedFrame> frames = DecodeFrames(sprite);
    const Bytes text = BytesOf("SLX 0.5\r\n1\r\n3,-4\r\nwalk1d.bmp\r\nwalk1c.bmp\r\n");
    Bytes input(8);
    PutI32(input, 0, int32_t(text.size()));
    PutI32(input, 4, int32_t(frames.at(0).Mask.size()));
    for (const Bytes* part : {&text, &frames[0].Mask, &frames[0].Image}) input.insert(input.end(), part->begin(), part->end());
    return input;
}

void Write(const fs::path& folder, const std::string& name, const Bytes& bytes) {
    fs::create_directories(folder);
    WriteFileBytes((folder / name).string(), bytes);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make-fuzz-seeds DIR\n");
        return 2;
    }
    const fs::path out = argv[1];
    try {
        const std::vector<uint32_t> grey(256, 0x808080);
        const std::string text = "; units\r\n[walker] = {slp 1000}\r\npath = data\\sounds\\*.wav\n\nlast";
        for (Flavour flavour : {Flavour::Year2001, Flavour::Year1997}) {
            Write(out / "Catalogue", flavour == Flavour::Year2001 ? "2001.drs" : "1997.drs",
                  WriteArchive({flavour, {{StoredTag("slp"), {{1000, Sprite(2, 8)}, {1001, Sprite(1, 4)}}},
                                          {StoredTag("wav"), {{5000, WriteWavTone(8000, 0.01, 440)}}},
                                          {StoredTag("bin"), {{50500, BytesOf(text)}, {50501, {}}}}}}));
        }
        // Sprites last, so that the byte the diff target changes lies in one.
        Write(out / "Diff", "sprites-last.drs",
              WriteArchive({Flavour::Year2001, {{StoredTag("bin"), {{7, {1, 2}}, {7, {3}}}},
                                                {StoredTag("slp"), {{1000, Sprite(3, 8)}, {1001, Sprite(2, 5)}}}}}));
        Write(out / "Sprite", "one-frame.slp", Sprite(1, 6));
        Write(out / "Sprite", "walker.slp", Sprite(5, 12));
        // 8,192 rows that all walk one stream of 60,000 empty lists from far left of the frame: the
        // shape of the slow sprites, for the fuzzer to vary.
        Bytes empties(60000, 0x00);
        empties.push_back(0x0F);
        Write(out / "Sprite", "tall-shared-stream.slp", WriteSharedStreamSprite(64, 8192, -32767, empties));
        (void)LoadPalette("");
        Write(out / "RoundTrip", "random.slp", RandomSprite(3));
        Write(out / "RoundTrip", "walker.slp", Sprite(5, 12));
        Write(out / "SLXBundle", "walk.bundle", BundleInput(RandomSprite(5)));
        Write(out / "SLXBundle", "small.bundle", BundleInput(Sprite(1, 6)));
        Write(out / "Palette", "grey.pal", BytesOf(WriteJascPal(grey)));
        Write(out / "Palette", "short.pal", BytesOf(WriteJascPal(std::vector<uint32_t>(16, 0x102030), "0100", "16")));
        // The other formats; the target names a file ".act" when its first byte is odd.
        std::vector<uint32_t> ramp;
        for (uint32_t i = 0; i < 40; ++i) ramp.push_back((i * 2 + 1) * 0x010203 & 0xFFFFFF);
        Write(out / "Palette", "ramp-riff.pal", WriteRiffPal(ramp));
        Write(out / "Palette", "ramp.gpl", BytesOf(WriteGimpPal(ramp)));
        Write(out / "Palette", "ramp-768.act", WriteAct(ramp, false));
        Write(out / "Palette", "ramp-772.act", WriteAct(ramp, true));
        Write(out / "TextPreview", "text.txt", BytesOf(text));
        Write(out / "TextPreview", "notice.rtf", BytesOf(R"({\rtf1{\colortbl ;\red255\green0\blue0;}\cf1 File 7:\par \cf0 a\{b\}\\c\par })"));
        // Rich text cut short anywhere, nested far beyond the groups kept, or a mass of backslashes.
        const std::string rtfs[] = {"{\\colortbl;\\red", "\\'4", "\\cf99999999999999999999999 x", std::string(50000, '}') + "x",
                                    std::string(100000, '{') + "\\cf1 x" + std::string(100000, '}'), std::string(100000, '\\')};
        for (size_t i = 0; i < std::size(rtfs); ++i) Write(out / "TextPreview", "junk" + std::to_string(i) + ".rtf", BytesOf(rtfs[i]));
        Write(out / "Registry", "system.reg",
              BytesOf("WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n"
                      "[Software\\\\K] 1795405119\n#time=1dd7afc20c3c06e\n@=\"default\"\n\"V\"=\"caf\\xe9 \\\"q\\\"\"\n"
                      "\"W\"=str(2):\"%x%\"\n\"D\"=dword:fffffffe\n\"B\"=hex:01,02,\\\n  03\n\n"
                      "[Software\\\\Wow6432Node\\\\Quillmark Entertainment Company LLC\\\\Harrowmere Conquest\\\\1.0] 1\n"
                      "\"Game Path\"=\"C:\\\\Games\\\\Harrowmere\\\\\"\n"));
        // Every id of the target's catalogue, then lines that test the reader's edges.
        Write(out / "Descriptions", "saved.dsc",
              BytesOf("0@1@0@0@first table\r\n12@2@3@1@gate\r\n100@0@4@9@caf\xE9\r\n-7@6@0@0@\r\n5@0@0@2@ x \r\n"
                      "-2147483648@3@2@1@low\r\n2147483647@0@0@0@high\r\n"));
        Write(out / "Descriptions", "odd.dsc",
              BytesOf("12@1@2\n\n 12abc@7@-1@ 3x@a@b\n4294967308@1@1@1@wraps\r\n100@1@1@1@\x80\x81\r\r\nx@0@0@0@last"));
        // A sheet with its layers, parted as the target parts it (an odd first byte), and its picture
        // alone as a PNG file (an even one).
        QuietHost quiet;
        std::vector<NamedFile> sheet;
        std::vector<std::string> notes;
        ImageExportOptions options;
        options.SheetLayers = true;
        if (!ExportImages({"s.slp", Sprite(3, 10)}, ImageFormat::Sheet, options, "s", sheet, notes, quiet)) return 1;
        const Bytes parting = BytesOf("\n#####\n");
        Bytes parts{1};
        for (size_t i : {size_t(1), size_t(0), size_t(2)}) {  // JSON, picture, layers
            if (i != 1) parts.insert(parts.end(), parting.begin(), parting.end());
            parts.insert(parts.end(), sheet[i].Bytes.begin(), sheet[i].Bytes.end());
        }
        Write(out / "Picture", "sheet-with-layers", parts);
        Bytes png{2};
        png.insert(png.end(), sheet[0].Bytes.begin(), sheet[0].Bytes.end());
        Write(out / "Picture", "sheet-picture.png", png);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "make-fuzz-seeds: %s\n", e.what());
        return 1;
    }
    return 0;
}
