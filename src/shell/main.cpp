// brindle: the viewer's window.

#include <QApplication>

#include "shell/MainForm.h"
#include "shell/QtPlatform.h"

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Brindle"));
    QtPlatform desktop;
    MainForm window(desktop.Services());
    window.show();
    return QApplication::exec();
}
