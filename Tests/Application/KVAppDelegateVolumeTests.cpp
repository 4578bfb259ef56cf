// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAppDelegateFixture.h"

#include "KVFakeTool.h"
#include "KVPhotoWriter.h"
#include "KVTestSupport.h"
#include "KVURLExtensions.h"
#include "KVVolumes.h"

#include <QDir>
#include <QFile>

class KVAppDelegateVolumeTest : public KVAppDelegateFixture {
protected:
    void SetUp() override {
        // Probed before the delegate listens, so the probe's unmount is not taken for ours.
        if (!canMount())
            GTEST_SKIP() << "mounting a tmpfs needs root (CI runs as root)";
        KVAppDelegateFixture::SetUp();
        m_reference = makePhoto(m_root.filePath("local"), "a1.jpg", "cameras/Canon_40D.jpg",
                                "2024:06:01 12:00:00");
    }
    void TearDown() override {
        for (auto it = m_mounts.rbegin(); it != m_mounts.rend(); ++it)
            run("umount", {"-l", *it});
        KVAppDelegateFixture::TearDown();
    }

    // A tmpfs of that size, or a bind mount of an existing folder.
    QString mountTmpfs(const QString &name, const QString &size, const QString &bindOf = {}) {
        const QString path = m_root.filePath(name);
        QDir().mkpath(path);
        QStringList arguments{"-t", "tmpfs", "-o", "size=" + size, "tmpfs"};
        EXPECT_TRUE(
            run("mount", (bindOf.isEmpty() ? arguments : QStringList{"--bind", bindOf}) << path));
        m_mounts << path;
        return path;
    }

    // Camera B's photos at 11:58:30 + 10 s steps, added with the reference; b0 matched to it.
    QStringList addCameraB(const QString &folder, int count) {
        QStringList paths;
        for (int i = 0; i < count; ++i)
            paths << makePhoto(folder, QStringLiteral("b%1.jpg").arg(i), "cameras/Nikon_D70.jpg",
                               bDate(i));
        add({m_reference, folder});
        photo(m_reference)->setImageState(KVImageStateEtalon);
        photo(paths[0])->setImageState(KVImageStateSelected);
        return paths;
    }

    static QString bDate(int i, int shift = 0) {
        return QDateTime(QDate(2024, 6, 1), QTime(11, 58, 30))
            .addSecs(10 * i + shift)
            .toString("yyyy:MM:dd HH:mm:ss");
    }

    QString m_reference;
    QStringList m_mounts;
};

TEST_F(KVAppDelegateVolumeTest,
       ReadOnlyCardIsItsOwnVolumeAndStopsTheCommandWithThePrivilegesAlert) {
    const QString volume = mountTmpfs("readonly", "8m");
    addCameraB(volume, 2);
    ASSERT_TRUE(run("mount", {"-o", "remount,ro", volume}));
    // The card's own volume wins over the one it is mounted in.
    EXPECT_EQ(KVURLExtensions::volumePath(QUrl::fromLocalFile(volume + "/DCIM/x.jpg")), volume);

    m_delegate->synchronizeTimeOrCancel();
    ASSERT_EQ(m_ui.alerts().size(), 1);
    EXPECT_EQ(m_ui.alerts()[0].title, "Cannot change time and date");
    EXPECT_TRUE(m_ui.alerts()[0].text.startsWith("Some of the photos may be read-only"));
    EXPECT_FALSE(m_delegate->syncQueue().isSynchronizationInProcess());
}

