// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDateWriter.h"

#include "KVChildProcess.h"
#include "KVLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char kBundleIdentifier[] = "org.kalvora.Kalvora";

// 1904-01-01 00:00:00 UTC to 1970-01-01 00:00:00 UTC.
constexpr int64_t kSecondsFrom1904To1970 = 2082844800;

char toolPath[kKVToolPathSize];

// The tags are exactly those the photo's dates live in; the tool rewrites the file in place
// and keeps no backup beside it.
const char kCommandTemplate[] =
    "\"%s\" -EXIF:ModifyDate='%s' -EXIF:DateTimeOriginal='%s' -EXIF:CreateDate='%s' "
    "-XMP:DateTimeOriginal='%s' -XMP:CreateDate='%s' -XMP:DateTimeDigitized='%s' "
    "-overwrite_original_in_place \"%s\"";

uint32_t secondsSince1904(int64_t secondsSince1970) {
    // Dates outside the 32-bit range the count can hold are pinned to its ends.
    const int64_t seconds = secondsSince1970 + kSecondsFrom1904To1970;
    return static_cast<uint32_t>(std::clamp<int64_t>(seconds, 0, UINT32_MAX));
}

// The arguments the tool must receive for the command line to mean what it says.
std::vector<std::string> expectedArguments(const char *path, const char *dateText) {
    std::vector<std::string> arguments{toolPath};
    arguments.push_back(std::string("-EXIF:ModifyDate=") + dateText);
    arguments.push_back(std::string("-EXIF:DateTimeOriginal=") + dateText);
    arguments.push_back(std::string("-EXIF:CreateDate=") + dateText);
    arguments.push_back(std::string("-XMP:DateTimeOriginal=") + dateText);
    arguments.push_back(std::string("-XMP:CreateDate=") + dateText);
    arguments.push_back(std::string("-XMP:DateTimeDigitized=") + dateText);
    arguments.push_back("-overwrite_original_in_place");
    arguments.push_back(path);
    return arguments;
}

} // namespace

void KVSetToolPath(const char *path) {
    std::snprintf(toolPath, sizeof toolPath, "%s", path ? path : "");
}

const char *KVToolPath() {
    return toolPath;
}

bool KVEscapeQuotes(const char *text, char *result, size_t resultSize) {
    if (!result || resultSize == 0)
        return false;
    size_t length = 0;
    for (const char *c = text ? text : ""; *c; ++c) {
        const size_t needed = *c == '"' ? 2 : 1;
        if (length + needed >= resultSize) {
            result[0] = '\0';
            return false;
        }
        if (*c == '"')
            result[length++] = '\\';
        result[length++] = *c;
    }
    result[length] = '\0';
    return true;
}

int KVRunShellCommand(const char *command, char *outputBuffer, int *outputLength) {
    if (outputLength)
        *outputLength = 0;
    if (!command)
        return -1;
    const size_t commandLength = std::strlen(command);
    if (commandLength >= kKVCommandLineSize)
        return -1;
    // The line is split by the shell's quoting rules and started directly: nothing in it can
    // be run by a shell. A line that would need one is not started at all.
    const auto arguments = KVChildProcess::splitArguments(command);
    if (!arguments)
        return -1;
    KVChildProcess child;
    if (!child.start(*arguments))
        return -1;
    if (outputBuffer) {
        // A command line too long for the captured text is cut, and the read shrinks to what
        // is left, so the text never passes its limit.
        const size_t shown = std::min(commandLength, kKVCapturedTextLimit - 1);
        std::memcpy(outputBuffer, command, shown);
        outputBuffer[shown] = '\r';
        const size_t got = child.read(outputBuffer + shown + 1, kKVCapturedTextLimit - shown - 1);
        const size_t total = shown + 1 + got;
        outputBuffer[total] = '\0';
        if (outputLength)
            *outputLength = static_cast<int>(total);
    }
    return child.wait();
}

int KVRunShellCommandCut(char *command, int cutAt, char *outputBuffer, int *outputLength) {
    if (command && cutAt >= 0 && static_cast<size_t>(cutAt) <= std::strlen(command))
        command[cutAt] = '\0';
    KVRunShellCommand(command, outputBuffer, outputLength);
    return 0;
}

