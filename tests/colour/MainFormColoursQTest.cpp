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

// The colours that frame 1 of the layered sprite shows, pixel by pixel, row by row from the top; player
// byte 1 in palette[1 + 16 team].
std::vector<QColor> ExpectedScreen(const std::array<uint32_t, 256>& palette, size_t team = 1) {
    return {ColourOf(MaskColour),         ColourOf(palette[7]),          ColourOf(palette[1 + 16 * team]),
            ColourOf(ShadowColour),       ColourOf(OutlineInnerColour),  ColourOf(OutlineOuterColour),
            ColourOf(palette[252]),  // 0xFF00FF: on screen a colour like any other
            ColourOf(palette[7])};
}

std::vector<QColor> PixelsOf(const QImage& image) {
    std::vector<QColor> pixels;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) pixels.push_back(image.pixelColor(x, y));
    return pixels;
}

const ShownMessage OpenError{"Error opening palette file!", MessageStyle::Plain, ""};
const ShownMessage NotAPalette{"Not valid palette file!", MessageStyle::Plain, ""};

}  // namespace

class MainFormColoursTest : public QObject, public WindowFixture {
    Q_OBJECT

    QImage Picture() const { return form->ResDisplayPic->Picture(); }
    std::string Caption() const { return Str(form->menu_pal_select->text()); }

    std::string PaletteFile(const std::string& name, uint32_t colour) {
        const std::string path = At(name);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        WriteFileText(path, WriteJascPal(std::vector<uint32_t>(256, colour)));
        return path;
    }
    void ChoosePalette(const std::string& path) {
        desktop->FileAnswers = {path};
        form->menu_pal_select_Click();
    }

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void theFourColoursOpenOnTheirValueAndShowWhereTheirLayerIs() {
        OpenAndSelect(Layered);
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(Palette));
        // A cancel stores nothing and draws nothing; each dialog opens on its start value.
        const qint64 before = Picture().cacheKey();
        const std::array<uint32_t, 4> starts{DefaultMaskColour, DefaultShadowColour, DefaultOutlineInnerColour,
                                             DefaultOutlineOuterColour};
        for (int16_t index = 0; index < 4; ++index) {
            form->menu_col_choose_Click(index);
            QCOMPARE(desktop->DialogsShown.back().Color, starts[size_t(index)]);
        }
        QCOMPARE(Picture().cacheKey(), before);

