#include "KVFileCoordinator.h"

#include "KVBaseOperationQueue.h"
#include "KVTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// Records every notice under a mutex, and follows the new path like a photo record does.
class RecordingPresenter : public KVFilePresenter {
public:
    explicit RecordingPresenter(QString path, std::shared_ptr<std::atomic<int>> destroyed = {})
        : m_path(std::move(path))
        , m_destroyed(std::move(destroyed))
    {
    }
    ~RecordingPresenter() override
    {
        if (m_destroyed)
            ++*m_destroyed;
    }

    QString presentedItemPath() const override
    {
        std::lock_guard lock(m_mutex);
        return m_path;
    }

    void presentedItemDidMoveToPath(const QString &newPath) override
    {
        const bool onMainThread =
            QThread::currentThread() == QCoreApplication::instance()->thread();
        // The running notice itself is one of the presenter queue's operations.
        const bool onPresenterQueue = KVFileCoordinator::presenterQueue().operationCount() > 0;
        {
            std::lock_guard lock(m_mutex);
            m_path = newPath;
            m_moves.push_back(newPath);
            m_calledOnMainThread = m_calledOnMainThread || onMainThread;
            m_calledOffPresenterQueue = m_calledOffPresenterQueue || !onPresenterQueue;
        }
        if (m_unregisterWhenCalled)
            KVFileCoordinator::removeFilePresenter(this);
    }

    // A list of its own: Qt's containers check their sharing with a relaxed load, so one shared
    // with the presenter queue's thread would race when that thread appends.
    QStringList moves() const
    {
        std::lock_guard lock(m_mutex);
        return QStringList(m_moves.begin(), m_moves.end());
    }
    int callCount() const
    {
        std::lock_guard lock(m_mutex);
        return static_cast<int>(m_moves.size());
    }
    bool calledOnMainThread() const
    {
        std::lock_guard lock(m_mutex);
        return m_calledOnMainThread;
    }
    bool calledOffPresenterQueue() const
    {
        std::lock_guard lock(m_mutex);
        return m_calledOffPresenterQueue;
    }
    // Set before registering: the presenter then unregisters from inside its first notice.
    void setUnregisterWhenCalled(bool value) { m_unregisterWhenCalled = value; }

private:
    mutable std::mutex m_mutex;
    QString m_path;
    std::vector<QString> m_moves;
    bool m_calledOnMainThread = false;
    bool m_calledOffPresenterQueue = false;
    bool m_unregisterWhenCalled = false;
    std::shared_ptr<std::atomic<int>> m_destroyed;
};

using PresenterRef = std::shared_ptr<RecordingPresenter>;

bool renamePath(const QString &from, const QString &to)
{
    return ::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

bool touch(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write("photo") == 5;
}

class KVFileCoordinatorTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_root.isValid());
        m_hadDataHome = qEnvironmentVariableIsSet("XDG_DATA_HOME");
        m_oldDataHome = qgetenv("XDG_DATA_HOME");
        m_dataHome = m_root.filePath(QStringLiteral("data"));
        ASSERT_TRUE(QDir().mkpath(m_dataHome));
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_dataHome));
    }

    void TearDown() override
    {
        for (const PresenterRef &presenter : m_presenters)
            KVFileCoordinator::removeFilePresenter(presenter.get());
        m_presenters.clear();
        // Let notices still queued run before the next test changes the environment.
        KVFileCoordinator::presenterQueue().waitUntilAllOperationsAreFinished();
        if (m_hadDataHome)
            qputenv("XDG_DATA_HOME", m_oldDataHome);
        else
            qunsetenv("XDG_DATA_HOME");
    }

    QString makeTrash()
    {
        const QString trash = m_dataHome + QStringLiteral("/Trash/files");
        EXPECT_TRUE(QDir().mkpath(trash));
        EXPECT_TRUE(QDir().mkpath(m_dataHome + QStringLiteral("/Trash/info")));
        return trash;
    }

    QString folder(const QString &name)
    {
        const QString path = m_root.filePath(name);
        EXPECT_TRUE(QDir().mkpath(path));
        return path;
    }

    // Creates the file and registers a presenter for it, unregistered again in TearDown.
    PresenterRef presenterFor(const QString &path)
    {
        EXPECT_TRUE(touch(path)) << path.toStdString();
        auto presenter = std::make_shared<RecordingPresenter>(path);
        KVFileCoordinator::addFilePresenter(presenter);
        m_presenters.push_back(presenter);
        return presenter;
    }

    // A rename whose notice, once seen, proves that every earlier event was handled: the watcher
    // reads events in order and the presenter queue is serial.
    void renameSentinelAndWait(const PresenterRef &sentinel)
    {
        const QString from = sentinel->presentedItemPath();
        const int before = sentinel->callCount();
        const QString to = from + QStringLiteral(".s");
        ASSERT_TRUE(renamePath(from, to));
        ASSERT_TRUE(KVTest::waitFor([&] { return sentinel->callCount() == before + 1; }));
        EXPECT_EQ(sentinel->moves().constLast(), to);
    }

    QTemporaryDir m_root;
    QString m_dataHome;
    QByteArray m_oldDataHome;
    bool m_hadDataHome = false;
    std::vector<PresenterRef> m_presenters;
};

