// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"

#include "KVPhotoWriter.h"
#include "KVRunRecovery.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

int KVRunRecoverCommand(const QStringList &arguments) {
    bool json = false;
    KVRunRecovery::Mode mode = KVRunRecovery::Mode::ChangeBack;
    for (const QString &argument : arguments) {
        if (argument == QLatin1String("--json"))
            json = true;
        else if (argument == QLatin1String("--finish"))
            mode = KVRunRecovery::Mode::Finish;
        else if (argument == QLatin1String("--rollback"))
            mode = KVRunRecovery::Mode::ChangeBack;
        else
            return 2;
    }
    const std::optional<QString> runnableTool = KVCommandLine::runnableToolPath();
    if (!runnableTool)
        return 1;
    const QString tool = *runnableTool;
    const std::vector<KVRunRecovery::Result> results = KVRunRecovery::settleAll(mode, tool);
    using Photo = KVRunRecovery::Photo;
    QJsonArray runs;
    QString text = results.empty() ? KVCommandLine::tr("No run was cut off.\n") : QString();
    qsizetype failed = 0;
    for (const KVRunRecovery::Result &result : results) {
        QJsonArray photos;
        text += QStringLiteral("%1 %2: %3\n")
                    .arg(KVRunRecord::kindText(result.kind), result.runId,
                         !result.settled ? KVCommandLine::tr("taken over by another process")
                         : mode == KVRunRecovery::Mode::Finish ? KVCommandLine::tr("finished")
                                                               : KVCommandLine::tr("changed back"));
        for (const Photo &photo : result.photos) {
            const QString what = photo.result == Photo::Result::Moved  ? QStringLiteral("moved")
                                 : photo.result == Photo::Result::Kept ? QStringLiteral("kept")
                                                                       : QStringLiteral("failed");
            QJsonObject entry{{QStringLiteral("path"), photo.path},
                              {QStringLiteral("result"), what}};
            if (!photo.reason.isEmpty())
                entry.insert(QStringLiteral("reason"), photo.reason);
            photos.append(entry);
            if (photo.result == Photo::Result::Failed) {
                ++failed;
                text +=
                    KVCommandLine::tr("    NOT settled: %1: %2\n").arg(photo.path, photo.reason);
            } else if (photo.result == Photo::Result::Moved) {
                text += QStringLiteral("    %1\n").arg(photo.path);
            }
        }
        runs.append(QJsonObject{{QStringLiteral("run"), result.runId},
                                {QStringLiteral("kind"), KVRunRecord::kindName(result.kind)},
                                {QStringLiteral("settled"), result.settled},
                                {QStringLiteral("photos"), photos}});
    }
    if (json)
        KVCommandLine::print(
            stdout,
            QString::fromUtf8(QJsonDocument(QJsonObject{{QStringLiteral("runs"), runs}}).toJson()));
    else
        KVCommandLine::print(stdout, text);
    return failed == 0 ? 0 : 1;
}
