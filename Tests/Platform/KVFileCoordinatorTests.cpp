// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVFileCoordinator.h"

#include "KVBaseOperationQueue.h"
#include "KVFileName.h"
#include "KVTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>

#include <gtest/gtest.h>

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/mount.h>
#include <unistd.h>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// Follows the new path like a photo record; a notice off the presenter queue is recorded marked,
// so every comparison of moves checks the thread too.
class RecordingPresenter : public KVFilePresenter {
public:
    explicit RecordingPresenter(QString path, bool unregisterWhenCalled = false)
        : m_path(std::move(path))
        , m_unregisterWhenCalled(unregisterWhenCalled) {}

    QString presentedItemPath() const override {
        std::lock_guard lock(m_mutex);
        return m_path;
    }

    void presentedItemDidMoveToPath(const QString &newPath) override {
        const bool wrongThread = // the running notice is one of the queue's operations
            QThread::currentThread() == QCoreApplication::instance()->thread() ||
            KVFileCoordinator::presenterQueue().operationCount() == 0;
        std::unique_lock lock(m_mutex);
        m_path = newPath;
        m_moves.push_back(wrongThread ? u"(wrong thread) "_s + newPath : newPath);
        lock.unlock();
        if (m_unregisterWhenCalled)
            KVFileCoordinator::removeFilePresenter(this);
    }

    // Not a shared Qt list: its relaxed sharing check would race with the queue's appends.
    QStringList moves() const {
        std::lock_guard lock(m_mutex);
        return QStringList(m_moves.begin(), m_moves.end());
    }

private:
    mutable std::mutex m_mutex;
    QString m_path;
    std::vector<QString> m_moves;
    const bool m_unregisterWhenCalled;
};

using PresenterRef = std::shared_ptr<RecordingPresenter>;

bool mv(const QString &from, const QString &to) {
    return ::rename(KVFileName::encode(from).constData(), KVFileName::encode(to).constData()) == 0;
}

void expectMoves(const PresenterRef &presenter, const QStringList &expected) {
    KVTest::waitFor([&] { return presenter->moves().size() >= expected.size(); });
    EXPECT_EQ(presenter->moves(), expected);
}

class KVFileCoordinatorTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_dataHome = m_root.filePath(u"data"_s);
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_dataHome));
        EXPECT_TRUE(QDir().mkpath(m_dataHome + u"/Trash/info"_s));
        m_trash = folder(m_dataHome + u"/Trash/files"_s); // a test of a late Trash removes it
        m_photos = folder(u"photos"_s);
    }

    void TearDown() override {
        for (const PresenterRef &presenter : m_presenters)
            KVFileCoordinator::removeFilePresenter(presenter.get());
        KVFileCoordinator::presenterQueue().waitUntilAllOperationsAreFinished(); // before env
        m_oldDataHome.isNull() ? qunsetenv("XDG_DATA_HOME")
                               : qputenv("XDG_DATA_HOME", m_oldDataHome);
    }

    QString folder(const QString &name) {
        const QString path = QDir(m_root.path()).filePath(name);
        EXPECT_TRUE(QDir().mkpath(path));
        return path;
    }

    // Made by their bytes: names need not be UTF-8.
    static bool create(const QString &path, const QByteArray &content = {}) {
        const int fd = ::open(KVFileName::encode(path).constData(),
                              O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        const bool written =
            fd >= 0 && ::write(fd, content.constData(), content.size()) == content.size();
        if (fd >= 0)
            ::close(fd);
        return written;
    }

    static void writeTrashInfo(const QString &trash, const QString &name, const QString &origin) {
        ASSERT_TRUE(QDir().mkpath(trash + u"/info"_s));
        ASSERT_TRUE(
            create(trash + u"/info/"_s + name + u".trashinfo"_s,
                   "[Trash Info]\nPath=" + KVFileName::encode(origin).toPercentEncoding("/") +
                       "\nDeletionDate=2024-01-01T10:00:00\n"));
    }

    // Creates the file and registers a presenter, unregistered in TearDown.
    PresenterRef presenterFor(const QString &path, bool unregisterWhenCalled = false) {
        EXPECT_TRUE(create(path)) << KVFileName::displayed(path).toStdString();
        auto presenter = std::make_shared<RecordingPresenter>(path, unregisterWhenCalled);
        KVFileCoordinator::addFilePresenter(presenter);
        m_presenters.push_back(presenter);
        return presenter;
    }

    // Events are read in order and notices run serially: a sentinel's rename flushes them all.
    void flushNotices() {
        if (!m_sentinel)
            m_sentinel = presenterFor(folder(u"sentinel"_s) + u"/sentinel.jpg"_s);
        const QStringList expected = m_sentinel->moves()
                                     << m_sentinel->presentedItemPath() + u".s"_s;
        ASSERT_TRUE(mv(m_sentinel->presentedItemPath(), expected.constLast()));
        expectMoves(m_sentinel, expected);
    }

    QTemporaryDir m_root;
    QString m_dataHome, m_trash, m_photos;
    const QByteArray m_oldDataHome = qgetenv("XDG_DATA_HOME");
    std::vector<PresenterRef> m_presenters;
    PresenterRef m_sentinel;
};

