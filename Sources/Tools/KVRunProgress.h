// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVOperationQueue.h"

#include <QString>

// What the command-line runs share: Ctrl-C (and a closed terminal or a polite kill) turned
// into a notice the main thread reads, and the one-line progress bar of a run.
namespace KVRunProgress {
// The handlers only write the signal's number into a pipe; watch signalFd() for it.
bool installSignalHandlers();
void restoreSignalHandlers();
int signalFd();
// The signal that arrived, or 0.
int readSignal();
// Whether a signal waits to be read, without reading it.
bool signalPending();
// "\rShifting [####....] 3/10 photos  1.5 photos/s  0:05 left", counting down while a cancel
// changes photos back.
QString line(const KVOperationQueue &queue, qint64 elapsedMilliseconds);
} // namespace KVRunProgress
