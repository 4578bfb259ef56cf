// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QRectF>
#include <QSlider>

class QImage;

// The zoom slider of a camera row: a thin three-slice groove and a round knob, both at half
// strength while disabled. The slider's behaviour is QSlider's own.
class KVSliderCell : public QSlider {
    Q_OBJECT

public:
    explicit KVSliderCell(QWidget *parent = nullptr);

    static QRectF leftUnitOfImage();
    static QRectF centralUnitOfImage();
    static QRectF rightUnitOfImage();

    // The bundle picture the knob is drawn with in the current state.
    QString knobImageName() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    // Both rectangles are in y-up coordinates of the widget.
    void drawBarInside(QPainter &painter, const QRectF &barRect);
    void drawKnob(QPainter &painter, const QRectF &knobRect);
    QRectF flipped(const QRectF &rect) const;
};
