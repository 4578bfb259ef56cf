// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/types.h>

struct KVWriteOutcome;

// Copies of real photos in a folder of their own, and stand-ins for the tool whose every move
// is gated by files.
class KVPhotoWriterFixture : public ::testing::Test {
protected:
    void TearDown() override;
    // A copy of a sample under `name` in the photos folder.
    QString copyOf(const QString &sample, const QString &name);
    // Sets the capture date (DateTimeOriginal) with Exiv2, as a camera would have.
    static void setDate(const QString &path, const QString &dateText);
    // Opens and, where the file holds a picture, decodes.
    static bool decodes(const QString &path);
    static unsigned modeOf(const QString &path);
    // Every hidden entry below the temporary folder (the writer's leftovers would be some).
    QStringList hiddenEntries() const;

    // A tmpfs of this size mounted at a new folder of that name; empty when it cannot be (not
    // root). Unmounted with the test's process.
    QString mountTmpfs(const QString &name, const QString &size);
    // Every photo is either its old bytes (and the outcome says so) or exactly shifted, decodable
    // and reported as changed.
    static void expectOldOrExactlyShifted(const QString &photo, const QByteArray &oldBytes,
                                          const QString &oldDate, qint64 seconds,
                                          const KVWriteOutcome &outcome);

    // A tool that answers like the real one (it hands each request to the real tool) but
    // misbehaves as `behaviour` says: "hang-first" hangs on the first photo any of its instances
    // takes, after writing its process id to the gate "hanging" (it waits on a fifo nobody writes
    // to); "die-at-N" kills itself on its N-th photo.
    QString fakeTool(const QString &behaviour);
    bool gateExists(const QString &name) const;
    pid_t readPid(const QString &name) const;
    void clearGates();

    QTemporaryDir m_dir;
    QString m_folder = m_dir.filePath("photos");
    QString m_gates = m_dir.filePath("gates");
    QStringList m_mounts;
};
