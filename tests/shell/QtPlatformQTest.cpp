// The desktop services as Qt serves them, driven through the real dialogs.

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include "shell/QtPlatform.h"

class QtPlatformTest : public QObject {
    Q_OBJECT

private slots:
    // The open form hands back whatever name was typed, as the save form does: whether the file
    // exists is for the caller to judge, without a box of the dialog's own.
    void theOpenFormHandsBackATypedNameThatDoesNotExist() {
        QTemporaryDir dir;
        const QString missing = dir.filePath(QStringLiteral("missing.drs"));
        CommonDialog open;
        open.InitDir = dir.path().toStdString() + "/";
        bool boxShown = false;
        QTimer::singleShot(0, [&] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (!dialog) return;
            // Runs inside a box that accepting brings up, if any: note it, close it, and give up.
            QTimer::singleShot(0, dialog, [&boxShown, dialog] {
                if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                    boxShown = true;
                    box->done(0);
                }
                QTimer::singleShot(0, dialog, &QDialog::reject);
            });
            dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(missing);
            QMetaObject::invokeMethod(dialog, "accept");  // as the Open button does
        });
        QVERIFY(QtDialogs().ShowOpen(open));
        QVERIFY(!boxShown);
        QCOMPARE(open.FileName, missing.toStdString());
    }
};

QTEST_MAIN(QtPlatformTest)
#include "QtPlatformQTest.moc"
