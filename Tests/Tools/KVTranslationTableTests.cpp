// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTranslations.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTranslator>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace {

const QString kSourceDir = QStringLiteral(KALVORA_SOURCE_DIR);
const QString kGermanTable = kSourceDir + QStringLiteral("/Resources/Translations/kalvora_de.ts");

// What lupdate says besides its progress: a tr() it cannot file under a class ("lacks
// Q_OBJECT", "Cannot invoke tr() like this") means the text is looked up under a context the
// table does not have, so it stays English at run time.
QStringList complaints(const QString &output) {
    QStringList found;
    for (const QString &line : output.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        if (line.startsWith(QLatin1String("Scanning ")) ||
            line.startsWith(QLatin1String("Updating ")) || line.startsWith(QLatin1Char(' ')))
            continue;
        found << line;
    }
    return found;
}

} // namespace

// The sources are scanned afresh into a copy of the German table: every text the program can
// show must be there, under the context it is looked up in, with a German translation, and
// nothing may be left over from texts that are gone or moved.
TEST(KVTranslationTable, EveryTextOfTheSourcesHasItsGermanTranslation) {
    QTemporaryDir folder;
    const QString copy = folder.filePath(QStringLiteral("kalvora_de.ts"));
    ASSERT_TRUE(QFile::copy(kGermanTable, copy));
    QProcess lupdate;
    lupdate.setWorkingDirectory(kSourceDir);
    lupdate.setProcessChannelMode(QProcess::MergedChannels);
    lupdate.start(QStringLiteral(KALVORA_LUPDATE),
                  {QStringLiteral("-locations"), QStringLiteral("none"), QStringLiteral("Sources"),
                   QStringLiteral("Resources/Forms"), QStringLiteral("-ts"), copy});
    ASSERT_TRUE(lupdate.waitForFinished(120000));
    ASSERT_EQ(lupdate.exitCode(), 0);
    const QStringList said = complaints(QString::fromUtf8(lupdate.readAll()));
    EXPECT_TRUE(said.isEmpty()) << qPrintable(said.join(QLatin1Char('\n')));

    QFile table(copy);
    ASSERT_TRUE(table.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&table);
    QString context;
    QString source;
    QStringList untranslated;
    int messages = 0;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("name")) {
            context = xml.readElementText();
        } else if (xml.name() == QLatin1String("source")) {
            source = xml.readElementText();
        } else if (xml.name() == QLatin1String("translation")) {
            ++messages;
            const QString type = xml.attributes().value(QLatin1String("type")).toString();
            const QString text = xml.readElementText();
            if (!type.isEmpty() || text.trimmed().isEmpty())
                untranslated << context + QStringLiteral(" / ") + source +
                                    (type.isEmpty() ? QString()
                                                    : QStringLiteral(" (%1)").arg(type));
        }
    }
    ASSERT_FALSE(xml.hasError()) << qPrintable(xml.errorString());
    EXPECT_GT(messages, 100);
    EXPECT_TRUE(untranslated.isEmpty()) << "run lupdate and translate these:\n"
                                        << qPrintable(untranslated.join(QLatin1Char('\n')));
}

TEST(KVTranslationTable, GermanUsersGetQtsOwnTextsInGermanToo) {
    const QList<QTranslator *> installed =
        KVTranslations::install(*QCoreApplication::instance(), QLocale(QLocale::German));
    ASSERT_EQ(installed.size(), 2) << "the program's table or Qt's own is missing";
    // The key names in shortcuts come from Qt's table, the program's texts from its own.
    EXPECT_EQ(QCoreApplication::translate("QShortcut", "Ctrl"), QStringLiteral("Strg"));
    EXPECT_EQ(QCoreApplication::translate("KVCameraSets", "No photos to sync"),
              QStringLiteral("Keine Fotos zum Abgleichen"));
    for (QTranslator *translator : installed) {
        QCoreApplication::removeTranslator(translator);
        delete translator;
    }
    EXPECT_EQ(QCoreApplication::translate("QShortcut", "Ctrl"), QStringLiteral("Ctrl"));
}
