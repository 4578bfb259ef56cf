#include "KVAppDelegateFixture.h"

#include "KVDateWriter.h"
#include "KVTestSupport.h"
#include "KVURLExtensions.h"
#include "KVVolumes.h"

#include <QDir>
#include <QFile>

class KVAppDelegateVolumeTest : public KVAppDelegateFixture {
protected:
    void SetUp() override {
        // Probed before the delegate listens for unmounts, so the probe's own unmount is never
        // taken for one of this test's disks.
        if (!canMount())
            GTEST_SKIP() << "mounting a tmpfs needs root (CI runs as root)";
        KVAppDelegateFixture::SetUp();
        m_reference = makePhoto(m_root.filePath("local"), "a1.jpg", "cameras/Canon_40D.jpg",
                                "2024:06:01 12:00:00");
    }
    void TearDown() override {
        // Unmount in reverse order even when a test failed midway.
        for (auto it = m_mounts.rbegin(); it != m_mounts.rend(); ++it)
            run("umount", {"-l", *it});
        KVAppDelegateFixture::TearDown();
    }

    QString mountTmpfs(const QString &name, const QString &size) {
        const QString path = m_root.filePath(name);
        QDir().mkpath(path);
        EXPECT_TRUE(run("mount", {"-t", "tmpfs", "-o", "size=" + size, "tmpfs", path}));
        m_mounts << path;
        return path;
    }

    // Camera B's photos at 11:58:30 + 10 s steps, one of them matched to the reference.
    QStringList makeCameraB(const QString &folder, int count) {
        QStringList paths;
        for (int i = 0; i < count; ++i) {
            paths << makePhoto(folder, QStringLiteral("b%1.jpg").arg(i), "cameras/Nikon_D70.jpg",
                               QDateTime(QDate(2024, 6, 1), QTime(11, 58, 30))
                                   .addSecs(10 * i)
                                   .toString("yyyy:MM:dd HH:mm:ss"));
        }
        return paths;
    }

    void markReferenceAndMatch(const QString &match) {
        photo(m_reference)->setImageState(KVImageStateEtalon);
        photo(match)->setImageState(KVImageStateSelected);
    }

    static QString shifted(const QString &date, int seconds) {
        return QDateTime::fromString(date, "yyyy:MM:dd HH:mm:ss")
            .addSecs(seconds)
            .toString("yyyy:MM:dd HH:mm:ss");
    }

    QString m_reference;
    QStringList m_mounts;
};

TEST_F(KVAppDelegateVolumeTest, ReadOnlyPhotoStopsTheCommandWithThePrivilegesAlert) {
    const QString volume = mountTmpfs("readonly", "8m");
    const QStringList b = makeCameraB(volume, 2);
    ASSERT_TRUE(run("mount", {"-o", "remount,ro", volume}));
    add({m_reference, volume});
    markReferenceAndMatch(b[0]);
    EXPECT_FALSE(KVURLExtensions::isFileWritable(QUrl::fromLocalFile(b[1])));
    EXPECT_TRUE(KVURLExtensions::isFileWritable(QUrl::fromLocalFile(m_reference)));

    m_delegate->synchronizeTimeOrCancel();
    ASSERT_EQ(m_ui.alerts().size(), 1);
    EXPECT_EQ(m_ui.alerts()[0].title, "Cannot change time and date");
    EXPECT_TRUE(m_ui.alerts()[0].text.startsWith("Some of the photos may be locked"));
    EXPECT_FALSE(m_delegate->syncQueue().isSynchronizationInProcess());
    EXPECT_EQ(m_ui.syncButtonTitle(), "Sync Time");
}