        const std::array<uint32_t, 4> chosen{0x00FF00, 0x123456, 0xFF00FF, 0x0000FF};
        for (int16_t index = 0; index < 4; ++index) {
            desktop->ColourAnswers = {chosen[size_t(index)]};
            form->menu_col_choose[size_t(index)]->trigger();
        }
        QCOMPARE((std::array{MaskColour, ShadowColour, OutlineInnerColour, OutlineOuterColour}), chosen);
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(Palette));
        form->menu_col_choose_Click(0);
        QCOMPARE(desktop->DialogsShown.back().Color, 0x00FF00u);

        // Without Auto-refresh a choice, a palette too, waits for Refresh.
        form->menu_image_autorefresh_Click();
        QVERIFY(!form->AutoRefresh && !form->menu_image_autorefresh->isChecked());
        desktop->ColourAnswers = {0x0000FF};
        form->menu_col_choose_Click(0);
        form->menu_pal_default_Click();
        QCOMPARE(Picture().pixelColor(0, 0), QColor(0, 255, 0));
        form->menu_image_refresh_Click();
        QCOMPARE(Picture().pixelColor(0, 0), QColor(255, 0, 0));

        // The choices outlive the sprite, a sound and a new open.
        ChoosePalette(PaletteFile("dark.pal", 0x0A0B0C));
        form->DRSFilesList->SetListIndex(Tone);
        Open(archivePath);
        form->DRSFilesList->SetListIndex(Flag);
        QCOMPARE(Picture().pixelColor(0, 0), QColor(255, 0, 0));
        QCOMPARE(Picture().pixelColor(0, 5), ColourOf(0x0A0B0C));
    }

    void playerLayersAndTeamColourRedraw() {
        OpenAndSelect(Layered);
        const QImage shown = Picture();
        form->menu_col_player_item_Click(0);  // checked already: no redraw
        QCOMPARE(Picture().cacheKey(), shown.cacheKey());
        form->menu_col_player_item[5]->trigger();
        form->menu_col_player_item[5]->trigger();  // a click on the checked item keeps it checked
        QCOMPARE(PlayerNumber, int16_t{5});
        for (size_t i = 0; i < 8; ++i) QCOMPARE(form->menu_col_player_item[i]->isChecked(), i == 5);
        QVERIFY(Picture().cacheKey() != shown.cacheKey());
        QCOMPARE(Picture(), shown);  // no drawing reads the player number
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

        // The team colour comes after the design's items and draws player pixels in its band.
        std::vector<std::string> items, teams;
        for (QAction* action : form->menu_col->actions())
            if (action->isVisible()) items.push_back(Str(action->text()));
        QCOMPARE(items, (std::vector<std::string>{"Palette", "Mask...", "Shadow...", "Outline (inner)...", "Outline (outer)...",
                                                  "Team colour"}));
        for (QAction* action : form->menu_col_team->actions()) teams.push_back(Str(action->text()) + (action->isChecked() ? "*" : ""));
        QCOMPARE(teams, (std::vector<std::string>{"1 (blue)*", "2 (red)", "3 (green)", "4 (yellow)", "5 (orange)", "6 (cyan)",
                                                  "7 (purple)", "8 (grey)"}));
        form->menu_col_team_item[2]->trigger();
        QCOMPARE(PlayerNumber, int16_t{5});
        for (size_t i = 0; i < 8; ++i) QCOMPARE(form->menu_col_team_item[i]->isChecked(), i == 2);
        form->DRSFilesList->SetListIndex(Flag);  // the team stays for the next sprite
        form->DRSFilesList->SetListIndex(Layered);
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(Palette, 3));
        form->menu_col_team_item[0]->trigger();
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(Palette));
    }

    void paletteCaptionNamesTheFile() {
        const std::array<uint32_t, 256> defaults = Palette;
        // An empty caption: refused with the box, after the colours were loaded all the same.
        const std::pair<std::string, std::string> cases[] = {
            {"shades.pal", "[SHADES] Select..."}, {"pal.d/shades.pal", "[SHADES] Select..."}, {"x.y.pal", "[X.Y] Select..."},
            {"café.pal", "[CAFÉ] Select..."},     {".pal", "[] Select..."},                     {"shades", ""},
            {"pal.d/shades", ""}};
        OpenAndSelect(Layered);
        for (const auto& [file, caption] : cases) {
            form->menu_pal_default_Click();
            desktop->Boxes.clear();
            const qint64 before = Picture().cacheKey();
            ChoosePalette(PaletteFile(file, 0x0A0B0C));
            QCOMPARE(Palette[7], 0x0A0B0Cu);
            QVERIFY(form->menu_pal_select->isChecked());
            QCOMPARE(Caption(), caption.empty() ? "[default] Select..." : caption);
            if (caption.empty()) {
                QCOMPARE(desktop->Boxes, std::vector{OpenError});
                QCOMPARE(Picture().cacheKey(), before);
            } else {
                QVERIFY(desktop->Boxes.empty());
                QCOMPARE(Picture().pixelColor(1, 0), ColourOf(0x0A0B0C));
            }
        }
        const CommonDialog& shown = desktop->DialogsShown.back();
        QCOMPARE(shown.DialogTitle, "Use palette...");
        QCOMPARE(shown.Filter, "PAL files (*.pal)|*.pal|All files (*.*)|*.*|Palettes of other programs (*.gpl *.act *.pal)|*.gpl;*.act;*.pal");
        QCOMPARE(shown.InitDir, TempFolder);

        // Use default brings the carried palette back; a cancelled dialog changes nothing.
        form->menu_pal_default->trigger();
        QCOMPARE(Caption(), "[default] Select...");
        QCOMPARE(Palette, defaults);
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(defaults));
        ChoosePalette(PaletteFile("dark.pal", 0x0A0B0C));
        form->menu_pal_select_Click();
        QCOMPARE(Caption(), "[DARK] Select...");
    }

    void aPaletteThatFailsKeepsCaptionAndPicture() {
        const std::string full = WriteJascPal(std::vector<uint32_t>(256, 0x0A0B0C));
        // The file's text (empty: missing), the colours taken from it before it failed (-1: some), the box.
        const std::tuple<std::string, int, ShownMessage> cases[] = {
            {"", 0, OpenError},
            {full.substr(0, full.size() / 2), -1, OpenError},
            {"JASC-PAL\r\n0100\r\n256\r\n12 11 10\r\n1 2\r\n", 1, OpenError},
            {"JASC-PAL\r\n0100\r\n256\r\n12 11 10\r\n1 2 32768\r\n", 1, OpenError},
            {"JASC-PAL\r\n0100\r\n256\r\n-1 2 3\r\n", 0, OpenError},
            {"GIF89a", 0, NotAPalette}};
        OpenAndSelect(Layered);
        for (const auto& [text, loaded, box] : cases) {
            ChoosePalette(PaletteFile("first.pal", 0x010203));
            desktop->Boxes.clear();
            const qint64 before = Picture().cacheKey();
            const std::string path = At("second.pal");
            std::filesystem::remove(path);
            if (!text.empty()) WriteFileText(path, text);
            ChoosePalette(path);
            QCOMPARE(desktop->Boxes, std::vector{box});
            QCOMPARE(Caption(), "[FIRST] Select...");
            QCOMPARE(Picture().cacheKey(), before);
            const auto taken = int(std::count(Palette.begin(), Palette.end(), 0x0A0B0Cu));
            QVERIFY(loaded >= 0 ? taken == loaded : taken > 0 && taken < 256);  // the colours read so far stay
            QCOMPARE(Palette[255], 0x010203u);
        }
    }

    void otherProgramsPalettesLoadUnderTheirOwnFilterOnly() {
        OpenAndSelect(Layered);
        const std::string gimp = At("warm.gpl");
        WriteFileText(gimp, WriteGimpPal(std::vector<uint32_t>(8, 0x0A0B0C)));
        for (const int16_t filter : {int16_t{1}, int16_t{2}}) {  // under the design's filters it is no palette
            desktop->FilterAnswers = {filter};
            ChoosePalette(gimp);
            QCOMPARE(desktop->Boxes, std::vector{NotAPalette});
            QCOMPARE(Caption(), "[default] Select...");
            desktop->Boxes.clear();
        }
        desktop->FilterAnswers = {MainForm::OtherPalettesFilterIndex};
        ChoosePalette(gimp);
        QVERIFY(desktop->Boxes.empty());
        QCOMPARE(Caption(), "[WARM] Select...");
        QCOMPARE(Picture().pixelColor(1, 0), ColourOf(0x0A0B0C));  // index 7
        QCOMPARE(Palette[8], 0u);  // black behind its eight colours
        WriteFileText(At("junk.act"), "GIF89a");
        ChoosePalette(At("junk.act"));  // the dialog keeps the filter last chosen
        QCOMPARE(desktop->Boxes, std::vector{NotAPalette});
        QCOMPARE(Caption(), "[WARM] Select...");
    }

    void extractAsPaletteFeedsThePaletteDialog() {
        OpenAndSelect(Pal);
        const std::array<uint32_t, 256> defaults = Palette;
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
};

QTEST_MAIN(MainFormColoursTest)
#include "MainFormColoursQTest.moc"
