// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageFile.h"

#include "KVDateWriter.h"
#include "KVLog.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QUuid>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString errorText(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

// Writes all of data at the descriptor's position; false (errno set) on failure.
bool writeAll(int fd, const QByteArray &data) {
    const char *bytes = data.constData();
    size_t left = static_cast<size_t>(data.size());
    while (left > 0) {
        const ssize_t written = ::write(fd, bytes, left);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        bytes += written;
        left -= static_cast<size_t>(written);
    }
    return true;
}

// The whole file, or false with a description of what went wrong.
bool readWhole(const QString &path, QByteArray *data, QString *error) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("Could not open %1: %2").arg(path, file.errorString());
        return false;
    }
    *data = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        *error = QStringLiteral("Could not read %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

// Copies the photo into the new file copyFd; false with a description on failure.
bool fillCopy(int copyFd, const QString &photoPath, const QString &copyPath, QString *error) {
    QByteArray data;
    if (!readWhole(photoPath, &data, error))
        return false;
    if (!writeAll(copyFd, data)) {
        *error = QStringLiteral("Could not write %1: %2").arg(copyPath, errorText(errno));
        return false;
    }
    return true;
}

// Puts the rewritten copy back into the photo file itself, so that the photo stays the same
// file (same inode, same presenters). It is not truncated first: a shorter copy leaves the old
// tail behind it, as the original program did.
bool writeBack(const QString &copyPath, const QString &photoPath, QString *error) {
    const QByteArray nativePhoto = QFile::encodeName(photoPath);
    const int photoFd = ::open(nativePhoto.constData(), O_WRONLY | O_CLOEXEC);
    if (photoFd == -1) {
        *error = QStringLiteral("Could not open %1: %2").arg(photoPath, errorText(errno));
        return false;
    }
    QByteArray data;
    bool written = readWhole(copyPath, &data, error);
    // Durable before the copy, the only other whole version, is deleted.
    if (written && (!writeAll(photoFd, data) || ::fsync(photoFd) != 0)) {
        *error = QStringLiteral("Could not write %1 back into %2: %3")
                     .arg(copyPath, photoPath, errorText(errno));
        written = false;
    }
    if (::close(photoFd) != 0 && written) {
        *error = QStringLiteral("Could not write %1 back into %2: %3")
                     .arg(copyPath, photoPath, errorText(errno));
        written = false;
    }
    return written;
}

} // namespace

void KVImageFile::setCreationDate(const QDateTime &date, bool *isSucceed) {
    bool result = true;
    auto answer = [&] {
        if (isSucceed)
            *isSucceed = result;
    };
    const QString photoPath = path();
    const QDateTime localDate = date.toLocalTime();
    if (photoPath.isEmpty() || !localDate.isValid() || localDate.date().year() < 1 ||
        localDate.date().year() > 9999) {
        // An empty tag value would make the tool delete the dates rather than set them.
        KVLog(QStringLiteral("No date can be written into %1").arg(photoPath));
        result = false;
        return answer();
    }

    const QString copyName = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() +
                             QLatin1Char('-') + QFileInfo(photoPath).fileName();
    bool isForeign = false;
    const int folderFd = KVOpenTemporaryFolder(&isForeign);
    const QString copyPath = KVTemporaryFolderPath() + QLatin1Char('/') + copyName;
    if (isForeign) {
        KVLog(QStringLiteral("%1 is not a private folder of this user; nothing is written there")
                  .arg(KVTemporaryFolderPath()));
        result = false;
        return answer();
    }
    KVLogVerbose(QStringLiteral("Creating temporary copy at %1").arg(copyPath));

    int copyFd = -1;
    int copyError = ENOENT;
    if (folderFd != -1) {
        // Created afresh inside the checked folder, never through a link someone planted.
        copyFd = ::openat(folderFd, QFile::encodeName(copyName).constData(),
                          O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        copyError = errno;
        ::close(folderFd);
    }
    if (copyFd == -1) {
        KVLog(QStringLiteral("Could not create %1: %2").arg(copyPath, errorText(copyError)));
    } else {
        QString error;
        bool copied = fillCopy(copyFd, photoPath, copyPath, &error);
        if (::close(copyFd) != 0 && copied) {
            error = QStringLiteral("Could not write %1: %2").arg(copyPath, errorText(errno));
            copied = false;
        }
        if (!copied) {
            QFile::remove(copyPath);
            KVLog(error);
            result = false;
            return answer();
        }
    }
    // No copy, no run: the answer stays what it was (success) and the photo is left alone.
    if (!QFileInfo::exists(copyPath))
        return answer();

    const QString dateText = QLocale::c().toString(localDate, u"yyyy:MM:dd HH:mm:ss");
    KVLogVerbose(QStringLiteral("Calling ExifTool"));
    const QByteArray nativeCopy = QFile::encodeName(copyPath);
    result = KVWriteDatesWithTool(nativeCopy.constData(), dateText.toUtf8().constData(), 1, 1) == 0;

    // After a failed run the copy stays in the temporary folder and the photo is untouched.
    if (result) {
        QString error;
        if (writeBack(copyPath, photoPath, &error)) {
            QFile::remove(copyPath);
        } else {
            KVLog(error);
            result = false;
        }
    }
    if (result) {
        const qint64 milliseconds = date.toMSecsSinceEpoch();
        const qint64 seconds = milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0);
        const struct timespec times[2] = {
            {0, UTIME_OMIT},
            {static_cast<time_t>(seconds),
             static_cast<long>((milliseconds - seconds * 1000) * 1000000)}};
        ::utimensat(AT_FDCWD, QFile::encodeName(photoPath).constData(), times, 0);
        // The creation date cannot follow: Linux has no call that sets a file's birth time.
    }

    setExif(exifFromURL(url()).value_or(QVariantMap()));
    answer();
}
