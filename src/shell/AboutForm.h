#pragma once
// AboutForm: the box of the Help menu's "About": who made the program, and five buttons that all
// close it.

#include <array>

#include <QWidget>

class QLabel;
class QPushButton;

class AboutForm : public QWidget {
    Q_OBJECT
public:
    explicit AboutForm(QWidget* parent = nullptr);

    void ExitButton_Click(int16_t Index);

    QLabel* Label1;
    QLabel* Label2;
    QLabel* Label3;
    QLabel* Label4;
    QLabel* Label5;
    std::array<QPushButton*, 5> ExitButton{};  // by Index; left to right they are 2, 3, 0, 4, 1
};
