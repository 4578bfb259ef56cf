// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QProxyStyle>

// Lays a scroll bar out without arrow buttons: the groove is the whole bar and the knob moves
// over all of it. Hit-testing and dragging ask the same layout, so they match the drawing.
class KVScrollerStyle : public QProxyStyle {
    Q_OBJECT

public:
    using QProxyStyle::QProxyStyle;

    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option,
                         SubControl subControl, const QWidget *widget) const override;

private:
    QRect knobRect(const QStyleOptionComplex *option, const QWidget *widget) const;
};
