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
    QString text;
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
        text += QStringLiteral("%1  %2  %3  %4 photos: %5 changed, %6 not changed%7%8%9\n")
                    .arg(run.started.toLocalTime().toString(Qt::ISODate), run.id,
                         KVRunRecord::kindName(run.kind))
                    .arg(run.entries.size())
                    .arg(changed)
                    .arg(notChanged)
                    .arg(run.end == KVRunRecord::End::Finished
                             ? QString()
                             : QStringLiteral(", ") + KVRunRecord::endName(run.end),
                         undone ? QStringLiteral(", undone") : QString(),
                         next ? QStringLiteral("  <- kalvora-cli undo") : QString());
    }
    if (json)
        KVCommandLine::print(
            stdout,
            QString::fromUtf8(QJsonDocument(QJsonObject{{QStringLiteral("runs"), list}}).toJson()));
    else
        KVCommandLine::print(stdout, runs.empty() ? QStringLiteral("No runs yet.\n") : text);
    return 0;
}
