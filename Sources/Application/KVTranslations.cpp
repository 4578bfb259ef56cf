// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTranslations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

namespace {

const QString kKVOwnTranslations = QStringLiteral(":/Translations");

QTranslator *installTable(QCoreApplication &application, const QLocale &locale, const QString &name,
                          const QString &folder) {
    auto *translator = new QTranslator(&application);
    if (translator->load(locale, name, QStringLiteral("_"), folder) &&
        QCoreApplication::installTranslator(translator))
        return translator;
    delete translator;
    return nullptr;
}

} // namespace

QList<QTranslator *> KVTranslations::install(QCoreApplication &application, const QLocale &locale) {
    QList<QTranslator *> installed;
    for (QTranslator *translator :
         {installTable(application, locale, QStringLiteral("kalvora"), kKVOwnTranslations),
          installTable(application, locale, QStringLiteral("qtbase"),
                       QLibraryInfo::path(QLibraryInfo::TranslationsPath))}) {
        if (translator)
            installed << translator;
    }
    return installed;
}
