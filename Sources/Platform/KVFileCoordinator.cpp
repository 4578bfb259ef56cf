// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVFileCoordinator.h"

#include "KVBaseOperationQueue.h"
#include "KVFileName.h"
#include "KVInotifyWatcher.h"
#include "KVInvocationOperation.h"
#include "KVLog.h"
#include "KVWatchedFolders.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>
#include <deque>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// How long an IN_MOVED_FROM waits for the IN_MOVED_TO of the same rename. The kernel queues
// both at once, but a read may fall between them.
constexpr std::chrono::milliseconds kPairWindow(500);
// How long the items found in a Trash that appeared while watched wait for an unpaired move.
constexpr std::chrono::seconds kRecoveryWindow(10);
// At most this many items of a Trash that has just appeared are looked at.
constexpr int kRecoveryScanLimit = 512;
// A file that left its folder for one nobody watches is looked for by its identity, among at
// most this many entries, at most this many folders below its folder's parent.
constexpr int kMovedFileScanLimit = 20000;
constexpr int kMovedFileScanDepth = 3;

// Which file a path names: device and inode, never following a link. Zero inode when absent.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool isValid() const { return inode != 0; }
    bool operator==(const FileIdentity &) const = default;
};

FileIdentity identityOf(const QString &path) {
    struct stat info {};
    if (::lstat(KVFileName::encode(path).constData(), &info) != 0)
        return {};
    return {info.st_dev, info.st_ino};
}

QString normalizedPath(const QString &path) {
    if (path.isEmpty())
        return {};
    return KVFileName::absolute(path);
}

// The folder part of a normalized path ("/" for a file at the root).
QString folderOf(const QString &path) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash <= 0 ? QStringLiteral("/") : path.left(slash);
}

