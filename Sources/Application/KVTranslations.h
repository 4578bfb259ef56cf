// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QList>
#include <QLocale>

class QCoreApplication;
class QTranslator;

// The program's own table and Qt's (its dialogs, the key names in shortcuts) for one language;
// the window and the command-line tool install the same pair.
class KVTranslations {
public:
    // The tables found for the language, installed and owned by the application.
    static QList<QTranslator *> install(QCoreApplication &application,
                                        const QLocale &locale = QLocale());
};
