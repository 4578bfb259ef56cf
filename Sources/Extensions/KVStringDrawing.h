// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QColor>
#include <QFont>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QStaticText>
#include <QString>

#include <unordered_map>

class QPainter;

// How a text is drawn: the font, the colour, an optional shadow and the line alignment.
// The shadow offset is in the lower-left-origin convention of the geometry: (0, -1) is one
// pixel below the text.
struct KVTextAttributes {
    QFont font;
    QColor color = Qt::black;
    bool hasShadow = false;
    QColor shadowColor;
    QPointF shadowOffset;
    Qt::Alignment alignment = Qt::AlignLeft;
};

// "Lucida Grande" where it is installed, the system's sans-serif otherwise. Sizes are points
// of the drawing geometry, i.e. device-independent pixels.
QFont KVLucidaGrande(double points);

// The size the text takes when drawn with the attributes (several lines for "\n").
QSizeF KVSizeWithAttributes(const QString &text, const KVTextAttributes &attributes);

// Shortens the text from the end until it fits maxWidth and ends it with "…". The ellipsis
// replaces the last kept character without measuring again, so the result may be wider than
// maxWidth by the ellipsis's extra width; a text worn down to one character comes back without
// an ellipsis. Both are deliberate.
QString trimmedStringWithAttributes(const QString &text, const KVTextAttributes &attributes,
                                    double maxWidth);

// Draws the text with its top left at the point (Qt coordinates).
void KVDrawString(QPainter &painter, const QString &text, const QPointF &topLeft,
                  const KVTextAttributes &attributes);

// One-line texts drawn again and again with the same attributes, such as a timeline's tick
// labels: each is measured and laid out once, and then drawn exactly as KVDrawString draws it.
// Keeps at most `capacity` texts; main thread only, as painting is.
class KVStringCache {
public:
    explicit KVStringCache(const KVTextAttributes &attributes, std::size_t capacity = 512);

    QSizeF size(const QString &text);
    void draw(QPainter &painter, const QString &text, const QPointF &topLeft);

private:
    struct Entry {
        QStaticText text;
        QSizeF size;
    };
    Entry &entry(const QString &text);

    KVTextAttributes m_attributes;
    std::size_t m_capacity;
    std::unordered_map<QString, Entry> m_entries;
};

// Draws the text centred in the rectangle (Qt coordinates), trimmed first when too wide.
// The origin is not rounded.
void drawInCenterOfRect(QPainter &painter, const QString &text, const QRectF &rect,
                        const KVTextAttributes &attributes);
