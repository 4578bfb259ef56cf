// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVPhotoWriter.h"

#include <QDateTime>
#include <QJsonObject>
#include <QString>

#include <optional>
#include <vector>

// The names of a journal line's fields.
namespace KVJournalKey {
inline constexpr QLatin1String run{"run"};
inline constexpr QLatin1String kind{"kind"};
inline constexpr QLatin1String of{"of"};
inline constexpr QLatin1String started{"started"};
inline constexpr QLatin1String pid{"pid"};
inline constexpr QLatin1String photo{"photo"};
inline constexpr QLatin1String path{"path"};
inline constexpr QLatin1String device{"device"};
inline constexpr QLatin1String inode{"inode"};
inline constexpr QLatin1String seconds{"seconds"};
inline constexpr QLatin1String oldDate{"old"};
inline constexpr QLatin1String newDate{"new"};
inline constexpr QLatin1String state{"state"};
inline constexpr QLatin1String reason{"reason"};
inline constexpr QLatin1String deviceAfter{"deviceAfter"};
inline constexpr QLatin1String inodeAfter{"inodeAfter"};
inline constexpr QLatin1String end{"end"};
inline constexpr QLatin1String ended{"ended"};
} // namespace KVJournalKey

// What a run does, as its journal names it.
enum class KVRunKind { Sync, Shift, Undo, Redo, ChangeBack };

// One photo of a run as its journal tells it.
struct KVJournalEntry {
    // Planned: in the run, not yet touched. Writing: the dates below were read under the photo's
    // lock and the photo may change from now on. Changed / NotChanged: the write's outcome.
    enum class State { Planned, Writing, Changed, NotChanged };

    KVPhotoIdentity identity; // the file as the run found it
    qint64 seconds = 0;
    // The date the photo had and the one it gets, as EXIF text; in the plan, the dates the run
    // expects; from Writing on, those read under the lock.
    QString oldDateText;
    QString newDateText;
    State state = State::Planned;
    QString reason;
    // The file after the photo was last replaced (by the run, or by the recovery that settled
    // it); 0 when it never was.
    dev_t deviceAfter = 0;
    ino_t inodeAfter = 0;

    // The photo as the run left it: its path with the replacement's device and inode.
    KVPhotoIdentity identityAfter() const;
    // Whether the photo ever reached Writing: only then may its file have changed.
    bool touched = false;
};

// A run read back from its journal file. A line cut off by a crash is ignored: the entry keeps
// the state of its last whole line.
struct KVRunRecord {
    // Open: the run has not ended (it is going on, or it was cut off). The others say how it
    // ended; Recovered: an interrupted run taken in hand at a later start.
    enum class End { Open, Finished, Cancelled, Abandoned, Recovered };

    QString id;
    QString filePath;
    KVRunKind kind = KVRunKind::Shift;
    // The run this one changes back or undoes, or empty.
    QString of;
    QDateTime started;
    QDateTime ended;
    End end = End::Open;
    std::vector<KVJournalEntry> entries;

    static std::optional<KVRunRecord> read(const QString &filePath);
    // Every run of this user, oldest first.
    static std::vector<KVRunRecord> all();
    // Runs left open by a process that is gone (a running one holds its journal's lock).
    static std::vector<KVRunRecord> interrupted();

    qsizetype countIn(KVJournalEntry::State state) const;
    bool isLocked() const;

    static QString kindName(KVRunKind kind);
    static std::optional<KVRunKind> kindFromName(const QString &name);
    static QString endName(End end);
    // The kind and the end as the user reads them, in the user's language.
    static QString kindText(KVRunKind kind);
    static QString endText(End end);
    static QString stateName(KVJournalEntry::State state);
    static std::optional<KVJournalEntry::State> stateFromName(const QString &name);
};

// The last run of this user that changed photos and is neither undone nor a change-back: what
// an Undo puts back. Null when there is none.
std::optional<KVRunRecord> KVLastUndoableRun(const std::vector<KVRunRecord> &runs);
