// "Extract all to folder...": the files it writes, the box that ends it, ESC, failures, and the archive
// and the temporary folder left alone.

#include <QAction>
#include <QLabel>
#include <QTest>

#include "WindowFixture.h"

using namespace fixtures;
namespace fs = std::filesystem;

class MainFormExtractTest : public QObject, public WindowFixture {
    Q_OBJECT

    std::string ExtractTo(const std::string& folder) {
        desktop->FileAnswers = {folder};
        form->menu_extract_folder->trigger();
        return desktop->Boxes.empty() ? "" : desktop->Boxes.back().Text;
    }

private slots:
    void init() {
        SetUp();
        Open(archivePath);
    }
    void cleanup() { TearDown(); }

    void everyEntryGoesOutAsExtractAllLaysItOutAndFailuresAreListed() {
        QCOMPARE(VisibleItems(form->menu_extract),
                 (std::vector<std::string>{"Extract this file...", "Extract as palette", "Extract all to folder..."}));
        const auto tempBefore = TempCopies();
        const Bytes archive = ReadFileBytes(archivePath);
        // The archive's own folder is a fine target; in it a link to the archive under an entry's name, and a file
        // where a folder belongs.
        fs::create_directories(At("01-SLP"));
        fs::create_symlink(archivePath, At("01-SLP/1001.slp"));
        WriteFileText(At("02-WAV"), "a file where a folder belongs");
        form->SetListRowText(SlpHeading, "M/T3: gate");  // a description of ID 0 lands on the first heading
        const std::string box = ExtractTo(At(""));
        QVERIFY2(box.starts_with("7 of 9 entries written to " + At("") + ".\n\n2 could not be written:\n01-SLP/1001.slp: "),
                 box.c_str());
        QVERIFY2(box.find("\n02-WAV/5000.wav: ") != std::string::npos, box.c_str());
        QCOMPARE(ReadFileBytes(archivePath), archive);
        // The others, each with the row it comes from.
        const std::pair<std::string, int> layout[] = {
            {"01-SLP/1000.slp", Walker}, {"01-SLP/1002.slp", Broken}, {"01-SLP/1003.slp", Layered}, {"03-BIN/7.bin", Text},
            {"03-BIN/8.bin", Pal},       {"03-BIN/9.bin", Empty},     {"04-XYZ/9000", Odd}};
        for (const auto& [name, row] : layout) QCOMPARE(ReadFileBytes(At(name)), EntryBytes(row));
        QCOMPARE(TempCopies(), tempBefore);
        QCOMPARE(Status(), "");
        QCOMPARE(desktop->Boxes.back().Style, MessageStyle::Plain);

        QCOMPARE(ExtractTo(""), box);  // cancelled: nothing new
        QCOMPARE(desktop->Boxes.size(), size_t{1});
        WriteFileText(At("bad.drs"), "too short for an archive");
        Open(At("bad.drs"));  // "continue anyway?" OK, and then refused: nothing to extract
        QVERIFY(!MainForm::IsEnabled(form->menu_extract_folder));
    }

    void escapeStopsBetweenEntriesAndTheStatusSaysHowFarItIs() {
        std::vector<std::string> status;
        desktop->Escape = [&] {
            status.push_back(Status());
            return status.size() >= 4;
        };
        QCOMPARE(ExtractTo(At("out")), "Stopped after 3 of 9 entries. 3 of 9 entries written to " + At("out") + ".");
        QVERIFY(fs::exists(At("out/01-SLP/1002.slp")) && !fs::exists(At("out/01-SLP/1003.slp")));
        QCOMPARE(status.at(1), "Extracting 1 of 9...");  // asked before the second entry
    }
};

QTEST_MAIN(MainFormExtractTest)
#include "MainFormExtractQTest.moc"
