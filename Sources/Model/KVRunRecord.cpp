// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVRunRecord.h"

#include "KVFileName.h"
#include "KVRunJournal.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <array>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

const std::array<std::pair<KVRunKind, QLatin1String>, 5> kindNames = {{
    {KVRunKind::Sync, QLatin1String("sync")},
    {KVRunKind::Shift, QLatin1String("shift")},
    {KVRunKind::Undo, QLatin1String("undo")},
    {KVRunKind::Redo, QLatin1String("redo")},
    {KVRunKind::ChangeBack, QLatin1String("changeBack")},
}};

const std::array<std::pair<KVJournalEntry::State, QLatin1String>, 4> stateNames = {{
    {KVJournalEntry::State::Planned, QLatin1String("planned")},
    {KVJournalEntry::State::Writing, QLatin1String("writing")},
    {KVJournalEntry::State::Changed, QLatin1String("changed")},
    {KVJournalEntry::State::NotChanged, QLatin1String("notChanged")},
}};

const std::array<std::pair<KVRunRecord::End, QLatin1String>, 5> endNames = {{
    {KVRunRecord::End::Open, QLatin1String("open")},
    {KVRunRecord::End::Finished, QLatin1String("finished")},
    {KVRunRecord::End::Cancelled, QLatin1String("cancelled")},
    {KVRunRecord::End::Abandoned, QLatin1String("abandoned")},
    {KVRunRecord::End::Recovered, QLatin1String("recovered")},
}};

template <typename Value, size_t N>
std::optional<Value> fromName(const std::array<std::pair<Value, QLatin1String>, N> &names,
                              const QString &name) {
    for (const auto &[value, text] : names) {
        if (name == text)
            return value;
    }
    return std::nullopt;
}

template <typename Value, size_t N>
QString toName(const std::array<std::pair<Value, QLatin1String>, N> &names, Value value) {
    for (const auto &[candidate, text] : names) {
        if (candidate == value)
            return text;
    }
    return {};
}

// Device and inode numbers are written as decimal text: they may pass what a JSON number holds.
quint64 number(const QJsonObject &line, QLatin1String key) {
    return line.value(key).toString().toULongLong();
}

// Applies one photo line to its entry; a line that makes no sense is left out.
bool applyPhotoLine(const QJsonObject &line, std::vector<KVJournalEntry> &entries) {
    const int index = line.value(KVJournalKey::photo).toInt(-1);
    const std::optional<KVJournalEntry::State> state =
        KVRunRecord::stateFromName(line.value(KVJournalKey::state).toString());
    if (index < 0 || !state)
        return false;
    if (line.contains(KVJournalKey::path)) {
        // A plan line: it introduces the photo.
        if (index != static_cast<int>(entries.size()))
            return false;
        KVJournalEntry entry;
        entry.identity.path = line.value(KVJournalKey::path).toString();
        entry.identity.device = static_cast<dev_t>(number(line, KVJournalKey::device));
        entry.identity.inode = static_cast<ino_t>(number(line, KVJournalKey::inode));
        entry.seconds = line.value(KVJournalKey::seconds).toInteger();
        entries.push_back(entry);
    }
    if (index >= static_cast<int>(entries.size()))
        return false;
    KVJournalEntry &entry = entries[static_cast<size_t>(index)];
    entry.state = *state;
    entry.touched = entry.touched || *state == KVJournalEntry::State::Writing;
    if (line.contains(KVJournalKey::oldDate))
        entry.oldDateText = line.value(KVJournalKey::oldDate).toString();
    if (line.contains(KVJournalKey::newDate))
        entry.newDateText = line.value(KVJournalKey::newDate).toString();
    if (line.contains(KVJournalKey::reason))
        entry.reason = line.value(KVJournalKey::reason).toString();
    if (line.contains(KVJournalKey::inodeAfter)) {
        entry.deviceAfter = static_cast<dev_t>(number(line, KVJournalKey::deviceAfter));
        entry.inodeAfter = static_cast<ino_t>(number(line, KVJournalKey::inodeAfter));
    }
    return true;
}

// Whether the file's last line is a run's end.
bool endsWithEnd(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const qint64 tail = std::min<qint64>(file.size(), 4096);
    if (!file.seek(file.size() - tail))
        return false;
    const QByteArray text = file.read(tail);
    if (!text.endsWith('\n'))
        return false;
    const qsizetype start = text.lastIndexOf('\n', text.size() - 2) + 1;
    return QJsonDocument::fromJson(text.mid(start)).object().contains(KVJournalKey::end);
}

} // namespace

KVPhotoIdentity KVJournalEntry::identityAfter() const {
    if (inodeAfter == 0)
        return identity;
    return {identity.path, deviceAfter, inodeAfter};
}