TEST_F(KVFileCoordinatorTest, TrashFilesPathFollowsTheEnvironment)
{
    EXPECT_TRUE(KVFileCoordinator::trashFilesPath().isEmpty()) << "no Trash folder yet";
    const QString trash = makeTrash();
    EXPECT_EQ(KVFileCoordinator::trashFilesPath(), trash);

    qunsetenv("XDG_DATA_HOME");
    const QByteArray oldHome = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(m_root.path()));
    EXPECT_TRUE(QDir().mkpath(m_root.filePath(QStringLiteral(".local/share/Trash/files"))));
    EXPECT_EQ(KVFileCoordinator::trashFilesPath(),
              m_root.filePath(QStringLiteral(".local/share/Trash/files")));
    qputenv("HOME", oldHome);
}

TEST_F(KVFileCoordinatorTest, RenameWithinFolderIsReportedOnPresenterQueue)
{
    makeTrash();
    const QString photos = folder(QStringLiteral("photos"));
    const PresenterRef presenter = presenterFor(photos + QStringLiteral("/IMG_0001.JPG"));

    const QString renamed = photos + QStringLiteral("/Renamed.JPG");
    ASSERT_TRUE(renamePath(presenter->presentedItemPath(), renamed));

    ASSERT_TRUE(KVTest::waitFor([&] { return presenter->callCount() == 1; }));
    EXPECT_EQ(presenter->moves(), QStringList{renamed});
    EXPECT_FALSE(presenter->calledOnMainThread());
    EXPECT_FALSE(presenter->calledOffPresenterQueue());
    EXPECT_EQ(KVFileCoordinator::presenterQueue().maxConcurrentOperationCount(), 1);
}

TEST_F(KVFileCoordinatorTest, MoveIntoAnotherWatchedFolderIsReported)
{
    makeTrash();
    const QString first = folder(QStringLiteral("first"));
    const QString second = folder(QStringLiteral("second"));
    const PresenterRef moving = presenterFor(first + QStringLiteral("/a.jpg"));
    const PresenterRef staying = presenterFor(second + QStringLiteral("/b.jpg"));

    const QString target = second + QStringLiteral("/a moved.jpg");
    ASSERT_TRUE(renamePath(first + QStringLiteral("/a.jpg"), target));
    ASSERT_TRUE(KVTest::waitFor([&] { return moving->callCount() == 1; }));
    EXPECT_EQ(moving->moves(), QStringList{target});

    // Found at its new place: a rename there is followed, although its first folder has no
    // presenter left.
    const QString again = second + QStringLiteral("/a again.jpg");
    ASSERT_TRUE(renamePath(target, again));
    ASSERT_TRUE(KVTest::waitFor([&] { return moving->callCount() == 2; }));
    EXPECT_EQ(moving->moves().constLast(), again);
    EXPECT_EQ(staying->callCount(), 0);
}