TEST_F(KVAppDelegateVolumeTest, ThirtyMebibytesFreePassAndAnythingLessFails) {
    const QString volume = mountTmpfs("small", "40m");
    const QStringList b = makeCameraB(volume, 2);
    add({m_reference, volume});
    markReferenceAndMatch(b[0]);

    // tmpfs counts in pages, so "less" is one page less here.
    const qint64 wanted = 30 * 1024 * 1024;
    const QString fillerPath = volume + "/filler";
    auto fillTo = [&](qint64 free) {
        QFile filler(fillerPath);
        const qint64 current = KVVolumes::freeSize(volume).value_or(0);
        ASSERT_TRUE(filler.open(QIODevice::ReadWrite));
        ASSERT_TRUE(filler.resize(0));
        const qint64 now = KVVolumes::freeSize(volume).value_or(0);
        Q_UNUSED(current);
        QByteArray chunk(64 * 1024, '\1');
        for (qint64 left = now - free; left > 0; left -= chunk.size())
            ASSERT_EQ(filler.write(chunk.constData(), std::min<qint64>(left, chunk.size())),
                      std::min<qint64>(left, chunk.size()));
        filler.close();
        ASSERT_EQ(KVVolumes::freeSize(volume).value_or(0), free);
    };

    fillTo(wanted - 4096);
    m_delegate->synchronizeTimeOrCancel();
    ASSERT_EQ(m_ui.alerts().size(), 1);
    EXPECT_EQ(m_ui.alerts()[0].title, "Not enough disk space to sync photos");
    EXPECT_EQ(m_ui.alerts()[0].text, "Free some disk space and try again.");
    EXPECT_FALSE(m_delegate->syncQueue().isSynchronizationInProcess());

    fillTo(wanted);
    m_delegate->synchronizeTimeOrCancel();
    EXPECT_EQ(m_ui.alerts().size(), 1);
    EXPECT_TRUE(m_delegate->syncQueue().isSynchronizationInProcess());
    ASSERT_TRUE(waitForRunToEnd());
    EXPECT_EQ(dateOnDisk(b[0]), "2024:06:01 12:00:00");
}

TEST_F(KVAppDelegateVolumeTest, CardVolumeWinsOverTheVolumeItIsMountedIn) {
    const QString card = mountTmpfs("card", "1m");
    EXPECT_EQ(KVURLExtensions::volumePath(QUrl::fromLocalFile(card + "/DCIM/x.jpg")), card);
    const QString outside =
        KVURLExtensions::volumePath(QUrl::fromLocalFile(m_root.filePath("local/a1.jpg")));
    EXPECT_FALSE(outside.isEmpty());
    EXPECT_NE(outside, card);
    EXPECT_TRUE(m_root.filePath("local/a1.jpg").startsWith(outside));
}

class KVAppDelegateUnmountTest : public KVAppDelegateVolumeTest {
protected:
    // Photos live on a tmpfs store shown through a bind mount: unmounting the bind mount takes
    // them away, mounting it again brings them back with whatever was written.
    void prepare(int photos) {
        if (IsSkipped())
            return;
        m_store = mountTmpfs("store", "64m");
        m_disk = m_root.filePath("disk");
        QDir().mkpath(m_disk);
        ASSERT_TRUE(run("mount", {"--bind", m_store, m_disk}));
        m_mounts << m_disk;
        m_b = makeCameraB(m_disk, photos);
        for (const QString &path : m_b)
            m_originals << dateOnDisk(path);
        add({m_reference, m_disk});
        markReferenceAndMatch(m_b[0]);
        m_gate = m_root.filePath("gate");
        KVSetToolPath(gatedTool(m_gate).toUtf8().constData());
    }

    // Lets the held photos go on.
    void openGate() { QFile::remove(m_gate); }
    void TearDown() override {
        // A test that failed midway must not leave its run held for ever.
        if (!m_gate.isEmpty())
            openGate();
        KVAppDelegateVolumeTest::TearDown();
    }

    void startAndUnplug() {
        // Closed from the start: one photo is changed, the rest wait, so the run is surely still
        // going when the disk goes.
        QFile gate(m_gate);
        ASSERT_TRUE(gate.open(QIODevice::WriteOnly));
        gate.close();
        m_delegate->synchronizeTimeOrCancel();
        // The second photo is copied and its tool is waiting: the run cannot end before the
        // unplugged disk is noticed, whatever the machine's load.
        ASSERT_TRUE(KVTest::waitFor([&] { return QFile::exists(m_gate + ".waiting"); }));
        ASSERT_TRUE(run("umount", {"-l", m_disk}));
    }

    // Every process hears of every unmount; only those of this test's disk are answered here.
    bool isAboutOurDisk(const KVHeadlessUserInterface::Alert &alert) const {
        return alert.text.contains(m_disk);
    }

    QString m_store, m_disk, m_gate;
    QStringList m_b, m_originals;
};

