// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVRunProgress.h"

#include "KVCommandLine.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

int signalPipe[2] = {-1, -1};

void handleSignal(int signalNumber) {
    const int savedErrno = errno;
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    [[maybe_unused]] const ssize_t written = write(signalPipe[1], &byte, 1);
    errno = savedErrno;
}

} // namespace

namespace KVRunProgress {

bool installSignalHandlers() {
    if (signalPipe[0] == -1 && pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    struct sigaction action = {};
    action.sa_handler = handleSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    // A reader of the output that went away must not end the run halfway through either.
    std::signal(SIGPIPE, SIG_IGN);
    // A closed terminal or a polite kill cancels like Ctrl-C, so that no run ends half done.
    return sigaction(SIGINT, &action, nullptr) == 0 && sigaction(SIGTERM, &action, nullptr) == 0 &&
           sigaction(SIGHUP, &action, nullptr) == 0;
}

void restoreSignalHandlers() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGHUP, SIG_DFL);
    std::signal(SIGPIPE, SIG_DFL);
}

int signalFd() {
    return signalPipe[0];
}

int readSignal() {
    unsigned char byte = 0;
    return read(signalPipe[0], &byte, 1) == 1 ? byte : 0;
}

bool signalPending() {
    struct pollfd descriptor = {signalPipe[0], POLLIN, 0};
    return signalPipe[0] != -1 && ::poll(&descriptor, 1, 0) == 1;
}

QString line(const KVOperationQueue &queue, qint64 elapsedMilliseconds) {
    const qint64 done = queue.processedImagesCount();
    const bool reverting = queue.isOperationsCancelled();
    if (reverting && queue.cancelledImagesCount() == 0)
        return QStringLiteral("\r%1\033[K")
            .arg(KVCommandLine::tr("Cancelling: stopping the tools..."));
    // While reverting, the count runs down from what has to be changed back.
    const qint64 total = reverting ? queue.cancelledImagesCount() : queue.allImagesCount();
    const qint64 handled = reverting ? total - done : done;
    const double fraction = total > 0 ? static_cast<double>(handled) / total : 1.0;
    const int width = 30;
    const int filled = std::clamp(static_cast<int>(fraction * width), 0, width);
    const double elapsed = elapsedMilliseconds / 1000.0;
    const double rate = elapsed > 0 ? handled / elapsed : 0;
    QString left = QStringLiteral("--:--");
    if (rate > 0) {
        const qint64 seconds = std::llround((total - handled) / rate);
        left = QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
    }
    const QString verb =
        reverting ? KVCommandLine::tr("Changing back") : KVCommandLine::tr("Shifting");
    // Back to the line's start, and the rest of the old line erased after it.
    return QStringLiteral("\r%1\033[K")
        .arg(KVCommandLine::tr("%1 [%2%3] %4/%5 photos  %6 photos/s  %7 left"))
        .arg(verb)
        .arg(QString(filled, QLatin1Char('#')), QString(width - filled, QLatin1Char('.')))
        .arg(handled)
        .arg(total)
        .arg(rate, 0, 'f', 1)
        .arg(left);
}

} // namespace KVRunProgress