TEST_F(KVFileCoordinatorTest, MoveIntoTrashReportsTheTrashPath)
{
    const QString trash = makeTrash();
    const QString photos = folder(QStringLiteral("photos"));
    const PresenterRef presenter = presenterFor(photos + QStringLiteral("/IMG_0002.CR2"));

    ASSERT_TRUE(
        renamePath(presenter->presentedItemPath(), trash + QStringLiteral("/IMG_0002.CR2")));
    ASSERT_TRUE(KVTest::waitFor([&] { return presenter->callCount() == 1; }));
    EXPECT_EQ(presenter->moves(), QStringList{trash + QStringLiteral("/IMG_0002.CR2")});
    EXPECT_TRUE(presenter->moves().constFirst().startsWith(KVFileCoordinator::trashFilesPath()));
}

TEST_F(KVFileCoordinatorTest, SuccessiveRenamesAreFollowed)
{
    makeTrash();
    const QString photos = folder(QStringLiteral("photos"));
    const PresenterRef presenter = presenterFor(photos + QStringLiteral("/one.jpg"));

    // Back to back, before the first notice can have run: the index must follow at once.
    ASSERT_TRUE(
        renamePath(photos + QStringLiteral("/one.jpg"), photos + QStringLiteral("/two.jpg")));
    ASSERT_TRUE(
        renamePath(photos + QStringLiteral("/two.jpg"), photos + QStringLiteral("/three.jpg")));
    ASSERT_TRUE(KVTest::waitFor([&] { return presenter->callCount() == 2; }));

    ASSERT_TRUE(
        renamePath(photos + QStringLiteral("/three.jpg"), photos + QStringLiteral("/four.jpg")));
    ASSERT_TRUE(KVTest::waitFor([&] { return presenter->callCount() == 3; }));
    EXPECT_EQ(presenter->moves(), (QStringList{photos + QStringLiteral("/two.jpg"),
                                               photos + QStringLiteral("/three.jpg"),
                                               photos + QStringLiteral("/four.jpg")}));
}

TEST_F(KVFileCoordinatorTest, RemovedPresenterIsNotCalled)
{
    makeTrash();
    const QString photos = folder(QStringLiteral("photos"));
    const PresenterRef removed = presenterFor(photos + QStringLiteral("/removed.jpg"));
    const PresenterRef sentinel = presenterFor(photos + QStringLiteral("/sentinel.jpg"));
    KVFileCoordinator::removeFilePresenter(removed.get());

    ASSERT_TRUE(
        renamePath(photos + QStringLiteral("/removed.jpg"), photos + QStringLiteral("/x.jpg")));
    renameSentinelAndWait(sentinel);
    EXPECT_EQ(removed->callCount(), 0);
}

TEST_F(KVFileCoordinatorTest, PresenterRemovingItselfInsideTheNoticeIsCalledOnce)
{
    const QString trash = makeTrash();
    const QString photos = folder(QStringLiteral("photos"));
    ASSERT_TRUE(touch(photos + QStringLiteral("/self.jpg")));
    auto presenter = std::make_shared<RecordingPresenter>(photos + QStringLiteral("/self.jpg"));
    presenter->setUnregisterWhenCalled(true);
    KVFileCoordinator::addFilePresenter(presenter);
    m_presenters.push_back(presenter);
    const PresenterRef sentinel = presenterFor(photos + QStringLiteral("/sentinel.jpg"));

    ASSERT_TRUE(
        renamePath(photos + QStringLiteral("/self.jpg"), trash + QStringLiteral("/self.jpg")));
    ASSERT_TRUE(KVTest::waitFor([&] { return presenter->callCount() == 1; }));
    ASSERT_TRUE(
        renamePath(trash + QStringLiteral("/self.jpg"), trash + QStringLiteral("/self2.jpg")));
    renameSentinelAndWait(sentinel);
    EXPECT_EQ(presenter->callCount(), 1);
}

