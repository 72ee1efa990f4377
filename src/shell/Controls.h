#pragma once
// The window's own controls where Qt has none that behaves the same: the list box of entries with a
// 32-bit value per row, the rich text box that takes RTF source, the picture box that shows a frame
// and reports the mouse in pixels, and the scroll bar that picks the frame.

#include <span>
#include <string>
#include <vector>

#include <QAbstractListModel>
#include <QImage>
#include <QListView>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QWidget>

#include "base/Host.h"

// The rows of a list box: text and ItemData. Rows are only ever added in bulk or all removed, so a
// list of 32,766 rows fills in one step.
class ListRowsModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;
    int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : static_cast<int>(rows_.size()); }
    QVariant data(const QModelIndex& index, int role) const override;

    void Clear();
    void AddRows(std::span<const ListRow> rows);
    void SetText(int row, const std::string& text);
    const ListRow& Row(int row) const { return rows_[static_cast<size_t>(row)]; }

private:
    std::vector<ListRow> rows_;
};

class ListBox : public QListView {
    Q_OBJECT
public:
    explicit ListBox(QWidget* parent);

    void Clear();
    void AddItems(std::span<const ListRow> rows);
    int ListCount() const { return rows_.rowCount(); }
    std::string List(int index) const { return rows_.Row(index).Text; }
    void SetList(int index, const std::string& text) { rows_.SetText(index, text); }
    int32_t ItemData(int index) const { return rows_.Row(index).ItemData; }
    int ListIndex() const;  // the selected row, -1 for none
    void SetListIndex(int index);

signals:
    // A row was selected, by the mouse, by the keys or by SetListIndex, or the selected row was
    // clicked again.
    void Click();

protected:
    void focusInEvent(QFocusEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    ListRowsModel rows_;
    bool focusing_ = false;  // Qt makes a row current as the list takes the focus: no selection
};

// A read-only rich text view that is given its text as RTF source, or as plain text. It is built on
// the plain text view, whose lazy layout shows a text entry of megabytes eight times sooner; coloured
// runs are all the RTF asks of it. Lines are not wrapped.
class RichTextBox : public QPlainTextEdit {
public:
    explicit RichTextBox(QWidget* parent);

    void SetText(const std::string& text);
    void SetTextRTF(std::string_view rtf);  // replaces all content
    const std::string& TextRTF() const { return rtf_; }

    static constexpr int LinesPerBlock = 1024;

private:
    std::string rtf_;
};

// Shows one picture at its top left on the window's background colour, and reports the mouse in its
// own pixels. Tag holds the path of the sprite on show. With a zoom above 1 each pixel of the picture
// is a sharp square of that many screen pixels a side.
class PictureBox : public QWidget {
    Q_OBJECT
public:
    explicit PictureBox(QWidget* parent);

    void SetPicture(QImage picture);
    const QImage& Picture() const { return picture_; }
    void SetZoom(int zoom);
    int Zoom() const { return zoom_; }
    std::string Tag;

signals:
    void MouseDown(int x, int y);
    void MouseMove(int x, int y);
    void MouseUp(int x, int y);
    void ZoomWheel(int steps);  // Ctrl and the wheel: above 0 in, below 0 out

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    QImage picture_;
    int zoom_ = 1;
    int wheelAngle_ = 0;  // eighths of a degree turned and not yet taken as a step
};

// A horizontal scroll bar that takes the focus in the tab order and moves by the keys as a desktop
// scroll bar does: Left and Right by the small step, Page Up and Page Down by the large one, Home and
// End to the ends. Each key ends in a change of value, as a click on an arrow does.
class ScrollBar : public QScrollBar {
public:
    ScrollBar(Qt::Orientation orientation, QWidget* parent);

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
