// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVPhotoWriter.h"

#include "KVChildProcess.h"
#include "KVDateTags.h"
#include "KVFileName.h"
#include "KVLog.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QLocale>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

std::mutex toolPathMutex;
QString toolPath;

// The name the tool writes its result to inside the private folder. Without an extension the
// tool keeps the type of the photo it reads.
const char kResultName[] = "new";

QString errorText(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

QString replacedText() {
    return KVPhotoWriter::tr("The file was replaced during syncing.");
}

// A descriptor closed when it goes out of scope.
class Descriptor {
public:
    explicit Descriptor(int fd = -1)
        : m_fd(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return m_fd; }
    bool isValid() const { return m_fd != -1; }
    void reset(int fd = -1) {
        if (m_fd != -1)
            ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd;
};

QString descriptorPath(int fd) {
    return QStringLiteral("/proc/self/fd/%1").arg(fd);
}

// The same descriptor as the tool, a process of its own, must name it.
std::string descriptorPathForTool(int fd, const char *name = nullptr) {
    std::string path = "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(fd);
    if (name)
        path += std::string("/") + name;
    return path;
}

bool sameFile(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Takes an exclusive flock, waiting at most `wait`, and giving up early once `stop` says so.
bool lockExclusively(int fd, std::chrono::milliseconds wait, const std::function<bool()> &stop) {
    const auto deadline = std::chrono::steady_clock::now() + wait;
    for (;;) {
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0)
            return true;
        if (errno != EWOULDBLOCK && errno != EINTR)
            return false;
        if (stop() || std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

// Makes the private folder of one write in the photo's folder, exclusively, with a name no
// other writer can have chosen.
int makeWorkFolder(int folderFd, std::string *name, int *error) {
    static const char alphabet[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::string candidate = KVPhotoWriter::leftoverPrefix;
        for (int i = 0; i < 6; ++i)
            candidate += alphabet[QRandomGenerator::global()->bounded(int(sizeof alphabet - 1))];
        if (::mkdirat(folderFd, candidate.c_str(), 0700) != 0) {
            if (errno == EEXIST)
                continue;
            *error = errno;
            return -1;
        }
        const int fd =
            ::openat(folderFd, candidate.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd == -1) {
            *error = errno;
            ::unlinkat(folderFd, candidate.c_str(), AT_REMOVEDIR);
            return -1;
        }
        // Held while the write works in it, so that a clean-up by another process leaves it be.
        ::flock(fd, LOCK_EX | LOCK_NB);
        *name = candidate;
        return fd;
    }
    *error = EEXIST;
    return -1;
}

// Empties and removes a private folder; only plain entries can be in it.
void removeWorkFolder(int folderFd, const std::string &name, int workFd) {
    if (workFd != -1) {
        if (DIR *listing = ::fdopendir(::dup(workFd))) {
            while (const dirent *entry = ::readdir(listing)) {
                if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
                    ::unlinkat(::dirfd(listing), entry->d_name, 0);
            }
            ::closedir(listing);
        }
    }
    ::unlinkat(folderFd, name.c_str(), AT_REMOVEDIR);
}

// The photo's extended attributes (tags and comments desktops keep there, access control
// lists) go with it to its new version, as far as the file system and the user's rights allow.
void copyExtendedAttributes(int fromFd, int toFd) {
    const ssize_t size = ::flistxattr(fromFd, nullptr, 0);
    if (size <= 0)
        return;
    std::vector<char> names(static_cast<size_t>(size));
    const ssize_t got = ::flistxattr(fromFd, names.data(), names.size());
    if (got <= 0)
        return;
    std::vector<char> value;
    for (const char *name = names.data(); name < names.data() + got;
         name += std::strlen(name) + 1) {
        const ssize_t length = ::fgetxattr(fromFd, name, nullptr, 0);
        if (length < 0)
            continue;
        value.resize(static_cast<size_t>(length));
        if (::fgetxattr(fromFd, name, value.data(), value.size()) == length)
            ::fsetxattr(toFd, name, value.data(), value.size(), 0);
    }
}

// The tool's messages about one photo, in the user's words: its errors and warnings, with the
// descriptor paths it was given put back to the photo's name.
QString toolMessages(const std::string &answer, const std::string &sourcePath,
                     const std::string &resultPath, const QString &photoName) {
    QStringList messages;
    const QString source = QString::fromStdString(sourcePath);
    const QString result = QString::fromStdString(resultPath);
    for (const QString &line : QString::fromUtf8(answer).split(QLatin1Char('\n'))) {
        const QString trimmed = line.trimmed();
        if (!trimmed.startsWith(QLatin1String("Error")) &&
            !trimmed.startsWith(QLatin1String("Warning")))
            continue;
        QString message = trimmed;
        message.replace(source, photoName);
        message.replace(result, photoName);
        messages.append(message);
    }
    return messages.join(QLatin1Char('\n'));
}

} // namespace

void KVSetToolPath(const QString &path) {
    std::lock_guard lock(toolPathMutex);
    toolPath = path;
}

QString KVToolPath() {
    std::lock_guard lock(toolPathMutex);
    return toolPath;
}

struct KVPhotoWriter::Private {
    QString toolPath;
    std::chrono::milliseconds timeBase{std::chrono::seconds(60)};
    std::chrono::milliseconds timePerMebibyte{std::chrono::seconds(1)};
    std::chrono::milliseconds lockWait{std::chrono::seconds(30)};
    quint64 sequence = 0;

    // The tool and the flag are read by cancel() on another thread.
    std::mutex mutex;
    std::unique_ptr<KVChildProcess> tool;
    bool cancelled = false;

    bool isCancelled() {
        std::lock_guard lock(mutex);
        return cancelled;
    }
    KVChildProcess *runningTool(QString *error);
    void discardTool();
};

KVChildProcess *KVPhotoWriter::Private::runningTool(QString *error) {
    {
        std::lock_guard lock(mutex);
        if (tool && tool->isRunning() && !tool->isCancelled())
            return tool.get();
    }
    // One that was cancelled, or has gone while it waited, is replaced.
    discardTool();
    auto started = std::make_unique<KVChildProcess>();
    std::vector<std::string> arguments{KVFileName::encode(toolPath).toStdString(), "-stay_open",
                                       "True", "-@", "-"};
    // A tool kept open waits for requests for ever, even once this process is gone (killed,
    // crashed): it is told to end with the thread that starts it. A process killed before the
    // signal was set would leave it behind, so once the signal is set the tool starts only
    // while this process is still its parent.
    static const QString deathSignal = QStandardPaths::findExecutable(QStringLiteral("setpriv"));
    if (!deathSignal.isEmpty())
        arguments.insert(arguments.begin(), {KVFileName::encode(deathSignal).toStdString(),
                                             "--pdeathsig", "KILL", "--", "/bin/sh", "-c",
                                             R"(test "$PPID" = "$1" || exit 70; shift; exec "$@")",
                                             "kalvora-tool", std::to_string(::getpid())});
    if (!started->start(arguments, true)) {
        *error = KVPhotoWriter::tr("The tool %1 could not be started.").arg(toolPath);
        return nullptr;
    }
    KVLogVerbose(QStringLiteral("Started %1")
                     .arg(QString::fromStdString(KVChildProcess::readableCommandLine(arguments))));
    std::lock_guard lock(mutex);
    tool = std::move(started);
    // A cancel that came while it started reaches it too.
    if (cancelled)
        tool->cancel();
    return tool.get();
}

void KVPhotoWriter::Private::discardTool() {
    std::unique_ptr<KVChildProcess> ended;
    {
        std::lock_guard lock(mutex);
        ended = std::move(tool);
    }
    // Outside the lock: the grace time must not hold up cancel() on another thread.
    if (ended)
        ended->terminate();
}

KVPhotoWriter::KVPhotoWriter(const QString &toolPath)
    : d(std::make_unique<Private>()) {
    d->toolPath = toolPath;
}

KVPhotoWriter::~KVPhotoWriter() {
    std::unique_ptr<KVChildProcess> tool;
    {
        std::lock_guard lock(d->mutex);
        tool = std::move(d->tool);
    }
    if (tool && tool->isRunning()) {
        // Asked to leave; ended for good if it does not within the grace time.
        tool->writeInput("-stay_open\nFalse\n");
        tool->finish();
    }
}

void KVPhotoWriter::setTimeLimit(std::chrono::milliseconds base,
                                 std::chrono::milliseconds perMebibyte) {
    d->timeBase = base;
    d->timePerMebibyte = perMebibyte;
}

void KVPhotoWriter::setLockWait(std::chrono::milliseconds wait) {
    d->lockWait = wait;
}

void KVPhotoWriter::cancel() {
    std::lock_guard lock(d->mutex);
    d->cancelled = true;
    if (d->tool)
        d->tool->cancel();
}

void KVPhotoWriter::reset() {
    {
        std::lock_guard lock(d->mutex);
        d->cancelled = false;
    }
    // The tool a cancel has ended goes now, not at the next photo.
    std::unique_ptr<KVChildProcess> ended;
    {
        std::lock_guard lock(d->mutex);
        if (d->tool && d->tool->isCancelled())
            ended = std::move(d->tool);
    }
    if (ended)
        ended->terminate();
}

std::optional<KVPhotoIdentity> KVPhotoWriter::identityOf(const QString &path) {
    struct stat info;
    if (path.isEmpty() || ::lstat(KVFileName::encode(path).constData(), &info) != 0)
        return std::nullopt;
    return KVPhotoIdentity{path, info.st_dev, info.st_ino};
}

// What a write keeps between its two halves: the checked descriptors, the photo's lock (an
// flock on its descriptor) and the private folder with the tool's new version in it, which goes
// with the state.
struct KVPhotoWriter::Pending::State {
    KVWriteOutcome outcome;
    bool decided = false; // the outcome is final: there is nothing to finish
    WillReplace willReplace;
    Descriptor folderFd;
    Descriptor photoFd;
    Descriptor workFd;
    std::string name;
    std::string workName;
    struct stat photoInfo {};
    QString messages;

    // Ends the write with the photo as it was; both halves end this way.
    void end(KVWriteOutcome::Status status, const QString &reason) {
        outcome.status = status;
        outcome.reason = reason;
        decided = true;
        if (status == KVWriteOutcome::Status::NotChanged)
            KVLog(QStringLiteral("%1 was not changed: %2").arg(outcome.path, reason));
    }
    void cancel() {
        end(KVWriteOutcome::Status::Cancelled, KVPhotoWriter::tr("The run was cancelled."));
    }

    ~State() {
        if (workFd.isValid())
            removeWorkFolder(folderFd.get(), workName, workFd.get());
    }
};

KVPhotoWriter::Pending::Pending()
    : s(std::make_unique<State>()) {
}

KVPhotoWriter::Pending::Pending(KVWriteOutcome outcome)
    : Pending() {
    s->outcome = std::move(outcome);
    s->decided = true;
}

KVPhotoWriter::Pending::~Pending() = default;
KVPhotoWriter::Pending::Pending(Pending &&) noexcept = default;
KVPhotoWriter::Pending &KVPhotoWriter::Pending::operator=(Pending &&) noexcept = default;

KVWriteOutcome KVPhotoWriter::shiftDates(const KVPhotoIdentity &identity, qint64 seconds,
                                         const WillChange &willChange,
                                         const std::optional<QString> &expectedOldDateText) {
    return finish(begin(identity, seconds, willChange, expectedOldDateText));
}

KVPhotoWriter::Pending KVPhotoWriter::begin(const KVPhotoIdentity &identity, qint64 seconds,
                                            const WillChange &willChange,
                                            const std::optional<QString> &expectedOldDateText,
                                            WillReplace willReplace) {
    Pending pending;
    Pending::State &state = *pending.s;
    state.willReplace = std::move(willReplace);
    KVWriteOutcome &outcome = state.outcome;
    outcome.path = identity.path;
    outcome.identity = identity;
    auto notChanged = [&](const QString &reason) {
        state.end(KVWriteOutcome::Status::NotChanged, reason);
        return std::move(pending);
    };
    auto cancelled = [&] {
        state.cancel();
        return std::move(pending);
    };
    if (d->isCancelled())
        return cancelled();

    const QByteArray nativePath = KVFileName::encode(identity.path);
    const qsizetype slash = nativePath.lastIndexOf('/');
    if (slash < 0 || slash == nativePath.size() - 1)
        return notChanged(tr("The photo has no usable path."));
    const QByteArray folder = slash == 0 ? QByteArray("/") : nativePath.left(slash);
    state.name = nativePath.mid(slash + 1).toStdString();
    const char *name = state.name.c_str();
    const QString photoName = KVFileName::decode(name);

    state.folderFd.reset(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!state.folderFd.isValid())
        return notChanged(tr("The folder could not be opened: %1").arg(errorText(errno)));
    const int folderFd = state.folderFd.get();
    // Never through a link: a link put in the photo's place fails here.
    state.photoFd.reset(::openat(folderFd, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (!state.photoFd.isValid()) {
        if (errno == ELOOP || errno == ENOENT)
            return notChanged(replacedText());
        return notChanged(tr("The photo could not be opened: %1").arg(errorText(errno)));
    }
    const int photoFd = state.photoFd.get();
    struct stat &photoInfo = state.photoInfo;
    if (::fstat(photoFd, &photoInfo) != 0 || !S_ISREG(photoInfo.st_mode))
        return notChanged(replacedText());
    if (identity.inode != 0 &&
        (photoInfo.st_dev != identity.device || photoInfo.st_ino != identity.inode))
        return notChanged(replacedText());

    if (!lockExclusively(photoFd, d->lockWait, [this] { return d->isCancelled(); })) {
        if (d->isCancelled())
            return cancelled();
        return notChanged(tr("Another program is changing this photo; it was left as it is."));
    }
    // A writer that held the lock before may have replaced the file meanwhile.
    struct stat current;
    if (::fstatat(folderFd, name, &current, AT_SYMLINK_NOFOLLOW) != 0 ||
        !sameFile(current, photoInfo))
        return notChanged(replacedText());

    const std::optional<KVDateTags> oldTags = KVDateTags::read(descriptorPath(photoFd));
    if (!oldTags)
        return notChanged(tr("The photo's dates could not be read."));
    outcome.oldDateText = oldTags->captureDateText();
    if (outcome.oldDateText.isEmpty())
        return notChanged(tr("The photo has no capture date."));
    if (expectedOldDateText && *expectedOldDateText != outcome.oldDateText)
        return notChanged(tr("The photo's date is %1, not %2 as recorded; it was left as it is.")
                              .arg(outcome.oldDateText, *expectedOldDateText));
    outcome.newDateText = KVDateTags::shifted(outcome.oldDateText, seconds);
    if (outcome.newDateText.isEmpty())
        return notChanged(tr("The new date would lie outside the years 1 to 9999."));
    if (d->isCancelled())
        return cancelled();
    if (willChange && !willChange(outcome.oldDateText, outcome.newDateText))
        return cancelled();

    int error = 0;
    state.workFd.reset(makeWorkFolder(folderFd, &state.workName, &error));
    if (!state.workFd.isValid())
        return notChanged(
            tr("No private copy could be made in the photo's folder: %1").arg(errorText(error)));

    QString startError;
    KVChildProcess *tool = d->runningTool(&startError);
    if (!tool)
        return notChanged(startError);
    const quint64 sequence = ++d->sequence;
    const std::string sourcePath = descriptorPathForTool(photoFd);
    const std::string resultPath = descriptorPathForTool(state.workFd.get(), kResultName);
    std::vector<std::string> arguments = KVDateTags::toolArguments(outcome.newDateText);
    arguments.insert(arguments.end(), {"-o", resultPath, sourcePath});
    std::string request;
    for (const std::string &argument : arguments)
        request += argument + '\n';
    request += "-execute" + std::to_string(sequence) + '\n';
    KVLogVerbose(QStringLiteral("%1 (%2)").arg(
        QString::fromStdString(KVChildProcess::readableCommandLine(arguments)), identity.path));

    const auto limit = d->timeBase + d->timePerMebibyte * (photoInfo.st_size >> 20);
    std::string answer;
    KVChildProcess::Answer result = KVChildProcess::Answer::Ended;
    if (tool->writeInput(request))
        result = tool->readUntil("{ready" + std::to_string(sequence) + "}\n", &answer,
                                 KVChildProcess::Clock::now() + limit);
    if (!answer.empty())
        KVLogVerbose(QString::fromUtf8(answer).trimmed());
    switch (result) {
    case KVChildProcess::Answer::Complete:
        break;
    case KVChildProcess::Answer::Cancelled:
        d->discardTool();
        return cancelled();
    case KVChildProcess::Answer::TimedOut:
        d->discardTool();
        return notChanged(
            tr("The tool did not finish within %1 seconds and was stopped.")
                .arg(std::chrono::duration_cast<std::chrono::seconds>(limit).count()));
    case KVChildProcess::Answer::Ended: {
        d->discardTool();
        const QString messages = toolMessages(answer, sourcePath, resultPath, photoName);
        return notChanged(messages.isEmpty() ? tr("The tool stopped unexpectedly.") : messages);
    }
    }
    state.messages = toolMessages(answer, sourcePath, resultPath, photoName);
    return pending;
}

KVWriteOutcome KVPhotoWriter::finish(Pending pending) {
    Pending::State &state = *pending.s;
    KVWriteOutcome &outcome = state.outcome;
    if (state.decided)
        return outcome;
    auto notChanged = [&](const QString &reason) {
        state.end(KVWriteOutcome::Status::NotChanged, reason);
        return outcome;
    };
    const QString &messages = state.messages;
    const int folderFd = state.folderFd.get();
    const int workFd = state.workFd.get();
    const char *name = state.name.c_str();
    const struct stat &photoInfo = state.photoInfo;

    const Descriptor resultFd(::openat(workFd, kResultName, O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    struct stat resultInfo;
    if (!resultFd.isValid() || ::fstat(resultFd.get(), &resultInfo) != 0 ||
        !S_ISREG(resultInfo.st_mode))
        return notChanged(messages.isEmpty() ? tr("The tool wrote no new version.") : messages);
    if (resultInfo.st_size == 0)
        return notChanged(tr("The tool's new version is empty."));

    // Owner and group first: a change of owner clears the set-id bits a mode may carry.
    if (::fchown(resultFd.get(), photoInfo.st_uid, photoInfo.st_gid) != 0)
        ::fchown(resultFd.get(), static_cast<uid_t>(-1), photoInfo.st_gid);
    if (::fchmod(resultFd.get(), photoInfo.st_mode & 07777) != 0)
        return notChanged(
            tr("The photo's permissions could not be kept: %1").arg(errorText(errno)));
    copyExtendedAttributes(state.photoFd.get(), resultFd.get());
    // The file's modification date is the new capture date, as the local clock reads it.
    const QDateTime newDate =
        QDateTime::fromString(outcome.newDateText, QStringLiteral("yyyy:MM:dd HH:mm:ss"));
    if (newDate.isValid()) {
        const struct timespec times[2] = {{0, UTIME_OMIT}, {newDate.toSecsSinceEpoch(), 0}};
        ::futimens(resultFd.get(), times);
    }
    if (::fsync(resultFd.get()) != 0)
        return notChanged(tr("The new version could not be saved: %1").arg(errorText(errno)));

    const std::optional<KVDateTags> newTags = KVDateTags::read(descriptorPath(resultFd.get()));
    if (!newTags || !newTags->allAre(outcome.newDateText))
        return notChanged(messages.isEmpty()
                              ? tr("The new version does not carry the new date in all its tags.")
                              : messages);

    if (d->isCancelled()) {
        state.cancel();
        return outcome;
    }
    if (state.willReplace && !state.willReplace())
        return notChanged(
            tr("The run's record could not be saved, so the photo was left as it is."));
    // The last look before the rename: the photo's name must still lead to the checked file.
    struct stat current;
    if (::fstatat(folderFd, name, &current, AT_SYMLINK_NOFOLLOW) != 0 ||
        !sameFile(current, photoInfo))
        return notChanged(replacedText());
    if (::renameat(workFd, kResultName, folderFd, name) != 0)
        return notChanged(
            tr("The new version could not replace the photo: %1").arg(errorText(errno)));
    ::fsync(folderFd);

    outcome.status = KVWriteOutcome::Status::Changed;
    outcome.identity.device = resultInfo.st_dev;
    outcome.identity.inode = resultInfo.st_ino;
    return outcome;
}

void KVPhotoWriter::removeLeftovers(const QString &folder) {
    const Descriptor folderFd(
        ::open(KVFileName::encode(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folderFd.isValid())
        return;
    DIR *listing = ::fdopendir(::dup(folderFd.get()));
    if (!listing)
        return;
    std::vector<std::string> names;
    while (const dirent *entry = ::readdir(listing)) {
        if (isLeftoverName(KVFileName::decode(entry->d_name)))
            names.emplace_back(entry->d_name);
    }
    ::closedir(listing);
    for (const std::string &name : names) {
        const Descriptor workFd(::openat(folderFd.get(), name.c_str(),
                                         O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        struct stat info;
        if (!workFd.isValid() || ::fstat(workFd.get(), &info) != 0 || info.st_uid != ::geteuid())
            continue;
        // A folder a writer still works in stays.
        if (::flock(workFd.get(), LOCK_EX | LOCK_NB) != 0)
            continue;
        removeWorkFolder(folderFd.get(), name, workFd.get());
    }
}

bool KVPhotoWriter::isLeftoverName(const QString &name) {
    static const QRegularExpression pattern(
        QStringLiteral("^%1[A-Za-z0-9]{6}$")
            .arg(QRegularExpression::escape(QLatin1String(leftoverPrefix))));
    return pattern.match(name).hasMatch();
}

std::optional<QString> KVCheckRoomToWrite(const QStringList &photoPaths, int workers) {
    // A margin for the tool's own growth of a file and for everything else on the disk.
    constexpr qint64 kMargin = 32 * 1024 * 1024;
    struct Device {
        QString folder;
        qint64 largest = 0;
        int photos = 0;
    };
    std::map<dev_t, Device> devices;
    for (const QString &path : photoPaths) {
        struct stat info;
        if (::stat(KVFileName::encode(path).constData(), &info) != 0)
            continue;
        Device &device = devices[info.st_dev];
        if (device.folder.isEmpty())
            device.folder = path.left(std::max<qsizetype>(1, path.lastIndexOf(QLatin1Char('/'))));
        device.largest = std::max<qint64>(device.largest, info.st_size);
        ++device.photos;
    }
    for (const auto &[id, device] : devices) {
        const qint64 copies = std::min(std::max(workers, 1), device.photos);
        const qint64 needed = device.largest * copies + kMargin;
        struct statvfs space;
        if (::statvfs(KVFileName::encode(device.folder).constData(), &space) != 0)
            continue;
        const qint64 available = qint64(space.f_bavail) * qint64(space.f_frsize);
        if (available < needed)
            return KVPhotoWriter::tr("There is not enough free space in %1: %2 are needed to "
                                     "change the photos safely, %3 are free.")
                .arg(device.folder, QLocale().formattedDataSize(needed),
                     QLocale().formattedDataSize(available));
    }
    return std::nullopt;
}
