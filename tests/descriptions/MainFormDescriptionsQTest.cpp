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

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void editingRewritesTheRow() {
        // The three picks, the text typed, and the row's text that follows.
        const struct { int Civ, Tech, Kind; QString Text; std::string Row; } cases[] = {
            {2, 3, 1, "gate", "M/T3: gate"}, {6, 0, 0, "", "F: "}, {0, 4, 9, "  walk ", "T4:   walk "},
            {0, 0, 5, "café", "café"},       {0, 0, 7, "", ""}};
        for (const auto& c : cases) {
            OpenAndSelect(Flag);
            QCOMPARE(RowText(Flag), "1001");
            QCOMPARE(Shown(), (std::vector<int>{0, 0, 0}));
            Pick(2, c.Kind);
            Pick(1, c.Tech);
            Pick(0, c.Civ);
            form->RenameTextBox->setText(c.Text);
            QCOMPARE(RowText(Flag), c.Row);
            const ResourceDescription& stored = DRSCatalogue[Flag].Description;
            QCOMPARE(stored.Choices, (std::array<int32_t, 3>{c.Civ, c.Tech, c.Kind}));
            QCOMPARE(QString::fromStdString(stored.Text), c.Text);
            QCOMPARE(DRSCatalogue[Flag].ID, 1001);
            QCOMPARE(form->DRSFilesList->ItemData(Flag), int32_t(KindSLP));
            QCOMPARE(form->DRSFilesList->ListIndex(), int(Flag));

            // Selecting rows fires the controls' events without storing anything; the row's own values come back.
            form->DRSFilesList->SetListIndex(Tone);
            QCOMPARE(Shown(), (std::vector<int>{0, 0, 0}));
            QCOMPARE(form->RenameTextBox->text(), QString());
            QCOMPARE(RowText(Tone), "5000");
            form->DRSFilesList->SetListIndex(Flag);
            QCOMPARE(Shown(), (std::vector<int>{c.Civ, c.Tech, c.Kind}));
            QCOMPARE(form->RenameTextBox->text(), c.Text);
            QCOMPARE(RowText(Flag), c.Row);
        }
    }

    void editsGoOnlyToASelectedRow() {
        // A heading is edited like any row.
        OpenAndSelect(WavHeading);
        Pick(0, 1);
        QCOMPARE(RowText(WavHeading), "D: ");
        Pick(0, 0);  // "[N/A]" again takes the piece away
        QCOMPARE(RowText(WavHeading), "");

        // After opening again no row is selected, and edits store nothing.
        Open(archivePath);
        Pick(1, 2);
        form->RenameTextBox->setText("lost");
        for (int row = 0; row < form->DRSFilesList->ListCount(); ++row) {
            QCOMPARE(DRSCatalogue[size_t(row)].Description.Text, "");
            QCOMPARE(DRSCatalogue[size_t(row)].Description.Choices[1], 0);
        }
        QCOMPARE(form->RenameTextBox->text(), QString("lost"));  // the controls keep what they show
    }

    void editShowsAndHidesTheTextBox() {
        QVERIFY(!form->menu_descr->menuAction()->isVisible() && !form->menu_descr_edit->isChecked());
        form->menu_descr_edit->trigger();
        QVERIFY(form->menu_descr_edit->isChecked() && form->RenameTextBox->isVisible());
        form->menu_descr_edit_Click();
        QVERIFY(!form->menu_descr_edit->isChecked() && !form->RenameTextBox->isVisible());
        for (QComboBox* list : form->RenameLists) QVERIFY(list->isHidden());

        // "@" divides a description file's fields, so it can't be typed.
        OpenAndSelect(Flag);
        QTest::keyClicks(form->RenameTextBox, "a@b");
        QCOMPARE(DRSCatalogue[Flag].Description.Text, "ab");
    }

    void descriptionFilesRoundTrip() {
        OpenAndSelect(Walker);
        Pick(0, 2);
        form->RenameTextBox->setText(" gate ");
        form->DRSFilesList->SetListIndex(Text);
        Pick(2, 3);
        const std::string saved = At("mine.dsc");
        desktop->FileAnswers = {saved};
        form->menu_descr_save->trigger();
        QCOMPARE(desktop->DialogsShown.back().DialogTitle, "Select filename to save descriptions as");
        QCOMPARE(desktop->DialogsShown.back().Filter, "Description file (*.dsc)|*.dsc");
        const Bytes bytes = ReadFileBytes(saved);
        QCOMPARE(std::string(bytes.begin(), bytes.end()), "1000@2@0@0@gate\r\n7@0@0@3@\r\n");

        // Loaded onto the archive opened afresh: the rows named change, the selection and controls don't.
        Open(archivePath);
        form->DRSFilesList->SetListIndex(Flag);
        desktop->FileAnswers = {saved};
        form->menu_descr_load->trigger();
        QCOMPARE(desktop->DialogsShown.back().DialogTitle, "Select description file to open");
        QCOMPARE(RowText(Walker), "M: gate");
        QCOMPARE(RowText(Text), "");
        QCOMPARE(RowText(Flag), "1001");
        QCOMPARE(form->DRSFilesList->ListIndex(), int(Flag));
        QVERIFY(form->DRSFilesList->isVisible());
        form->DRSFilesList->SetListIndex(Walker);
        QCOMPARE(Shown(), (std::vector<int>{2, 0, 0}));
        QCOMPARE(form->RenameTextBox->text(), QString("gate"));

        // A cancelled dialog touches nothing; a file that isn't there says so.
        form->menu_descr_save_Click();
        QCOMPARE(ReadFileBytes(saved), bytes);
        desktop->FileAnswers = {At("missing.dsc")};
        form->menu_descr_load_Click();
        QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{"Error opening description file!", MessageStyle::Plain, ""}}));
        QVERIFY(form->DRSFilesList->isVisible());

        // Never into the archive, though the dialog proposes its name after an open.
        const Bytes archive = ReadFileBytes(archivePath);
        OpenAndSelect(Walker);
        Pick(0, 1);
        desktop->FileAnswers = {archivePath};
        form->menu_descr_save_Click();
        QCOMPARE(desktop->DialogsShown.back().FileName, archivePath);
        QCOMPARE(desktop->Boxes.back(), (ShownMessage{"Error saving description file!", MessageStyle::Plain, ""}));
        QCOMPARE(ReadFileBytes(archivePath), archive);
    }

    void aLongTextShowsWholeAndIsStoredBackWhole() {
        const std::string text(40000, 'w');  // longer than a text box takes by default
        WriteFileText(At("long.dsc"), "1001@0@0@0@" + text + "\r\n");
        Open(archivePath);
        desktop->FileAnswers = {At("long.dsc")};
        form->menu_descr_load_Click();
        form->DRSFilesList->SetListIndex(Flag);
        QCOMPARE(form->RenameTextBox->text().size(), qsizetype(text.size()));
        form->RenameTextBox->end(false);
        QTest::keyClicks(form->RenameTextBox, "!");
        QCOMPARE(DRSCatalogue[Flag].Description.Text, text + "!");
    }
};

QTEST_MAIN(MainFormDescriptionsTest)
#include "MainFormDescriptionsQTest.moc"
