#pragma once
// The window with a small archive of every kind of entry, in a folder of its own, with dialogs and
// boxes answered by a script. Each window test program sets one up per test function.

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <QColor>
#include <QMenu>
#include <QTemporaryDir>

#include "archive/UsefulCode.h"
#include "ScriptedPlatform.h"
#include "shell/Controls.h"
#include "shell/MainForm.h"
#include "Writers.h"

namespace fixtures {

// Rows of the test archive, by list index.
enum Row { SlpHeading, Walker, Flag, Broken, Layered, WavHeading, Tone, BinHeading, Text, Pal, Empty, XyzHeading, Odd };

// A sprite of one colour-7 line along the bottom of each frame, at the given sizes.
inline Bytes SpriteOf(std::vector<std::pair<int32_t, int32_t>> sizes) {
    std::vector<FrameFixture> frames;
    for (auto [width, height] : sizes) {
        Art art(width, height);
        for (int32_t x = 0; x < width; ++x) art.At(x, height - 1) = {Layer::Colour, 7};
        frames.push_back(EncodeFrame(art));
    }
    return WriteSprite(frames);
}

// Two frames with a pixel of every layer; the second is taller, with its hot spot outside it.
//   frame 1 (4 x 2, hot spot 1,1):  transparent  colour 7   player 1      shadow
//                                   outline in   outline out colour 252   colour 7
inline Bytes LayeredSprite() {
    Art first(4, 2), second(2, 3);
    first.Pixels = {{}, {Layer::Colour, 7}, {Layer::Player, 1}, {Layer::Shadow, 0},  // 252: 0xFF00FF in the default palette
                    {Layer::OutlineInner, 0}, {Layer::OutlineOuter, 0}, {Layer::Colour, 252}, {Layer::Colour, 7}};
    second.Pixels = {{Layer::Colour, 9}, {}, {}, {}, {}, {Layer::Shadow, 0}};
    return WriteSprite({EncodeFrame(first, 1, 1), EncodeFrame(second, -2, 5)});
}

// A colour value (red in the low byte) as Qt gives a pixel back.
inline QColor ColourOf(uint32_t value) { return QColor(int(value & 0xFF), int(value >> 8 & 0xFF), int(value >> 16 & 0xFF)); }

inline std::string Str(const QString& text) { return text.toStdString(); }

// The captions of the items a menu or the menu bar shows, in order.
inline std::vector<std::string> VisibleItems(const QWidget* menu) {
    std::vector<std::string> captions;
    for (QAction* action : menu->actions())
        if (action->isVisible()) captions.push_back(Str(action->text()));
    return captions;
}

struct WindowFixture {
    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<ScriptedPlatform> desktop;
    std::unique_ptr<MainForm> form;
    std::string archivePath;
    Bytes textEntry = {'a', '{', 'b', '}', '\\', 'c', '\r', '\n', 'z'};
    Bytes tone = WriteWavTone(8000, 0.05, 440);
    Bytes walker = SpriteOf({{4, 3}, {9, 5}, {2, 2}});
    Bytes flag = SpriteOf({{6, 6}});
    Bytes layered = LayeredSprite();
    Bytes odd = {1, 2, 3};
    Bytes broken = Bytes(walker.begin(), walker.begin() + 40);  // cut inside its frame table
    Bytes pal = BytesOf(WriteJascPal(std::vector<uint32_t>(256, 0x102030)));

    // A fresh folder, the working folder and "temp" in it, no registry, the archive written and the window shown.
    void SetUp() {
        dir = std::make_unique<QTemporaryDir>();
        std::filesystem::current_path(At(""));  // where the window writes a relative name
        std::filesystem::create_directory(At("tmp"));
        qputenv("temp", QByteArray::fromStdString(At("tmp")));
        qputenv("WINEPREFIX", QByteArray::fromStdString(At("no-prefix")));
        archivePath = At("tiny.drs");
        WriteFileBytes(archivePath,
                       WriteArchive({Flavour::Year2001,
                                     {{StoredTag("slp"), {{1000, walker}, {1001, flag}, {1002, broken}, {1003, layered}}},
                                      {StoredTag("wav"), {{5000, tone}}},
                                      {StoredTag("bin"), {{7, textEntry}, {8, pal}, {9, {}}}},
                                      {StoredTag("xyz"), {{9000, odd}}}}}));
        desktop = std::make_unique<ScriptedPlatform>();
        form = std::make_unique<MainForm>(desktop->Services());
        form->show();
    }

    void TearDown() {
        form.reset();
        desktop.reset();
        dir.reset();
    }

    Bytes EntryBytes(int row) const {
        const std::map<int, const Bytes*> entries = {{Walker, &walker}, {Flag, &flag}, {Broken, &broken}, {Layered, &layered},
                                                     {Tone, &tone},     {Text, &textEntry}, {Pal, &pal}, {Odd, &odd}};
        return entries.contains(row) ? *entries.at(row) : Bytes{};
    }

    std::string Status() const { return Str(form->StatusText->text()); }
    std::string FrameCaption() const { return Str(form->PictureStatusText->text()); }  // "Showing frame 1 of 3"

    std::string At(const std::string& name) const { return dir->filePath(QString::fromStdString(name)).toStdString(); }

    // File > Open..., answered with path.
    void Open(const std::string& path) {
        desktop->FileAnswers.push_back(path);
        form->menu_file_open_Click();
    }

    void OpenAndSelect(int row) {
        Open(archivePath);
        form->DRSFilesList->SetListIndex(row);
    }

    std::vector<std::string> TempCopies() const {
        std::vector<std::string> names;
        for (const auto& file : std::filesystem::directory_iterator(TempFolder))  // not the window's hidden run file
            if (!file.path().filename().string().starts_with('.')) names.push_back(file.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
};

}  // namespace fixtures