TEST_F(KVFileCoordinatorTest, RenamesAndMovesAreFollowedAndReportedOnThePresenterQueue) {
    const QString first = m_photos, second = folder(u"second"_s);
    const PresenterRef moving = presenterFor(first + u"/one.jpg"_s);
    const PresenterRef staying = presenterFor(second + u"/b.jpg"_s); // keeps it watched

    // Back to back, before the first notice can have run: the index must follow at once.
    ASSERT_TRUE(mv(first + u"/one.jpg"_s, first + u"/two.jpg"_s));
    ASSERT_TRUE(mv(first + u"/two.jpg"_s, second + u"/three.jpg"_s));
    expectMoves(moving, {first + u"/two.jpg"_s, second + u"/three.jpg"_s});
    // Found at its new place, although its first folder has no presenter left.
    ASSERT_TRUE(mv(second + u"/three.jpg"_s, second + u"/four.jpg"_s));
    ASSERT_TRUE(mv(second + u"/four.jpg"_s, m_trash + u"/four.jpg"_s));
    expectMoves(moving, {first + u"/two.jpg"_s, second + u"/three.jpg"_s, second + u"/four.jpg"_s,
                         m_trash + u"/four.jpg"_s});
}

// Moves to folders nobody watches, on a volume of their own: into a folder further down, and
// into that volume's trash. Both are found by the file's identity; the trash counts as one.
TEST_F(KVFileCoordinatorTest, MovesToUnwatchedFoldersAndAnotherVolumesTrashAreFollowed) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "mounting a tmpfs needs root";
    const QString volume = folder(u"volume"_s);
    ASSERT_EQ(::mount("tmpfs", QFile::encodeName(volume).constData(), "tmpfs", 0, "size=8m"), 0);
    const QString photos = volume + u"/photos"_s, archive = volume + u"/archive/2024"_s;
    const QString trash = volume + u"/.Trash-0/files"_s;
    ASSERT_TRUE(QDir().mkpath(photos) && QDir().mkpath(archive) && QDir().mkpath(trash));
    const PresenterRef archived = presenterFor(photos + u"/a.jpg"_s);
    const PresenterRef trashed = presenterFor(photos + u"/b.jpg"_s);

    ASSERT_TRUE(mv(photos + u"/a.jpg"_s, archive + u"/a.jpg"_s));
    ASSERT_TRUE(mv(photos + u"/b.jpg"_s, trash + u"/b.2.jpg"_s));
    expectMoves(archived, {archive + u"/a.jpg"_s});
    expectMoves(trashed, {trash + u"/b.2.jpg"_s});
    EXPECT_TRUE(KVFileCoordinator::isTrashPath(trash + u"/b.2.jpg"_s));
    EXPECT_FALSE(KVFileCoordinator::isTrashPath(archive + u"/a.jpg"_s));

    for (const PresenterRef &presenter : m_presenters)
        KVFileCoordinator::removeFilePresenter(presenter.get());
    EXPECT_EQ(::umount2(QFile::encodeName(volume).constData(), MNT_DETACH), 0);
}