TEST_F(KVFileCoordinatorTest, DeadPresenterIsNotCalled)
{
    makeTrash();
    const QString photos = folder(QStringLiteral("photos"));
    const PresenterRef sentinel = presenterFor(photos + QStringLiteral("/sentinel.jpg"));
    auto destroyed = std::make_shared<std::atomic<int>>(0);
    {
        ASSERT_TRUE(touch(photos + QStringLiteral("/dead.jpg")));
        auto dead = std::make_shared<RecordingPresenter>(photos + QStringLiteral("/dead.jpg"),
                                                         destroyed);
        KVFileCoordinator::addFilePresenter(dead);
        // Released without unregistering.
    }
    ASSERT_EQ(destroyed->load(), 1);

    ASSERT_TRUE(
        renamePath(photos + QStringLiteral("/dead.jpg"), photos + QStringLiteral("/d2.jpg")));
    renameSentinelAndWait(sentinel);
    // A new presenter may take the dead one's address; it is called for its own file only.
    const PresenterRef fresh = presenterFor(photos + QStringLiteral("/fresh.jpg"));
    ASSERT_TRUE(
        renamePath(photos + QStringLiteral("/fresh.jpg"), photos + QStringLiteral("/f2.jpg")));
    ASSERT_TRUE(KVTest::waitFor([&] { return fresh->callCount() == 1; }));
    EXPECT_EQ(fresh->moves(), QStringList{photos + QStringLiteral("/f2.jpg")});
}

TEST_F(KVFileCoordinatorTest, MoveToAnUnwatchedFolderGivesNoCall)
{
    makeTrash();
    const QString photos = folder(QStringLiteral("photos"));
    const QString elsewhere = folder(QStringLiteral("elsewhere"));
    const PresenterRef leaving = presenterFor(photos + QStringLiteral("/leaving.jpg"));
    const PresenterRef sentinel = presenterFor(photos + QStringLiteral("/sentinel.jpg"));

    ASSERT_TRUE(renamePath(photos + QStringLiteral("/leaving.jpg"),
                           elsewhere + QStringLiteral("/leaving.jpg")));
    renameSentinelAndWait(sentinel);
    // Coming back is a move from an unwatched place: not known to be the same file either.
    ASSERT_TRUE(renamePath(elsewhere + QStringLiteral("/leaving.jpg"),
                           photos + QStringLiteral("/leaving.jpg")));
    renameSentinelAndWait(sentinel);
    EXPECT_EQ(leaving->callCount(), 0);
}

TEST_F(KVFileCoordinatorTest, ManyFilesRenamedAtOnceAreReportedExactlyOnce)
{
    makeTrash();
    const QString photos = folder(QStringLiteral("photos"));
    const QString renamed = folder(QStringLiteral("renamed"));
    const PresenterRef keepWatched = presenterFor(renamed + QStringLiteral("/keep.jpg"));
    constexpr int count = 200;
    std::vector<PresenterRef> presenters;
    for (int index = 0; index < count; ++index)
        presenters.push_back(presenterFor(photos + QStringLiteral("/IMG_%1.JPG").arg(index)));

    for (int index = 0; index < count; ++index) {
        const QString from = photos + QStringLiteral("/IMG_%1.JPG").arg(index);
        // Half stay in their folder, half go to the other watched folder.
        const QString to =
            (index % 2 ? renamed : photos) + QStringLiteral("/new_%1.JPG").arg(index);
        ASSERT_TRUE(renamePath(from, to));
    }
    const PresenterRef sentinel = presenterFor(photos + QStringLiteral("/sentinel.jpg"));
    renameSentinelAndWait(sentinel);

    for (int index = 0; index < count; ++index) {
        const QString expected =
            (index % 2 ? renamed : photos) + QStringLiteral("/new_%1.JPG").arg(index);
        EXPECT_EQ(presenters[index]->moves(), QStringList{expected}) << index;
    }
}

TEST_F(KVFileCoordinatorTest, RenamedFolderTakesItsPresentersAlong)
{
    makeTrash();
    const QString album = folder(QStringLiteral("parent/album"));
    const PresenterRef first = presenterFor(album + QStringLiteral("/1.jpg"));
    const PresenterRef second = presenterFor(album + QStringLiteral("/2.jpg"));

    const QString renamedAlbum = m_root.filePath(QStringLiteral("parent/album 2023"));
    ASSERT_TRUE(renamePath(album, renamedAlbum));
    ASSERT_TRUE(
        KVTest::waitFor([&] { return first->callCount() == 1 && second->callCount() == 1; }));
    EXPECT_EQ(first->moves(), QStringList{renamedAlbum + QStringLiteral("/1.jpg")});
    EXPECT_EQ(second->moves(), QStringList{renamedAlbum + QStringLiteral("/2.jpg")});

    // Still watched under its new name.
    ASSERT_TRUE(renamePath(renamedAlbum + QStringLiteral("/1.jpg"),
                           renamedAlbum + QStringLiteral("/one.jpg")));
    ASSERT_TRUE(KVTest::waitFor([&] { return first->callCount() == 2; }));
    EXPECT_EQ(first->moves().constLast(), renamedAlbum + QStringLiteral("/one.jpg"));
}

