// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Adds N photos through the model, as a drop on the window does, and compares the time with
// exiftool reading the same few tags of the same folder.
#include "KVCameraSets.h"
#include "KVHeadlessUserInterface.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <exiv2/exiv2.hpp>

#include <cstdio>

namespace {

// Resident and peak memory of this process, in kilobytes.
long statusField(const char *field) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.mid(qstrlen(field)).trimmed().split(' ').value(0).toLong();
    }
    return 0;
}

bool makeCopies(const QString &folder, int count) {
    const QString samples = QStringLiteral(KALVORA_SAMPLES_DIR "/cameras");
    QStringList sources;
    for (const QFileInfo &info :
         QDir(samples).entryInfoList({QStringLiteral("*.jpg")}, QDir::Files)) {
        // Only photos the model accepts: they carry a capture date.
        try {
            auto image = Exiv2::ImageFactory::open(info.filePath().toStdString());
            image->readMetadata();
            if (image->exifData().findKey(Exiv2::ExifKey("Exif.Photo.DateTimeOriginal")) !=
                image->exifData().end())
                sources << info.filePath();
        } catch (const std::exception &) {
        }
    }
    if (sources.isEmpty())
        return false;
    const QDateTime start(QDate(2024, 6, 1), QTime(10, 0));
    for (int i = 0; i < count; ++i) {
        const QString target =
            QStringLiteral("%1/photo-%2.jpg").arg(folder).arg(i, 5, 10, QLatin1Char('0'));
        if (!QFile::copy(sources[i % sources.size()], target))
            return false;
        QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner);
        try {
            auto image = Exiv2::ImageFactory::open(target.toStdString());
            image->readMetadata();
            image->exifData()["Exif.Photo.DateTimeOriginal"] =
                start.addSecs(i).toString(QStringLiteral("yyyy:MM:dd HH:mm:ss")).toStdString();
            image->writeMetadata();
        } catch (const std::exception &) {
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    int count = 2000;
    const QStringList arguments = QCoreApplication::arguments();
    const int countIndex = arguments.indexOf(QStringLiteral("--count"));
    if (countIndex > 0 && countIndex + 1 < arguments.size())
        count = arguments[countIndex + 1].toInt();
    if (count <= 0) {
        std::fprintf(stderr, "usage: kalvora-bench-import [--count N]\n");
        return 2;
    }
    // The per-file metadata line goes to the system log and standard error; the benchmark
    // measures reading, not a terminal scrolling.
    std::freopen("/dev/null", "w", stderr);

    QTemporaryDir folder;
    if (!folder.isValid() || !makeCopies(folder.path(), count)) {
        std::printf("could not prepare %d photos\n", count);
        return 1;
    }
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);

    const long residentBefore = statusField("VmRSS:");
    KVHeadlessUserInterface ui;
    KVCameraSets model(&ui);
    QElapsedTimer timer;
    timer.start();
    model.addNewFilesFromURLs({QUrl::fromLocalFile(folder.path())});
    while (ui.browserReloadCount() == 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const double seconds = timer.nsecsElapsed() / 1e9;
    const long residentAfter = statusField("VmRSS:");
    const long peak = statusField("VmHWM:");

    size_t loaded = 0;
    for (int i = 0; i < model.numberOfCamerasInBrowser(); ++i)
        loaded += model.imagesForCameraWithIndex(i).size();

    QElapsedTimer toolTimer;
    toolTimer.start();
    QProcess tool;
    tool.start(QStringLiteral("exiftool"),
               {QStringLiteral("-fast2"), QStringLiteral("-q"), QStringLiteral("-s"),
                QStringLiteral("-DateTimeOriginal"), QStringLiteral("-Make"),
                QStringLiteral("-Model"), QStringLiteral("-SerialNumber"), folder.path()});
    tool.waitForFinished(-1);
    const double toolSeconds = toolTimer.nsecsElapsed() / 1e9;

    const double rate = loaded / seconds;
    const double perPhotoKB = double(residentAfter - residentBefore) / std::max<size_t>(loaded, 1);
    std::printf("import benchmark: %zu of %d photos loaded (metadata and thumbnails)\n", loaded,
                count);
    std::printf("%-34s %12s %12s\n", "figure", "measured", "target");
    std::printf("%-34s %12.0f %12s\n", "photos per second", rate, ">= 1500");
    std::printf("%-34s %12.2f %12s\n", "seconds to add", seconds, "");
    std::printf("%-34s %12.2f %12s\n", "exiftool -fast2 seconds", toolSeconds, "");
    std::printf("%-34s %12.1f %12s\n", "times faster than exiftool", toolSeconds / seconds, ">= 5");
    std::printf("%-34s %12.1f %12s\n", "memory per loaded photo (KB)", perPhotoKB, "<= 100");
    std::printf("%-34s %12ld %12s\n", "peak resident memory (KB)", peak, "");
    return loaded == size_t(count) ? 0 : 1;
}
