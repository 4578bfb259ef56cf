// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVRunJournal.h"

#include "KVFileName.h"

#include <QAtomicInt>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QStandardPaths>

#include <cerrno>
#include <algorithm>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString kJournalFolder = QStringLiteral("kalvora/journal");
const QString kJournalSuffix = QStringLiteral(".jsonl");

QString errorText(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

QString now() {
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

QString decimal(quint64 value) {
    return QString::number(value);
}

// Creates the folder and each missing parent private to the user; false with errno set.
bool makePrivateFolder(const QString &path) {
    if (!QDir().mkpath(path))
        return false;
    const QByteArray native = KVFileName::encode(path);
    struct stat info;
    if (::lstat(native.constData(), &info) != 0)
        return false;
    if (!S_ISDIR(info.st_mode) || info.st_uid != ::geteuid()) {
        errno = EPERM;
        return false;
    }
    return (info.st_mode & 07777) == 0700 || ::chmod(native.constData(), 0700) == 0;
}

bool writeAll(int fd, const QByteArray &data) {
    const char *bytes = data.constData();
    qsizetype left = data.size();
    while (left > 0) {
        const ssize_t written = ::write(fd, bytes, static_cast<size_t>(left));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        bytes += written;
        left -= written;
    }
    return true;
}

QByteArray lineOf(const QJsonObject &object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

QString KVRunJournal::folder() {
    // QStandardPaths has no state location in Qt 6.4: the XDG rule, by hand.
    QString base = qEnvironmentVariable("XDG_STATE_HOME");
    if (base.isEmpty() || !QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.local/state");
    // Tests never write into a real user's state.
    if (QStandardPaths::isTestModeEnabled() && qEnvironmentVariableIsEmpty("XDG_STATE_HOME"))
        base = QDir::homePath() + QStringLiteral("/.qttest/state");
    return QDir::cleanPath(base + QLatin1Char('/') + kJournalFolder);
}

std::unique_ptr<KVRunJournal> KVRunJournal::create(KVRunKind kind,
                                                   const std::vector<KVJournalEntry> &plan,
                                                   const QString &of, QString *error) {
    const QString folderPath = folder();
    if (!makePrivateFolder(folderPath)) {
        if (error)
            *error = QStringLiteral("Could not make the journal folder %1: %2")
                         .arg(folderPath, errorText(errno));
        return nullptr;
    }
    static QAtomicInt counter;
    const QString id =
        QStringLiteral("%1-%2-%3")
            .arg(QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss.zzz")))
            .arg(::getpid())
            .arg(counter.fetchAndAddRelaxed(1));
    const QString filePath = folderPath + QLatin1Char('/') + id + kJournalSuffix;
    // Written and locked under a hidden name, then given its real one: no other process ever
    // sees the file unlocked before its run has ended.
    const QString hiddenPath = folderPath + QStringLiteral("/.") + id;
    const QByteArray nativeHidden = KVFileName::encode(hiddenPath);
    const int fd = ::open(nativeHidden.constData(),
                          O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd == -1) {
        if (error)
            *error = QStringLiteral("Could not create the journal %1: %2")
                         .arg(filePath, errorText(errno));
        return nullptr;
    }
    std::unique_ptr<KVRunJournal> journal(new KVRunJournal(fd, id, filePath));
    ::flock(fd, LOCK_EX);

    QByteArray text = lineOf({{KVJournalKey::run, id},
                              {KVJournalKey::kind, KVRunRecord::kindName(kind)},
                              {KVJournalKey::of, of},
                              {KVJournalKey::started, now()},
                              {KVJournalKey::pid, static_cast<qint64>(::getpid())}});
    for (size_t index = 0; index < plan.size(); ++index) {
        const KVJournalEntry &entry = plan[index];
        text +=
            lineOf({{KVJournalKey::photo, static_cast<qint64>(index)},
                    {KVJournalKey::path, entry.identity.path},
                    {KVJournalKey::device, decimal(entry.identity.device)},
                    {KVJournalKey::inode, decimal(entry.identity.inode)},
                    {KVJournalKey::seconds, entry.seconds},
                    {KVJournalKey::oldDate, entry.oldDateText},
                    {KVJournalKey::newDate, entry.newDateText},
                    {KVJournalKey::state, KVRunRecord::stateName(KVJournalEntry::State::Planned)}});
    }
    const bool written = writeAll(fd, text) && ::fdatasync(fd) == 0;
    const int savedErrno = errno;
    if (!written ||
        ::rename(nativeHidden.constData(), KVFileName::encode(filePath).constData()) != 0) {
        if (error)
            *error = QStringLiteral("Could not write the journal %1: %2")
                         .arg(filePath, errorText(written ? errno : savedErrno));
        ::unlink(nativeHidden.constData());
        return nullptr;
    }
    // The new name is durable too, or a crash could lose the whole journal.
    const int folderFd =
        ::open(KVFileName::encode(folderPath).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folderFd != -1) {
        ::fsync(folderFd);
        ::close(folderFd);
    }
    return journal;
}

std::unique_ptr<KVRunJournal> KVRunJournal::takeOver(const KVRunRecord &record) {
    const int fd = ::open(KVFileName::encode(record.filePath).constData(),
                          O_WRONLY | O_APPEND | O_NOFOLLOW | O_CLOEXEC);
    if (fd == -1)
        return nullptr;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return nullptr;
    }
    std::unique_ptr<KVRunJournal> journal(new KVRunJournal(fd, record.id, record.filePath));
    // Read again under the lock: another recovery may have settled it meanwhile.
    const std::optional<KVRunRecord> current = KVRunRecord::read(record.filePath);
    if (!current || current->end != KVRunRecord::End::Open)
        return nullptr;
    // A line cut off by the crash is ended, so that the next line stands on its own.
    QFile file(record.filePath);
    if (file.open(QIODevice::ReadOnly) && file.size() > 0 && file.seek(file.size() - 1) &&
        file.read(1) != "\n")
        writeAll(fd, "\n");
    return journal;
}

KVRunJournal::KVRunJournal(int fd, const QString &id, const QString &filePath)
    : m_fd(fd)
    , m_id(id)
    , m_filePath(filePath) {
}

KVRunJournal::~KVRunJournal() {
    // Closing releases the lock; a run not closed stays open for the next start to recover.
    ::close(m_fd);
}

bool KVRunJournal::append(const QJsonObject &line, bool durable) {
    {
        std::lock_guard lock(m_mutex);
        if (m_closed || !writeAll(m_fd, lineOf(line)))
            return false;
        ++m_writtenLines;
    }
    return !durable || save();
}

bool KVRunJournal::save() {
    std::unique_lock lock(m_mutex);
    const quint64 needed = m_writtenLines;
    while (m_savedLines < needed) {
        if (m_saving) {
            m_saved.wait(lock);
            continue;
        }
        m_saving = true;
        const quint64 covered = m_writtenLines;
        lock.unlock();
        const bool flushed = ::fdatasync(m_fd) == 0;
        lock.lock();
        m_saving = false;
        if (flushed)
            m_savedLines = std::max(m_savedLines, covered);
        m_saved.notify_all();
        if (!flushed)
            return false;
    }
    return true;
}

bool KVRunJournal::willChange(int index, const QString &oldDateText, const QString &newDateText) {
    return append({{KVJournalKey::photo, index},
                   {KVJournalKey::oldDate, oldDateText},
                   {KVJournalKey::newDate, newDateText},
                   {KVJournalKey::state, KVRunRecord::stateName(KVJournalEntry::State::Writing)}},
                  false);
}

void KVRunJournal::didChange(int index, const KVWriteOutcome &outcome) {
    // Not forced to disk: a crash before the next sync leaves the photo "writing", and a
    // recovery reads its date to learn whether it changed.
    QJsonObject line{{KVJournalKey::photo, index}};
    if (outcome.changed()) {
        line.insert(KVJournalKey::state, KVRunRecord::stateName(KVJournalEntry::State::Changed));
        line.insert(KVJournalKey::deviceAfter, decimal(outcome.identity.device));
        line.insert(KVJournalKey::inodeAfter, decimal(outcome.identity.inode));
    } else {
        line.insert(KVJournalKey::state, KVRunRecord::stateName(KVJournalEntry::State::NotChanged));
        line.insert(KVJournalKey::reason, outcome.reason);
    }
    if (!outcome.oldDateText.isEmpty())
        line.insert(KVJournalKey::oldDate, outcome.oldDateText);
    if (!outcome.newDateText.isEmpty())
        line.insert(KVJournalKey::newDate, outcome.newDateText);
    append(line, false);
}

void KVRunJournal::didNotChange(int index, const QString &reason,
                                const KVPhotoIdentity &replacement) {
    QJsonObject line{
        {KVJournalKey::photo, index},
        {KVJournalKey::state, KVRunRecord::stateName(KVJournalEntry::State::NotChanged)},
        {KVJournalKey::reason, reason}};
    if (replacement.inode != 0) {
        line.insert(KVJournalKey::deviceAfter, decimal(replacement.device));
        line.insert(KVJournalKey::inodeAfter, decimal(replacement.inode));
    }
    append(line, false);
}

bool KVRunJournal::close(KVRunRecord::End end) {
    const bool written = append(
        {{KVJournalKey::end, KVRunRecord::endName(end)}, {KVJournalKey::ended, now()}}, true);
    std::lock_guard lock(m_mutex);
    m_closed = true;
    return written;
}
