// Descriptions edited in the window: the three lists and the text box store into the selected row and
// rewrite its text, a selection loads them back, and description files go out and come in through the
// Descriptions menu.

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QTest>

#include "WindowFixture.h"
#include "shell/Controls.h"

using namespace fixtures;

class MainFormDescriptionsTest : public QObject, public WindowFixture {
    Q_OBJECT

    // A pick in list i, as the user makes it.
    void Pick(int list, int row) {
        form->RenameLists[size_t(list)]->setCurrentIndex(row);
        emit form->RenameLists[size_t(list)]->activated(row);
    }

    std::string RowText(int row) const { return form->DRSFilesList->List(row); }

    std::vector<int> Shown() const {
        return {form->RenameLists[0]->currentIndex(), form->RenameLists[1]->currentIndex(),
                form->RenameLists[2]->currentIndex()};
    }

    // A Descriptions item whose file dialog is answered with path.
    void Answer(QAction* item, const std::string& path) {
        desktop->FileAnswers = {path};
        item->trigger();
    }

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void editingRewritesTheRow() {
        OpenAndSelect(Flag);
        Pick(2, 1);
        Pick(1, 3);
        Pick(0, 2);
        form->RenameTextBox->setText("  gate ");
        QCOMPARE(RowText(Flag), "M/T3:   gate ");

        // Selecting rows fires the controls' events without storing anything; the row's own values come back.
        form->DRSFilesList->SetListIndex(Tone);
        QCOMPARE(Shown(), (std::vector<int>{0, 0, 0}));
        QCOMPARE(form->RenameTextBox->text(), QString());
        QCOMPARE(RowText(Tone), "5000");
        form->DRSFilesList->SetListIndex(Flag);
        QCOMPARE(Shown(), (std::vector<int>{2, 3, 1}));
        QCOMPARE(form->RenameTextBox->text(), QString("  gate "));

        // A heading is edited like any row; "[N/A]" again takes the piece away.
        form->DRSFilesList->SetListIndex(WavHeading);
        Pick(0, 1);
        QCOMPARE(RowText(WavHeading), "D: ");
        Pick(0, 0);
        QCOMPARE(RowText(WavHeading), "");

        // After opening again no row is selected, and edits store nothing.
        Open(archivePath);
        Pick(1, 2);
        form->RenameTextBox->setText("lost");
        for (const CatalogueRow& row : DRSCatalogue) QCOMPARE(row.Description, ResourceDescription{});
    }

    void editShowsAndHidesTheTextBox() {
        form->menu_descr_edit->trigger();
        QVERIFY(form->menu_descr_edit->isChecked() && form->RenameTextBox->isVisible());
        form->menu_descr_edit_Click();
        QVERIFY(!form->menu_descr_edit->isChecked() && !form->RenameTextBox->isVisible());

        // "@" divides a description file's fields, so it can't be typed.
        OpenAndSelect(Flag);
        QTest::keyClicks(form->RenameTextBox, "a@b");
        QCOMPARE(DRSCatalogue[Flag].Description.Text, "ab");
    }

    void descriptionFilesRoundTrip() {
        const std::string text(40000, 'w');  // longer than a text box takes by default
        OpenAndSelect(Walker);
        Pick(0, 2);
        form->RenameTextBox->setText(QString::fromStdString(text));
        form->DRSFilesList->SetListIndex(Text);
        Pick(2, 3);
        const std::string saved = At("mine.dsc");
        Answer(form->menu_descr_save, saved);
        QCOMPARE(desktop->DialogsShown.back().Filter, "Description file (*.dsc)|*.dsc");
        const Bytes bytes = ReadFileBytes(saved);
        QCOMPARE(std::string(bytes.begin(), bytes.end()), "1000@2@0@0@" + text + "\r\n7@0@0@3@\r\n");

        // Loaded onto the archive opened afresh: the rows named change, the selection and controls don't.
        OpenAndSelect(Flag);
        Answer(form->menu_descr_load, saved);
        QCOMPARE(RowText(Walker), "M: " + text);
        QCOMPARE(RowText(Flag), "1001");
        QCOMPARE(form->DRSFilesList->ListIndex(), int(Flag));
        QVERIFY(form->DRSFilesList->isVisible());
        form->DRSFilesList->SetListIndex(Walker);
        QCOMPARE(Shown(), (std::vector<int>{2, 0, 0}));
        QCOMPARE(form->RenameTextBox->text().size(), qsizetype(text.size()));
        form->RenameTextBox->end(false);
        QTest::keyClicks(form->RenameTextBox, "!");
        QCOMPARE(DRSCatalogue[Walker].Description.Text, text + "!");

        // A cancelled dialog touches nothing; a file that isn't there says so.
        form->menu_descr_save_Click();
        QCOMPARE(ReadFileBytes(saved), bytes);
        Answer(form->menu_descr_load, At("missing.dsc"));
        QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{"Error opening description file!", MessageStyle::Plain, ""}}));

        // Never into the archive, though the dialog proposes its name after an open.
        const Bytes archive = ReadFileBytes(archivePath);
        Open(archivePath);
        Answer(form->menu_descr_save, archivePath);
        QCOMPARE(desktop->DialogsShown.back().FileName, archivePath);
        QCOMPARE(desktop->Boxes.back(), (ShownMessage{"Error saving description file!", MessageStyle::Plain, ""}));
        QCOMPARE(ReadFileBytes(archivePath), archive);
    }
};

QTEST_MAIN(MainFormDescriptionsTest)
#include "MainFormDescriptionsQTest.moc"
