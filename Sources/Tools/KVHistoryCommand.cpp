// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"

#include "KVRunRecord.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

int KVRunHistoryCommand(const QStringList &arguments) {
    bool json = false;
    for (const QString &argument : arguments) {
        if (argument != QLatin1String("--json"))
            return 2;
        json = true;
    }
    KVCommandLine::refuseWhileInterrupted(false);
    const std::vector<KVRunRecord> runs = KVRunRecord::all();
    const std::optional<KVRunRecord> undoable = KVLastUndoableRun(runs);
    QJsonArray list;
    QList<QStringList> rows;
    for (const KVRunRecord &run : runs) {
        const bool undone = std::any_of(runs.begin(), runs.end(), [&](const KVRunRecord &other) {
            return other.kind == KVRunKind::Undo && other.of == run.id &&
                   other.end == KVRunRecord::End::Finished;
        });
        const qsizetype changed = run.countIn(KVJournalEntry::State::Changed);
        const qsizetype notChanged = run.countIn(KVJournalEntry::State::NotChanged);
        const bool next = undoable && undoable->id == run.id;
        list.append(
            QJsonObject{{QStringLiteral("run"), run.id},
                        {QStringLiteral("kind"), KVRunRecord::kindName(run.kind)},
                        {QStringLiteral("of"), run.of},
                        {QStringLiteral("started"), run.started.toString(Qt::ISODateWithMs)},
                        {QStringLiteral("end"), KVRunRecord::endName(run.end)},
                        {QStringLiteral("photos"), static_cast<qint64>(run.entries.size())},
                        {QStringLiteral("changed"), static_cast<qint64>(changed)},
                        {QStringLiteral("notChanged"), static_cast<qint64>(notChanged)},
                        {QStringLiteral("undone"), undone},
                        {QStringLiteral("nextToUndo"), next}});
        QString state = KVRunRecord::endText(run.end);
        if (undone)
            state += KVCommandLine::tr(", undone");
        if (next)
            state += QStringLiteral("  <- kalvora-cli undo");
        rows << QStringList{run.started.toLocalTime().toString(Qt::ISODate),
                            run.id,
                            KVRunRecord::kindText(run.kind),
                            QString::number(run.entries.size()),
                            QString::number(changed),
                            QString::number(notChanged),
                            state};
    }
    if (json) {
        KVCommandLine::print(
            stdout,
            QString::fromUtf8(QJsonDocument(QJsonObject{{QStringLiteral("runs"), list}}).toJson()));
    } else if (runs.empty()) {
        KVCommandLine::print(stdout, KVCommandLine::tr("No runs yet.\n"));
    } else {
        KVCommandLine::print(
            stdout,
            KVCommandLine::table({KVCommandLine::tr("Started"), KVCommandLine::tr("Run"),
                                  KVCommandLine::tr("Kind"), KVCommandLine::tr("Photos"),
                                  KVCommandLine::tr("Changed"), KVCommandLine::tr("Not changed"),
                                  KVCommandLine::tr("State")},
                                 rows));
    }
    return 0;
}