TEST_F(KVFileCoordinatorTest, FolderMovedIntoTheTrashTakesItsPresentersAlong)
{
    const QString trash = makeTrash();
    const QString album = folder(QStringLiteral("parent/album"));
    const PresenterRef presenter = presenterFor(album + QStringLiteral("/1.jpg"));

    ASSERT_TRUE(renamePath(album, trash + QStringLiteral("/album")));
    ASSERT_TRUE(KVTest::waitFor([&] { return presenter->callCount() == 1; }));
    EXPECT_EQ(presenter->moves(), QStringList{trash + QStringLiteral("/album/1.jpg")});
}

TEST_F(KVFileCoordinatorTest, FolderMovedToAnUnwatchedPlaceIsNoLongerReportedUnderItsOldPath)
{
    makeTrash();
    const QString album = folder(QStringLiteral("parent/album"));
    const QString elsewhere = folder(QStringLiteral("elsewhere"));
    const PresenterRef presenter = presenterFor(album + QStringLiteral("/1.jpg"));
    const PresenterRef sentinel = presenterFor(folder(QStringLiteral("other")) +
                                               QStringLiteral("/sentinel.jpg"));

    ASSERT_TRUE(renamePath(album, elsewhere + QStringLiteral("/album")));
    renameSentinelAndWait(sentinel);
    ASSERT_TRUE(renamePath(elsewhere + QStringLiteral("/album/1.jpg"),
                           elsewhere + QStringLiteral("/album/2.jpg")));
    renameSentinelAndWait(sentinel);
    EXPECT_EQ(presenter->callCount(), 0);
}

TEST_F(KVFileCoordinatorTest, FolderKnownByTwoPathsReportsEachPresenterInItsOwnTerms)
{
    makeTrash();
    const QString real = folder(QStringLiteral("real"));
    const QString link = m_root.filePath(QStringLiteral("link"));
    ASSERT_TRUE(QFile::link(real, link));
    const PresenterRef direct = presenterFor(real + QStringLiteral("/a.jpg"));
    const PresenterRef throughLink = presenterFor(link + QStringLiteral("/b.jpg"));

    ASSERT_TRUE(renamePath(real + QStringLiteral("/a.jpg"), real + QStringLiteral("/a2.jpg")));
    ASSERT_TRUE(renamePath(real + QStringLiteral("/b.jpg"), real + QStringLiteral("/b2.jpg")));
    ASSERT_TRUE(
        KVTest::waitFor([&] { return direct->callCount() == 1 && throughLink->callCount() == 1; }));
    EXPECT_EQ(direct->moves(), QStringList{real + QStringLiteral("/a2.jpg")});
    EXPECT_EQ(throughLink->moves(), QStringList{link + QStringLiteral("/b2.jpg")});

    // Unregistering the presenter of one path keeps the folder watched for the other.
    KVFileCoordinator::removeFilePresenter(throughLink.get());
    ASSERT_TRUE(renamePath(real + QStringLiteral("/a2.jpg"), real + QStringLiteral("/a3.jpg")));
    ASSERT_TRUE(KVTest::waitFor([&] { return direct->callCount() == 2; }));
}

TEST_F(KVFileCoordinatorTest, TrashCreatedLaterIsWatched)
{
    const QString photos = folder(QStringLiteral("photos"));
    const PresenterRef presenter = presenterFor(photos + QStringLiteral("/later.jpg"));
    const PresenterRef sentinel = presenterFor(photos + QStringLiteral("/sentinel.jpg"));
    ASSERT_TRUE(KVFileCoordinator::trashFilesPath().isEmpty());

    const QString trash = makeTrash();
    // Once the sentinel's notice is in, the Trash's appearance has been handled too.
    renameSentinelAndWait(sentinel);
    ASSERT_TRUE(
        renamePath(photos + QStringLiteral("/later.jpg"), trash + QStringLiteral("/later.jpg")));
    ASSERT_TRUE(KVTest::waitFor([&] { return presenter->callCount() == 1; }));
    EXPECT_EQ(presenter->moves(), QStringList{trash + QStringLiteral("/later.jpg")});
}

