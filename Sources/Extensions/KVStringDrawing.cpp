// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVStringDrawing.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>

QFont KVLucidaGrande(double points) {
    QFont font(QStringLiteral("Lucida Grande"));
    font.setStyleHint(QFont::SansSerif);
    if (!QFontDatabase::hasFamily(QStringLiteral("Lucida Grande")))
        font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(qMax(1, qRound(points)));
    return font;
}

QSizeF KVSizeWithAttributes(const QString &text, const KVTextAttributes &attributes) {
    if (text.isEmpty())
        return QSizeF(0.0, 0.0);
    const QFontMetricsF metrics(attributes.font);
    // Trimming measures once per dropped character: one line takes the quick way.
    if (!text.contains(QLatin1Char('\n')))
        return QSizeF(metrics.horizontalAdvance(text), metrics.height());
    // Several lines are laid out as drawText() lays them out, leading between lines included,
    // so that the measured block is the one that gets centred.
    return metrics.boundingRect(QRectF(), Qt::AlignLeft | Qt::AlignTop, text).size();
}

namespace {

// Characters are whole code points: cutting between the halves of a surrogate pair would leave
// half a character on the screen.
qsizetype lastCharacterLength(const QString &text) {
    const qsizetype size = text.size();
    if (size >= 2 && text.at(size - 1).isLowSurrogate() && text.at(size - 2).isHighSurrogate())
        return 2;
    return size > 0 ? 1 : 0;
}

bool isOneCharacter(const QString &text) {
    return !text.isEmpty() && lastCharacterLength(text) == text.size();
}

} // namespace

QString trimmedStringWithAttributes(const QString &text, const KVTextAttributes &attributes,
                                    double maxWidth) {
    QString copy = text;
    // The empty text is caught here too, so that the loop below always has something to cut.
    if (copy.isEmpty() || isOneCharacter(copy))
        return copy;
    bool deleted = false;
    while (KVSizeWithAttributes(copy, attributes).width() > maxWidth) {
        copy.chop(lastCharacterLength(copy));
        deleted = true;
        if (isOneCharacter(copy))
            return copy;
    }
    if (!deleted)
        return copy;
    copy.chop(lastCharacterLength(copy));
    copy.append(QChar(0x2026));
    return copy;
}

void KVDrawString(QPainter &painter, const QString &text, const QPointF &topLeft,
                  const KVTextAttributes &attributes) {
    const QSizeF size = KVSizeWithAttributes(text, attributes);
    const QRectF rect(topLeft, size);
    const int flags = int(attributes.alignment & Qt::AlignHorizontal_Mask) | Qt::AlignTop;
    painter.save();
    painter.setFont(attributes.font);
    if (attributes.hasShadow) {
        painter.setPen(attributes.shadowColor);
        // Lower-left-origin offset: negative y is downwards on the screen.
        painter.drawText(rect.translated(attributes.shadowOffset.x(), -attributes.shadowOffset.y()),
                         flags, text);
    }
    painter.setPen(attributes.color);
    painter.drawText(rect, flags, text);
    painter.restore();
}

KVStringCache::KVStringCache(const KVTextAttributes &attributes, std::size_t capacity)
    : m_attributes(attributes)
    , m_capacity(capacity) {
}

KVStringCache::Entry &KVStringCache::entry(const QString &text) {
    auto found = m_entries.find(text);
    if (found != m_entries.end())
        return found->second;
    // The labels of a few zoom levels fit many times over; past that, start afresh.
    if (m_entries.size() >= m_capacity)
        m_entries.clear();
    Entry made{QStaticText(text), KVSizeWithAttributes(text, m_attributes)};
    made.text.setTextFormat(Qt::PlainText);
    made.text.setPerformanceHint(QStaticText::AggressiveCaching);
    made.text.prepare(QTransform(), m_attributes.font);
    return m_entries.emplace(text, std::move(made)).first->second;
}

QSizeF KVStringCache::size(const QString &text) {
    return entry(text).size;
}

void KVStringCache::draw(QPainter &painter, const QString &text, const QPointF &topLeft) {
    const Entry &shown = entry(text);
    painter.save();
    painter.setFont(m_attributes.font);
    if (m_attributes.hasShadow) {
        painter.setPen(m_attributes.shadowColor);
        painter.drawStaticText(
            topLeft + QPointF(m_attributes.shadowOffset.x(), -m_attributes.shadowOffset.y()),
            shown.text);
    }
    painter.setPen(m_attributes.color);
    painter.drawStaticText(topLeft, shown.text);
    painter.restore();
}

void drawInCenterOfRect(QPainter &painter, const QString &text, const QRectF &rect,
                        const KVTextAttributes &attributes) {
    QString shown = text;
    QSizeF size = KVSizeWithAttributes(shown, attributes);
    if (size.width() > rect.width()) {
        shown = trimmedStringWithAttributes(shown, attributes, rect.width());
        size = KVSizeWithAttributes(shown, attributes);
    }
    const QPointF origin(rect.x() + (rect.width() - size.width()) * 0.5,
                         rect.y() + (rect.height() - size.height()) * 0.5);
    KVDrawString(painter, shown, origin, attributes);
}