// Room for one private copy of the largest photo per worker, plus 32 MiB: one page less and
// the run does not start, and the alert names the folder.
TEST_F(KVAppDelegateVolumeTest, RoomForACopyPerWorkerPassesAndAnythingLessFails) {
    const QString volume = mountTmpfs("small", "40m");
    const QStringList b = addCameraB(volume, 2);
    const qint64 largest = std::max(QFileInfo(b[0]).size(), QFileInfo(b[1]).size());
    const int workers = std::min(KVBaseOperationQueue::activeProcessorCount(), 2);
    // tmpfs counts in pages.
    const qint64 needed = (workers * largest + (32 << 20) + 4095) / 4096 * 4096;
    auto fillTo = [&](qint64 free) {
        QFile filler(volume + "/filler");
        ASSERT_TRUE(filler.open(QIODevice::ReadWrite) && filler.resize(0));
        const QByteArray bytes(KVVolumes::freeSize(volume).value_or(0) - free, '\1');
        ASSERT_TRUE(filler.write(bytes) == bytes.size() && filler.flush());
        ASSERT_EQ(KVVolumes::freeSize(volume).value_or(0), free);
    };

    fillTo(needed - 4096);
    m_delegate->synchronizeTimeOrCancel();
    ASSERT_EQ(m_ui.alerts().size(), 1);
    EXPECT_EQ(m_ui.alerts()[0].title, "Not enough disk space to sync photos");
    EXPECT_TRUE(m_ui.alerts()[0].text.contains(volume)) << qPrintable(m_ui.alerts()[0].text);
    EXPECT_FALSE(m_delegate->syncQueue().isSynchronizationInProcess());
    EXPECT_FALSE(m_ui.isLocked());

    fillTo(needed);
    m_delegate->synchronizeTimeOrCancel();
    EXPECT_TRUE(m_delegate->syncQueue().isSynchronizationInProcess());
    ASSERT_TRUE(waitForRunToEnd());
    EXPECT_EQ(dateOnDisk(b[0]), "2024:06:01 12:00:00");
}

class KVAppDelegateUnmountTest : public KVAppDelegateVolumeTest {
protected:
    // Photos on a tmpfs store shown through a bind mount, which is unplugged and plugged back.
    void SetUp() override {
        KVAppDelegateVolumeTest::SetUp();
        if (IsSkipped())
            return;
        m_store = mountTmpfs("store", "64m");
        m_disk = mountTmpfs("disk", {}, m_store);
        m_b = addCameraB(m_disk, 6);
        // The first photo goes through; the tool holds every later one until told.
        m_tool = std::make_unique<KVTest::FakeTool>(m_root.filePath("tool"), 1);
        KVSetToolPath(m_tool->path());
        // Every process hears of every unmount; only those of this test's disk are answered.
        m_ui.setAlertHandler([this](const KVHeadlessUserInterface::Alert &alert) {
            return alert.text.contains(m_disk) ? m_onOurDisk(alert)
                                               : static_cast<int>(alert.buttons.size()) - 1;
        });
    }

    void TearDown() override {
        if (m_tool)
            m_tool->openGate(); // never leave a failed test's run held
        KVAppDelegateVolumeTest::TearDown();
    }

    void startAndUnplug() {
        // Closed from the start: once a later photo's tool waits, the run cannot end first.
        m_tool->closeGate();
        m_delegate->synchronizeTimeOrCancel();
        ASSERT_TRUE(KVTest::waitFor([&] {
            return m_tool->isHolding() && m_delegate->syncQueue().processedImagesCount() >= 1;
        }));
        ASSERT_TRUE(run("umount", {"-l", m_disk}));
    }

    std::function<int(const KVHeadlessUserInterface::Alert &)> m_onOurDisk;
    std::unique_ptr<KVTest::FakeTool> m_tool;
    QString m_store, m_disk;
    QStringList m_b;
};

TEST_F(KVAppDelegateUnmountTest, TryAgainWaitsForTheDiskAndTheRunFinishesFromItsDonePhotos) {
    int alerts = 0;
    qint64 countWhenUnplugged = -1;
    m_onOurDisk = [&](const KVHeadlessUserInterface::Alert &alert) {
        EXPECT_EQ(alert.buttons, QStringList({"Try Again", "Cancel"}));
        if (++alerts == 1) {
            countWhenUnplugged = m_delegate->syncQueue().processedImagesCount();
            return 0; // not back yet: asked again
        }
        EXPECT_TRUE(run("mount", {"--bind", m_store, m_disk}));
        m_tool->openGate(); // lets the held photos go on
        return 0;
    };
    startAndUnplug();
    ASSERT_TRUE(KVTest::waitFor([&] { return alerts >= 2; }));
    ASSERT_TRUE(waitForRunToEnd());
    m_delegate->waitForDiskRecovery();
    ASSERT_TRUE(waitForRunToEnd());
    EXPECT_EQ(alerts, 2);
    EXPECT_GE(countWhenUnplugged, 1);
    // Every photo moved exactly once, by the reference's offset.
    for (int i = 0; i < m_b.size(); ++i)
        EXPECT_EQ(dateOnDisk(m_b[i]), bDate(i, 90)) << i;
    EXPECT_EQ(m_delegate->syncQueue().processedImagesCount(), m_b.size());
    ASSERT_TRUE(KVTest::waitFor([&] { return m_delegate->undoManager().canUndo(); }));
}

