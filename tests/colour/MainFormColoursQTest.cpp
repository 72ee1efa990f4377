// The Colours menu on a sprite on show: palettes chosen and extracted, the four colours, the team colour,
// and the Player and Layers items, read back from the picture the window shows.

#include <QAction>
#include <QLabel>
#include <QTest>

#include "WindowFixture.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "shell/Controls.h"

using namespace fixtures;

namespace {

// The colours that frame 1 of the layered sprite shows, pixel by pixel, row by row from the top.
std::vector<QColor> ExpectedScreen(const std::array<uint32_t, 256>& palette) {
    const QColor mask = ColourOf(MaskColour);
    return {mask,
            ColourOf(palette[7]),
            ColourOf(palette[17]),  // player byte 1: palette[1 + 16] for team 1, whichever Player item is chosen
            ColourOf(ShadowColour),
            ColourOf(OutlineInnerColour),
            ColourOf(OutlineOuterColour),
            ColourOf(palette[252]),  // 0xFF00FF: on screen a colour like any other
            ColourOf(palette[7])};
}

std::vector<QColor> PixelsOf(const QImage& image) {
    std::vector<QColor> pixels;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) pixels.push_back(image.pixelColor(x, y));
    return pixels;
}

}  // namespace

class MainFormColoursTest : public QObject, public WindowFixture {
    Q_OBJECT

    QImage Picture() const { return form->ResDisplayPic->Picture(); }
    std::string Caption() const { return Str(form->menu_pal_select->text()); }

    // Writes a palette file of 256 colours of one value, or of its first `count` lines only.
    std::string PaletteFile(const std::string& name, uint32_t colour, size_t count = 256) {
        std::string text = WriteJascPal(std::vector<uint32_t>(256, colour));
        size_t end = 0;
        for (size_t line = 0; line < 3 + count; ++line) end = text.find('\n', end) + 1;
        const std::string path = At(name);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        WriteFileText(path, text.substr(0, end));
        return path;
    }

    void ChoosePalette(const std::string& path) {
        desktop->FileAnswers = {path};
        form->menu_pal_select_Click();
    }

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void screenShowsTheTableOfLayers() {
        OpenAndSelect(Layered);
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(Palette));