// Latin-1 names from an old card: an item put in a Trash that was not yet watched, a rename, a
// move to a folder nobody watches and one into the Trash are all followed by the names' bytes.
TEST_F(KVFileCoordinatorTest, NamesThatAreNotUtf8AreFollowedByTheirBytes) {
    // Qt cannot remove what it cannot list.
    const auto cleanUp = qScopeGuard(
        [&] { std::filesystem::remove_all(KVFileName::encode(m_root.path()).toStdString()); });
    const auto latin1 = [](const QString &folder, const char *name) {
        return folder + u'/' + KVFileName::decode(name);
    };
    ASSERT_TRUE(QDir(m_dataHome + u"/Trash"_s).removeRecursively());
    const QString elsewhere = folder(u"elsewhere"_s);
    const PresenterRef trashed = presenterFor(latin1(m_photos, "Gr\xfc\xdf"
                                                               "e.jpg"));
    const PresenterRef renamed = presenterFor(latin1(m_photos, "Braut_\xe4.jpg"));
    const PresenterRef moved = presenterFor(latin1(m_photos, "Kuchen_\xf6.jpg"));

    const QString staging = folder(u"staging/Trash"_s);
    folder(staging + u"/files"_s);
    writeTrashInfo(staging,
                   KVFileName::decode("Gr\xfc\xdf"
                                      "e.jpg"),
                   latin1(m_photos, "Gr\xfc\xdf"
                                    "e.jpg"));
    ASSERT_TRUE(mv(trashed->presentedItemPath(), latin1(staging + u"/files"_s, "Gr\xfc\xdf"
                                                                               "e.jpg")));
    ASSERT_TRUE(mv(staging, m_dataHome + u"/Trash"_s));
    expectMoves(trashed, {latin1(m_trash, "Gr\xfc\xdf"
                                          "e.jpg")});

    ASSERT_TRUE(mv(renamed->presentedItemPath(), latin1(m_photos, "Braut_\xe4 2.jpg")));
    expectMoves(renamed, {latin1(m_photos, "Braut_\xe4 2.jpg")});
    ASSERT_TRUE(mv(moved->presentedItemPath(), latin1(elsewhere, "Kuchen_\xf6.jpg")));
    expectMoves(moved, {latin1(elsewhere, "Kuchen_\xf6.jpg")});
    ASSERT_TRUE(mv(renamed->presentedItemPath(), latin1(m_trash, "Braut_\xe4 2.jpg")));
    expectMoves(renamed,
                {latin1(m_photos, "Braut_\xe4 2.jpg"), latin1(m_trash, "Braut_\xe4 2.jpg")});
    EXPECT_TRUE(KVFileCoordinator::isTrashPath(renamed->presentedItemPath()));
}

// Each case ends in a rename that would reach the presenter if it were still wrongly indexed.
TEST_F(KVFileCoordinatorTest, PresentersThatMustNotBeCalledAreNot) {
    const PresenterRef twice = presenterFor(m_photos + u"/twice.jpg"_s);
    KVFileCoordinator::addFilePresenter(twice);
    const PresenterRef removesItself = presenterFor(m_photos + u"/self.jpg"_s, true);
    const std::weak_ptr<RecordingPresenter> dead = presenterFor(m_photos + u"/dead.jpg"_s);
    m_presenters.pop_back(); // released without unregistering
    ASSERT_TRUE(dead.expired()) << "the coordinator must not keep presenters alive";
    // Made at once, so likely at the dead one's address: it is called for its own file only.
    const PresenterRef fresh = presenterFor(m_photos + u"/fresh.jpg"_s);

    for (const QString &name : {u"twice"_s, u"dead"_s, u"fresh"_s})
        ASSERT_TRUE(mv(m_photos + u'/' + name + u".jpg"_s, m_photos + u'/' + name + u"2.jpg"_s));
    ASSERT_TRUE(mv(m_photos + u"/self.jpg"_s, m_trash + u"/self.jpg"_s));
    flushNotices();
    ASSERT_TRUE(mv(m_trash + u"/self.jpg"_s, m_trash + u"/self2.jpg"_s));
    flushNotices();

    EXPECT_EQ(twice->moves(), QStringList{m_photos + u"/twice2.jpg"_s});
    EXPECT_EQ(removesItself->moves(), QStringList{m_trash + u"/self.jpg"_s});
    EXPECT_EQ(fresh->moves(), QStringList{m_photos + u"/fresh2.jpg"_s});
}

TEST_F(KVFileCoordinatorTest, ManyFilesRenamedAtOnceAreReportedExactlyOnce) {
    constexpr int count = 200; // half stay in their folder, half go to the (watched) Trash
    const auto target = [&](int index) {
        return (index % 2 ? m_trash : m_photos) + u"/new_%1.JPG"_s.arg(index);
    };
    std::vector<PresenterRef> presenters;
    for (int index = 0; index < count; ++index)
        presenters.push_back(presenterFor(m_photos + u"/IMG_%1.JPG"_s.arg(index)));
    for (int index = 0; index < count; ++index)
        ASSERT_TRUE(mv(m_photos + u"/IMG_%1.JPG"_s.arg(index), target(index)));
    flushNotices();
    for (int index = 0; index < count; ++index)
        EXPECT_EQ(presenters[index]->moves(), QStringList{target(index)}) << index;
}

TEST_F(KVFileCoordinatorTest, MovedFolderTakesItsPresentersAlongWhereverItIsWatched) {
    const std::pair<QString, bool> cases[] = {
        {m_root.filePath(u"parent/album 2023"_s), true}, // renamed in place
        {m_trash + u"/album"_s, true},
        {folder(u"elsewhere"_s) + u"/album"_s, false}, // never reported under its old path
    };
    for (const auto &[destination, watched] : cases) {
        SCOPED_TRACE(destination.toStdString());
        const QString album = folder(u"parent/album"_s);
        const PresenterRef first = presenterFor(album + u"/1.jpg"_s);

        ASSERT_TRUE(mv(album, destination));
        flushNotices();
        ASSERT_TRUE(mv(destination + u"/1.jpg"_s, destination + u"/one.jpg"_s));
        flushNotices();
        const QStringList followed = {destination + u"/1.jpg"_s, destination + u"/one.jpg"_s};
        EXPECT_EQ(first->moves(), watched ? followed : QStringList());
    }
}

