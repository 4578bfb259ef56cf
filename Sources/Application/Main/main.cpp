// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVFileName.h"
#include "KVSingleInstance.h"
#include "KVTranslations.h"
#include "KVWindow.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <cstdio>
#include <utility>

namespace {

// The program lives in Kalvora.app/Contents/MacOS; the bundle is two folders up.
QString bundlePath() {
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../.."));
}

} // namespace

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Kalvora"));
    QCoreApplication::setApplicationName(QStringLiteral("Kalvora"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KALVORA_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("kalvora"));
    KVTranslations::install(application);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QCoreApplication::translate("main", "Puts the clocks of several cameras in agreement."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption newInstance(
        QStringLiteral("new-instance"),
        QCoreApplication::translate("main", "Open a window of its own even if one is open."));
    const QCommandLineOption screenshot(
        QStringLiteral("screenshot"),
        QCoreApplication::translate(
            "main", "Once the photos are shown, save a picture of the window to <file> and quit."),
        QStringLiteral("file"));
    parser.addOptions({newInstance, screenshot});
    parser.addPositionalArgument(QStringLiteral("files"),
                                 QCoreApplication::translate("main", "Photos or folders to open."),
                                 QStringLiteral("[files...]"));
    // Names that are not UTF-8 are taken byte for byte, which Qt's own list cannot do.
    parser.process(QStringList{QCoreApplication::applicationFilePath()} +
                   KVFileName::arguments(argc, argv));

    QStringList paths;
    for (const QString &path : parser.positionalArguments())
        paths << KVFileName::absolute(path);
    // A picture of photos that are not there would be waited for in vain.
    if (parser.isSet(screenshot)) {
        for (const QString &path : std::as_const(paths)) {
            if (!KVFileName::exists(path)) {
                std::fprintf(
                    stderr, "kalvora: %s: %s\n", qPrintable(KVFileName::displayed(path)),
                    qPrintable(QCoreApplication::translate("main", "No such file or folder.")));
                return 2;
            }
        }
    }

    KVSingleInstance instance(KVSingleInstance::defaultName());
    if (!parser.isSet(newInstance) && instance.handOver(paths))
        return 0;

    KVWindow window;
    if (!parser.isSet(newInstance)) {
        instance.listen([&window](const QStringList &handed) {
            window.openFiles(handed);
            window.show();
            window.raise();
            window.activateWindow();
        });
    }
    window.launch(bundlePath());
    window.show();
    if (!paths.isEmpty())
        window.openFiles(paths);

    if (parser.isSet(screenshot)) {
        // Waits for the photos to be read and shown, then saves the window as it looks.
        const QString file = parser.value(screenshot);
        auto *poll = new QTimer(&window);
        QObject::connect(poll, &QTimer::timeout, &window, [&window, poll, file, &paths] {
            KVAppDelegate &delegate = window.appDelegate();
            if (delegate.isProcessingPathes())
                return;
            if (delegate.numberOfCamerasInBrowser() == 0) {
                // Photos handed over by a second launch are still to come; given ones were
                // read and none could be shown.
                if (paths.isEmpty())
                    return;
                std::fprintf(stderr, "kalvora: %s\n",
                             qPrintable(QCoreApplication::translate(
                                 "main", "None of the given photos could be shown.")));
                poll->stop();
                QCoreApplication::exit(1);
                return;
            }
            poll->stop();
            QTimer::singleShot(500, &window, [&window, file] {
                const bool saved = window.grab().save(file);
                QCoreApplication::exit(saved ? 0 : 1);
            });
        });
        poll->start(100);
    }
    return application.exec();
}