std::optional<KVRunRecord> KVRunRecord::read(const QString &filePath) {
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    KVRunRecord record;
    record.filePath = filePath;
    bool hasHeader = false;
    while (!file.atEnd()) {
        const QByteArray text = file.readLine();
        // A line cut off while it was written never happened; a later start ends it with a
        // line break before it appends, so lines after it stand on their own.
        QJsonParseError error;
        const QJsonObject line = QJsonDocument::fromJson(text, &error).object();
        if (!text.endsWith('\n') || error.error != QJsonParseError::NoError)
            continue;
        if (!hasHeader) {
            const std::optional<KVRunKind> kind =
                kindFromName(line.value(KVJournalKey::kind).toString());
            if (!line.contains(KVJournalKey::run) || !kind)
                return std::nullopt;
            record.id = line.value(KVJournalKey::run).toString();
            record.kind = *kind;
            record.of = line.value(KVJournalKey::of).toString();
            record.started = QDateTime::fromString(line.value(KVJournalKey::started).toString(),
                                                   Qt::ISODateWithMs);
            hasHeader = true;
        } else if (line.contains(KVJournalKey::end)) {
            const std::optional<End> end =
                fromName(endNames, line.value(KVJournalKey::end).toString());
            record.end = end.value_or(End::Finished);
            record.ended = QDateTime::fromString(line.value(KVJournalKey::ended).toString(),
                                                 Qt::ISODateWithMs);
        } else {
            applyPhotoLine(line, record.entries);
        }
    }
    if (!hasHeader)
        return std::nullopt;
    return record;
}

std::vector<KVRunRecord> KVRunRecord::all() {
    std::vector<KVRunRecord> runs;
    const QDir folder(KVRunJournal::folder());
    // The names begin with the start time, so their order is the order of the runs.
    for (const QString &name :
         folder.entryList({QStringLiteral("*.jsonl")}, QDir::Files, QDir::Name)) {
        if (std::optional<KVRunRecord> record = read(folder.filePath(name)))
            runs.push_back(std::move(*record));
    }
    return runs;
}

std::vector<KVRunRecord> KVRunRecord::interrupted() {
    std::vector<KVRunRecord> runs;
    const QDir folder(KVRunJournal::folder());
    for (const QString &name :
         folder.entryList({QStringLiteral("*.jsonl")}, QDir::Files, QDir::Name)) {
        // Every start looks: an ended run is known by its last line alone, without reading
        // the thousands before it.
        const QString path = folder.filePath(name);
        if (endsWithEnd(path))
            continue;
        std::optional<KVRunRecord> record = read(path);
        if (record && record->end == End::Open && !record->isLocked())
            runs.push_back(std::move(*record));
    }
    return runs;
}

bool KVRunRecord::isLocked() const {
    const int fd =
        ::open(KVFileName::encode(filePath).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd == -1)
        return false;
    const bool locked = ::flock(fd, LOCK_SH | LOCK_NB) != 0;
    ::close(fd);
    return locked;
}

qsizetype KVRunRecord::countIn(KVJournalEntry::State state) const {
    return std::count_if(entries.begin(), entries.end(),
                         [state](const KVJournalEntry &entry) { return entry.state == state; });
}

QString KVRunRecord::kindName(KVRunKind kind) {
    return toName(kindNames, kind);
}

std::optional<KVRunKind> KVRunRecord::kindFromName(const QString &name) {
    return fromName(kindNames, name);
}

QString KVRunRecord::endName(End end) {
    return toName(endNames, end);
}

QString KVRunRecord::kindText(KVRunKind kind) {
    switch (kind) {
    case KVRunKind::Sync:
        return QCoreApplication::translate("KVRunRecord", "sync");
    case KVRunKind::Shift:
        return QCoreApplication::translate("KVRunRecord", "shift");
    case KVRunKind::Undo:
        return QCoreApplication::translate("KVRunRecord", "undo");
    case KVRunKind::Redo:
        return QCoreApplication::translate("KVRunRecord", "redo");
    case KVRunKind::ChangeBack:
        return QCoreApplication::translate("KVRunRecord", "change-back");
    }
    return kindName(kind);
}

QString KVRunRecord::endText(End end) {
    switch (end) {
    case End::Open:
        return QCoreApplication::translate("KVRunRecord", "open");
    case End::Finished:
        return QCoreApplication::translate("KVRunRecord", "finished");
    case End::Cancelled:
        return QCoreApplication::translate("KVRunRecord", "cancelled");
    case End::Abandoned:
        return QCoreApplication::translate("KVRunRecord", "abandoned");
    case End::Recovered:
        return QCoreApplication::translate("KVRunRecord", "recovered");
    }
    return endName(end);
}

QString KVRunRecord::stateName(KVJournalEntry::State state) {
    return toName(stateNames, state);
}

std::optional<KVJournalEntry::State> KVRunRecord::stateFromName(const QString &name) {
    return fromName(stateNames, name);
}

std::optional<KVRunRecord> KVLastUndoableRun(const std::vector<KVRunRecord> &runs) {
    for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
        // A run that was changed back, cut off or taken over by a recovery is not undone: the
        // first is as if it never was, the others were settled at a later start.
        const bool ended =
            run->end == KVRunRecord::End::Finished || run->end == KVRunRecord::End::Abandoned;
        const bool moves = run->kind != KVRunKind::Undo && run->kind != KVRunKind::ChangeBack;
        if (!ended || !moves || run->countIn(KVJournalEntry::State::Changed) == 0)
            continue;
        const bool undone = std::any_of(runs.begin(), runs.end(), [&](const KVRunRecord &other) {
            return other.kind == KVRunKind::Undo && other.of == run->id &&
                   other.end == KVRunRecord::End::Finished;
        });
        if (!undone)
            return *run;
    }
    return std::nullopt;
}
