// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QRectF>

class QImage;
class QPainter;

// A small picture cut into a fixed left cap, a stretchable middle and a fixed right cap, so that
// a few pixels can dress a control of any width.
struct KVThreePartImage {
    QRectF leftUnit;
    QRectF centralUnit;
    QRectF rightUnit;

    // `destination` is in Qt coordinates; the caps keep their widths, the middle takes the rest.
    // A null picture draws nothing.
    void draw(QPainter &painter, const QImage &image, const QRectF &destination) const;
};
