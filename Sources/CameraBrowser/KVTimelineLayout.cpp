// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTimelineLayout.h"

#include "KVCalendarExtensions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <utility>

namespace {

// A frame holds the left and bottom edges but not the right and top ones, so that two abutting
// thumbnails never both claim the pixel between them.
bool frameContains(const QRectF &frame, const QPointF &point) {
    return point.x() >= frame.left() && point.x() < frame.right() && point.y() >= frame.top() &&
           point.y() < frame.bottom();
}

// The union of half-open x intervals, merged as they come.
class IntervalUnion {
public:
    // From the first to the last point of [left, right) outside the union; none when the union
    // covers it all. Holes in between are not looked for.
    std::optional<std::pair<double, double>> uncoveredBounds(double left, double right) const {
        auto after = m_intervals.upper_bound(left);
        if (after != m_intervals.begin() && std::prev(after)->second > left)
            left = std::prev(after)->second;
        auto last = m_intervals.lower_bound(right);
        if (last != m_intervals.begin() && std::prev(last)->second >= right)
            right = std::min(right, std::prev(last)->first);
        if (!(left < right))
            return std::nullopt;
        return std::make_pair(left, right);
    }

    void add(double left, double right) {
        if (!(left < right))
            return;
        auto it = m_intervals.upper_bound(left);
        if (it != m_intervals.begin() && std::prev(it)->second >= left) {
            --it;
            left = it->first;
            right = std::max(right, it->second);
        }
        while (it != m_intervals.end() && it->first <= right) {
            right = std::max(right, it->second);
            it = m_intervals.erase(it);
        }
        m_intervals.emplace(left, right);
    }

private:
    std::map<double, double> m_intervals;
};

} // namespace

int KVTimelineLayout::insertImage(const QDateTime &creationDate, const QRectF &frame) {
    // The axis keeps the earliest date: looking for it again would make inserting quadratic.
    const QDateTime first = m_timeScale.firstImageDate();
    m_images.push_back({creationDate, KVTimeScale::timeIntervalSince1970(creationDate), frame});
    const double time = m_images.back().time;
    // After every equal date: among equal dates the order stays the insertion order.
    m_dateOrder.insert(
        std::upper_bound(m_dateOrder.begin(), m_dateOrder.end(), time,
                         [this](double t, int index) { return t < m_images[index].time; }),
        count() - 1);
    m_maxImageWidth = std::max(m_maxImageWidth, frame.width());
    m_framesFollowDates = false;
    if (!first.isValid() || m_images.back().time < KVTimeScale::timeIntervalSince1970(first))
        m_timeScale.setFirstImageDate(creationDate);
    return count() - 1;
}

void KVTimelineLayout::removeImage(int index) {
    if (index < 0 || index >= count())
        return;
    m_images.erase(m_images.begin() + index);
    std::erase(m_dateOrder, index);
    for (int &other : m_dateOrder) {
        if (other > index)
            --other;
    }
    m_timeScale.setFirstImageDate(firstImageDate());
}

void KVTimelineLayout::removeAllImages() {
    m_images.clear();
    m_dateOrder.clear();
    m_maxImageWidth = 0;
    m_framesFollowDates = true;
    m_timeScale.setFirstImageDate(QDateTime());
}

QDateTime KVTimelineLayout::firstImageDate() const {
    const auto first =
        std::min_element(m_images.begin(), m_images.end(),
                         [](const Image &a, const Image &b) { return a.time < b.time; });
    return first == m_images.end() ? QDateTime() : first->date;
}

QDateTime KVTimelineLayout::lastImageDate() const {
    const auto last =
        std::max_element(m_images.begin(), m_images.end(),
                         [](const Image &a, const Image &b) { return a.time < b.time; });
    return last == m_images.end() ? QDateTime() : last->date;
}

std::optional<int> KVTimelineLayout::lastImageView() const {
    if (m_images.empty())
        return std::nullopt;
    return count() - 1;
}

void KVTimelineLayout::setImageFrame(int index, const QRectF &frame) {
    Image &image = m_images.at(index);
    if (frame.x() != image.frame.x())
        m_framesFollowDates = false;
    image.frame = frame;
    m_maxImageWidth = std::max(m_maxImageWidth, frame.width());
}