QString nameOf(const QString &path) {
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString joinPath(const QString &folder, const QString &name) {
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

// $XDG_DATA_HOME/Trash/files, whether it exists or not; the environment is read at each call.
QString trashFilesLocation() {
    QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (dataHome.isEmpty() || !QDir::isAbsolutePath(dataHome)) {
        QString home = qEnvironmentVariable("HOME");
        if (home.isEmpty())
            home = QDir::homePath();
        dataHome = home + QStringLiteral("/.local/share");
    }
    return QDir::cleanPath(dataHome + QStringLiteral("/Trash/files"));
}

// One notice to hand to a presenter on the presenter queue.
struct Delivery {
    const KVFilePresenter *raw;
    std::weak_ptr<KVFilePresenter> presenter;
    QString newPath;
};

class Coordinator {
public:
    static Coordinator &instance() {
        // Never destroyed: presenters may unregister from static destructors of any order.
        static Coordinator *coordinator = new Coordinator;
        return *coordinator;
    }

    void add(const std::shared_ptr<KVFilePresenter> &presenter);
    void remove(const KVFilePresenter *presenter);
    void shutDown();

private:
    struct Registration {
        std::weak_ptr<KVFilePresenter> presenter;
        QString path;
        FileIdentity identity;
    };
    struct PendingMove {
        std::vector<QString> sources;
        Clock::time_point seen;
    };
    struct RecoveredTrashItem {
        QString trashPath;
        Clock::time_point until;
    };

    std::chrono::milliseconds handleEvents(const std::vector<KVInotifyEvent> &events);
    void deliver(const std::vector<Delivery> &deliveries);
    void run(const Delivery &delivery);
    void flushMessages();

    // The functions below need m_mutex.
    void startWatcherLocked();
    void unregisterLocked(const KVFilePresenter *raw);
    void sweepDeadPresentersLocked();
    void movePresentersLocked(const QString &from, const QString &to,
                              std::vector<Delivery> &deliveries);
    void moveFolderLocked(const QString &from, const QString &to,
                          std::vector<Delivery> &deliveries);
    void updateTrashLocked();
    void recoverTrashItemsLocked(const QString &trash);
    void expirePendingLocked(Clock::time_point now, std::vector<Delivery> &deliveries);
    void refreshIdentityLocked(const QString &path);
    QString findMovedFileLocked(const QString &source) const;
    std::chrono::milliseconds nextTimeoutLocked(Clock::time_point now) const;

    std::mutex m_mutex;
    // Made at the first registration and never destroyed; the thread is joined at exit.
    KVInotifyWatcher *m_watcher = nullptr;
    KVWatchedFolders *m_folders = nullptr;
    bool m_shutDown = false;
    size_t m_sweepThreshold = 64;
    std::unordered_map<const KVFilePresenter *, Registration> m_registrations;
    std::unordered_map<QString, std::vector<const KVFilePresenter *>> m_byPath;
    QString m_trashLocation;
    bool m_trashMissing = false;
    std::unordered_map<uint32_t, PendingMove> m_pending;
    std::unordered_map<QString, RecoveredTrashItem> m_recovered; // by original path
    std::vector<QString> m_messages;
};

// Joins the watcher thread when the process exits; the coordinator's state stays alive.
struct WatcherShutDown {
    ~WatcherShutDown() { Coordinator::instance().shutDown(); }
};

void Coordinator::add(const std::shared_ptr<KVFilePresenter> &presenter) {
    if (!presenter)
        return;
    // Asked outside the lock: the presenter may take locks of its own.
    const QString path = normalizedPath(presenter->presentedItemPath());
    const QString trash = trashFilesLocation();
    {
        std::lock_guard lock(m_mutex);
        startWatcherLocked();
        if (trash != m_trashLocation) {
            m_trashLocation = trash;
            m_trashMissing = false;
            m_recovered.clear();
        }
        updateTrashLocked();

        const KVFilePresenter *raw = presenter.get();
        // Retain the new folder before releasing the old one, so that re-registering in the
        // same folder never drops and re-adds its watch.
        if (!path.isEmpty())
            m_folders->retain(folderOf(path));
        unregisterLocked(raw);
        if (!path.isEmpty()) {
            m_registrations[raw] = Registration{presenter, path, identityOf(path)};
            m_byPath[path].push_back(raw);
        }
        sweepDeadPresentersLocked();
    }
    flushMessages();
}

void Coordinator::remove(const KVFilePresenter *presenter) {
    {
        std::lock_guard lock(m_mutex);
        unregisterLocked(presenter);
    }
    flushMessages();
}

void Coordinator::shutDown() {
    KVInotifyWatcher *watcher = nullptr;
    {
        std::lock_guard lock(m_mutex);
        m_shutDown = true;
        watcher = m_watcher;
    }
    if (watcher)
        watcher->stop();
}

void Coordinator::startWatcherLocked() {
    if (m_watcher)
        return;
    m_watcher = new KVInotifyWatcher(
        [this](const std::vector<KVInotifyEvent> &events) { return handleEvents(events); });
    m_folders = new KVWatchedFolders(*m_watcher);
    if (!m_watcher->isValid())
        m_messages.push_back(QStringLiteral("File coordinator: no inotify instance (%1)")
                                 .arg(QString::fromLocal8Bit(strerror(errno))));
    if (m_shutDown)
        return; // registered during exit: nothing is watched any more
    m_watcher->start();
    static WatcherShutDown shutDownAtExit;
}

void Coordinator::unregisterLocked(const KVFilePresenter *raw) {
    const auto found = m_registrations.find(raw);
    if (found == m_registrations.end())
        return;
    const QString path = found->second.path;
    m_registrations.erase(found);
    const auto indexed = m_byPath.find(path);
    if (indexed != m_byPath.end()) {
        std::erase(indexed->second, raw);
        if (indexed->second.empty())
            m_byPath.erase(indexed);
    }
    m_folders->release(folderOf(path));
}

// Presenters that died without unregistering are dropped when their file moves; those whose
// file never moves are swept here, at amortized constant cost per registration.
void Coordinator::sweepDeadPresentersLocked() {
    if (m_registrations.size() < m_sweepThreshold)
        return;
    std::vector<const KVFilePresenter *> dead;
    for (const auto &[raw, registration] : m_registrations) {
        if (registration.presenter.expired())
            dead.push_back(raw);
    }
    for (const KVFilePresenter *raw : dead)
        unregisterLocked(raw);
    m_sweepThreshold = std::max<size_t>(64, 2 * m_registrations.size());
}

void Coordinator::movePresentersLocked(const QString &from, const QString &to,
                                       std::vector<Delivery> &deliveries) {
    if (from == to)
        return;
    const auto found = m_byPath.find(from);
    if (found == m_byPath.end())
        return;
    const std::vector<const KVFilePresenter *> moved = std::move(found->second);
    m_byPath.erase(found);
    for (const KVFilePresenter *raw : moved) {
        Registration &registration = m_registrations.at(raw);
        if (registration.presenter.expired()) {
            // Died without unregistering: forget it.
            m_registrations.erase(raw);
            m_folders->release(folderOf(from));
            continue;
        }
        deliveries.push_back(Delivery{raw, registration.presenter, to});
        registration.path = to;
        m_byPath[to].push_back(raw);
        m_folders->retain(folderOf(to));
        m_folders->release(folderOf(from));
    }
}

// A folder with presenters' files in it was renamed or moved (seen in its watched parent):
// every presenter of a file directly in it follows.
void Coordinator::moveFolderLocked(const QString &from, const QString &to,
                                   std::vector<Delivery> &deliveries) {
    if (from == to || !m_folders->hasPresenters(from))
        return;
    std::vector<QString> files;
    for (const auto &[raw, registration] : m_registrations) {
        if (folderOf(registration.path) == from)
            files.push_back(registration.path);
    }
    std::sort(files.begin(), files.end());
    files.erase(std::unique(files.begin(), files.end()), files.end());
    for (const QString &file : files)
        movePresentersLocked(file, joinPath(to, nameOf(file)), deliveries);
}

// Watches the Trash folder, or while it does not exist, its nearest existing ancestor.
void Coordinator::updateTrashLocked() {
    // A folder made between looking and watching sends no event to the new watch: so look
    // again once the watch is in place, until nothing has changed.
    QString previousTarget;
    for (int round = 0; round < 16; ++round) {
        QString trashFolder;
        QString ancestorFolder;
        if (!m_trashLocation.isEmpty()) {
            if (KVFileName::isFolder(m_trashLocation)) {
                trashFolder = m_trashLocation;
            } else {
                QString candidate = folderOf(m_trashLocation);
                while (candidate != QLatin1String("/") && !KVFileName::isFolder(candidate))
                    candidate = folderOf(candidate);
                ancestorFolder = candidate;
            }
        }
        const QString target = trashFolder.isEmpty() ? ancestorFolder : trashFolder;
        if (round > 0 && target == previousTarget)
            return;
        previousTarget = target;

        const bool trashWatched = m_folders->assignTrashRoles(trashFolder, ancestorFolder);
        if (!trashFolder.isEmpty()) {
            if (trashWatched && m_trashMissing)
                recoverTrashItemsLocked(trashFolder);
            m_trashMissing = !trashWatched;
            return;
        }
        m_trashMissing = true;
    }
}

// The Trash has just appeared and is watched from now on. An item may have been moved into it
// before the watch was in place: note where each item came from (its .trashinfo file of the
// freedesktop.org Trash layout), so that an unpaired IN_MOVED_FROM of that path still finds it.
void Coordinator::recoverTrashItemsLocked(const QString &trash) {
    const QString infoFolder = folderOf(trash) + QStringLiteral("/info");
    const Clock::time_point until = Clock::now() + kRecoveryWindow;
    const QStringList items = KVFileName::entries(trash, KVFileName::Hidden::Included);
    for (int count = 0; count < items.size() && count < kRecoveryScanLimit; ++count) {
        const QString &item = items[count];
        const QString infoPath = joinPath(infoFolder, nameOf(item) + QStringLiteral(".trashinfo"));
        QFile info;
        if (!KVFileName::openForReading(infoPath, info))
            continue;
        const QList<QByteArray> lines = info.read(64 * 1024).split('\n');
        for (const QByteArray &line : lines) {
            if (!line.startsWith("Path="))
                continue;
            // The bytes of the path, percent-encoded: a name need not be UTF-8.
            const QString original =
                KVFileName::decode(QByteArray::fromPercentEncoding(line.mid(5).trimmed()));
            if (QDir::isAbsolutePath(original))
                m_recovered[QDir::cleanPath(original)] = RecoveredTrashItem{item, until};
            break;
        }
    }
}

void Coordinator::expirePendingLocked(Clock::time_point now, std::vector<Delivery> &deliveries) {
    for (auto pending = m_pending.begin(); pending != m_pending.end();) {
        if (now - pending->second.seen < kPairWindow) {
            ++pending;
            continue;
        }
        for (const QString &source : pending->second.sources) {
            const auto recovered = m_recovered.find(source);
            if (recovered == m_recovered.end() || recovered->second.until < now) {
                // Moved to a folder nobody watches: found by its identity where a move most
                // likely took it, else left for the vanished-file check.
                if (m_byPath.count(source) != 0) {
                    const QString found = findMovedFileLocked(source);
                    if (!found.isEmpty())
                        movePresentersLocked(source, found, deliveries);
                }
                continue;
            }
            const QString trashPath = recovered->second.trashPath;
            m_recovered.erase(recovered);
            // Only if the item is still in the Trash under the name it had.
            if (KVFileName::exists(trashPath))
                movePresentersLocked(source, trashPath, deliveries);
        }
        pending = m_pending.erase(pending);
    }
    std::erase_if(m_recovered, [now](const auto &item) { return item.second.until < now; });
}

// A file was written anew under a registered path (a new version renamed over the photo): its
// identity is the new file's from now on.
void Coordinator::refreshIdentityLocked(const QString &path) {
    const auto found = m_byPath.find(path);
    if (found == m_byPath.end())
        return;
    // Read when the event is handled: a file already gone again keeps the identity it had.
    const FileIdentity identity = identityOf(path);
    if (!identity.isValid())
        return;
    for (const KVFilePresenter *raw : found->second)
        m_registrations.at(raw).identity = identity;
}

// Where the file of `source` went, by its identity: the trash folders of its volume and the
// user's, then the folders around it. Empty when it is not found there.
QString Coordinator::findMovedFileLocked(const QString &source) const {
    const auto indexed = m_byPath.find(source);
    if (indexed == m_byPath.end() || indexed->second.empty())
        return {};
    const FileIdentity identity = m_registrations.at(indexed->second.front()).identity;
    if (!identity.isValid())
        return {};

    // The volume's top: the last folder up from the source on the same device.
    QString top = folderOf(source);
    while (top != QLatin1String("/")) {
        const FileIdentity parent = identityOf(folderOf(top));
        if (!parent.isValid() || parent.device != identity.device)
            break;
        top = folderOf(top);
    }
    const QString uid = QString::number(::getuid());
    const QStringList trashes = {m_trashLocation, joinPath(top, ".Trash-" + uid + "/files"),
                                 joinPath(top, ".Trash/" + uid + "/files")};
    int scanned = 0;
    for (const QString &trash : trashes) {
        for (const QString &item : KVFileName::entries(trash, KVFileName::Hidden::Included)) {
            if (scanned++ >= kMovedFileScanLimit)
                break;
            if (identityOf(item) == identity)
                return item;
        }
    }

    // Breadth first from the folder above the source's, links never followed.
    std::deque<std::pair<QString, int>> folders{{folderOf(folderOf(source)), 0}};
    while (!folders.empty() && scanned < kMovedFileScanLimit) {
        const auto [folder, depth] = folders.front();
        folders.pop_front();
        for (const QString &entry : KVFileName::entries(folder, KVFileName::Hidden::Included)) {
            if (scanned++ >= kMovedFileScanLimit)
                break;
            if (KVFileName::isLink(entry))
                continue;
            if (KVFileName::isFolder(entry)) {
                if (depth < kMovedFileScanDepth)
                    folders.push_back({entry, depth + 1});
            } else if (identityOf(entry) == identity) {
                return entry;
            }
        }
    }
    return {};
}

std::chrono::milliseconds Coordinator::nextTimeoutLocked(Clock::time_point now) const {
    if (m_pending.empty())
        return std::chrono::milliseconds(-1);
    Clock::time_point earliest = Clock::time_point::max();
    for (const auto &[cookie, pending] : m_pending)
        earliest = std::min(earliest, pending.seen + kPairWindow);
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(earliest - now);
    return std::max(wait, std::chrono::milliseconds(1));
}

std::chrono::milliseconds Coordinator::handleEvents(const std::vector<KVInotifyEvent> &events) {
    std::vector<Delivery> deliveries;
    std::chrono::milliseconds timeout;
    {
        std::lock_guard lock(m_mutex);
        const Clock::time_point now = Clock::now();
        bool trashChanged = false;
        for (const KVInotifyEvent &event : events) {
            if (event.mask & IN_Q_OVERFLOW) {
                m_pending.clear();
                m_messages.push_back(QStringLiteral("File coordinator: inotify queue overflow, "
                                                    "moves were missed"));
                continue;
            }
            if (event.mask & IN_IGNORED) {
                trashChanged = m_folders->forget(event.wd) || trashChanged;
                continue;
            }
            const std::vector<QString> folders = m_folders->pathsOf(event.wd);
            if (folders.empty())
                continue; // a watch already removed
            if (event.mask & IN_MOVED_FROM) {
                PendingMove pending{{}, now};
                for (const QString &folder : folders)
                    pending.sources.push_back(joinPath(folder, event.name));
                m_pending[event.cookie] = std::move(pending);
            }
            if (event.mask & (IN_MOVED_TO | IN_CREATE)) {
                for (const QString &folder : folders)
                    refreshIdentityLocked(joinPath(folder, event.name));
            }
            if (event.mask & IN_MOVED_TO) {
                const auto pending = m_pending.find(event.cookie);
                if (pending != m_pending.end()) {
                    const std::vector<QString> sources = std::move(pending->second.sources);
                    m_pending.erase(pending);
                    for (const QString &source : sources) {
                        // Within one folder known by several paths, keep the path it had.
                        const QString sourceFolder = folderOf(source);
                        const bool same = std::find(folders.begin(), folders.end(), sourceFolder) !=
                                          folders.end();
                        const QString folder = same ? sourceFolder : folders.front();
                        const QString target = joinPath(folder, event.name);
                        movePresentersLocked(source, target, deliveries);
                        if (event.mask & IN_ISDIR)
                            moveFolderLocked(source, target, deliveries);
                    }
                }
            }
            // The folder itself moved: where the move was seen in a watched parent, its
            // presenters have followed already; the paths it left stop using its watch, so
            // that later events in it are never reported under its old path.
            if (event.mask & IN_MOVE_SELF)
                trashChanged = m_folders->detachMovedPaths(event.wd) || trashChanged;
            if ((event.mask & (IN_CREATE | IN_MOVED_TO)) && (event.mask & IN_ISDIR) &&
                m_folders->isTrashAncestor(event.wd))
                trashChanged = true;
        }
        if (trashChanged)
            updateTrashLocked();
        expirePendingLocked(now, deliveries);
        timeout = nextTimeoutLocked(now);
    }
    deliver(deliveries);
    flushMessages();
    return timeout;
}

// Only the watcher thread delivers, so notices reach the serial queue in the order of events.
void Coordinator::deliver(const std::vector<Delivery> &deliveries) {
    for (const Delivery &delivery : deliveries) {
        KVFileCoordinator::presenterQueue().addOperation(
            std::make_shared<KVInvocationOperation>([this, delivery] {
                run(delivery);
                return QVariant();
            }));
    }
}

void Coordinator::run(const Delivery &delivery) {
    const std::shared_ptr<KVFilePresenter> presenter = delivery.presenter.lock();
    if (!presenter)
        return;
    // Still registered (not removed since, and not another object at the same address)?
    bool registered = false;
    {
        std::lock_guard lock(m_mutex);
        const auto found = m_registrations.find(delivery.raw);
        registered = found != m_registrations.end() &&
                     !found->second.presenter.owner_before(delivery.presenter) &&
                     !delivery.presenter.owner_before(found->second.presenter);
    }
    if (registered)
        presenter->presentedItemDidMoveToPath(delivery.newPath);
}

void Coordinator::flushMessages() {
    std::vector<QString> messages;
    {
        std::lock_guard lock(m_mutex);
        messages.swap(m_messages);
        if (m_folders) {
            for (QString &message : m_folders->takeMessages())
                messages.push_back(std::move(message));
        }
    }
    for (const QString &message : messages)
        KVLogVerbose(message);
}

} // namespace

namespace KVFileCoordinator {

void addFilePresenter(const std::shared_ptr<KVFilePresenter> &presenter) {
    Coordinator::instance().add(presenter);
}

void removeFilePresenter(const KVFilePresenter *presenter) {
    if (presenter)
        Coordinator::instance().remove(presenter);
}

KVBaseOperationQueue &presenterQueue() {
    // Never destroyed: notices may still be queued when the process exits.
    static KVBaseOperationQueue *queue = [] {
        auto *created = new KVBaseOperationQueue;
        created->setMaxConcurrentOperationCount(1);
        return created;
    }();
    return *queue;
}

bool isTrashPath(const QString &path) {
    const QString home = trashFilesPath();
    if (!home.isEmpty() && path.startsWith(home + QLatin1Char('/')))
        return true;
    // The trash of another volume: <top>/.Trash-<uid>/files or <top>/.Trash/<uid>/files.
    const QString uid = QString::number(::getuid());
    return path.contains(QStringLiteral("/.Trash-") + uid + QStringLiteral("/files/")) ||
           path.contains(QStringLiteral("/.Trash/") + uid + QStringLiteral("/files/"));
}

QString trashFilesPath() {
    const QString location = trashFilesLocation();
    return KVFileName::isFolder(location) ? location : QString();
}

} // namespace KVFileCoordinator
