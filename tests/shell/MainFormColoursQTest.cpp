// The Colours menu on a sprite on show: palettes chosen and extracted, the four colours, the team colour,
// and the Player and Layers items, read back from the picture the window shows.

#include <QAction>
#include <QLabel>
#include <QTest>

#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "WindowFixture.h"

using namespace fixtures;

namespace {

// The colours that frame 1 of the layered sprite shows, row by row from the top; player byte 1 in
// palette[1 + 16 team], and colour 252 (0xFF00FF) on screen a colour like any other.
std::vector<QColor> ExpectedScreen(const std::array<uint32_t, 256>& palette, size_t team = 1) {
    return {ColourOf(MaskColour), ColourOf(palette[7]), ColourOf(palette[1 + 16 * team]), ColourOf(ShadowColour),
            ColourOf(OutlineInnerColour), ColourOf(OutlineOuterColour), ColourOf(palette[252]), ColourOf(palette[7])};
}

std::vector<QColor> PixelsOf(const QImage& image) {
    std::vector<QColor> pixels;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) pixels.push_back(image.pixelColor(x, y));
    return pixels;
}

// The boxes a step shows: none, or one plain box of that text.
std::vector<ShownMessage> BoxOf(const std::string& text) {
    return text.empty() ? std::vector<ShownMessage>{} : std::vector<ShownMessage>{{text, MessageStyle::Plain, ""}};
}

std::string PaletteOf(uint32_t colour) { return WriteJascPal(std::vector<uint32_t>(256, colour)); }

}  // namespace

class MainFormColoursTest : public QObject, public WindowFixture {
    Q_OBJECT

    QImage Picture() const { return form->ResDisplayPic->Picture(); }
    std::string Caption() const { return Str(form->menu_pal_select->text()); }

    // Palette > Select... answered with a file of that text ("": none), under the filter of that index, from a clean
    // slate of boxes.
    void ChoosePalette(const std::string& name, const std::string& text, int16_t filter = 1) {
        const std::string path = At(name);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        if (!text.empty()) WriteFileText(path, text);
        desktop->Boxes.clear();
        desktop->FileAnswers = {path};
        desktop->FilterAnswers = {filter};
        form->menu_pal_select_Click();
    }

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void theFourColoursAndTheTeamRedrawWhatTheirLayerHoldsAndThePlayerAndLayersNothing() {
        OpenAndSelect(Layered);
        const qint64 before = Picture().cacheKey();
        form->menu_col_choose_Click(1);  // a cancel stores nothing and draws nothing
        QCOMPARE(Picture().cacheKey(), before);
        desktop->ColourAnswers = {0x00FF00, 0x123456, 0xFF00FF, 0x0000FF};
        for (QAction* item : form->menu_col_choose) item->trigger();
        QCOMPARE((std::array{MaskColour, ShadowColour, OutlineInnerColour, OutlineOuterColour}),
                 (std::array<uint32_t, 4>{0x00FF00, 0x123456, 0xFF00FF, 0x0000FF}));
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(Palette));
        form->menu_col_choose_Click(0);  // the dialog opens on the current colour
        QCOMPARE(desktop->DialogsShown.back().Color, 0x00FF00u);

        const QImage shown = Picture();
        form->menu_col_player_item[5]->trigger();
        form->menu_col_player_item[5]->trigger();  // a click on the checked item keeps it checked
        QCOMPARE(PlayerNumber, int16_t{5});
        for (size_t i = 0; i < 8; ++i) QCOMPARE(form->menu_col_player_item[i]->isChecked(), i == 5);
        // No drawing reads the player number or the Layers items, each a check mark that comes and goes.
        for (QAction* item : {form->menu_layers_colours, form->menu_layers_shadow, form->menu_layers_selection,
                              form->menu_layers_outline})
            for (bool expected : {false, true}) {
                item->trigger();
                QVERIFY(item->isChecked() == expected && Picture() == shown);
            }
        QVERIFY(!form->menu_layers->menuAction()->isVisible() && !form->menu_col_player->menuAction()->isVisible());