void KVTimelineLayout::setScale(double scale) {
    m_timeScale.setScale(scale);
    for (Image &image : m_images)
        image.frame.moveLeft(m_timeScale.offsetXForTimeInterval(image.time, scale));
    m_framesFollowDates = true;
}

void KVTimelineLayout::setScale(double scale, bool fitFrame, double anchorX) {
    const double oldScale = m_timeScale.scale();
    setScale(scale);
    if (!fitFrame)
        return;
    const double anchorTime = m_timeScale.timeIntervalForX(anchorX, oldScale);
    const double anchorNow = m_timeScale.offsetXForTimeInterval(anchorTime, scale);
    // Set together, so that the scroll is kept within the new width and not the old one.
    m_frameWidth = neededViewWidth();
    setVisibleOriginX(m_visibleOriginX + anchorNow - anchorX);
}

void KVTimelineLayout::setFrameWidth(double width) {
    m_frameWidth = width;
    setVisibleOriginX(m_visibleOriginX);
}

double KVTimelineLayout::maxVisibleOriginX() const {
    return maxVisibleOriginXForWidth(m_frameWidth);
}

double KVTimelineLayout::maxVisibleOriginXForWidth(double frameWidth) const {
    return std::max(0.0, frameWidth - m_contentSize.width());
}

void KVTimelineLayout::setVisibleOriginX(double x) {
    m_visibleOriginX = std::clamp(x, 0.0, maxVisibleOriginX());
}

QRectF KVTimelineLayout::visibleRect() const {
    return QRectF(m_visibleOriginX, 0, m_contentSize.width(), m_contentSize.height());
}

double KVTimelineLayout::neededViewWidth() const {
    return neededViewWidthAtScale(scale());
}

double KVTimelineLayout::neededViewWidthAtScale(double scale) const {
    const std::optional<int> last = lastImageView();
    const double lastWidth = last ? imageFrame(*last).width() : 0.0;
    const double span = KVTimeScale::timeIntervalSince1970(lastImageDate()) -
                        KVTimeScale::timeIntervalSince1970(firstImageDate());
    return std::max(span * scale + lastWidth, m_contentSize.width());
}

void KVTimelineLayout::sizeToFit() {
    setFrameWidth(m_contentSize.width());
    const std::optional<int> last = lastImageView();
    const double lastWidth = last ? imageFrame(*last).width() : 0.0;
    const double span = KVTimeScale::timeIntervalSince1970(lastImageDate()) -
                        KVTimeScale::timeIntervalSince1970(firstImageDate());
    // The last thumbnail ends exactly at the right edge; a timeline of one instant gets the scale
    // at which a second fills the row.
    m_minScaleValue = span != 0 ? (m_frameWidth - lastWidth) / span : m_frameWidth;
    m_maxScaleValue = m_frameWidth;
    setScale(m_minScaleValue, false, 0);
}

void KVTimelineLayout::resizeWithOldSuperviewSize(const QSizeF &oldSize, const QSizeF &newSize) {
    const double oldWidth = oldSize.width();
    m_contentSize = newSize;
    setFrameWidth(m_frameWidth + newSize.width() - oldWidth);
    if (std::abs(m_frameWidth - newSize.width()) < 0.01) {
        sizeToFit();
        return;
    }
    const QRectF visible = visibleRect();
    const double currentScale = scale();
    const double startTime = m_timeScale.timeIntervalForX(visible.x(), currentScale);
    const double endTime = m_timeScale.timeIntervalForX(visible.x() + oldWidth, currentScale);
    const std::optional<int> last = lastImageViewBetweenStartTime(startTime, endTime);
    const double lastTime = last ? m_images.at(*last).time : 0.0;
    const double lastX = m_timeScale.offsetXForTimeInterval(lastTime, currentScale);
    const double lastWidth = last ? imageFrame(*last).width() : 0.0;
    // How far across the old visible width the last visible photo stood; a NaN (a photo as wide
    // as the row) counts as nothing to keep in place.
    const double ratio = std::clamp((lastX - visible.x()) / (oldWidth - lastWidth), 0.0, 1.0);
    if (!(ratio > 0))
        return;
    const double distance = lastX - visible.x();
    const double carried = lastWidth * ratio;
    const double newDistance = (distance + carried) * (newSize.width() / oldWidth) - carried;
    setScale(currentScale * newDistance / distance, true, visible.x());
}

