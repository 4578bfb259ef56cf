// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDemoPicture.h"

#include <QLinearGradient>
#include <QLocale>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QRandomGenerator>

#include <cmath>

namespace {

struct Look {
    QFont sceneNumber;
    QFont sceneName;
    QFont time;
    QFont date;
    QFont camera;
    QFont detail;
    QFont numerals;
};

QFont pixelFont(int pixels, bool bold) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixels);
    font.setBold(bold);
    return font;
}

const Look &look() {
    static const Look shared{pixelFont(34, false), pixelFont(62, true), pixelFont(98, true),
                             pixelFont(30, false), pixelFont(58, true), pixelFont(34, false),
                             pixelFont(40, true)};
    return shared;
}

// White text with a soft dark shadow stays legible on every scene colour.
void drawShadowedText(QPainter &painter, const QRectF &rect, const QFont &font,
                      const QString &text) {
    painter.setFont(font);
    painter.setPen(QColor(0, 0, 0, 110));
    painter.drawText(rect.translated(3, 3), Qt::AlignLeft | Qt::AlignVCenter, text);
    painter.setPen(Qt::white);
    painter.drawText(rect, Qt::AlignLeft | Qt::AlignVCenter, text);
}

void drawHand(QPainter &painter, qreal degrees, qreal length, qreal width, const QColor &color) {
    painter.save();
    painter.rotate(degrees);
    painter.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(0, length * 0.15), QPointF(0, -length));
    painter.restore();
}

} // namespace

const QSize KVDemoPicture::size(1200, 800);

QImage KVDemoPicture::draw(const KVDemoEvent &event, const KVDemoEvent::Shot &shot) {
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);

    const bool isStray = shot.scene < 0;
    const KVDemoEvent::Scene *scene = isStray ? nullptr : &event.scenes()[size_t(shot.scene)];
    // Frames of one burst differ a little, as real ones would.
    const quint32 grain = quint32(shot.camera) * 7919u + quint32(shot.moment.toSecsSinceEpoch());
    drawBackground(painter, isStray ? QColor(0x5a5f66) : scene->color, grain);
    drawClock(painter, QPointF(330, 400), 270, shot.moment.time());

    const Look &fonts = look();
    const qreal left = 650, width = size.width() - left - 30;
    const QString sceneNumber =
        isStray ? QStringLiteral("Between scenes")
                : QStringLiteral("Scene %1 of %2").arg(scene->number).arg(event.scenes().size());
    drawShadowedText(painter, QRectF(left, 60, width, 44), fonts.sceneNumber, sceneNumber);
    drawShadowedText(painter, QRectF(left, 105, width, 80), fonts.sceneName,
                     isStray ? QStringLiteral("Candid") : scene->name);
    drawShadowedText(painter, QRectF(left, 290, width, 130), fonts.time,
                     shot.moment.toString(QStringLiteral("HH:mm:ss")));
    drawShadowedText(painter, QRectF(left, 415, width, 40), fonts.date,
                     QLocale::c().toString(shot.moment.date(), QStringLiteral("dddd d MMMM yyyy")));

    const KVDemoEvent::Camera &camera = event.cameras()[size_t(shot.camera)];
    drawShadowedText(painter, QRectF(left, 560, width, 70), fonts.camera,
                     QStringLiteral("Camera %1").arg(camera.letter));
    // Some makers repeat their name in the model already.
    const QString make = camera.make.trimmed();
    drawShadowedText(painter, QRectF(left, 630, width, 44), fonts.detail,
                     camera.model.startsWith(make) ? camera.model
                                                   : make + QLatin1Char(' ') + camera.model);
    drawShadowedText(painter, QRectF(left, 675, width, 44), fonts.detail,
                     camera.serialNumber.isEmpty()
                         ? QStringLiteral("no serial number")
                         : QStringLiteral("S/N %1").arg(camera.serialNumber));
    return image;
}

void KVDemoPicture::drawBackground(QPainter &painter, const QColor &color, quint32 grain) {
    QLinearGradient gradient(0, 0, 0, size.height());
    gradient.setColorAt(0, color.lighter(130));
    gradient.setColorAt(1, color.darker(150));
    painter.fillRect(QRect(QPoint(), size), gradient);

    // Out-of-focus lights, seeded by the frame.
    QRandomGenerator random(grain);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 36; ++i) {
        const QPointF center(random.bounded(size.width()), random.bounded(size.height()));
        const qreal radius = random.bounded(18, 95);
        QRadialGradient light(center, radius);
        light.setColorAt(0, QColor(255, 255, 255, random.bounded(20, 60)));
        light.setColorAt(1, QColor(255, 255, 255, 0));
        painter.setBrush(light);
        painter.drawEllipse(center, radius, radius);
    }
}

void KVDemoPicture::drawClock(QPainter &painter, const QPointF &center, qreal radius, QTime time) {
    painter.save();
    painter.translate(center);

    QRadialGradient face(QPointF(-radius * 0.3, -radius * 0.3), radius * 1.6);
    face.setColorAt(0, Qt::white);
    face.setColorAt(1, QColor(0xdcdcd6));
    painter.setPen(QPen(QColor(0x26292e), 10));
    painter.setBrush(face);
    painter.drawEllipse(QPointF(), radius, radius);

    const QColor ink(0x202328);
    for (int tick = 0; tick < 60; ++tick) {
        const bool isHour = tick % 5 == 0;
        painter.save();
        painter.rotate(tick * 6);
        painter.setPen(QPen(ink, isHour ? 7 : 2.5, Qt::SolidLine, Qt::FlatCap));
        painter.drawLine(QPointF(0, -radius * 0.93), QPointF(0, -radius * (isHour ? 0.80 : 0.87)));
        painter.restore();
    }

    painter.setFont(look().numerals);
    painter.setPen(ink);
    for (int hour = 1; hour <= 12; ++hour) {
        const qreal angle = hour * M_PI / 6;
        const QPointF at(std::sin(angle) * radius * 0.66, -std::cos(angle) * radius * 0.66);
        painter.drawText(QRectF(at.x() - 40, at.y() - 30, 80, 60), Qt::AlignCenter,
                         QString::number(hour));
    }

    const qreal seconds = time.second();
    const qreal minutes = time.minute() + seconds / 60;
    const qreal hours = time.hour() % 12 + minutes / 60;
    drawHand(painter, hours * 30, radius * 0.5, 18, ink);
    drawHand(painter, minutes * 6, radius * 0.78, 11, ink);
    drawHand(painter, seconds * 6, radius * 0.86, 4, QColor(0xc8281e));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xc8281e));
    painter.drawEllipse(QPointF(), 12, 12);
    painter.restore();
}
