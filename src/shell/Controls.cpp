#include "shell/Controls.h"

#include <algorithm>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QTextCursor>
#include <QWheelEvent>

#include "base/Functions.h"
#include "base/RichText.h"

QVariant ListRowsModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= rowCount()) return {};
    return QString::fromStdString(Row(index.row()).Text);
}

void ListRowsModel::Clear() {
    beginResetModel();
    rows_.clear();
    endResetModel();
}

void ListRowsModel::AddRows(std::span<const ListRow> rows) {
    if (rows.empty()) return;
    beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(rows.size()) - 1);
    rows_.insert(rows_.end(), rows.begin(), rows.end());
    endInsertRows();
}

void ListRowsModel::SetText(int row, const std::string& text) {
    rows_[static_cast<size_t>(row)].Text = text;
    emit dataChanged(index(row), index(row), {Qt::DisplayRole});
}

ListBox::ListBox(QWidget* parent) : QListView(parent), rows_(this) {
    setModel(&rows_);
    setUniformItemSizes(true);  // no measuring of every row: a long list shows at once
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex& current) {
        if (current.isValid() && !focusing_) emit Click();
    });
}

void ListBox::focusInEvent(QFocusEvent* event) {
    // Taking the focus with no row selected, by Tab or as the window comes back, Qt makes the first row
    // current; a selection is only ever the user's, so it is taken back at once.
    const bool noneSelected = !currentIndex().isValid();
    focusing_ = true;
    QListView::focusInEvent(event);
    if (noneSelected && currentIndex().isValid()) selectionModel()->clearCurrentIndex();
    focusing_ = false;
}

void ListBox::Clear() { rows_.Clear(); }

void ListBox::AddItems(std::span<const ListRow> rows) { rows_.AddRows(rows); }

int ListBox::ListIndex() const {
    const QModelIndex current = currentIndex();
    return current.isValid() ? current.row() : -1;
}

void ListBox::SetListIndex(int index) {
    if (index < 0 || index >= ListCount()) {
        setCurrentIndex({});
        return;
    }
    setCurrentIndex(rows_.index(index));
}

// Only the left button selects, as in a desktop list box; the others do nothing here.
void ListBox::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->accept();
        return;
    }
    const int before = ListIndex();
    QListView::mousePressEvent(event);
    // A click on the row that is already selected runs the selection again, as a user expects of a
    // sound or a sprite they want to see from the start.
    if (event->button() == Qt::LeftButton && before >= 0 && ListIndex() == before &&
        indexAt(event->position().toPoint()).row() == before) {
        emit Click();
    }
}

void ListBox::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & ~Qt::LeftButton) {  // a drag with another button selects nothing either
        event->accept();
        return;
    }
    QListView::mouseMoveEvent(event);
}

void ListBox::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->accept();
        return;
    }
    QListView::mouseReleaseEvent(event);
}

RichTextBox::RichTextBox(QWidget* parent) : QPlainTextEdit(parent) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    // Lines stand as the entry has them, with a scroll bar: wrapping a long line with no place to break
    // costs time that grows with the square of its length, minutes for the longest lines an entry holds.
    setLineWrapMode(QPlainTextEdit::NoWrap);
}

void RichTextBox::SetText(const std::string& text) {
    rtf_.clear();
    setPlainText(QString::fromStdString(text));
}

