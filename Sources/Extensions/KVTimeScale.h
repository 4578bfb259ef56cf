// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCalendarUnit.h"
#include "KVStringDrawing.h"

#include <QDateTime>
#include <QString>

// The time axis of one timeline: where an instant lies (x) and which instant lies under an x, at
// a scale in pixels per second, and the calendar unit, spans and texts of the axis at that scale.
// Layout, painting and hit-testing all go through it, so that a photo is drawn and clicked at the
// same place. x = 0 is the timeline's first photo. Instants are seconds since 1970 and x positions
// are doubles throughout: ten years at the largest scale is wider than 10^11 pixels.
class KVTimeScale {
public:
    KVTimeScale() = default;
    // An invalid date (a timeline without photos) puts x = 0 at 0 seconds since 1970.
    KVTimeScale(const QDateTime &firstImageDate, double scale);

    QDateTime firstImageDate() const { return m_firstImageDate; }
    void setFirstImageDate(const QDateTime &date);
    double scale() const { return m_scale; }
    void setScale(double scale) { m_scale = scale; }

    // The unit the axis is divided in at a scale; SixHours is never chosen (hours go straight to
    // days) and a scale that is not a number gets seconds.
    static KVCalendarUnit calendarUnitForScale(double scale);
    // The unit the axis is divided in: that of the scale, or a coarser one when the widest tick
    // label of the unit, in the tick font as it is on this machine, would not fit its shortest
    // cell with a gap to spare. Labels never touch, whatever font stands in.
    static KVCalendarUnit legibleCalendarUnitForScale(double scale);
    KVCalendarUnit currentCalendarUnit() const { return legibleCalendarUnitForScale(m_scale); }
    // The shortest span of a unit in seconds (a month of 28 days, a day of 23 hours).
    static double shortestSpan(KVCalendarUnit unit);
    // The tick labels' look, shared with the drawing, and the widest label of a unit in it.
    static const KVTextAttributes &tickLabelAttributes();
    static double widestTickLabel(KVCalendarUnit unit);
    // The least free space between two tick labels.
    static constexpr double tickLabelGap = 6.0;

    // Inverses of each other at the same viewScale; a viewScale other than the current one is how
    // zooming about an anchor finds where an instant goes.
    double timeIntervalForX(double x, double viewScale) const { return x / viewScale + m_origin; }
    double offsetXForTimeInterval(double interval, double viewScale) const {
        return (interval - m_origin) * viewScale;
    }
    // The instant under the horizontal middle of the visible part of the view, at the current
    // scale. The visible rectangle belongs to the view, hence the parameters.
    double dateOfVisibleRect(double visibleOriginX, double visibleWidth) const;

    // The start of the span of the current unit that holds the date, its length written to
    // lengthOfTimeUnit when that is given. Invalid when the span cannot be found.
    QDateTime startScaleDateForDate(const QDateTime &date, double *lengthOfTimeUnit) const;
    // The span start for the first photo: where the axis's first tick goes.
    QDateTime startScaleDate() const;

    // The label of a tick of the unit ("7" at day scale, "14h 05m" at minute scale), in local time
    // and the user's locale. A value that is not a unit stops the program.
    static QString stringForDate(const QDateTime &date, KVCalendarUnit timeUnit);
    // A camera row's header date for its timeline's unit: the context the tick labels leave out.
    // Empty at Year and Decade scale and for any other value.
    static QString headerStringForDate(const QDateTime &date, KVCalendarUnit viewTimeUnit);

    // Seconds since 1970 of a date; 0 for an invalid one.
    static double timeIntervalSince1970(const QDateTime &date);
    // The local date of an instant, to the millisecond.
    static QDateTime dateWithTimeIntervalSince1970(double interval);

private:
    QDateTime m_firstImageDate;
    double m_origin = 0;
    double m_scale = 1;
};
