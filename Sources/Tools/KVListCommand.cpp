// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QJsonObject cameraObject(KVCameraSets &model, int index) {
    const std::vector<KVImageFileRef> &files = model.imagesForCameraWithIndex(index);
    QJsonArray photos;
    for (const KVImageFileRef &file : files) {
        photos.append(
            QJsonObject{{QStringLiteral("path"), file->path()},
                        {QStringLiteral("date"), KVCommandLine::dateText(file->creationDate())}});
    }
    return QJsonObject{
        {QStringLiteral("key"), model.sortedCameras().value(index)},
        {QStringLiteral("name"), model.nameForCameraWithIndex(index)},
        {QStringLiteral("toolTip"), model.toolTipForCameraWithIndex(index)},
        {QStringLiteral("count"), static_cast<int>(files.size())},
        {QStringLiteral("first"), KVCommandLine::dateText(files.front()->creationDate())},
        {QStringLiteral("last"), KVCommandLine::dateText(files.back()->creationDate())},
        {QStringLiteral("photos"), photos},
    };
}

} // namespace

int KVRunListCommand(const QStringList &arguments) {
    bool json = false;
    QStringList paths;
    for (const QString &argument : arguments) {
        if (argument == QLatin1String("--json"))
            json = true;
        else if (argument.startsWith(QLatin1String("--")))
            return 2;
        else
            paths << argument;
    }
    if (paths.isEmpty())
        return 2;

    KVCommandLine::refuseWhileInterrupted(false);
    KVCommandLine commandLine;
    commandLine.addPaths(paths);
    KVCameraSets &model = commandLine.model();

    QJsonArray cameras;
    for (int i = 0; i < model.numberOfCamerasInBrowser(); ++i)
        cameras.append(cameraObject(model, i));
    QJsonArray refused;
    for (const QVariantMap &record : commandLine.refusedFiles())
        refused.append(QJsonObject::fromVariantMap(record));

    if (json) {
        const QJsonObject root{{QStringLiteral("cameras"), cameras},
                               {QStringLiteral("refused"), refused}};
        KVCommandLine::print(stdout, QString::fromUtf8(QJsonDocument(root).toJson()));
        return 0;
    }
    QString text;
    for (const QJsonValue &value : cameras) {
        const QJsonObject camera = value.toObject();
        text += KVCommandLine::tr("%1\n  name: %2\n  tool tip: %3\n  photos: %4, %5 to %6\n")
                    .arg(camera[QStringLiteral("key")].toString(),
                         camera[QStringLiteral("name")].toString(),
                         camera[QStringLiteral("toolTip")].toString().replace(
                             QLatin1Char('\n'), QStringLiteral(" / ")),
                         QString::number(camera[QStringLiteral("count")].toInt()),
                         camera[QStringLiteral("first")].toString(),
                         camera[QStringLiteral("last")].toString());
        for (const QJsonValue &photo : camera[QStringLiteral("photos")].toArray()) {
            text += QStringLiteral("    %1  %2\n")
                        .arg(photo[QStringLiteral("date")].toString(),
                             photo[QStringLiteral("path")].toString());
        }
    }
    if (!refused.isEmpty()) {
        text += KVCommandLine::tr("refused: %1\n").arg(refused.size());
        for (const QJsonValue &value : refused) {
            text += QStringLiteral("    %1  %2\n")
                        .arg(value[QStringLiteral("path")].toString(),
                             value[QStringLiteral("error")].toString());
        }
    }
    KVCommandLine::print(stdout, text);
    return 0;
}