int16_t KVWriteDatesWithTool(const char *path, const char *dateText, int echoOutput,
                             int restoreModificationDate) {
    if (!path || !dateText)
        return -1;
    uint32_t creation = 0;
    uint32_t modification = 0;
    KVGetFileDates(path, &creation, &modification);

    if (std::strlen(path) >= kKVFilePathSize) {
        KVLog(QStringLiteral("The path %1 is too long for the tool").arg(QFile::decodeName(path)));
        return -1;
    }
    char escapedPath[kKVFilePathSize];
    if (!KVEscapeQuotes(path, escapedPath, sizeof escapedPath)) {
        KVLog(QStringLiteral("The path %1 is too long for the tool").arg(QFile::decodeName(path)));
        return -1;
    }
    char command[kKVCommandLineSize];
    const int commandLength =
        std::snprintf(command, sizeof command, kCommandTemplate, toolPath, dateText, dateText,
                      dateText, dateText, dateText, dateText, escapedPath);
    if (commandLength < 0 || static_cast<size_t>(commandLength) >= sizeof command) {
        KVLog(QStringLiteral("The command line for %1 is too long").arg(QFile::decodeName(path)));
        return -1;
    }
    // Only double quotes are escaped, so a name with a backslash before $ ` " \ or a newline
    // (or ending in one) reads back as another name. The tool is then not run at all, rather
    // than on whatever file that other name might designate.
    const auto arguments = KVChildProcess::splitArguments(command);
    if (!arguments || *arguments != expectedArguments(path, dateText)) {
        KVLog(QStringLiteral("The name %1 cannot be handed to the tool unchanged")
                  .arg(QFile::decodeName(path)));
        return -1;
    }

    char output[kKVOutputBufferSize] = {};
    int outputLength = 0;
    const int status = KVRunShellCommand(command, output, &outputLength);
    if (echoOutput)
        std::fprintf(stderr, "%s\n", output);
    if (status == -1)
        KVLog(QStringLiteral("Could not start %1").arg(QFile::decodeName(toolPath)));

    KVSetFileDates(path, creation, modification, restoreModificationDate);
    return static_cast<int16_t>(static_cast<uint16_t>(status));
}

int KVGetFileDates(const char *path, uint32_t *creation, uint32_t *modification) {
    if (creation)
        *creation = 0;
    if (modification)
        *modification = 0;
    struct statx info;
    if (!path || statx(AT_FDCWD, path, 0, STATX_BTIME | STATX_MTIME, &info) != 0)
        return path ? errno : EINVAL;
    if (creation && (info.stx_mask & STATX_BTIME))
        *creation = secondsSince1904(info.stx_btime.tv_sec);
    if (modification && (info.stx_mask & STATX_MTIME))
        *modification = secondsSince1904(info.stx_mtime.tv_sec);
    return 0;
}

int KVSetFileDates(const char *path, uint32_t creation, uint32_t modification,
                   int setModification) {
    uint32_t currentCreation = 0;
    uint32_t currentModification = 0;
    const int status = KVGetFileDates(path, &currentCreation, &currentModification);
    if (status != 0)
        return status;
    // Linux keeps a birth time but offers no call to set it, so the creation date is only
    // ever read.
    (void)creation;
    if (setModification) {
        const struct timespec times[2] = {
            {0, UTIME_OMIT},
            {static_cast<time_t>(int64_t(modification) - kSecondsFrom1904To1970), 0}};
        utimensat(AT_FDCWD, path, times, 0);
    }
    return 0;
}

QString KVTemporaryFolderPath() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString base = runtime.isEmpty() ? QDir::tempPath() : runtime;
    return QDir::cleanPath(base + QLatin1Char('/') + QLatin1String(kBundleIdentifier));
}

int KVOpenTemporaryFolder(bool *isForeign) {
    if (isForeign)
        *isForeign = false;
    const QString folder = KVTemporaryFolderPath();
    QDir().mkpath(QFileInfo(folder).path());
    const QByteArray nativeFolder = QFile::encodeName(folder);
    ::mkdir(nativeFolder.constData(), 0700);

    // Opened without following a link and checked through the descriptor, so what is checked
    // is what the copies are later created in.
    const int folderFd =
        ::open(nativeFolder.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat info;
    if (folderFd == -1) {
        if (isForeign && ::lstat(nativeFolder.constData(), &info) == 0)
            *isForeign = true;
        return -1;
    }
    if (::fstat(folderFd, &info) != 0 || info.st_uid != ::geteuid()) {
        ::close(folderFd);
        if (isForeign)
            *isForeign = true;
        return -1;
    }
    // Our own folder left open to others (an older run, a wide umask) is made private again.
    if ((info.st_mode & 07777) != 0700 && ::fchmod(folderFd, 0700) != 0) {
        ::close(folderFd);
        if (isForeign)
            *isForeign = true;
        return -1;
    }
    return folderFd;
}