TEST_F(KVFileCoordinatorTest, ItemTrashedAsTheTrashAppearsIsFoundThroughItsTrashInfo)
{
    const QString photos = folder(QStringLiteral("photos"));
    const QString original = photos + QStringLiteral("/first trashed.jpg");
    const PresenterRef presenter = presenterFor(original);

    // What a desktop does on the first move to the Trash: make the folders, write the info
    // file, rename; all at once, so the watcher may see the Trash only afterwards.
    const QString trash = makeTrash();
    QFile info(m_dataHome + QStringLiteral("/Trash/info/first trashed.jpg.trashinfo"));
    ASSERT_TRUE(info.open(QIODevice::WriteOnly));
    info.write("[Trash Info]\nPath=" + QUrl::toPercentEncoding(original, "/") +
               "\nDeletionDate=2024-01-01T10:00:00\n");
    info.close();
    ASSERT_TRUE(renamePath(original, trash + QStringLiteral("/first trashed.jpg")));

    ASSERT_TRUE(KVTest::waitFor([&] { return presenter->callCount() == 1; }));
    EXPECT_EQ(presenter->moves(), QStringList{trash + QStringLiteral("/first trashed.jpg")});
}

TEST_F(KVFileCoordinatorTest, ItemMovedInBeforeTheTrashWasWatchedIsFoundThroughItsTrashInfo)
{
    const QString photos = folder(QStringLiteral("photos"));
    const QString original = photos + QStringLiteral("/IMG 7.jpg");
    const PresenterRef presenter = presenterFor(original);

    // The item goes into a Trash that is not yet in place (an unpaired IN_MOVED_FROM), and the
    // whole Trash appears afterwards: only its info file tells where the item came from.
    const QString staging = folder(QStringLiteral("staging/Trash"));
    ASSERT_TRUE(QDir().mkpath(staging + QStringLiteral("/files")));
    ASSERT_TRUE(QDir().mkpath(staging + QStringLiteral("/info")));
    QFile info(staging + QStringLiteral("/info/IMG 7.jpg.trashinfo"));
    ASSERT_TRUE(info.open(QIODevice::WriteOnly));
    info.write("[Trash Info]\nPath=" + QUrl::toPercentEncoding(original, "/") +
               "\nDeletionDate=2024-01-01T10:00:00\n");
    info.close();
    ASSERT_TRUE(renamePath(original, staging + QStringLiteral("/files/IMG 7.jpg")));
    ASSERT_TRUE(renamePath(staging, m_dataHome + QStringLiteral("/Trash")));

    const QString expected = m_dataHome + QStringLiteral("/Trash/files/IMG 7.jpg");
    ASSERT_TRUE(KVTest::waitFor([&] { return presenter->callCount() == 1; }));
    EXPECT_EQ(presenter->moves(), QStringList{expected});
    EXPECT_TRUE(expected.startsWith(KVFileCoordinator::trashFilesPath()));
}

TEST_F(KVFileCoordinatorTest, TrashedItemWithAnotherOriginIsNotTakenForThePresentersFile)
{
    const QString photos = folder(QStringLiteral("photos"));
    const QString elsewhere = folder(QStringLiteral("elsewhere"));
    const PresenterRef presenter = presenterFor(photos + QStringLiteral("/IMG_0001.JPG"));
    const PresenterRef sentinel = presenterFor(photos + QStringLiteral("/sentinel.jpg"));

    // Same name, other camera: the Trash's item came from another folder.
    const QString staging = folder(QStringLiteral("staging/Trash"));
    ASSERT_TRUE(QDir().mkpath(staging + QStringLiteral("/files")));
    ASSERT_TRUE(QDir().mkpath(staging + QStringLiteral("/info")));
    QFile info(staging + QStringLiteral("/info/IMG_0001.JPG.trashinfo"));
    ASSERT_TRUE(info.open(QIODevice::WriteOnly));
    info.write("[Trash Info]\nPath=" +
               QUrl::toPercentEncoding(elsewhere + QStringLiteral("/IMG_0001.JPG"), "/") + "\n");
    info.close();
    ASSERT_TRUE(touch(staging + QStringLiteral("/files/IMG_0001.JPG")));
    ASSERT_TRUE(renamePath(photos + QStringLiteral("/IMG_0001.JPG"),
                           elsewhere + QStringLiteral("/IMG_0001.JPG")));
    ASSERT_TRUE(renamePath(staging, m_dataHome + QStringLiteral("/Trash")));

    // Past the pairing window, the unpaired move has been dropped.
    QThread::msleep(800);
    renameSentinelAndWait(sentinel);
    EXPECT_EQ(presenter->callCount(), 0);
}