TEST_F(KVAppDelegateUnmountTest, TryAgainWaitsForTheDiskAndTheRunFinishesFromItsDonePhotos) {
    prepare(6);
    if (IsSkipped())
        return;
    int alerts = 0;
    qint64 countWhenUnplugged = -1;
    m_ui.setAlertHandler([&](const KVHeadlessUserInterface::Alert &alert) {
        if (!isAboutOurDisk(alert))
            return static_cast<int>(alert.buttons.size()) - 1;
        EXPECT_EQ(alert.buttons, QStringList({"Try Again", "Cancel"}));
        if (++alerts == 1) {
            countWhenUnplugged = m_delegate->syncQueue().processedImagesCount();
            return 0; // not back yet: asked again
        }
        EXPECT_TRUE(run("mount", {"--bind", m_store, m_disk}));
        openGate();
        return 0;
    });
    startAndUnplug();
    ASSERT_TRUE(KVTest::waitFor([&] { return alerts >= 2; }));
    ASSERT_TRUE(waitForRunToEnd());
    m_delegate->waitForDiskRecovery();
    ASSERT_TRUE(waitForRunToEnd());
    EXPECT_EQ(alerts, 2);
    EXPECT_GE(countWhenUnplugged, 1);
    // Every photo moved exactly once, by the reference's offset.
    for (int i = 0; i < m_b.size(); ++i)
        EXPECT_EQ(dateOnDisk(m_b[i]), shifted(m_originals[i], 90)) << i;
    EXPECT_EQ(m_delegate->syncQueue().processedImagesCount(), m_b.size());
    ASSERT_TRUE(KVTest::waitFor([&] { return m_delegate->undoManager().canUndo(); }));
}

TEST_F(KVAppDelegateUnmountTest, CancelAbandonsTheRunKeepsWhatChangedAndRegistersNoUndo) {
    prepare(6);
    if (IsSkipped())
        return;
    int alerts = 0;
    // The disk stays away: the photos not yet done are skipped, the done ones stay changed.
    m_ui.setAlertHandler([&](const KVHeadlessUserInterface::Alert &alert) {
        if (!isAboutOurDisk(alert))
            return static_cast<int>(alert.buttons.size()) - 1;
        ++alerts;
        openGate();
        return 1;
    });
    startAndUnplug();
    // The message may be replaced at once by the reload that drops the vanished photos.
    ASSERT_TRUE(KVTest::waitFor(
        [&] { return m_ui.calls().contains("display:Syncing has not been completed"); },
        std::chrono::seconds(60)))
        << m_ui.calls().join(" | ").toStdString();
    m_delegate->waitForDiskRecovery();
    EXPECT_EQ(alerts, 1);
    EXPECT_FALSE(m_delegate->syncQueue().isSynchronizationInProcess());
    EXPECT_FALSE(m_delegate->undoManager().canUndo());
    // Photos that vanished drop out of the model.
    ASSERT_TRUE(KVTest::waitFor([&] { return m_delegate->numberOfCamerasInBrowser() == 1; }));
    int changed = 0;
    for (int i = 0; i < m_b.size(); ++i) {
        const QString now = dateOnDisk(m_store + "/" + QFileInfo(m_b[i]).fileName());
        // Never half-changed, never changed twice.
        EXPECT_TRUE(now == m_originals[i] || now == shifted(m_originals[i], 90)) << i;
        changed += now != m_originals[i];
    }
    EXPECT_EQ(changed, 1);
}

TEST_F(KVAppDelegateFixture, SevenTrashedFilesGiveOneAlertWithFourAnEllipsisAndTheLast) {
    QStringList paths;
    for (int i = 1; i <= 7; ++i)
        paths << makePhoto(m_root.filePath("trash-me"), QStringLiteral("p%1.jpg").arg(i),
                           "cameras/Canon_40D.jpg", QStringLiteral("2024:06:01 12:00:0%1").arg(i));
    add(paths);
    ASSERT_EQ(m_delegate->imagesForCameraWithIndex(0).size(), 7u);
    for (const QString &path : paths)
        ASSERT_TRUE(
            QFile::rename(path, m_root.filePath("data/Trash/files/") + QFileInfo(path).fileName()));

    ASSERT_TRUE(
        KVTest::waitFor([&] { return !m_ui.alerts().isEmpty(); }, std::chrono::seconds(15)));
    ASSERT_TRUE(KVTest::waitFor([&] { return m_delegate->numberOfCamerasInBrowser() == 0; }));
    ASSERT_EQ(m_ui.alerts().size(), 1);
    const KVHeadlessUserInterface::Alert alert = m_ui.alerts()[0];
    EXPECT_EQ(alert.title, "Cannot open file or files");
    EXPECT_EQ(alert.text,
              "Kalvora cannot find the following files. Make sure that they have not been "
              "renamed, moved, or deleted:\n" +
                  QStringList(paths.mid(0, 4)).join('\n') + "\n...\n" + paths[6] + "\n");
}

TEST(KVVanishedFiles, ListsUpToFiveAndShortensLongerLists) {
    EXPECT_EQ(KVVanishedFiles::removedFilesList({}), "");
    EXPECT_EQ(KVVanishedFiles::removedFilesList({"1", "2", "3", "4", "5"}), "1\n2\n3\n4\n5\n");
    EXPECT_EQ(KVVanishedFiles::removedFilesList({"1", "2", "3", "4", "5", "6"}),
              "1\n2\n3\n4\n...\n6\n");
}
