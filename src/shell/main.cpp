// brindle: the viewer's window.

#include <csignal>
#include <iostream>
#include <unistd.h>

#include <QApplication>
#include <QSocketNotifier>

#include "shell/Display.h"
#include "shell/MainForm.h"
#include "shell/QtPlatform.h"

namespace {

int signalPipe[2] = {-1, -1};

void OnEndSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(signalPipe[1], &byte, 1);
}

// An end asked for from outside (Ctrl+C in the terminal, a logout, kill) closes the window as its own
// close button does, so that the temporary copies are swept then too.
void CloseOnEndSignals(MainForm& window) {
    if (pipe(signalPipe) != 0) return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &window);
    QObject::connect(notifier, &QSocketNotifier::activated, &window, &QWidget::close);
    struct sigaction action = {};
    action.sa_handler = OnEndSignal;
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

}  // namespace

int main(int argc, char* argv[]) {
    if (const std::string missing = MissingDisplayMessage(argc, argv, argc > 0 ? argv[0] : "brindle"); !missing.empty()) {
        std::cerr << missing << '\n';
        return 1;
    }
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Brindle"));
    QtPlatform desktop;
    MainForm window(desktop.Services());
    CloseOnEndSignals(window);
    window.show();
    return QApplication::exec();
}
