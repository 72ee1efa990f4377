// Descriptions edited in the window: the three lists and the text box store into the selected row and
// rewrite its text, a selection loads them back, and description files go out and come in through the
// Descriptions menu.

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QTest>

#include "WindowFixture.h"

using namespace fixtures;

class MainFormDescriptionsTest : public QObject, public WindowFixture {
    Q_OBJECT

    // A pick in list i, as the user makes it.
    void Pick(int list, int row) {
        form->RenameLists[size_t(list)]->setCurrentIndex(row);
        emit form->RenameLists[size_t(list)]->activated(row);
    }

    std::string RowText(int row) const { return form->DRSFilesList->List(row); }

    // The three lists' picks and the text box, as "0 3 1: text".
    std::string Shown() const {
        const auto& lists = form->RenameLists;
        return std::to_string(lists[0]->currentIndex()) + " " + std::to_string(lists[1]->currentIndex()) + " " +
               std::to_string(lists[2]->currentIndex()) + ": " + Str(form->RenameTextBox->text());
    }

    // A Descriptions item whose file dialog is answered with path.
    void Answer(QAction* item, const std::string& path) {
        desktop->FileAnswers = {path};
        item->trigger();
    }

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void editsRewriteTheRowAndGoOutToADescriptionFileAndComeBack() {
        // Edit shows the text box, where "@", which divides a description file's fields, can't be typed.
        form->menu_descr_edit->trigger();
        QVERIFY(form->menu_descr_edit->isChecked() && form->RenameTextBox->isVisible());
        OpenAndSelect(Flag);
        for (auto [list, row] : {std::pair{2, 1}, {1, 3}, {0, 2}}) Pick(list, row);
        QTest::keyClicks(form->RenameTextBox, "  g@ate ");
        QCOMPARE(RowText(Flag), "M/T3:   gate ");
        const std::string text(40000, 'w');
        form->DRSFilesList->SetListIndex(Walker);
        form->RenameTextBox->setText(QString::fromStdString(text));

        const std::string saved = At("mine.dsc");
        Answer(form->menu_descr_save, saved);
        QCOMPARE(desktop->DialogsShown.back().Filter, "Description file (*.dsc)|*.dsc");
        QCOMPARE(ReadFileText(saved), "1000@0@0@0@" + text + "\r\n1001@2@3@1@gate\r\n");  // trimmed

        // Loaded: the rows named change, the selection doesn't; selecting a row, which stores nothing, shows its values.
        form->DRSFilesList->SetListIndex(Tone);
        Answer(form->menu_descr_load, saved);
        QCOMPARE(RowText(Flag), "M/T3: gate");
        QCOMPARE(form->DRSFilesList->ListIndex(), int(Tone));
        form->DRSFilesList->SetListIndex(Flag);
        QCOMPARE(Shown(), "2 3 1: gate");
        form->DRSFilesList->SetListIndex(Walker);
        QCOMPARE(Shown(), "0 0 0: " + text);  // the whole text, past the length a text box takes by default
        form->menu_descr_edit_Click();  // Edit again hides the text box
        QVERIFY(!form->menu_descr_edit->isChecked() && !form->RenameTextBox->isVisible());
    }
};

QTEST_MAIN(MainFormDescriptionsTest)
#include "MainFormDescriptionsQTest.moc"
