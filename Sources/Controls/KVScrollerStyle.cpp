// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVScrollerStyle.h"

#include <QStyleOptionSlider>

#include <algorithm>

QRect KVScrollerStyle::subControlRect(ComplexControl control, const QStyleOptionComplex *option,
                                      SubControl subControl, const QWidget *widget) const {
    const auto *bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
    if (control != CC_ScrollBar || !bar)
        return QProxyStyle::subControlRect(control, option, subControl, widget);
    const QRect slot = bar->rect;
    const QRect knob = knobRect(option, widget);
    const bool horizontal = bar->orientation == Qt::Horizontal;
    switch (subControl) {
    case SC_ScrollBarGroove:
        return slot;
    case SC_ScrollBarSlider:
        return knob;
    case SC_ScrollBarSubPage:
        return horizontal ? QRect(slot.left(), slot.top(), knob.left() - slot.left(), slot.height())
                          : QRect(slot.left(), slot.top(), slot.width(), knob.top() - slot.top());
    case SC_ScrollBarAddPage:
        return horizontal
                   ? QRect(knob.right() + 1, slot.top(), slot.right() - knob.right(), slot.height())
                   : QRect(slot.left(), knob.bottom() + 1, slot.width(),
                           slot.bottom() - knob.bottom());
    default:
        return QRect();
    }
}

QRect KVScrollerStyle::knobRect(const QStyleOptionComplex *option, const QWidget *widget) const {
    const auto *bar = static_cast<const QStyleOptionSlider *>(option);
    const QRect slot = bar->rect;
    const bool horizontal = bar->orientation == Qt::Horizontal;
    const int length = horizontal ? slot.width() : slot.height();
    // 64-bit: a range near INT_MAX plus a page must not wrap.
    const qint64 range = qint64(bar->maximum) - bar->minimum;
    int knobLength = length;
    if (range > 0) {
        const qint64 page = std::max(bar->pageStep, 1);
        const int minimum = pixelMetric(PM_ScrollBarSliderMin, option, widget);
        knobLength = static_cast<int>(qint64(length) * page / (range + page));
        knobLength = std::clamp(knobLength, std::min(minimum, length), length);
    }
    const int position = sliderPositionFromValue(bar->minimum, bar->maximum, bar->sliderPosition,
                                                 length - knobLength, bar->upsideDown);
    return horizontal ? QRect(slot.left() + position, slot.top(), knobLength, slot.height())
                      : QRect(slot.left(), slot.top() + position, slot.width(), knobLength);
}
