// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"

#include "KVCameraOffsetMemory.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QJsonValue pathOrNull(const KVImageFileRef &file) {
    return file ? QJsonValue(file->path()) : QJsonValue(QJsonValue::Null);
}

} // namespace

QString KVSuggestionText(const KVSuggestedMatches &suggestion) {
    QString text = KVCommandLine::tr("reference: %1\n").arg(suggestion.referenceKey);
    for (const KVSuggestedMatches::Camera &camera : suggestion.cameras) {
        text += KVCommandLine::tr("%1  %2  confidence %3%4\n")
                    .arg(camera.key, KVCommandLine::offsetText(camera.offset))
                    .arg(camera.confidence, 0, 'f', 2)
                    .arg(camera.isConfident() ? QString() : KVCommandLine::tr(" (not sure)"));
        if (camera.referencePhoto && camera.matchPhoto) {
            text += QStringLiteral("    %1 %2 = %3 %4\n")
                        .arg(KVCommandLine::dateText(camera.referencePhoto->creationDate()),
                             camera.referencePhoto->path(),
                             KVCommandLine::dateText(camera.matchPhoto->creationDate()),
                             camera.matchPhoto->path());
        }
        if (!camera.through.isEmpty())
            text += KVCommandLine::tr("    lined up through %1\n").arg(camera.through);
        if (camera.isRemembered) {
            text +=
                camera.isConfident()
                    ? KVCommandLine::tr("    started from its remembered offset; drift %1\n")
                          .arg(KVCommandLine::offsetText(camera.drift))
                    : KVCommandLine::tr("    its remembered offset, not confirmed by the photos\n");
        }
    }
    return text;
}

int KVRunSuggestCommand(const QStringList &arguments) {
    bool json = false;
    QString referenceKey;
    QStringList paths;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == QLatin1String("--json")) {
            json = true;
        } else if (argument == QLatin1String("--reference-camera")) {
            if (++i >= arguments.size())
                return 2;
            referenceKey = arguments.at(i);
        } else if (argument.startsWith(QLatin1String("--"))) {
            return 2;
        } else {
            paths << argument;
        }
    }
    if (paths.isEmpty())
        return 2;

    KVCommandLine commandLine;
    commandLine.addPaths(paths);
    KVCameraSets &model = commandLine.model();
    if (model.numberOfCamerasInBrowser() == 0) {
        KVCommandLine::print(stderr, KVCommandLine::tr("kalvora-cli: no photos read\n"));
        return 1;
    }
    if (!referenceKey.isEmpty() && !model.sortedCameras().contains(referenceKey)) {
        KVCommandLine::print(stderr,
                             KVCommandLine::tr("kalvora-cli: %1 is not a camera of the photos "
                                               "read (kalvora-cli list names them)\n")
                                 .arg(referenceKey));
        return 2;
    }
    const KVCameraOffsetMemory memory;
    const KVSuggestedMatches suggestion =
        KVSuggestedMatches::suggest(model.imageFiles(), referenceKey, &memory);
    if (!json) {
        KVCommandLine::print(stdout, KVSuggestionText(suggestion));
        return 0;
    }
    QJsonArray cameras;
    for (const KVSuggestedMatches::Camera &camera : suggestion.cameras) {
        cameras.append(
            QJsonObject{{QStringLiteral("key"), camera.key},
                        {QStringLiteral("offset"), camera.offset},
                        {QStringLiteral("confidence"), camera.confidence},
                        {QStringLiteral("reference_photo"), pathOrNull(camera.referencePhoto)},
                        {QStringLiteral("match_photo"), pathOrNull(camera.matchPhoto)}});
    }
    const QJsonObject root{{QStringLiteral("reference"), suggestion.referenceKey},
                           {QStringLiteral("cameras"), cameras}};
    KVCommandLine::print(stdout, QString::fromUtf8(QJsonDocument(root).toJson()));
    return 0;
}