        // Every colour changed at once: each shows where its layer is, and nowhere else.
        const std::array<uint32_t, 4> chosen{0x00FF00, 0x123456, 0xFF00FF, 0x0000FF};
        for (int16_t index = 0; index < 4; ++index) {
            desktop->ColourAnswers = {chosen[size_t(index)]};
            form->menu_col_choose_Click(index);
        }
        QCOMPARE((std::array{MaskColour, ShadowColour, OutlineInnerColour, OutlineOuterColour}), chosen);
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(Palette));
    }

    void colourDialogOpensOnTheCurrentColour() {
        OpenAndSelect(Layered);
        // First opening of each offers its start value; a cancel stores nothing and draws nothing.
        const std::array<uint32_t, 4> starts{DefaultMaskColour, DefaultShadowColour, DefaultOutlineInnerColour,
                                             DefaultOutlineOuterColour};
        const qint64 before = Picture().cacheKey();
        for (int16_t index = 0; index < 4; ++index) {
            form->menu_col_choose_Click(index);
            QCOMPARE(desktop->DialogsShown.back().Color, starts[size_t(index)]);
        }
        QCOMPARE(MaskColour, DefaultMaskColour);
        QCOMPARE(Picture().cacheKey(), before);

        // The same colour again is stored and redrawn.
        desktop->ColourAnswers = {DefaultShadowColour};
        form->menu_col_choose_Click(1);
        QVERIFY(Picture().cacheKey() != before);

        desktop->ColourAnswers = {0x00FF00};
        form->menu_col_choose[0]->trigger();
        QCOMPARE(Picture().pixelColor(0, 0), QColor(0, 255, 0));
        form->menu_col_choose_Click(0);
        QCOMPARE(desktop->DialogsShown.back().Color, 0x00FF00u);
    }

    void withoutAutoRefreshAChoiceWaitsForRefresh() {
        OpenAndSelect(Layered);
        form->menu_image_autorefresh_Click();
        QVERIFY(!form->AutoRefresh && !form->menu_image_autorefresh->isChecked());
        desktop->ColourAnswers = {0x00FF00};
        form->menu_col_choose_Click(0);
        QCOMPARE(MaskColour, 0x00FF00u);
        QCOMPARE(Picture().pixelColor(0, 0), QColor(0, 0, 0));

        form->menu_pal_default_Click();  // a new palette likewise
        QCOMPARE(Picture().pixelColor(0, 0), QColor(0, 0, 0));
        form->menu_image_refresh_Click();
        QCOMPARE(Picture().pixelColor(0, 0), QColor(0, 255, 0));
    }

    void playerAndLayersRedrawTheSamePixels() {
        OpenAndSelect(Layered);
        const QImage shown = Picture();

        form->menu_col_player_item_Click(0);  // checked already: no redraw
        QCOMPARE(Picture().cacheKey(), shown.cacheKey());

        form->menu_col_player_item[5]->trigger();
        QCOMPARE(PlayerNumber, int16_t{5});
        for (size_t i = 0; i < 8; ++i) QCOMPARE(form->menu_col_player_item[i]->isChecked(), i == 5);
        QVERIFY(Picture().cacheKey() != shown.cacheKey());
        QCOMPARE(Picture(), shown);

        form->menu_col_player_item[5]->trigger();  // a click on the checked item keeps it checked
        QVERIFY(form->menu_col_player_item[5]->isChecked());

        for (QAction* item : {form->menu_layers_colours, form->menu_layers_shadow, form->menu_layers_selection,
                              form->menu_layers_outline}) {
            for (bool expected : {false, true}) {
                const qint64 before = Picture().cacheKey();
                item->trigger();
                QCOMPARE(item->isChecked(), expected);
                QVERIFY(Picture().cacheKey() != before);
                QCOMPARE(Picture(), shown);
            }
        }
        QVERIFY(!form->menu_layers->menuAction()->isVisible() && !form->menu_col_player->menuAction()->isVisible());
    }

    void teamColourComesAfterTheDesignsItemsAndRedrawsPlayerPixels() {
        OpenAndSelect(Layered);
        std::vector<std::string> items, teams;
        for (QAction* action : form->menu_col->actions())
            if (action->isVisible()) items.push_back(Str(action->text()));
        QCOMPARE(items, (std::vector<std::string>{"Palette", "Mask...", "Shadow...", "Outline (inner)...", "Outline (outer)...",
                                                  "Team colour"}));
        for (QAction* action : form->menu_col_team->actions()) teams.push_back(Str(action->text()) + (action->isChecked() ? "*" : ""));
        QCOMPARE(teams, (std::vector<std::string>{"1 (blue)*", "2 (red)", "3 (green)", "4 (yellow)", "5 (orange)", "6 (cyan)",
                                                  "7 (purple)", "8 (grey)"}));

        form->menu_col_team_item[2]->trigger();  // "3 (green)"
        QCOMPARE(form->TeamColour, 3);
        QCOMPARE(PlayerNumber, int16_t{0});
        for (size_t i = 0; i < 8; ++i) QCOMPARE(form->menu_col_team_item[i]->isChecked(), i == 2);
        std::vector<QColor> green = ExpectedScreen(Palette);
        green[2] = ColourOf(Palette[1 + 48]);
        QCOMPARE(PixelsOf(Picture()), green);
        form->DRSFilesList->SetListIndex(Flag);  // the team stays for the next sprite
        form->DRSFilesList->SetListIndex(Layered);
        QCOMPARE(PixelsOf(Picture()), green);

        form->menu_col_team_item[0]->trigger();
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(Palette));
    }

    void paletteCaptionNamesTheFile_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("caption");  // empty: refused with "Error opening palette file!"
        QTest::newRow("plain") << "shades.pal" << "[SHADES] Select...";
        QTest::newRow("dot in folder") << "pal.d/shades.pal" << "[SHADES] Select...";
        QTest::newRow("two dots") << "x.y.pal" << "[X.Y] Select...";
        QTest::newRow("not ASCII") << "café.pal" << "[CAFÉ] Select...";
        QTest::newRow("nothing before the dot") << ".pal" << "[] Select...";
        QTest::newRow("no dot") << "shades" << "";
        QTest::newRow("dot only in folder") << "pal.d/shades" << "";
    }

    void paletteCaptionNamesTheFile() {
        QFETCH(QString, file);
        QFETCH(QString, caption);
        OpenAndSelect(Layered);
        const qint64 before = Picture().cacheKey();
        ChoosePalette(PaletteFile(file.toStdString(), 0x0A0B0C));

        QCOMPARE(desktop->DialogsShown.back().DialogTitle, "Use palette...");
        QCOMPARE(desktop->DialogsShown.back().Filter, "PAL files (*.pal)|*.pal|All files (*.*)|*.*|"
                                                      "Palettes of other programs (*.gpl *.act *.pal)|*.gpl;*.act;*.pal");
        QCOMPARE(desktop->DialogsShown.back().InitDir, TempFolder);
        QCOMPARE(Palette[7], 0x0A0B0Cu);  // loaded in either case
        if (caption.isEmpty()) {
            QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{"Error opening palette file!", MessageStyle::Plain, ""}}));
            QCOMPARE(Caption(), "[default] Select...");
            QCOMPARE(Picture().cacheKey(), before);
        } else {
            QVERIFY(desktop->Boxes.empty());
            QCOMPARE(Caption(), caption.toStdString());
            QCOMPARE(Picture().pixelColor(1, 0), ColourOf(0x0A0B0C));
        }
        QVERIFY(form->menu_pal_select->isChecked());
    }

    void aPaletteThatFailsKeepsCaptionAndPicture_data() {
        QTest::addColumn<QString>("text");      // the file's text; empty: the file is missing
        QTest::addColumn<int>("loaded");        // colours taken from it before it failed
        QTest::addColumn<QString>("box");
        const std::string full = WriteJascPal(std::vector<uint32_t>(256, 0x0A0B0C));
        QTest::newRow("missing") << "" << 0 << "Error opening palette file!";
        QTest::newRow("ends early") << QString::fromStdString(full.substr(0, full.size() / 2)) << -1
                                    << "Error opening palette file!";
        QTest::newRow("two fields") << "JASC-PAL\r\n0100\r\n256\r\n12 11 10\r\n1 2\r\n" << 1 << "Error opening palette file!";
        QTest::newRow("above 32767") << "JASC-PAL\r\n0100\r\n256\r\n12 11 10\r\n1 2 32768\r\n" << 1
                                     << "Error opening palette file!";
        QTest::newRow("negative") << "JASC-PAL\r\n0100\r\n256\r\n-1 2 3\r\n" << 0 << "Error opening palette file!";
        QTest::newRow("no palette") << "GIF89a" << 0 << "Not valid palette file!";
    }

    void aPaletteThatFailsKeepsCaptionAndPicture() {
        QFETCH(QString, text);
        QFETCH(int, loaded);
        QFETCH(QString, box);
        OpenAndSelect(Layered);
        ChoosePalette(PaletteFile("first.pal", 0x010203));
        const qint64 before = Picture().cacheKey();
        const std::string path = At("second.pal");
        if (!text.isEmpty()) WriteFileText(path, text.toStdString());
        ChoosePalette(path);

        QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{box.toStdString(), MessageStyle::Plain, ""}}));
        QCOMPARE(Caption(), "[FIRST] Select...");
        QCOMPARE(Picture().cacheKey(), before);
        const auto taken = size_t(std::count(Palette.begin(), Palette.end(), 0x0A0B0Cu));
        if (loaded >= 0) QCOMPARE(taken, size_t(loaded));
        else QVERIFY(taken > 0 && taken < 256);  // the colours read so far stay, the others are the old ones
        QCOMPARE(Palette[255], 0x010203u);
    }

    void otherProgramsPalettesLoadUnderTheirOwnFilterOnly() {
        OpenAndSelect(Layered);
        const std::string gimp = At("warm.gpl");
        WriteFileText(gimp, WriteGimpPal(std::vector<uint32_t>(8, 0x0A0B0C)));
        // Under the design's filters it is no palette file, as ever.
        for (const int16_t filter : {int16_t{1}, int16_t{2}}) {
            desktop->FilterAnswers = {filter};
            ChoosePalette(gimp);
            QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{"Not valid palette file!", MessageStyle::Plain, ""}}));
            QCOMPARE(Caption(), "[default] Select...");
            desktop->Boxes.clear();
        }
        desktop->FilterAnswers = {MainForm::OtherPalettesFilterIndex};
        ChoosePalette(gimp);
        QVERIFY(desktop->Boxes.empty());
        QCOMPARE(Caption(), "[WARM] Select...");
        QCOMPARE(Picture().pixelColor(1, 0), ColourOf(0x0A0B0C));  // index 7
        QCOMPARE(Palette[8], 0u);  // black behind its eight colours

        // A file of no format known is refused in the design's words, and changes nothing.
        const std::string junk = At("junk.act");
        WriteFileText(junk, "GIF89a");
        ChoosePalette(junk);  // the dialog keeps the filter last chosen
        QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{"Not valid palette file!", MessageStyle::Plain, ""}}));
        QCOMPARE(Caption(), "[WARM] Select...");
    }

    void useDefaultAfterAFile() {
        OpenAndSelect(Layered);
        const std::array<uint32_t, 256> defaults = Palette;
        ChoosePalette(PaletteFile("dark.pal", 0x0A0B0C));
        form->menu_pal_default->trigger();
        QCOMPARE(Caption(), "[default] Select...");
        QCOMPARE(Palette, defaults);
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(defaults));
        ChoosePalette(PaletteFile("dark.pal", 0x0A0B0C));
        QCOMPARE(Palette[0], 0x0A0B0Cu);

        form->menu_pal_select_Click();  // cancelled: nothing changes
        QCOMPARE(Caption(), "[DARK] Select...");
    }

    void extractAsPaletteFeedsThePaletteDialog() {
        OpenAndSelect(Pal);
        const std::array<uint32_t, 256> defaults = Palette;
        QVERIFY(MainForm::IsEnabled(form->menu_extract_pal));
        WriteFileText(TempFolder + "8.pal", "an older copy");
        for (int time = 0; time < 2; ++time) form->menu_extract_pal->trigger();
        QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>(2, {"Palette now available in image viewer", MessageStyle::Plain, ""})));
        QCOMPARE(ReadFileBytes(TempFolder + "8.pal"), pal);
        QCOMPARE(Str(form->StatusText->text()), "");
        QCOMPARE(Palette, defaults);  // nothing is loaded yet

        form->DRSFilesList->SetListIndex(Layered);
        ChoosePalette(TempFolder + "8.pal");
        QCOMPARE(Caption(), "[8] Select...");
        QCOMPARE(Picture().pixelColor(1, 0), ColourOf(0x102030));

        // Opening the archive again leaves the item enabled with no row selected.
        Open(archivePath);
        desktop->Boxes.clear();
        form->menu_extract_pal_Click();
        QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{"Error saving palette data!", MessageStyle::Plain, ""}}));
        QCOMPARE(Str(form->StatusText->text()), "Saving palette...");
    }

    void colourChoicesOutliveTheSprite() {
        OpenAndSelect(Layered);
        desktop->ColourAnswers = {0x00FF00};
        form->menu_col_choose_Click(0);
        ChoosePalette(PaletteFile("dark.pal", 0x0A0B0C));
        form->DRSFilesList->SetListIndex(Tone);
        Open(archivePath);
        form->DRSFilesList->SetListIndex(Flag);
        QCOMPARE(Picture().pixelColor(0, 0), QColor(0, 255, 0));
        QCOMPARE(Picture().pixelColor(0, 5), ColourOf(0x0A0B0C));
    }

};

QTEST_MAIN(MainFormColoursTest)
#include "MainFormColoursQTest.moc"
