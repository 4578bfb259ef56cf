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
    const QStringList lines = text.split(QLatin1Char('\n'));
    double width = 0.0;
    for (const QString &line : lines)
        width = qMax(width, metrics.horizontalAdvance(line));
    return QSizeF(width, metrics.height() * lines.size());
}

QString trimmedStringWithAttributes(const QString &text, const KVTextAttributes &attributes,
                                    double maxWidth) {
    QString copy = text;
    if (copy.size() <= 1)
        return copy;
    bool deleted = false;
    while (KVSizeWithAttributes(copy, attributes).width() > maxWidth) {
        copy.chop(1);
        deleted = true;
        if (copy.size() == 1)
            return copy;
    }
    if (!deleted || copy.isEmpty())
        return copy;
    copy[copy.size() - 1] = QChar(0x2026);
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