TEST_F(KVFileCoordinatorTest, ItemMovedInBeforeTheTrashWasWatchedIsFoundByItsOriginOnly) {
    ASSERT_TRUE(QDir(m_dataHome + u"/Trash"_s).removeRecursively());
    const QString elsewhere = folder(u"elsewhere"_s);
    const PresenterRef sameName = presenterFor(m_photos + u"/IMG_0001.JPG"_s);
    const PresenterRef trashed = presenterFor(m_photos + u"/IMG 7.jpg"_s);
    const PresenterRef later = presenterFor(m_photos + u"/later.jpg"_s);

    // Items go into a Trash not yet in place, which then appears whole with its info files; the
    // presenter's own IMG_0001.JPG left for a folder nobody watches, the trashed one of that name
    // is another camera's.
    const QString staging = folder(u"staging/Trash"_s);
    ASSERT_TRUE(
        QFile(folder(staging + u"/files"_s) + u"/IMG_0001.JPG"_s).open(QIODevice::WriteOnly));
    writeTrashInfo(staging, u"IMG_0001.JPG"_s, elsewhere + u"/IMG_0001.JPG"_s);
    ASSERT_TRUE(mv(m_photos + u"/IMG_0001.JPG"_s, elsewhere + u"/IMG_0001.JPG"_s));
    writeTrashInfo(staging, u"IMG 7.jpg"_s, m_photos + u"/IMG 7.jpg"_s);
    ASSERT_TRUE(mv(m_photos + u"/IMG 7.jpg"_s, staging + u"/files/IMG 7.jpg"_s));
    ASSERT_TRUE(mv(staging, m_dataHome + u"/Trash"_s));

    expectMoves(trashed, {m_trash + u"/IMG 7.jpg"_s});
    flushNotices(); // runs any notice queued with the one above
    // Found where it went, by its identity, never taken for the trashed one of its name.
    expectMoves(sameName, {elsewhere + u"/IMG_0001.JPG"_s});
    // The Trash that appeared late is watched.
    ASSERT_TRUE(mv(m_photos + u"/later.jpg"_s, m_trash + u"/later.jpg"_s));
    expectMoves(later, {m_trash + u"/later.jpg"_s});
}

TEST_F(KVFileCoordinatorTest, DeletedFolderIsWatchedAgainWhenAPresenterRegistersInIt) {
    const PresenterRef early = presenterFor(m_photos + u"/early.jpg"_s);
    ASSERT_TRUE(QDir(m_photos).removeRecursively());
    flushNotices(); // the kernel's end of the watch has been handled
    ASSERT_TRUE(QDir().mkpath(m_photos));
    const PresenterRef late = presenterFor(m_photos + u"/late.jpg"_s);
    ASSERT_TRUE(QFile(m_photos + u"/early.jpg"_s).open(QIODevice::WriteOnly));

    ASSERT_TRUE(mv(m_photos + u"/early.jpg"_s, m_photos + u"/e2.jpg"_s));
    ASSERT_TRUE(mv(m_photos + u"/late.jpg"_s, m_photos + u"/l2.jpg"_s));
    expectMoves(early, {m_photos + u"/e2.jpg"_s});
    expectMoves(late, {m_photos + u"/l2.jpg"_s});
}

TEST_F(KVFileCoordinatorTest, RegistrationsFromManyThreadsDuringRenamesAreSafe) {
    const PresenterRef renamed = presenterFor(m_photos + u"/r0.jpg"_s);
    std::vector<std::jthread> threads; // asked to stop and joined at the end of the test
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([own = folder(u"thread%1"_s.arg(thread))](std::stop_token stop) {
            for (int round = 0; !stop.stop_requested(); ++round) {
                auto presenter =
                    std::make_shared<RecordingPresenter>(own + u"/f%1.jpg"_s.arg(round % 8));
                KVFileCoordinator::addFilePresenter(presenter);
                if (round % 3 == 0) // the others die registered
                    KVFileCoordinator::removeFilePresenter(presenter.get());
            }
        });
    QStringList expected;
    for (int index = 1; index <= 50; ++index) {
        expected << m_photos + u"/r%1.jpg"_s.arg(index);
        EXPECT_TRUE(mv(m_photos + u"/r%1.jpg"_s.arg(index - 1), expected.constLast()));
    }
    expectMoves(renamed, expected);
}

} // namespace
