// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

// A second writer for the tests, in a process of its own: takes the folder locks of its photos,
// optionally holds them until a gate file is removed, then shifts every photo.
// kalvora-test-shift SECONDS WAIT_MS GATE_OR_- PHOTO...
// Exit status: 0 all changed, 1 some not, 3 the locks were refused.

#include "KVFolderLocks.h"
#include "KVPhotoWriter.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <thread>

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 5)
        return 2;
    const qint64 seconds = arguments[1].toLongLong();
    const std::chrono::milliseconds wait(arguments[2].toLongLong());
    const QString gate = arguments[3];
    const QStringList photos = arguments.mid(4);

    QString error;
    const std::unique_ptr<KVFolderLocks> locks = KVFolderLocks::acquire(photos, wait, &error);
    if (!locks) {
        std::printf("%s\n", error.toUtf8().constData());
        return 3;
    }
    if (gate != QLatin1String("-")) {
        QFile(gate + ".held").open(QIODevice::WriteOnly);
        while (QFileInfo::exists(gate))
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    KVPhotoWriter writer(QStringLiteral(KALVORA_EXIFTOOL));
    int failures = 0;
    for (const QString &photo : photos) {
        const std::optional<KVPhotoIdentity> identity = KVPhotoWriter::identityOf(photo);
        const KVWriteOutcome outcome =
            identity ? writer.shiftDates(*identity, seconds) : KVWriteOutcome();
        failures += !outcome.changed();
        std::printf("%s %s\n", outcome.changed() ? "changed" : "not changed",
                    outcome.reason.toUtf8().constData());
    }
    return failures == 0 ? 0 : 1;
}
