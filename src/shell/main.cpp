// brindle: the viewer's window.

#include <csignal>
#include <iostream>
#include <string_view>
#include <unistd.h>

#include <QApplication>
#include <QSocketNotifier>
#include <QTimer>

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
// close button does, so that the temporary copies are swept then too, and ends the program even while
// a box waits for an answer: quitting ends the box's loop as well as the window's.
void CloseOnEndSignals(MainForm& window) {
    if (pipe(signalPipe) != 0) return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &window);
    QObject::connect(notifier, &QSocketNotifier::activated, &window, [&window] {
        char byte = 0;
        [[maybe_unused]] const ssize_t taken = read(signalPipe[0], &byte, 1);  // or the notifier fires on and on
        window.close();
        QApplication::exit(0);
    });
    struct sigaction action = {};
    action.sa_handler = OnEndSignal;
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

}  // namespace

int main(int argc, char* argv[]) {
    // Questions about the program are answered without a window.
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--help" || argument == "-h") {
            std::cout << "Usage: brindle [ARCHIVE]\n"
                         "The viewer and extractor of DRS archives: opens ARCHIVE, if given, as File > Open does.\n"
                         "  -h, --help     show this and end\n"
                         "  -V, --version  show the version and end\n"
                         "brindle-cli does the same work from the command line; see brindle-cli --help.\n";
            return 0;
        }
        if (argument == "--version" || argument == "-V") {
            std::cout << "brindle " << BRINDLE_VERSION << '\n';
            return 0;
        }
    }
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
    // The archive named on the command line, as a file manager passes it (Exec=brindle %f). Qt has
    // taken its own options out of the arguments by now.
    // It opens once the window's loop runs, so that an end signal can end a box it shows.
    const QStringList arguments = QApplication::arguments();
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        if (arguments[i].startsWith(u'-')) continue;
        QTimer::singleShot(0, &window, [&window, path = arguments[i].toStdString()] { window.OpenFromOutside(path); });
        break;
    }
    return QApplication::exec();
}
