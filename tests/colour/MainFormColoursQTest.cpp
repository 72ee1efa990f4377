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

    // Palette > Select... answered with a file of that text, made anew ("": none), from a clean slate of boxes.
    void ChoosePalette(const std::string& name, const std::string& text) {
        const std::string path = At(name);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::filesystem::remove(path);
        if (!text.empty()) WriteFileText(path, text);
        desktop->Boxes.clear();
        desktop->FileAnswers = {path};
        form->menu_pal_select_Click();
    }
    static std::string PaletteOf(uint32_t colour) { return WriteJascPal(std::vector<uint32_t>(256, colour)); }

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void theFourColoursOpenOnTheirValueAndShowWhereTheirLayerIs() {
        OpenAndSelect(Layered);
        const qint64 before = Picture().cacheKey();
        form->menu_col_choose_Click(1);  // a cancel stores nothing and draws nothing
        QCOMPARE(Picture().cacheKey(), before);

        const std::array<uint32_t, 4> chosen{0x00FF00, 0x123456, 0xFF00FF, 0x0000FF};
        for (size_t index = 0; index < 4; ++index) {
            desktop->ColourAnswers = {chosen[index]};
            form->menu_col_choose[index]->trigger();
        }
        QCOMPARE((std::array{MaskColour, ShadowColour, OutlineInnerColour, OutlineOuterColour}), chosen);
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(Palette));
        form->menu_col_choose_Click(0);  // the dialog opens on the current colour
        QCOMPARE(desktop->DialogsShown.back().Color, 0x00FF00u);

        // Without Auto-refresh a choice, a palette too, waits for Refresh.
        form->menu_image_autorefresh_Click();
        desktop->ColourAnswers = {0x0000FF};
        form->menu_col_choose_Click(0);
        form->menu_pal_default_Click();
        QCOMPARE(Picture().pixelColor(0, 0), QColor(0, 255, 0));
        form->menu_image_refresh_Click();
        QCOMPARE(Picture().pixelColor(0, 0), QColor(255, 0, 0));

        // The choices outlive the sprite, a sound and a new open.
        ChoosePalette("dark.pal", PaletteOf(0x0A0B0C));
        form->DRSFilesList->SetListIndex(Tone);
        Open(archivePath);
        form->DRSFilesList->SetListIndex(Flag);
        QCOMPARE(Picture().pixelColor(0, 0), QColor(255, 0, 0));
        QCOMPARE(Picture().pixelColor(0, 5), ColourOf(0x0A0B0C));
    }

    void playerLayersAndTeamColourRedraw() {
        OpenAndSelect(Layered);
        const QImage shown = Picture();
        form->menu_col_player_item[5]->trigger();
        form->menu_col_player_item[5]->trigger();  // a click on the checked item keeps it checked
        QCOMPARE(PlayerNumber, int16_t{5});
        for (size_t i = 0; i < 8; ++i) QCOMPARE(form->menu_col_player_item[i]->isChecked(), i == 5);
        // No drawing reads the player number or the Layers items.
        for (QAction* item : {form->menu_layers_colours, form->menu_layers_shadow, form->menu_layers_selection,
                              form->menu_layers_outline}) {
            for (bool expected : {false, true}) {
                item->trigger();
                QCOMPARE(item->isChecked(), expected);
                QCOMPARE(Picture(), shown);
            }
        }
        QVERIFY(!form->menu_layers->menuAction()->isVisible() && !form->menu_col_player->menuAction()->isVisible());

        // The team colour comes after the design's items and draws player pixels in its band.
        QCOMPARE(VisibleItems(form->menu_col), (std::vector<std::string>{"Palette", "Mask...", "Shadow...", "Outline (inner)...",
                                                                         "Outline (outer)...", "Team colour"}));
        std::vector<std::string> teams;
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
        const std::string jasc = PaletteOf(0x0A0B0C), gimp = WriteGimpPal(std::vector<uint32_t>(8, 0x0A0B0C));
        // The file, its text, the filter it is chosen under (the last one takes other programs' palettes too),
        // and the caption.
        const struct { std::string File, Text; int16_t Filter; std::string Caption; } cases[] = {
            {"pal.d/x.y.pal", jasc, 1, "[X.Y] Select..."},
            {"café.pal", jasc, 2, "[CAFÉ] Select..."},
            {".pal", jasc, 1, "[] Select..."},
            {"warm.gpl", gimp, MainForm::OtherPalettesFilterIndex, "[WARM] Select..."}};
        OpenAndSelect(Layered);
        for (const auto& c : cases) {
            form->menu_pal_default_Click();
            desktop->FilterAnswers = {c.Filter};
            ChoosePalette(c.File, c.Text);
            QCOMPARE(Caption(), c.Caption);
            QVERIFY(desktop->Boxes.empty());
            QCOMPARE(Picture().pixelColor(1, 0), ColourOf(0x0A0B0C));  // index 7
        }
        QCOMPARE(desktop->DialogsShown.back().DialogTitle, "Use palette...");
        QCOMPARE(desktop->DialogsShown.back().Filter,
                 "PAL files (*.pal)|*.pal|All files (*.*)|*.*|Palettes of other programs (*.gpl *.act *.pal)|*.gpl;*.act;*.pal");

        // Use default brings the carried palette back; a cancelled dialog changes nothing.
        form->menu_pal_default->trigger();
        QCOMPARE(Caption(), "[default] Select...");
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(defaults));
        ChoosePalette("dark.pal", PaletteOf(0x0A0B0C));
        form->menu_pal_select_Click();
        QCOMPARE(Caption(), "[DARK] Select...");
    }

    void aPaletteThatFailsKeepsCaptionAndPicture() {
        const std::string full = PaletteOf(0x0A0B0C);
        // The file, its text (empty: missing) and the box. A name without a dot to end a caption fails too, and
        // another program's palette is no palette under the design's filters.
        const std::tuple<std::string, std::string, ShownMessage> cases[] = {
            {"shades", full, OpenError}, {"pal.d/shades", full, OpenError}, {"missing.pal", "", OpenError},
            {"half.pal", full.substr(0, full.size() / 2), OpenError}, {"gif.pal", "GIF89a", NotAPalette},
            {"warm.gpl", WriteGimpPal(std::vector<uint32_t>(8, 0x0A0B0C)), NotAPalette}};
        OpenAndSelect(Layered);
        for (const auto& [file, text, box] : cases) {
            ChoosePalette("first.pal", PaletteOf(0x010203));
            const qint64 before = Picture().cacheKey();
            ChoosePalette(file, text);
            QCOMPARE(desktop->Boxes, std::vector{box});
            QCOMPARE(Caption(), "[FIRST] Select...");
            QCOMPARE(Picture().cacheKey(), before);
        }
    }

    void extractAsPaletteFeedsThePaletteDialog() {
        OpenAndSelect(Pal);
        form->menu_extract_pal->trigger();
        QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{"Palette now available in image viewer", MessageStyle::Plain, ""}}));
        QCOMPARE(ReadFileBytes(form->PalComDlg.InitDir + "8.pal"), pal);  // where the palette dialog opens
        QCOMPARE(Status(), "");

        // Opening the archive again leaves the item enabled with no row selected.
        Open(archivePath);
        desktop->Boxes.clear();
        form->menu_extract_pal_Click();
        QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{"Error saving palette data!", MessageStyle::Plain, ""}}));
        QCOMPARE(Status(), "Saving palette...");
    }
};

QTEST_MAIN(MainFormColoursTest)
#include "MainFormColoursQTest.moc"
