// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVBrowserToolModel.h"
#include "KVCameraBrowser.h"
#include "KVFileName.h"

#include <QApplication>
#include <QFileInfo>
#include <QTimer>

#include <cstdio>

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Kalvora"));
    QStringList paths = KVFileName::arguments(argc, argv);
    QString screenshot;
    if (const qsizetype option = paths.indexOf(QStringLiteral("--screenshot"));
        option >= 0 && option + 1 < paths.size()) {
        screenshot = paths.takeAt(option + 1);
        paths.removeAt(option);
    }
    if (paths.isEmpty() || paths.contains(QStringLiteral("--help"))) {
        std::fputs(
            "usage: kalvora-browser [--screenshot FILE.png] PATHS...\n"
            "  Shows the camera list alone on the photos in PATHS (files or folders, to\n"
            "  any depth): one row per camera, zoom with the slider, Ctrl+wheel or a pinch,\n"
            "  click to select and double-click to make the reference photo. Photos or\n"
            "  folders dropped on the list are added. With --screenshot the window is\n"
            "  saved as a picture once the photos are shown, and the program quits.\n",
            stderr);
        return 2;
    }

    KVCameraBrowser browser;
    KVBrowserToolModel model(&browser);
    browser.setDataSource(model.dataSource());
    browser.setWindowTitle(QStringLiteral("Kalvora camera browser"));
    browser.resize(1100, 700);
    browser.show();

    QStringList absolute;
    for (const QString &path : paths)
        absolute << KVFileName::absolute(path);
    // Read on the model's own queue; the list fills in when the result is installed.
    model.model().openFiles(absolute);
    if (!screenshot.isEmpty()) {
        auto *poll = new QTimer(&browser);
        // Thumbnails come from a worker; a moment after the list is filled they are in.
        QObject::connect(poll, &QTimer::timeout, &browser, [&, poll] {
            if (model.browserReloadCount() == 0 || model.isProcessingPathes())
                return;
            poll->stop();
            QTimer::singleShot(1500, &browser, [&] {
                const bool saved = browser.grab().save(screenshot);
                if (!saved)
                    std::fprintf(stderr, "could not write %s\n", qPrintable(screenshot));
                QApplication::exit(saved ? 0 : 1);
            });
        });
        poll->start(100);
    }
    return application.exec();
}