TEST_F(KVFileCoordinatorTest, PresenterRegisteredTwiceIsCalledOnce)
{
    makeTrash();
    const QString photos = folder(QStringLiteral("photos"));
    const PresenterRef presenter = presenterFor(photos + QStringLiteral("/twice.jpg"));
    const PresenterRef sentinel = presenterFor(photos + QStringLiteral("/sentinel.jpg"));
    KVFileCoordinator::addFilePresenter(presenter);

    ASSERT_TRUE(
        renamePath(photos + QStringLiteral("/twice.jpg"), photos + QStringLiteral("/once.jpg")));
    renameSentinelAndWait(sentinel);
    EXPECT_EQ(presenter->moves(), QStringList{photos + QStringLiteral("/once.jpg")});
}

TEST_F(KVFileCoordinatorTest, DeletedFolderIsWatchedAgainWhenAPresenterRegistersInIt)
{
    makeTrash();
    const QString photos = folder(QStringLiteral("photos"));
    const PresenterRef early = presenterFor(photos + QStringLiteral("/early.jpg"));
    const QString other = folder(QStringLiteral("other"));
    const PresenterRef sentinel = presenterFor(other + QStringLiteral("/sentinel.jpg"));

    ASSERT_TRUE(QDir(photos).removeRecursively());
    renameSentinelAndWait(sentinel); // the kernel's end of the watch has been handled
    ASSERT_TRUE(QDir().mkpath(photos));
    const PresenterRef late = presenterFor(photos + QStringLiteral("/late.jpg"));
    ASSERT_TRUE(touch(photos + QStringLiteral("/early.jpg")));

    ASSERT_TRUE(
        renamePath(photos + QStringLiteral("/early.jpg"), photos + QStringLiteral("/e2.jpg")));
    ASSERT_TRUE(
        renamePath(photos + QStringLiteral("/late.jpg"), photos + QStringLiteral("/l2.jpg")));
    ASSERT_TRUE(KVTest::waitFor([&] { return early->callCount() == 1 && late->callCount() == 1; }));
    EXPECT_EQ(early->moves(), QStringList{photos + QStringLiteral("/e2.jpg")});
    EXPECT_EQ(late->moves(), QStringList{photos + QStringLiteral("/l2.jpg")});
}

TEST_F(KVFileCoordinatorTest, RegistrationsFromManyThreadsDuringRenamesAreSafe)
{
    makeTrash();
    const QString photos = folder(QStringLiteral("photos"));
    const PresenterRef renamed = presenterFor(photos + QStringLiteral("/r0.jpg"));
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        const QString own = folder(QStringLiteral("thread%1").arg(thread));
        threads.emplace_back([own, &stop] {
            for (int round = 0; !stop.load(); ++round) {
                const QString path = own + QStringLiteral("/f%1.jpg").arg(round % 8);
                auto presenter = std::make_shared<RecordingPresenter>(path);
                KVFileCoordinator::addFilePresenter(presenter);
                if (round % 3 == 0)
                    KVFileCoordinator::removeFilePresenter(presenter.get());
                // Every other one dies registered.
            }
        });
    }
    for (int index = 0; index < 50; ++index) {
        ASSERT_TRUE(renamePath(photos + QStringLiteral("/r%1.jpg").arg(index),
                               photos + QStringLiteral("/r%1.jpg").arg(index + 1)));
    }
    ASSERT_TRUE(KVTest::waitFor([&] { return renamed->callCount() == 50; }));
    stop = true;
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(renamed->moves().constLast(), photos + QStringLiteral("/r50.jpg"));
}

} // namespace