void RichTextBox::SetTextRTF(std::string_view rtf) {
    rtf_ = rtf;
    clear();
    QTextCursor cursor(document());
    int linesInBlock = 0;
    for (const RichTextRun& run : ReadRichText(rtf)) {
        QTextCharFormat format;
        if (!run.DefaultColour) {
            format.setForeground(QColor(static_cast<int>(run.Colour & 0xFF), static_cast<int>(run.Colour >> 8 & 0xFF),
                                        static_cast<int>(run.Colour >> 16 & 0xFF)));
        }
        // The document makes a block of every paragraph, and making blocks is most of the time a large
        // text takes. So lines go together, LinesPerBlock to a block, divided by line separators, which
        // show the same and read back as line ends.
        // Windows-1252 is Latin-1 but for 0x80 to 0x9F, which are mended after Qt's fast conversion.
        QString text = QString::fromLatin1(run.Text.data(), static_cast<qsizetype>(run.Text.size()));
        for (QChar& c : text) {
            if (c.unicode() >= 0x80 && c.unicode() < 0xA0) c = QChar(char16_t(Windows1252CodePoint(uint8_t(c.unicode()))));
            if (c != u'\n') continue;
            if (++linesInBlock < LinesPerBlock) c = QChar::LineSeparator;
            else linesInBlock = 0;
        }
        cursor.insertText(text, format);
    }
    moveCursor(QTextCursor::Start);
}

PictureBox::PictureBox(QWidget* parent) : QWidget(parent) {
    setMouseTracking(true);  // moves without a button count too; the drag rule ignores them itself
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void PictureBox::SetPicture(QImage picture) {
    picture_ = std::move(picture);
    repaint();
}

void PictureBox::SetZoom(int zoom) {
    zoom_ = std::max(zoom, 1);
    update();
}

void PictureBox::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), palette().window());
    if (zoom_ == 1) {
        painter.drawImage(event->rect().topLeft(), picture_, event->rect());
        return;
    }
    // Only the picture's pixels under the exposed part are scaled, nearest neighbour (no smoothing is
    // asked for), so a large zoom costs what the screen shows and not what the picture would cover.
    const QRect exposed = event->rect();
    const QRect source = QRect(QPoint(exposed.left() / zoom_, exposed.top() / zoom_),
                               QPoint(exposed.right() / zoom_, exposed.bottom() / zoom_)) & picture_.rect();
    if (source.isEmpty()) return;
    painter.drawImage(QRect(source.topLeft() * zoom_, source.size() * zoom_), picture_, source);
}

void PictureBox::mousePressEvent(QMouseEvent* event) {
    const QPoint at = event->position().toPoint();
    emit MouseDown(at.x(), at.y());
}

void PictureBox::mouseMoveEvent(QMouseEvent* event) {
    const QPoint at = event->position().toPoint();
    emit MouseMove(at.x(), at.y());
}

void PictureBox::mouseReleaseEvent(QMouseEvent* event) {
    const QPoint at = event->position().toPoint();
    emit MouseUp(at.x(), at.y());
}

void PictureBox::wheelEvent(QWheelEvent* event) {
    if (!(event->modifiers() & Qt::ControlModifier)) return QWidget::wheelEvent(event);
    wheelAngle_ += event->angleDelta().y();
    const int steps = wheelAngle_ / 120;  // one notch of a wheel; touchpads send less at a time
    wheelAngle_ -= steps * 120;
    if (steps != 0) emit ZoomWheel(steps);
    event->accept();
}

ScrollBar::ScrollBar(Qt::Orientation orientation, QWidget* parent) : QScrollBar(orientation, parent) {
    setFocusPolicy(Qt::StrongFocus);
}

void ScrollBar::keyPressEvent(QKeyEvent* event) {
    // Qt's own scroll bar turns Left and Right the other way round, so the keys are mapped here.
    SliderAction action = SliderNoAction;
    switch (event->key()) {
    case Qt::Key_Left: case Qt::Key_Up: action = SliderSingleStepSub; break;
    case Qt::Key_Right: case Qt::Key_Down: action = SliderSingleStepAdd; break;
    case Qt::Key_PageUp: action = SliderPageStepSub; break;
    case Qt::Key_PageDown: action = SliderPageStepAdd; break;
    case Qt::Key_Home: action = SliderToMinimum; break;
    case Qt::Key_End: action = SliderToMaximum; break;
    default: QScrollBar::keyPressEvent(event); return;
    }
    triggerAction(action);
    event->accept();
}
