// The window on the desktop's own services: every file dialog is Qt's QFileDialog and every box a
// QMessageBox, answered by a timer as a user would: the filter picked by its label, the name typed,
// the dialog accepted. Each choice that came after the design's own is tried through them.

#include <QClipboard>
#include <QColorDialog>
#include <QComboBox>
#include <QFileDialog>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

#include <deque>

#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "shell/QtPlatform.h"
#include "WindowFixture.h"

using namespace fixtures;

namespace {

bool StartsWith(const Bytes& bytes, std::string_view start) {
    return bytes.size() >= start.size() &&
           std::equal(start.begin(), start.end(), bytes.begin(), [](char c, uint8_t b) { return uint8_t(c) == b; });
}

}  // namespace

class QtPlatformTest : public QObject, public WindowFixture {
    Q_OBJECT

    QtPlatform qt;
    QTimer answering;
    std::deque<std::pair<QString, std::string>> answers;  // per file dialog: the filter's label, the name typed
    std::vector<std::string> boxes;                       // what the boxes said

    void AnswerWhatIsOpen() {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            boxes.push_back(Str(box->text()));
            box->accept();
        } else if (auto* colours = qobject_cast<QColorDialog*>(modal)) {
            colours->setCurrentColor(QColor(1, 2, 3));
            colours->accept();
        } else if (auto* dialog = qobject_cast<QFileDialog*>(modal); dialog && !answers.empty()) {
            const auto [label, name] = answers.front();
            answers.pop_front();
            auto* types = dialog->findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));  // as a click picks it
            if (const int picked = types ? types->findText(label, Qt::MatchStartsWith) : -1; picked >= 0) {
                types->setCurrentIndex(picked);
                emit types->activated(picked);
            }
            dialog->selectFile(QString::fromStdString(name));  // the name typed, no other file selected
            QMetaObject::invokeMethod(dialog, "accept");  // as its button does
        }
    }

private slots:
    void init() {
        SetUp();
        boxes.clear();
        form = std::make_unique<MainForm>(qt.Services());
        form->show();
        connect(&answering, &QTimer::timeout, this, &QtPlatformTest::AnswerWhatIsOpen);
        answering.start(10);
        QVERIFY(form->OpenFromOutside(archivePath));
        form->DRSFilesList->SetListIndex(Walker);
    }
    void cleanup() {
        answering.stop();
        TearDown();
    }

    void everyNewChoiceWorksThroughTheRealDialogs() {
        // Save as BMP under "PNG image" writes a PNG.
        answers = {{"PNG image", At("frame.png")}};
        form->menu_savebmp->trigger();
        QVERIFY(StartsWith(ReadFileBytes(At("frame.png")), "\x89PNG"));

        // Save as image sequence under each format of today's tools, two of which share "*.png".
        const std::tuple<QString, std::string, std::vector<std::string>, std::string_view> exports[] = {
            {"PNG sequence", "seq.png", {"seq001.png", "seq002.png", "seq003.png"}, "\x89PNG"},
            {"Animated GIF", "anim.gif", {"anim.gif"}, "GIF89a"},
            {"Animated PNG", "moving.png", {"moving.png"}, "\x89PNG"},
            {"Sprite sheet (PNG + JSON)", "sheet.png", {"sheet.png", "sheet.json"}, "\x89PNG"},
        };
        for (const auto& [label, name, files, start] : exports) {
            answers = {{label, At(name)}};
            form->menu_image_savesequence->trigger();
            for (const std::string& file : files) QVERIFY2(std::filesystem::exists(At(file)), file.c_str());
            QVERIFY2(StartsWith(ReadFileBytes(At(files.front())), start), name.c_str());
        }
        QVERIFY(!std::filesystem::exists(At("anim001.bmp")) && !std::filesystem::exists(At("moving001.png")));
        const Bytes animated = ReadFileBytes(At("moving.png"));
        QVERIFY(std::search(animated.begin(), animated.end(), std::begin("acTL"), std::end("acTL") - 1) != animated.end());

        // The palette dialog's "Palettes of other programs" reads a GIMP palette.
        WriteFileText(At("warm.gpl"), "GIMP Palette\nName: warm\n255 0 0\tred\n");
        answers = {{"Palettes of other programs", At("warm.gpl")}};
        form->menu_pal_select->trigger();
        QCOMPARE(Str(form->menu_pal_select->text()), "[WARM] Select...");
        QCOMPARE(Palette[0], RGB(255, 0, 0));

        // The folder dialog of Extract all to folder..., and the box at its end.
        std::filesystem::create_directory(At("all"));
        answers = {{"", At("all")}};
        form->menu_extract_folder->trigger();
        QVERIFY(std::filesystem::exists(At("all/01-SLP/1000.slp")));
        QCOMPARE(boxes.size(), size_t{1});

        // File > Open under "SLP sprites": the sprite by itself, shown at once.
        WriteFileBytes(At("walker.slp"), walker);
        answers = {{"SLP sprites", At("walker.slp")}};
        form->menu_file_open->trigger();
        QCOMPARE(form->DRSFilesList->List(1), "walker");
        QCOMPARE(form->ResDisplayPic->Picture().size(), QSize(4, 3));
        QCOMPARE(boxes.size(), size_t{1});
        QVERIFY(answers.empty());
    }

    // The colour dialog, the clipboard and the sound, each through Qt's own.
    void theOtherServicesWorkThroughQt() {
        form->menu_col_choose[0]->trigger();
        QCOMPARE(MaskColour, RGB(1, 2, 3));
        QCOMPARE(form->ResDisplayPic->Picture().pixelColor(0, 0), QColor(1, 2, 3));

        cDIBSection picture;
        picture.Create(3, 2);
        picture.FillRun(0, 2, 1, RGB(200, 100, 50));
        QVERIFY(QtClipboard().PutBitmap(picture));
        const QImage copied = QGuiApplication::clipboard()->image();
        QCOMPARE(copied.size(), QSize(3, 2));
        QCOMPARE(copied.pixelColor(2, 1), QColor(200, 100, 50));

        form->DRSFilesList->SetListIndex(Tone);  // plays, silently where there is no sound device
        QTest::qWait(50);
        QVERIFY(boxes.empty());
    }
};

QTEST_MAIN(QtPlatformTest)
#include "QtPlatformQTest.moc"