bool KVTimelineLayout::isScalePossible() const {
    if (m_images.size() != 2)
        return m_images.size() > 2;
    return m_images[0].time != m_images[1].time;
}

std::vector<int> KVTimelineLayout::imageViewsBetweenStartTime(double startTime,
                                                              double endTime) const {
    std::vector<int> indexes;
    for (int index = 0; index < count(); ++index) {
        const double time = m_images[index].time;
        if (time >= startTime && time <= endTime)
            indexes.push_back(index);
    }
    return indexes;
}

std::optional<int> KVTimelineLayout::lastImageViewBetweenStartTime(double startTime,
                                                                   double endTime) const {
    const std::vector<int> indexes = imageViewsBetweenStartTime(startTime, endTime);
    if (indexes.empty())
        return std::nullopt;
    // Starting from the last and taking only strictly later ones: among equal latest dates the
    // earliest in order wins unless the last one itself has the latest date.
    int latest = indexes.back();
    for (int index : indexes) {
        if (m_images[index].time > m_images[latest].time)
            latest = index;
    }
    return latest;
}

std::optional<int> KVTimelineLayout::imageHitTest(const QPointF &point) const {
    for (int index = count() - 1; index >= 0; --index) {
        if (frameContains(m_images[index].frame, point))
            return index;
    }
    return std::nullopt;
}

std::vector<int> KVTimelineLayout::imagesIntersectingXRange(double left, double right) const {
    // Both are half open: an empty range or frame overlaps nothing.
    const auto overlaps = [left, right](const QRectF &frame) {
        return std::max(left, frame.left()) < std::min(right, frame.right());
    };
    std::vector<int> indexes;
    // Only a layout at a scale that is a number and not negative keeps x in date order.
    if (!m_framesFollowDates || !(scale() >= 0)) {
        for (int index = 0; index < count(); ++index) {
            if (overlaps(m_images[index].frame))
                indexes.push_back(index);
        }
        return indexes;
    }
    // A frame reaching past left starts after left minus the widest thumbnail; the slack covers
    // the rounding of x + width far from 0, and anything it lets in is tested exactly.
    const double slack =
        (std::abs(left) + m_maxImageWidth) * 4 * std::numeric_limits<double>::epsilon();
    const double from = left - m_maxImageWidth - slack;
    const auto x = [this](int index) { return m_images[index].frame.x(); };
    const auto first = std::lower_bound(m_dateOrder.begin(), m_dateOrder.end(), from,
                                        [&x](int index, double value) { return x(index) < value; });
    const auto last = std::lower_bound(first, m_dateOrder.end(), right,
                                       [&x](int index, double value) { return x(index) < value; });
    for (auto it = first; it != last; ++it) {
        if (overlaps(m_images[*it].frame))
            indexes.push_back(*it);
    }
    std::sort(indexes.begin(), indexes.end());
    return indexes;
}