        // The team colour comes after the design's items and draws player pixels in its band, for the next sprite too.
        QCOMPARE(VisibleItems(form->menu_col), (std::vector<std::string>{"Palette", "Mask...", "Shadow...", "Outline (inner)...",
                                                                         "Outline (outer)...", "Team colour"}));
        form->menu_col_team_item[2]->trigger();
        for (size_t i = 0; i < 8; ++i) QCOMPARE(form->menu_col_team_item[i]->isChecked(), i == 2);
        form->DRSFilesList->SetListIndex(Flag);
        form->DRSFilesList->SetListIndex(Layered);
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(Palette, 3));
        form->menu_col_team_item[0]->trigger();
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(Palette));

        // Without Auto-refresh a choice, a palette too, waits for the next drawing; both outlive the sprite and a new open.
        form->menu_image_autorefresh_Click();
        desktop->ColourAnswers = {0x0000FF};
        form->menu_col_choose_Click(0);
        ChoosePalette("dark.pal", PaletteOf(0x0A0B0C));
        QCOMPARE(Picture().pixelColor(0, 0), QColor(0, 255, 0));
        Open(archivePath);
        form->DRSFilesList->SetListIndex(Flag);
        QCOMPARE(Picture().pixelColor(0, 0), QColor(255, 0, 0));
        QCOMPARE(Picture().pixelColor(0, 5), ColourOf(0x0A0B0C));
    }

    void aPaletteChosenNamesTheCaptionAndOneThatFailsKeepsCaptionAndPicture() {
        const std::array<uint32_t, 256> defaults = Palette;
        const std::string jasc = PaletteOf(0x0A0B0C), gimp = WriteGimpPal(std::vector<uint32_t>(8, 0x0A0B0C));
        const std::string kept = "[FIRST] Select...", failed = "Error opening palette file!";
        const std::string notPal = "Not valid palette file!", half = jasc.substr(0, jasc.size() / 2);
        // The file, its text ("": missing), the filter it is chosen under (the last one takes other programs'
        // palettes too), and the caption and box it ends with. A name without a dot to end a caption fails.
        const struct { std::string File, Text; int16_t Filter; std::string Caption, Box; } cases[] = {
            {"pal.d/x.y.pal", jasc, 1, "[X.Y] Select...", ""}, {"café.pal", jasc, 2, "[CAFÉ] Select...", ""},
            {".pal", jasc, 1, "[] Select...", ""}, {"w.gpl", gimp, MainForm::OtherPalettesFilterIndex, "[W] Select...", ""},
            {"shades", jasc, 1, kept, failed}, {"d.d/shades", jasc, 1, kept, failed}, {"half.pal", half, 1, kept, failed},
            {"missing.pal", "", 1, kept, failed}, {"gif.pal", "GIF89a", 1, kept, notPal}, {"w.gpl", gimp, 1, kept, notPal}};
        OpenAndSelect(Layered);
        for (const auto& c : cases) {
            ChoosePalette("first.pal", PaletteOf(0x010203));
            const qint64 before = Picture().cacheKey();
            ChoosePalette(c.File, c.Text, c.Filter);
            QCOMPARE(Caption(), c.Caption);
            QCOMPARE(desktop->Boxes, BoxOf(c.Box));
            if (c.Box.empty()) QCOMPARE(Picture().pixelColor(1, 0), ColourOf(0x0A0B0C));  // index 7
            else QCOMPARE(Picture().cacheKey(), before);
        }
        QCOMPARE(desktop->DialogsShown.back().DialogTitle, "Use palette...");
        QCOMPARE(desktop->DialogsShown.back().Filter,
                 "PAL files (*.pal)|*.pal|All files (*.*)|*.*|Palettes of other programs (*.gpl *.act *.pal)|*.gpl;*.act;*.pal");

        // Use default brings the carried palette back; a cancelled dialog changes nothing.
        form->menu_pal_default->trigger();
        form->menu_pal_select_Click();
        QCOMPARE(Caption(), "[default] Select...");
        QCOMPARE(PixelsOf(Picture()), ExpectedScreen(defaults));
    }

    void extractAsPaletteFeedsThePaletteDialog() {
        OpenAndSelect(Pal);
        form->menu_extract_pal->trigger();
        QCOMPARE(desktop->Boxes, BoxOf("Palette now available in image viewer"));
        QCOMPARE(ReadFileBytes(form->PalComDlg.InitDir + "8.pal"), pal);  // where the palette dialog opens
        QCOMPARE(Status(), "");

        // Opening the archive again leaves the item enabled with no row selected.
        Open(archivePath);
        desktop->Boxes.clear();
        form->menu_extract_pal_Click();
        QCOMPARE(desktop->Boxes, BoxOf("Error saving palette data!"));
        QCOMPARE(Status(), "Saving palette...");
    }
};

QTEST_MAIN(MainFormColoursTest)
#include "MainFormColoursQTest.moc"