// The disk stays away and the run is abandoned: what moved and what did not is reported as it
// is on the disk, each photo whole, never half or twice.
TEST_F(KVAppDelegateUnmountTest, CancelAbandonsTheRunAndReportsWhichPhotosMovedAndWhichDidNot) {
    int alerts = 0;
    m_onOurDisk = [&](const KVHeadlessUserInterface::Alert &) {
        ++alerts;
        m_tool->openGate();
        return 1;
    };
    startAndUnplug();
    // The message may be replaced at once by the reload that drops the vanished photos.
    ASSERT_TRUE(KVTest::waitFor(
        [&] { return m_ui.calls().contains("display:Syncing has not been completed"); },
        std::chrono::seconds(60)));
    m_delegate->waitForDiskRecovery();
    EXPECT_EQ(alerts, 1);
    const std::optional<KVSyncController::Outcome> outcome =
        m_delegate->syncController().lastOutcome();
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->end, KVRunRecord::End::Abandoned);
    QStringList moved, notMoved;
    for (const KVPhotoChangeResult &result : outcome->changed)
        moved << result.change.identity.path;
    ASSERT_TRUE(KVTest::waitFor([&] { return !m_ui.fileReports().isEmpty(); }));
    const KVHeadlessUserInterface::FileReport report = m_ui.fileReports().last();
    EXPECT_EQ(report.type, KVUserInterface::NotChangedFiles);
    for (const QVariantMap &record : report.records) {
        notMoved << record.value("path").toString();
        EXPECT_FALSE(record.value("error").toString().isEmpty());
    }
    EXPECT_GE(moved.size(), 1);
    EXPECT_EQ(moved.size() + notMoved.size(), m_b.size());
    for (int i = 0; i < m_b.size(); ++i) {
        const QString now = dateOnDisk(m_store + "/" + QFileInfo(m_b[i]).fileName());
        EXPECT_TRUE(now == bDate(i) || now == bDate(i, 90)) << i;
        EXPECT_EQ(now == bDate(i, 90), moved.contains(m_b[i])) << i;
        EXPECT_EQ(now == bDate(i), notMoved.contains(m_b[i])) << i;
    }
}

TEST_F(KVAppDelegateFixture, SevenTrashedFilesGiveOneAlertWithFourAnEllipsisAndTheLast) {
    QStringList paths;
    for (int i = 1; i <= 7; ++i)
        paths << makePhoto(m_root.filePath("trash-me"), QStringLiteral("p%1.jpg").arg(i),
                           "cameras/Canon_40D.jpg", QStringLiteral("2024:06:01 12:00:0%1").arg(i));
    add(paths);
    for (const QString &path : paths)
        ASSERT_TRUE(
            QFile::rename(path, m_root.filePath("data/Trash/files/") + QFileInfo(path).fileName()));

    ASSERT_TRUE(KVTest::waitFor(
        [&] { return !m_ui.alerts().isEmpty() && m_delegate->numberOfCamerasInBrowser() == 0; },
        std::chrono::seconds(15)));
    ASSERT_EQ(m_ui.alerts().size(), 1);
    const KVHeadlessUserInterface::Alert alert = m_ui.alerts()[0];
    EXPECT_EQ(alert.title, "Cannot open file or files");
    EXPECT_EQ(alert.text,
              "Kalvora cannot find the following files. Make sure that they have not been "
              "renamed, moved, or deleted:\n" +
                  QStringList(paths.mid(0, 4)).join('\n') + "\n...\n" + paths[6] + "\n");
}
