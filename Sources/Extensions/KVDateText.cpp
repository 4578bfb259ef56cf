// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDateText.h"

#include <QLocale>
#include <QRegularExpression>

namespace {

// Qt's long format carries the weekday, and its short one a two-digit year in many locales.
QString longFormat(const QLocale &locale) {
    static const QRegularExpression weekday(QStringLiteral("^dddd[\\s,]*|[\\s,]*dddd"));
    return locale.dateFormat(QLocale::LongFormat).remove(weekday).trimmed();
}

QString shortFormat(const QLocale &locale) {
    static const QRegularExpression year(QStringLiteral("y+"));
    return locale.dateFormat(QLocale::ShortFormat).replace(year, QStringLiteral("yyyy"));
}

} // namespace

QString KVDateText::longDate(const QDate &date) {
    const QLocale locale;
    return locale.toString(date, longFormat(locale));
}

QString KVDateText::monthAndYear(const QDate &date) {
    const QLocale locale;
    return QStringLiteral("%1 %2").arg(locale.standaloneMonthName(date.month()),
                                       QString::number(date.year()));
}

QString KVDateText::shortDate(const QDate &date) {
    const QLocale locale;
    return locale.toString(date, shortFormat(locale));
}

QString KVDateText::shortDayAndMonth(const QDate &date) {
    // The year and the separator that joins it to the rest, on whichever side it stands.
    static const QRegularExpression year(QStringLiteral("[^dM]*y+[^dM]*"));
    const QLocale locale;
    QString format = shortFormat(locale);
    const bool yearLast = format.indexOf(QLatin1Char('y')) > format.indexOf(QLatin1Char('d'));
    format.remove(year);
    // "dd.MM.yyyy" keeps its closing dot as "dd.MM." does in German writing.
    if (yearLast && format.endsWith(QLatin1Char('M')) && shortFormat(locale).contains(u"M."))
        format += QLatin1Char('.');
    return locale.toString(date, format);
}
