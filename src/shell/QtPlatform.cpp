#include "shell/QtPlatform.h"

#include <QApplication>
#include <QClipboard>
#include <QColorDialog>
#include <QFileDialog>
#include <QMessageBox>
#include <QSoundEffect>
#include <QUrl>

#include "base/Functions.h"
#include "surface/cDIBSection.h"

namespace {

uint32_t ColourValueOf(const QColor& colour) {
    return static_cast<uint32_t>(colour.red()) | static_cast<uint32_t>(colour.green()) << 8 |
           static_cast<uint32_t>(colour.blue()) << 16;
}

}  // namespace

QColor ToQColor(uint32_t colour) {
    return QColor(static_cast<int>(colour & 0xFF), static_cast<int>(colour >> 8 & 0xFF), static_cast<int>(colour >> 16 & 0xFF));
}

QImage ImageOfSurface(const cDIBSection& surface) {
    if (!surface.IsCreated()) return {};
    const QImage bottomUp(surface.DIBSectionBitsPtr(), surface.Width(), surface.Height(), surface.BytesPerScanLine(),
                          QImage::Format_BGR888);
    return bottomUp.mirrored(false, true);  // a deep copy, so the surface may die
}

QStringList NameFiltersOf(std::string_view filter) {
    const QStringList parts = ToQString(filter).split(u'|');
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString patterns = parts[i + 1];
        patterns.replace(u';', u' ');
        if (patterns == u"*.*") patterns = QStringLiteral("*");
        filters << parts[i] + QStringLiteral(" (") + patterns + u')';
    }
    return filters;
}

int FilterIndexOf(const QStringList& filters, const QString& selected) {
    for (qsizetype i = 0; i < filters.size(); ++i) {
        const QString& filter = filters[i];
        const QString label = filter.left(filter.lastIndexOf(QStringLiteral(" ("))).simplified();
        if (filter == selected || label == selected.simplified()) return static_cast<int>(i + 1);
    }
    return 0;
}

bool QtDialogs::ShowFileDialog(CommonDialog& dialog, bool open) {
    QFileDialog box(QApplication::activeWindow(), ToQString(dialog.DialogTitle));
    box.setAcceptMode(open ? QFileDialog::AcceptOpen : QFileDialog::AcceptSave);
    // Any name typed comes back, also to the open form: whether the file is there is for the caller
    // to judge, and a box of the dialog's own would say what the caller doesn't.
    box.setFileMode(QFileDialog::AnyFile);
    // The caller owns replacing a file; the labels are shown exactly as the program words them.
    box.setOptions(QFileDialog::DontConfirmOverwrite | QFileDialog::HideNameFilterDetails);

    const QStringList filters = NameFiltersOf(dialog.Filter);
    box.setNameFilters(filters);
    if (dialog.FilterIndex >= 1 && dialog.FilterIndex <= filters.size()) box.selectNameFilter(filters[dialog.FilterIndex - 1]);

    // The name that stands in the dialog from its last use brings its folder with it.
    const std::string folder = FolderOfPath(dialog.FileName);
    box.setDirectory(ToQString(folder.empty() ? dialog.InitDir : folder));
    box.selectFile(ToQString(FileOfPath(dialog.FileName)));

    if (box.exec() != QDialog::Accepted || box.selectedFiles().isEmpty()) return false;
    const QString chosen = box.selectedFiles().first();
    if (chosen.isEmpty()) return false;
    dialog.FileName = chosen.toStdString();
    dialog.FilterIndex = static_cast<int16_t>(FilterIndexOf(filters, box.selectedNameFilter()));
    return true;
}

bool QtDialogs::ShowFolder(CommonDialog& dialog) {
    const QString chosen = QFileDialog::getExistingDirectory(QApplication::activeWindow(), ToQString(dialog.DialogTitle),
                                                             ToQString(dialog.InitDir));
    if (chosen.isEmpty()) return false;
    dialog.FileName = chosen.toStdString();
    return true;
}

bool QtDialogs::ShowColor(CommonDialog& dialog) {
    const QColor chosen = QColorDialog::getColor(ToQColor(dialog.Color), QApplication::activeWindow());
    if (!chosen.isValid()) return false;
    dialog.Color = ColourValueOf(chosen);
    return true;
}

MessageAnswer QtMessageBoxes::ShowMessage(std::string_view text, MessageStyle style, std::string_view title) {
    QMessageBox box(QApplication::activeWindow());
    box.setText(ToQString(text));
    // A box without a title of its own bears the program's name.
    box.setWindowTitle(title.empty() ? QApplication::applicationName() : ToQString(title));
    switch (style) {
    case MessageStyle::Plain: box.setStandardButtons(QMessageBox::Ok); break;
    case MessageStyle::OkCancel: box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel); break;
    case MessageStyle::Critical: box.setIcon(QMessageBox::Critical); box.setStandardButtons(QMessageBox::Ok); break;
    case MessageStyle::Information: box.setIcon(QMessageBox::Information); box.setStandardButtons(QMessageBox::Ok); break;
    }
    return box.exec() == QMessageBox::Ok ? MessageAnswer::OK : MessageAnswer::Cancel;
}

QtSound::QtSound() = default;
QtSound::~QtSound() = default;

void QtSound::PlayInBackground(const std::string& path) {
    // A new effect for every sound: setting the source of a playing one would wait for it to end.
    effect_ = std::make_unique<QSoundEffect>();
    effect_->setSource(QUrl::fromLocalFile(QString::fromStdString(path)));
    effect_->play();
}

bool QtClipboard::PutBitmap(const cDIBSection& picture) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (!clipboard || !picture.IsCreated()) return false;
    clipboard->setImage(ImageOfSurface(picture));
    return true;
}
