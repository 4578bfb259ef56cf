// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

#include <sys/types.h>

#include <climits>
#include <vector>

namespace KVTest {

// A stand-in for the tool in front of the real exiftool, steered by files in its folder. Each
// start notes its process and the real tool's in "pids". Each photo it is handed draws a ticket
// ("tickets/N", atomically); tickets from `passing` on, `holding` of them, are held while the
// file "gate" exists: it notes "held" and waits as a hung tool does, deaf to SIGTERM and SIGINT
// (only SIGKILL ends it). With the gate open, or past those tickets, it hands the photo on.
class FakeTool {
public:
    explicit FakeTool(const QString &folder, int passing = INT_MAX, int holding = INT_MAX);

    QString path() const { return m_path; }
    void closeGate() const;
    void openGate() const;
    int ticketsDrawn() const;
    bool isHolding() const;
    // Every process of it (and of the real tool behind it) that was started.
    std::vector<pid_t> processes() const;
    // Those still alive (zombies count as gone).
    int aliveCount() const;

private:
    QString m_folder;
    QString m_path;
};

} // namespace KVTest