std::vector<KVTimelineLayout::ShownImage>
KVTimelineLayout::imagesShownInXRange(double left, double right, double pixelOrigin,
                                      double pictureInset) const {
    const std::vector<int> candidates = imagesIntersectingXRange(left, right);
    // Thumbnails differ in height only by the grown frame, so they fall into a few vertical
    // extents. A thumbnail is hidden where later ones whose extent holds its own cover it; the
    // topmost are looked at first. All x here are columns.
    struct Band {
        double bottom;
        double top;
        IntervalUnion covered;
    };
    std::vector<Band> bands;
    std::vector<QRectF> seen;
    const auto holds = [](const QRectF &outer, double bottom, double top) {
        return outer.top() <= bottom && outer.bottom() >= top;
    };
    // The columns whose centres an x range holds.
    const auto column = [pixelOrigin](double x) { return std::ceil(x - pixelOrigin - 0.5); };
    std::vector<ShownImage> shown;
    for (auto it = candidates.rbegin(); it != candidates.rend(); ++it) {
        const QRectF &frame = m_images[*it].frame;
        // Only the part inside the range counts.
        QRectF columns = frame;
        columns.setLeft(column(std::max(frame.left(), left)));
        columns.setRight(column(std::min(frame.right(), right)));
        if (!(columns.left() < columns.right()))
            continue;
        auto band = std::find_if(bands.begin(), bands.end(), [&columns](const Band &b) {
            return b.bottom == columns.top() && b.top == columns.bottom();
        });
        if (band == bands.end()) {
            Band made{columns.top(), columns.bottom(), {}};
            for (const QRectF &above : seen) {
                if (holds(above, made.bottom, made.top))
                    made.covered.add(above.left(), above.right());
            }
            bands.push_back(std::move(made));
            band = bands.end() - 1;
        }
        if (const auto visible = band->covered.uncoveredBounds(columns.left(), columns.right())) {
            const double pictureLeft =
                std::max(visible->first, column(frame.left() + pictureInset));
            const double pictureRight =
                std::min(visible->second, column(frame.right() - pictureInset));
            shown.push_back({*it, pixelOrigin + visible->first, pixelOrigin + visible->second,
                             pictureLeft < pictureRight});
        }
        for (Band &other : bands) {
            if (holds(columns, other.bottom, other.top))
                other.covered.add(columns.left(), columns.right());
        }
        seen.push_back(columns);
    }
    std::reverse(shown.begin(), shown.end());
    return shown;
}

std::optional<KVTimelineLayout::ScaleSpanZoom>
KVTimelineLayout::zoomToScaleSpanAt(const QPointF &point) const {
    const double top = m_contentSize.height();
    if (!(point.y() >= top - scaleHeight() && point.y() <= top))
        return std::nullopt;
    const double instant = m_timeScale.timeIntervalForX(point.x(), scale());
    double length = 0;
    const QDateTime spanStart = m_timeScale.startScaleDateForDate(
        KVTimeScale::dateWithTimeIntervalSince1970(instant), &length);
    if (!spanStart.isValid() || !(length > 0))
        return std::nullopt;
    ScaleSpanZoom zoom;
    zoom.scale = m_contentSize.width() / length;
    zoom.frameWidth = neededViewWidthAtScale(zoom.scale);
    const double spanX = m_timeScale.offsetXForTimeInterval(
        KVTimeScale::timeIntervalSince1970(spanStart), zoom.scale);
    zoom.visibleOriginX = std::clamp(spanX, 0.0, maxVisibleOriginXForWidth(zoom.frameWidth));
    return zoom;
}

KVTimelineLayout::TickRow KVTimelineLayout::ticksForXRange(double left, double right) const {
    TickRow row;
    const double currentScale = scale();
    // Without a positive scale no instant lies under an x.
    if (!(currentScale > 0) || !std::isfinite(currentScale) || !std::isfinite(left) ||
        !std::isfinite(right))
        return row;
    const KVCalendarUnit unit = m_timeScale.currentCalendarUnit();
    const double endTime = m_timeScale.timeIntervalForX(right, currentScale);
    double length = 0;
    QDateTime tick =
        m_timeScale.startScaleDateForDate(KVTimeScale::dateWithTimeIntervalSince1970(
                                              m_timeScale.timeIntervalForX(left, currentScale)),
                                          &length);
    if (!tick.isValid())
        return row;
    row.cellWidth = currentScale * length;
    const KVDateComponents step = KVCalendarExtensions::oneComponentForKVCalendarUnit(unit);
    do {
        const double time = KVTimeScale::timeIntervalSince1970(tick);
        row.ticks.push_back({m_timeScale.offsetXForTimeInterval(time, currentScale),
                             KVTimeScale::stringForDate(tick, unit)});
        tick = KVCalendarExtensions::dateByAddingComponents(step, tick);
    } while (KVTimeScale::timeIntervalSince1970(tick) < endTime);
    return row;
}
